#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_dotSize;
uniform float u_angle;
void main()
{
    float a = radians(u_angle);
    mat2 rot = mat2(cos(a), -sin(a), sin(a), cos(a));
    vec2 p = rot * (v_texCoord * u_resolution) / u_dotSize;
    vec2 cellCenter = (floor(p) + 0.5);
    vec2 uv = (transpose(rot) * (cellCenter * u_dotSize)) / u_resolution;
    vec4 c = texture(u_currentTexture, clamp(uv, 0.0, 1.0));
    float luma = dot(c.rgb, vec3(0.2126, 0.7152, 0.0722));
    // Dark areas get big dots; the dot keeps the cell's colour on white paper.
    float radius = sqrt(1.0 - luma) * 0.7;
    float inside = 1.0 - smoothstep(radius - 0.08, radius + 0.08, length(p - cellCenter));
    fragColor = vec4(mix(vec3(1.0), c.rgb * 0.85, inside), c.a);
}
