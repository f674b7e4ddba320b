#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_intensity;
uniform float u_speed;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    float t = u_time * u_speed;
    vec2 a = vec2(0.1 + 0.2 * sin(t), 0.2 + 0.1 * cos(t * 1.3));
    vec2 b = vec2(0.9 - 0.15 * cos(t * 0.7), 0.8 + 0.1 * sin(t));
    float leakA = exp(-length(v_texCoord - a) * 4.0);
    float leakB = exp(-length(v_texCoord - b) * 5.0);
    vec3 light = vec3(1.0, 0.45, 0.15) * leakA + vec3(1.0, 0.8, 0.3) * leakB;
    vec3 rgb = 1.0 - (1.0 - c.rgb) * (1.0 - light * u_intensity);
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
