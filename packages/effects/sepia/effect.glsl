#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_intensity;
void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    vec3 s = vec3(dot(c.rgb, vec3(0.393, 0.769, 0.189)), dot(c.rgb, vec3(0.349, 0.686, 0.168)),
                  dot(c.rgb, vec3(0.272, 0.534, 0.131)));
    fragColor = vec4(mix(c.rgb, clamp(s, 0.0, 1.0), u_intensity), c.a);
}
