#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform float u_dirX;
uniform float u_dirY;
uniform float u_softness;

float revealed(float s, float p, float softness)
{
    float w = max(softness, 0.0);
    float edge = p * (1.0 + w);
    if (w < 1e-4)
        return s < edge ? 1.0 : 0.0;
    return 1.0 - smoothstep(edge - w, edge, s);
}

// The edge travels along (u_dirX, u_dirY); the incoming clip fills in behind it.
void main()
{
    vec2 d = normalize(vec2(u_dirX, u_dirY));
    float lo = min(d.x, 0.0) + min(d.y, 0.0);
    float hi = max(d.x, 0.0) + max(d.y, 0.0);
    float s = (dot(v_texCoord, d) - lo) / (hi - lo);
    float k = revealed(s, u_progress, u_softness);
    fragColor = mix(texture(u_fromTexture, v_texCoord), texture(u_toTexture, v_texCoord), k);
}
