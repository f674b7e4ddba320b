#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform vec2 u_resolution;
uniform float u_time;
uniform float position;
void main()
{
    // position: 0 left half mirrored to the right, 1 right to left, 2 top to bottom, 3 bottom to top.
    vec2 uv = v_texCoord;
    if (position < 0.5)
        uv.x = uv.x > 0.5 ? 1.0 - uv.x : uv.x;
    else if (position < 1.5)
        uv.x = uv.x < 0.5 ? 1.0 - uv.x : uv.x;
    else if (position < 2.5)
        uv.y = uv.y > 0.5 ? 1.0 - uv.y : uv.y;
    else
        uv.y = uv.y < 0.5 ? 1.0 - uv.y : uv.y;
    fragColor = texture(u_currentTexture, uv);
}
