#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_amount;
void main()
{
    vec2 t = 1.0 / u_resolution;
    vec4 c = texture(u_currentTexture, v_texCoord);
    vec3 around = texture(u_currentTexture, v_texCoord + vec2(t.x, 0.0)).rgb +
                  texture(u_currentTexture, v_texCoord - vec2(t.x, 0.0)).rgb +
                  texture(u_currentTexture, v_texCoord + vec2(0.0, t.y)).rgb +
                  texture(u_currentTexture, v_texCoord - vec2(0.0, t.y)).rgb;
    vec3 rgb = c.rgb + (c.rgb * 4.0 - around) * u_amount;
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
