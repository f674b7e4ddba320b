#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_blurRadius;

void main()
{
    // Gaussian with sigma of half the radius; taps are spread so that a wide radius costs no
    // more than 25 samples, and the weights are normalised so a flat picture stays flat.
    float radius = max(u_blurRadius, 0.0);
    if (radius < 0.5) {
        fragColor = texture(u_currentTexture, v_texCoord);
        return;
    }
    float stride = max(1.0, radius / 12.0);
    float sigma = radius * 0.5;
    vec4 sum = vec4(0.0);
    float total = 0.0;
    for (float i = -12.0; i <= 12.0; i += 1.0) {
        float offset = i * stride;
        if (abs(offset) > radius)
            continue;
        float w = exp(-0.5 * offset * offset / (sigma * sigma));
        sum += texture(u_currentTexture, v_texCoord + vec2(1.0, 0.0) * offset / u_resolution) * w;
        total += w;
    }
    fragColor = sum / total;
}
