#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform sampler2D u_texture2;
uniform float u_softness;

float revealed(float s, float p, float softness)
{
    float w = max(softness, 0.0);
    float edge = p * (1.0 + w);
    if (w < 1e-4)
        return s < edge ? 1.0 : 0.0;
    return 1.0 - smoothstep(edge - w, edge, s);
}

// The darkest parts of the gradient show the incoming clip first and the brightest last.
void main()
{
    float s = texture(u_texture2, v_texCoord).r;
    float k = revealed(s, u_progress, u_softness);
    fragColor = mix(texture(u_fromTexture, v_texCoord), texture(u_toTexture, v_texCoord), k);
}
