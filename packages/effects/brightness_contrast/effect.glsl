#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_brightness;
uniform float u_contrast;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    vec3 rgb = (c.rgb - 0.5) * u_contrast + 0.5 + u_brightness;
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
