#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_amplitude;
uniform float u_frequency;
uniform float u_speed;
void main()
{
    vec2 uv = v_texCoord;
    uv.x += sin(uv.y * u_frequency + u_time * u_speed) * u_amplitude;
    uv.y += cos(uv.x * u_frequency * 0.7 + u_time * u_speed) * u_amplitude * 0.5;
    fragColor = texture(u_currentTexture, clamp(uv, 0.0, 1.0));
}
