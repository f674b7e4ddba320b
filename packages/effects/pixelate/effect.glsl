#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_cellSize;
void main()
{
    vec2 cell = vec2(max(u_cellSize, 1.0)) / u_resolution;
    vec2 uv = (floor(v_texCoord / cell) + 0.5) * cell;
    fragColor = texture(u_currentTexture, uv);
}
