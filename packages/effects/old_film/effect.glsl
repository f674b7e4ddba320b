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
    vec2 uv = v_texCoord + vec2(0.0, (hash(vec2(frame, 1.0)) - 0.5) * 0.004 * u_intensity);
    vec4 c = texture(u_currentTexture, uv);
    vec3 s = vec3(dot(c.rgb, vec3(0.393, 0.769, 0.189)), dot(c.rgb, vec3(0.349, 0.686, 0.168)),
                  dot(c.rgb, vec3(0.272, 0.534, 0.131)));
    vec3 rgb = mix(c.rgb, clamp(s, 0.0, 1.0), u_intensity);
    // A vertical scratch that moves each frame, dust specks and a flicker.
    float x = hash(vec2(frame, 7.0));
    float scratch = 1.0 - smoothstep(0.0, 1.5 / u_resolution.x, abs(v_texCoord.x - x)) ;
    float dust = step(0.9993, hash(floor(v_texCoord * u_resolution / 2.0) + frame));
    float flicker = 1.0 + (hash(vec2(frame, 3.0)) - 0.5) * 0.12 * u_intensity;
    rgb = rgb * flicker + (scratch * 0.35 - dust * 0.6) * u_intensity;
    vec2 d = v_texCoord - 0.5;
    rgb *= 1.0 - dot(d, d) * 1.4 * u_intensity;
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
