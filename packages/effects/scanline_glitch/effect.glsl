#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform int u_frameIndex;
uniform float u_intensity;
float hash(vec2 p)
{
    return fract(sin(dot(p, vec2(127.1, 311.7))) * 43758.5453);
}

void main()
{
    float frame = float(u_frameIndex);
    float line = floor(v_texCoord.y * u_resolution.y / 3.0);
    float n = hash(vec2(line, floor(frame / 2.0)));
    float shift = n > 1.0 - 0.3 * u_intensity ? (hash(vec2(line, frame)) - 0.5) * 0.15 * u_intensity : 0.0;
    vec4 c = texture(u_currentTexture, vec2(fract(v_texCoord.x + shift), v_texCoord.y));
    float dark = mod(floor(v_texCoord.y * u_resolution.y), 2.0) < 1.0 ? 1.0 - 0.25 * u_intensity : 1.0;
    fragColor = vec4(c.rgb * dark, c.a);
}
