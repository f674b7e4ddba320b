#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_stops;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    // Applied in linear light so a stop doubles the light, not the code value.
    vec3 lin = pow(c.rgb, vec3(2.2)) * exp2(u_stops);
    fragColor = vec4(pow(clamp(lin, 0.0, 1.0), vec3(1.0 / 2.2)), c.a);
}
