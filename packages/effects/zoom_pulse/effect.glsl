#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_amount;
uniform float u_rate;
void main()
{
    float phase = fract(u_time * u_rate);
    float zoom = 1.0 + u_amount * exp(-phase * 6.0);
    vec2 uv = (v_texCoord - 0.5) / zoom + 0.5;
    fragColor = texture(u_currentTexture, uv);
}
