#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_amount;
uniform float u_radius;
uniform float u_softness;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    vec2 d = (v_texCoord - 0.5) * vec2(u_resolution.x / u_resolution.y, 1.0);
    float r = length(d) / 0.9;
    float shade = 1.0 - u_amount * smoothstep(u_radius - u_softness, u_radius, r);
    fragColor = vec4(c.rgb * shade, c.a);
}
