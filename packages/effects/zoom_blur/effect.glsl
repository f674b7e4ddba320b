#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_strength;
uniform float u_centerX;
uniform float u_centerY;
void main()
{
    vec2 center = vec2(u_centerX, u_centerY);
    vec4 sum = vec4(0.0);
    for (int i = 0; i < 16; ++i) {
        float scale = 1.0 - u_strength * float(i) / 15.0;
        sum += texture(u_currentTexture, center + (v_texCoord - center) * scale);
    }
    fragColor = sum / 16.0;
}
