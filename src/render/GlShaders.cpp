#include "render/GlShaders.h"

namespace orvel {

const char *const kFullScreenVertexShader = R"(#version 330 core
layout(location = 0) in vec2 a_position;
layout(location = 1) in vec2 a_texCoord;
out vec2 v_texCoord;
void main()
{
    v_texCoord = a_texCoord;
    gl_Position = vec4(a_position, 0.0, 1.0);
}
)";

const char *const kCopyFragmentShader = R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
void main()
{
    fragColor = texture(u_currentTexture, v_texCoord);
}
)";

// Y is neither offset by 16/255 nor rescaled, whatever the source's range: the decoder hands
// over what it has and the picture is shown as stored. Chroma is filtered by the sampler. Its
// zero is the byte 128, which reads back as 128/255, not 0.5: taking 0.5 off tints every grey.
const char *const kNv12FragmentShader = R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_y;
uniform sampler2D u_uv;
void main()
{
    float y = texture(u_y, v_texCoord).r;
    vec2 uv = texture(u_uv, v_texCoord).rg - vec2(128.0 / 255.0);
    float u = uv.x;
    float v = uv.y;
    float r = y + 1.5748 * v;
    float g = y - 0.1873 * u - 0.4681 * v;
    float b = y + 1.8556 * u;
    fragColor = vec4(clamp(vec3(r, g, b), 0.0, 1.0), 1.0);
}
)";

} // namespace orvel
