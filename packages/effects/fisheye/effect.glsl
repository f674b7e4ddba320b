#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_strength;
void main()
{
    vec2 aspect = vec2(u_resolution.x / u_resolution.y, 1.0);
    vec2 d = (v_texCoord - 0.5) * aspect;
    float r = length(d);
    // Barrel for positive strength, pincushion for negative.
    vec2 uv = 0.5 + d * (1.0 - u_strength * 0.5 + u_strength * 0.5 * r * r * 4.0) / aspect;
    if (any(lessThan(uv, vec2(0.0))) || any(greaterThan(uv, vec2(1.0))))
        fragColor = vec4(0.0, 0.0, 0.0, 1.0);
    else
        fragColor = texture(u_currentTexture, uv);
}
