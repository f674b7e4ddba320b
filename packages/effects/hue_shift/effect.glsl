#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_hueDegrees;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    // Rotation about the grey axis keeps luminance roughly where it was.
    float a = radians(u_hueDegrees);
    vec3 k = vec3(0.57735);
    vec3 rgb = c.rgb * cos(a) + cross(k, c.rgb) * sin(a) + k * dot(k, c.rgb) * (1.0 - cos(a));
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
