#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;
uniform float u_intensity;
uniform float u_blocks;
uniform int u_frameIndex;
float hash(vec2 p)
{
    return fract(sin(dot(p, vec2(127.1, 311.7))) * 43758.5453);
}

// Blocks of the picture jump sideways and split their colours, strongest in the middle; block
// by block, in a random order that changes with every frame, the incoming clip takes over.
void main()
{
    float p = u_progress;
    float amount = max(sin(3.14159265 * p), 0.0) * u_intensity;
    float rows = max(u_blocks, 1.0);
    vec2 block = floor(v_texCoord * vec2(rows * 0.5, rows));
    float frame = float(u_frameIndex);
    float jump = (hash(vec2(block.y, frame)) - 0.5) * 0.15 * amount;
    vec2 uv = vec2(v_texCoord.x + jump, v_texCoord.y);
    vec2 split = vec2(0.015 * amount, 0.0);
    bool useTo = hash(block + vec2(frame * 0.37, 1.3)) < p;
    vec4 c;
    if (useTo)
        c = vec4(texture(u_toTexture, uv - split).r, texture(u_toTexture, uv).g,
                 texture(u_toTexture, uv + split).b, texture(u_toTexture, uv).a);
    else
        c = vec4(texture(u_fromTexture, uv - split).r, texture(u_fromTexture, uv).g,
                 texture(u_fromTexture, uv + split).b, texture(u_fromTexture, uv).a);
    fragColor = c;
}
