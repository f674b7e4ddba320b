#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform float u_close;
uniform float u_softness;
uniform float u_centerX;
uniform float u_centerY;

float revealed(float s, float p, float softness)
{
    float w = max(softness, 0.0);
    float edge = p * (1.0 + w);
    if (w < 1e-4)
        return s < edge ? 1.0 : 0.0;
    return 1.0 - smoothstep(edge - w, edge, s);
}

// Open: the incoming clip shows inside a circle that grows from the centre. Close: the outgoing
// clip stays inside a circle that shrinks to nothing. Distances are in the frame's proportions,
// divided by the farthest corner so the circle just clears the frame at the end.
void main()
{
    float aspect = u_resolution.x / max(u_resolution.y, 1.0);
    vec2 c = vec2(u_centerX, u_centerY);
    vec2 scale = vec2(aspect, 1.0);
    float farthest = 0.0;
    for (int i = 0; i < 4; ++i) {
        vec2 corner = vec2(float(i & 1), float(i >> 1));
        farthest = max(farthest, length((corner - c) * scale));
    }
    float s = length((v_texCoord - c) * scale) / farthest;
    float k = u_close < 0.5 ? revealed(s, u_progress, u_softness) : revealed(1.0 - s, u_progress, u_softness);
    fragColor = mix(texture(u_fromTexture, v_texCoord), texture(u_toTexture, v_texCoord), k);
}
