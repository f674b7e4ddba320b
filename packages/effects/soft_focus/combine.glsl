#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform sampler2D u_texture1;
uniform float u_amount;

void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    vec3 soft = texture(u_texture1, v_texCoord).rgb;
    // Lighten-blend the blur so the haze sits over the shadows, as with a diffusion filter.
    vec3 rgb = mix(c.rgb, max(c.rgb, soft), u_amount) * (1.0 + 0.08 * u_amount);
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
