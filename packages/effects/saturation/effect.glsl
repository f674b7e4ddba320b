#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_saturation;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    float luma = dot(c.rgb, vec3(0.2126, 0.7152, 0.0722));
    fragColor = vec4(clamp(mix(vec3(luma), c.rgb, u_saturation), 0.0, 1.0), c.a);
}
