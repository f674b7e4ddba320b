#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform float u_time;
uniform vec3 u_burnColor;
float hash(vec2 p)
{
    return fract(sin(dot(p, vec2(12.9898, 78.233))) * 43758.5453);
}

float noise(vec2 p)
{
    vec2 i = floor(p);
    vec2 f = fract(p);
    f = f * f * (3.0 - 2.0 * f);
    return mix(mix(hash(i), hash(i + vec2(1.0, 0.0)), f.x), mix(hash(i + vec2(0.0, 1.0)), hash(i + vec2(1.0)), f.x),
               f.y);
}

// A hot, flickering flare spreads from one corner and washes the frame out halfway through;
// the cut happens under it and the incoming clip clears out of the glare.
void main()
{
    float p = u_progress;
    float heat = max(sin(3.14159265 * p), 0.0);
    vec2 uv = v_texCoord;
    float n = noise(uv * 6.0 + vec2(u_time * 1.7, -u_time * 0.9)) * 0.6 + noise(uv * 15.0 - u_time * 2.3) * 0.4;
    float reach = length(uv - vec2(1.1, -0.1)) - heat * 1.6;
    float flare = clamp(1.0 - reach + n * 0.5, 0.0, 1.0) * heat * 0.65;
    vec4 base = mix(texture(u_fromTexture, uv), texture(u_toTexture, uv), smoothstep(0.35, 0.65, p));
    vec3 glow = u_burnColor * flare + vec3(flare * flare * 0.6);
    fragColor = vec4(min(base.rgb + glow, vec3(1.0)), max(base.a, flare));
}
