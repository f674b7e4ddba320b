#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_levels;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    float n = max(floor(u_levels), 2.0) - 1.0;
    fragColor = vec4(floor(c.rgb * n + 0.5) / n, c.a);
}
