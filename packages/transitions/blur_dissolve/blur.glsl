#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform float u_blurRadius;
// A 9 x 9 gaussian of both clips, widest in the middle of the transition and none at its ends,
// so the first and last frames are the clips as they are.
vec4 blurred(sampler2D tex, vec2 radius)
{
    vec4 sum = vec4(0.0);
    float total = 0.0;
    for (int y = -4; y <= 4; ++y) {
        for (int x = -4; x <= 4; ++x) {
            float w = exp(-float(x * x + y * y) / 8.0);
            sum += texture(tex, v_texCoord + vec2(x, y) / 4.0 * radius) * w;
            total += w;
        }
    }
    return sum / total;
}

void main()
{
    float amount = sin(3.14159265 * u_progress);
    vec2 radius = vec2(u_blurRadius * max(amount, 0.0)) / u_resolution;
    float k = smoothstep(0.2, 0.8, u_progress);
    fragColor = mix(blurred(u_fromTexture, radius), blurred(u_toTexture, radius), k);
}
