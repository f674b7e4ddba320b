#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_intensity;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    fragColor = vec4(mix(c.rgb, 1.0 - c.rgb, u_intensity), c.a);
}
