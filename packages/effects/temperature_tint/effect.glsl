#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_temperature;
uniform float u_tint;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    vec3 rgb = c.rgb + vec3(u_temperature * 0.12, -u_tint * 0.1, -u_temperature * 0.12);
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
