#include "render/compositor/CompositorShaders.h"

namespace orvel {

const char *const kLayerVertexShader = R"(#version 330 core
layout(location = 0) in vec2 a_position;
layout(location = 1) in vec2 a_texCoord;
uniform mat4 u_model;
out vec2 v_texCoord;
void main()
{
    v_texCoord = a_texCoord;
    gl_Position = u_model * vec4(a_position, 0.0, 1.0);
}
)";

// The mask is sampled at the layer's own coordinates, so it turns, flips and scales with it.
const char *const kLayerFragmentShader = R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_layer;
uniform sampler2D u_mask;
uniform float u_opacity;
uniform float u_hasMask;
uniform float u_maskInvert;
void main()
{
    vec4 c = texture(u_layer, v_texCoord);
    float a = c.a * u_opacity;
    if (u_hasMask > 0.5) {
        float m = texture(u_mask, v_texCoord).r;
        a *= mix(m, 1.0 - m, u_maskInvert);
    }
    fragColor = vec4(c.rgb * a, a);
}
)";

// The blend acts on straight colours and its result is laid over the destination source-over,
// the way Qt's composition modes do it.
const char *const kLayerBlendFragmentShader = R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_layer;
uniform sampler2D u_mask;
uniform sampler2D u_dst;
uniform float u_opacity;
uniform float u_hasMask;
uniform float u_maskInvert;
uniform int u_blendMode;
uniform vec2 u_canvasSize;

vec3 blendColours(vec3 base, vec3 source)
{
    if (u_blendMode == 1)
        return base * source;
    if (u_blendMode == 2)
        return 1.0 - (1.0 - base) * (1.0 - source);
    if (u_blendMode == 3) {
        vec3 low = 2.0 * base * source;
        vec3 high = 1.0 - 2.0 * (1.0 - base) * (1.0 - source);
        return mix(high, low, vec3(lessThan(base, vec3(0.5))));
    }
    if (u_blendMode == 5)
        return min(base, source);
    if (u_blendMode == 6)
        return max(base, source);
    return source;
}

void main()
{
    vec4 src = texture(u_layer, v_texCoord);
    float sa = src.a * u_opacity;
    if (u_hasMask > 0.5) {
        float m = texture(u_mask, v_texCoord).r;
        sa *= mix(m, 1.0 - m, u_maskInvert);
    }
    vec4 dst = texture(u_dst, gl_FragCoord.xy / u_canvasSize);
    vec3 dstRgb = dst.a > 0.0001 ? dst.rgb / dst.a : vec3(0.0);
    vec3 blended = clamp(blendColours(dstRgb, src.rgb), 0.0, 1.0);
    float outA = sa + dst.a * (1.0 - sa);
    vec3 outRgb = blended * sa + dstRgb * dst.a * (1.0 - sa);
    fragColor = vec4(outRgb, outA);
}
)";

// Whatever the radius, the 17 taps stay 17 and spread evenly over plus or minus u_radius
// pixels, so a strong blur costs no more than a weak one.
const char *const kBackgroundBlurFragmentShader = R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_texture;
uniform vec2 u_texel;
uniform float u_radius;
void main()
{
    float r = max(u_radius, 0.5);
    float spread = 2.0 * r * r / 9.0;
    vec4 sum = vec4(0.0);
    float weights = 0.0;
    for (int i = -8; i <= 8; ++i) {
        float w = exp(-float(i * i) / spread);
        sum += w * texture(u_texture, v_texCoord + u_texel * float(i) * (u_radius / 8.0));
        weights += w;
    }
    fragColor = sum / max(weights, 0.0001);
}
)";

} // namespace orvel
