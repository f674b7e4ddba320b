#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform int u_frameIndex;
uniform float u_amount;
uniform float u_grainSize;
float hash(vec2 p)
{
    return fract(sin(dot(p, vec2(127.1, 311.7))) * 43758.5453);
}

void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    vec2 cell = floor(v_texCoord * u_resolution / u_grainSize);
    float n = hash(cell + float(u_frameIndex) * 17.0) - 0.5;
    // Grain is strongest in the mid-tones, as on film.
    float luma = dot(c.rgb, vec3(0.2126, 0.7152, 0.0722));
    float weight = 1.0 - abs(luma - 0.5) * 1.2;
    fragColor = vec4(clamp(c.rgb + n * u_amount * weight, 0.0, 1.0), c.a);
}
