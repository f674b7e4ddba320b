#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_intensity;
uniform float u_rate;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    // A sharp rise and an exponential fall once per period.
    float phase = fract(u_time * u_rate);
    float flash = exp(-phase * 8.0) * u_intensity;
    fragColor = vec4(mix(c.rgb, vec3(1.0), flash), c.a);
}
