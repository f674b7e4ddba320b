#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_offset;
uniform float u_angle;
void main()
{
    vec2 dir = vec2(cos(radians(u_angle)), sin(radians(u_angle))) * u_offset / u_resolution;
    vec4 c = texture(u_currentTexture, v_texCoord);
    float r = texture(u_currentTexture, v_texCoord + dir).r;
    float b = texture(u_currentTexture, v_texCoord - dir).b;
    fragColor = vec4(r, c.g, b, c.a);
}
