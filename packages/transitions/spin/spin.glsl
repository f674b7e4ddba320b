#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform float u_turns;

vec4 over(vec4 top, vec4 bottom)
{
    float a = top.a + bottom.a * (1.0 - top.a);
    vec3 rgb = top.rgb * top.a + bottom.rgb * bottom.a * (1.0 - top.a);
    return vec4(a > 0.0 ? rgb / a : vec3(0.0), a);
}

vec4 sampleInside(sampler2D tex, vec2 uv)
{
    if (uv.x < 0.0 || uv.x > 1.0 || uv.y < 0.0 || uv.y > 1.0)
        return vec4(0.0);
    return texture(tex, uv);
}

// Turns about the centre in the frame's own proportions, so a square stays square.
vec2 turned(vec2 uv, float angle, float scale)
{
    float aspect = u_resolution.x / max(u_resolution.y, 1.0);
    vec2 q = (uv - vec2(0.5)) * vec2(aspect, 1.0);
    float c = cos(angle), s = sin(angle);
    q = mat2(c, -s, s, c) * q / max(scale, 1e-3);
    return q / vec2(aspect, 1.0) + vec2(0.5);
}

// The outgoing clip spins away into the centre as the incoming one spins out of it.
void main()
{
    float p = u_progress;
    float turn = 6.2831853 * u_turns;
    vec4 from = sampleInside(u_fromTexture, turned(v_texCoord, turn * p, 1.0 - p));
    vec4 to = sampleInside(u_toTexture, turned(v_texCoord, -turn * (1.0 - p), p));
    to.a *= smoothstep(0.0, 0.3, p);
    from.a *= 1.0 - smoothstep(0.7, 1.0, p);
    fragColor = over(to, from);
}
