#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform float u_dirX;
uniform float u_dirY;
uniform float u_pushOut;

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

// The incoming clip travels in along (u_dirX, u_dirY) and lands in place at the end; with
// u_pushOut the outgoing one travels the same way ahead of it, otherwise it stays put.
void main()
{
    vec2 d = vec2(u_dirX, u_dirY);
    float p = u_progress * u_progress * (3.0 - 2.0 * u_progress);
    vec2 fromUv = v_texCoord - d * p * u_pushOut;
    vec2 toUv = v_texCoord + d * (1.0 - p);
    vec4 from = u_pushOut > 0.5 ? sampleInside(u_fromTexture, fromUv) : texture(u_fromTexture, v_texCoord);
    fragColor = over(sampleInside(u_toTexture, toUv), from);
}
