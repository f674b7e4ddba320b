#pragma once

namespace orvel {

// Programs of the compositor, kept by the GL runtime under these names.
inline constexpr const char *kLayerProgramName = "__layer__";
inline constexpr const char *kLayerBlendProgramName = "__layer_blend__";
inline constexpr const char *kBackgroundBlurProgramName = "__bg_blur__";

// Places the quad by u_model and passes a_texCoord on as v_texCoord.
extern const char *const kLayerVertexShader;

// Straight-alpha u_layer times u_opacity and the optional mask, written premultiplied so that
// blending with (ONE, ONE_MINUS_SRC_ALPHA) is source-over.
extern const char *const kLayerFragmentShader;

// The same layer laid over u_dst (a copy of the canvas) through one of the separable blend
// functions selected by u_blendMode; drawn with blending off.
extern const char *const kLayerBlendFragmentShader;

// One axis of the background blur: 17 gaussian taps spread over plus or minus u_radius pixels
// along u_texel.
extern const char *const kBackgroundBlurFragmentShader;

} // namespace orvel
