#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_threshold;

void main()
{
    vec4 c = texture(u_currentTexture, v_texCoord);
    float luma = dot(c.rgb, vec3(0.2126, 0.7152, 0.0722));
    fragColor = vec4(c.rgb * smoothstep(u_threshold, u_threshold + 0.15, luma), 1.0);
}
