#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;

void main()
{
    // Nine taps, spaced by the buffer's own texel, blurring at the buffer's reduced scale.
    vec2 texel = 1.0 / u_resolution;
    vec4 sum = vec4(0.0);
    float weights[5] = float[](0.227, 0.194, 0.122, 0.054, 0.016);
    sum += texture(u_currentTexture, v_texCoord) * weights[0];
    for (int i = 1; i < 5; ++i) {
        sum += texture(u_currentTexture, v_texCoord + vec2(1.0, 0.0) * texel * float(i)) * weights[i];
        sum += texture(u_currentTexture, v_texCoord - vec2(1.0, 0.0) * texel * float(i)) * weights[i];
    }
    fragColor = sum / (weights[0] + 2.0 * (weights[1] + weights[2] + weights[3] + weights[4]));
}
