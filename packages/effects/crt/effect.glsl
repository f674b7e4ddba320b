#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float u_curvature;
uniform float u_scanlines;
void main()
{
    vec2 d = v_texCoord * 2.0 - 1.0;
    d *= 1.0 + u_curvature * dot(d, d) * 0.5;
    vec2 uv = d * 0.5 + 0.5;
    if (any(lessThan(uv, vec2(0.0))) || any(greaterThan(uv, vec2(1.0)))) {
        fragColor = vec4(0.0, 0.0, 0.0, 1.0);
        return;
    }
    vec4 c = texture(u_currentTexture, uv);
    float line = 0.5 + 0.5 * sin(uv.y * u_resolution.y * 3.14159);
    // A shadow mask of red, green and blue columns.
    int column = int(mod(floor(uv.x * u_resolution.x), 3.0));
    vec3 mask = vec3(column == 0 ? 1.0 : 0.75, column == 1 ? 1.0 : 0.75, column == 2 ? 1.0 : 0.75);
    vec3 rgb = c.rgb * mix(1.0, line, u_scanlines) * mask * 1.2;
    fragColor = vec4(clamp(rgb, 0.0, 1.0), c.a);
}
