#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform vec3 u_dipColor;
uniform float u_softness;

float revealed(float s, float p, float softness)
{
    float w = max(softness, 0.0);
    float edge = p * (1.0 + w);
    if (w < 1e-4)
        return s < edge ? 1.0 : 0.0;
    return 1.0 - smoothstep(edge - w, edge, s);
}

// An iris closes on the outgoing clip down to the colour, then opens on the incoming one.
void main()
{
    float aspect = u_resolution.x / max(u_resolution.y, 1.0);
    float s = length((v_texCoord - vec2(0.5)) * vec2(aspect, 1.0)) / length(vec2(aspect, 1.0) * 0.5);
    vec4 dip = vec4(u_dipColor, 1.0);
    if (u_progress <= 0.5) {
        float shut = revealed(1.0 - s, u_progress * 2.0, u_softness);
        fragColor = mix(texture(u_fromTexture, v_texCoord), dip, shut);
    } else {
        float open = revealed(s, u_progress * 2.0 - 1.0, u_softness);
        fragColor = mix(dip, texture(u_toTexture, v_texCoord), open);
    }
}
