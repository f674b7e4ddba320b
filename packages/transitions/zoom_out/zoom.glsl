#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform float u_zoomOut;
uniform float u_strength;

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

vec2 scaled(vec2 uv, float scale)
{
    return vec2(0.5) + (uv - vec2(0.5)) / max(scale, 1e-3);
}

// Zoom in: the outgoing clip grows past the frame while the incoming one grows from the centre.
// Zoom out: the outgoing clip shrinks into the centre over the incoming one, which settles from
// close up.
void main()
{
    float p = u_progress;
    float k = max(u_strength, 0.0);
    vec4 result;
    if (u_zoomOut < 0.5) {
        vec4 from = texture(u_fromTexture, scaled(v_texCoord, 1.0 + k * p));
        from.a *= 1.0 - smoothstep(0.8, 1.0, p);
        vec4 to = sampleInside(u_toTexture, scaled(v_texCoord, p * (2.0 - p)));
        to.a *= smoothstep(0.0, 0.1, p);
        result = over(to, from);
    } else {
        vec4 from = sampleInside(u_fromTexture, scaled(v_texCoord, 1.0 - p * p));
        from.a *= 1.0 - smoothstep(0.8, 1.0, p);
        vec4 to = texture(u_toTexture, scaled(v_texCoord, 1.0 + k * (1.0 - p)));
        to.a *= smoothstep(0.0, 0.1, p);
        result = over(from, to);
    }
    fragColor = result;
}
