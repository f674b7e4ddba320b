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
    vec3 glow = texture(u_texture1, v_texCoord).rgb;
    // Screen keeps highlights from clipping hard.
    vec3 rgb = 1.0 - (1.0 - c.rgb) * (1.0 - clamp(glow * u_intensity, 0.0, 1.0));
    fragColor = vec4(rgb, c.a);
}
