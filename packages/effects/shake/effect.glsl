#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_strength;
uniform float u_speed;
void main()
{
    float t = u_time * u_speed;
    vec2 offset = vec2(sin(t * 1.7) + sin(t * 3.1) * 0.5, cos(t * 2.3) + sin(t * 4.7) * 0.5) * u_strength * 0.6;
    // Zoomed in a little so the moving picture never shows its edge.
    vec2 uv = (v_texCoord - 0.5) / (1.0 + u_strength * 2.0) + 0.5 + offset;
    fragColor = texture(u_currentTexture, clamp(uv, 0.0, 1.0));
}
