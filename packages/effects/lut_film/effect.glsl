#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform sampler2D u_texture1;
uniform float u_intensity;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    // film.png is film.cube laid out as 16 slices of 16x16 along x, blue choosing the slice and
    // green rising from v = 0. Blue is interpolated here, red and green by the sampler.
    vec3 v = clamp(c.rgb, 0.0, 1.0) * 15.0;
    float b0 = floor(v.b);
    float b1 = min(b0 + 1.0, 15.0);
    vec2 uv = vec2((v.r + 0.5) / 256.0, (v.g + 0.5) / 16.0);
    vec3 lo = texture(u_texture1, uv + vec2(b0 / 16.0, 0.0)).rgb;
    vec3 hi = texture(u_texture1, uv + vec2(b1 / 16.0, 0.0)).rgb;
    vec3 graded = mix(lo, hi, v.b - b0);
    fragColor = vec4(mix(c.rgb, graded, u_intensity), c.a);
}
