#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_strength;
uniform float u_invert;
void main()
{
    vec2 t = 1.0 / u_resolution;
    float l[9];
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 3; ++i)
            l[j * 3 + i] = dot(texture(u_currentTexture, v_texCoord + vec2(i - 1, j - 1) * t).rgb,
                               vec3(0.2126, 0.7152, 0.0722));
    float gx = l[2] + 2.0 * l[5] + l[8] - l[0] - 2.0 * l[3] - l[6];
    float gy = l[6] + 2.0 * l[7] + l[8] - l[0] - 2.0 * l[1] - l[2];
    float e = clamp(length(vec2(gx, gy)) * u_strength, 0.0, 1.0);
    float a = texture(u_currentTexture, v_texCoord).a;
    fragColor = vec4(vec3(u_invert > 0.5 ? 1.0 - e : e), a);
}
