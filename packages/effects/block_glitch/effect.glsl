#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform int u_frameIndex;
uniform float u_intensity;
uniform float u_blockSize;
float hash(vec2 p)
{
    return fract(sin(dot(p, vec2(127.1, 311.7))) * 43758.5453);
}

void main()
{
    float frame = floor(float(u_frameIndex) / 3.0);
    vec2 block = floor(v_texCoord * u_resolution / u_blockSize);
    float n = hash(block + frame);
    vec2 uv = v_texCoord;
    vec4 c = texture(u_currentTexture, uv);
    if (n > 1.0 - 0.35 * u_intensity) {
        uv += (vec2(hash(block * 1.7 + frame), hash(block * 2.3 - frame)) - 0.5) * 0.1;
        c = texture(u_currentTexture, fract(uv));
        c.rgb = n > 1.0 - 0.1 * u_intensity ? c.gbr : c.rgb;
    }
    fragColor = c;
}
