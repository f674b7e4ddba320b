#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;

void main()
{
    fragColor = mix(texture(u_fromTexture, v_texCoord), texture(u_toTexture, v_texCoord), u_progress);
}
