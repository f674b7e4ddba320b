#include "render/gl/GlShaders.h"

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

// The matrix and the range come with each frame. Limited range is expanded here, Y from 16..235
// and chroma from 16..240, so a limited-range black is 0 and white 255. Chroma's zero is the
// byte 128, which reads back as 128/255, not 0.5: taking 0.5 off would tint every grey.
const char *const kNv12FragmentShader = R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_y;
uniform sampler2D u_uv;
uniform mat3 u_yuvMatrix;
uniform float u_fullRange;
void main()
{
    float y = texture(u_y, v_texCoord).r;
    vec2 c = texture(u_uv, v_texCoord).rg - vec2(128.0 / 255.0);
    if (u_fullRange < 0.5) {
        y = (y - 16.0 / 255.0) * (255.0 / 219.0);
        c *= 255.0 / 224.0;
    }
    vec3 rgb = u_yuvMatrix * vec3(y, c);
    fragColor = vec4(clamp(rgb, 0.0, 1.0), 1.0);
}
)";

} // namespace orvel
