#pragma once

namespace orvel {

// Shader sources shared by every GL-thread drawing pass. All are GLSL 3.30 core; the vertex
// inputs sit at the locations of the runtime's quad (0: a_position, 1: a_texCoord) and every
// fragment shader writes `fragColor`.

// Passes a_texCoord on as v_texCoord and the quad's position on unchanged, so texture row 0
// lands on framebuffer row 0.
extern const char *const kFullScreenVertexShader;

// Writes u_currentTexture at v_texCoord unchanged.
extern const char *const kCopyFragmentShader;

// NV12 to RGB: u_y (red: luma) and u_uv (red, green: chroma), read with the matrix u_yuvMatrix
// and, unless u_fullRange is 1, expanded from limited range.
extern const char *const kNv12FragmentShader;

// Name under which the NV12 program is kept among the runtime's built-in programs.
inline constexpr const char *kNv12ProgramName = "__nv12__";

} // namespace orvel
