#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform vec3 u_dipColor;
uniform float u_hold;
// Out to the colour in the first half, in from it in the second; `u_hold` keeps the plain
// colour on screen for that share of the time around the middle.
void main()
{
    float hold = clamp(u_hold, 0.0, 0.9);
    float span = (1.0 - hold) * 0.5;
    vec4 dip = vec4(u_dipColor, 1.0);
    if (u_progress <= 0.5) {
        float t = clamp(u_progress / max(span, 1e-4), 0.0, 1.0);
        fragColor = mix(texture(u_fromTexture, v_texCoord), dip, t);
    } else {
        float t = clamp((u_progress - 1.0 + span) / max(span, 1e-4), 0.0, 1.0);
        fragColor = mix(dip, texture(u_toTexture, v_texCoord), t);
    }
}
