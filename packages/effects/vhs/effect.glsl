#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_intensity;
float hash(vec2 p)
{
    return fract(sin(dot(p, vec2(127.1, 311.7))) * 43758.5453);
}

void main()
{
    float t = u_time;
    float wobble = sin(v_texCoord.y * 120.0 + t * 8.0) * 0.0015 * u_intensity;
    // A tracking band rolls up the picture.
    float band = smoothstep(0.0, 0.04, abs(fract(v_texCoord.y + t * 0.15) - 0.5) - 0.44);
    float tear = (1.0 - band) * 0.02 * u_intensity;
    vec2 uv = vec2(v_texCoord.x + wobble + tear, v_texCoord.y);
    float bleed = 3.0 * u_intensity / u_resolution.x;
    vec4 c = texture(u_currentTexture, uv);
    float r = texture(u_currentTexture, uv + vec2(bleed, 0.0)).r;
    float b = texture(u_currentTexture, uv - vec2(bleed, 0.0)).b;
    vec3 rgb = vec3(r, c.g, b);
    float noise = hash(v_texCoord * u_resolution + t) - 0.5;
    rgb = mix(rgb, vec3(dot(rgb, vec3(0.3, 0.59, 0.11))), 0.25 * u_intensity) + noise * 0.08 * u_intensity;
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
