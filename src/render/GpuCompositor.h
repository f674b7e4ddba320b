#pragma once

#include "render/GpuFrameTexture.h"
#include "render/GpuScene.h"

#include <QImage>
#include <QPainterPath>

namespace orvel {

// Draws one GpuScene on the GL thread: background, layer textures, effect chains, transitions,
// masks and blend modes. It decides nothing about what is visible; the scene has settled that.
class GpuCompositor
{
public:
    // Straight RGBA8888 read-back of the drawn scene, row 0 at the top. Null for an empty size
    // or when GL is unavailable.
    static QImage render(const GpuScene &scene);
    // The scene drawn into the next presentation framebuffer, for the preview. Empty for an
    // empty size or when GL is unavailable.
    static GpuFrameTexture renderToTexture(const GpuScene &scene);
};

// CPU side of masks, also used when the background picture is built. `width` and `height` are
// the layer texture's size in pixels.
QImage rasterMask(const ClipMask &mask, int width, int height);
QPainterPath maskPath(const ClipMask &mask, int width, int height);

} // namespace orvel
