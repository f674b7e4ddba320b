#pragma once

#include "render/gl/GlFbo.h"
#include "render/gl/GpuFrameTexture.h"
#include "render/scene/GpuScene.h"

#include <QImage>
#include <QPainterPath>
#include <QSize>
#include <QtGui/qopengl.h>

class QMatrix4x4;

namespace orvel {

struct GpuEffectHooks;

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

    // Where the latest render() spent its time on the GL thread: drawing, up to the GPU having
    // finished it, and reading the canvas back. For benchmarks.
    struct RenderTimings
    {
        qint64 drawNs = 0;
        qint64 readbackNs = 0;
    };
    static RenderTimings lastRenderTimings();

private:
    // A layer's picture on the GPU: either a framebuffer of its own (returned to the pool after
    // drawing) or a texture that a cache owns, such as a still image's.
    struct LayerTexture
    {
        GlFbo owned;
        GLuint texture = 0;
        QSize size;
        bool isValid() const { return texture != 0 && !size.isEmpty(); }
    };

    // Everything below runs inside one job on the GL thread.
    static void drawScene(GlFbo &canvas, const GpuScene &scene, const GpuEffectHooks &hooks);
    static void drawBackground(GlFbo &canvas, const GpuScene &scene);
    static void drawBlurredPicture(GlFbo &canvas, const QImage &picture, double blurStrength);
    static void blurPass(GLuint source, GlFbo &target, float texelX, float texelY, float radius);
    static void drawTransition(GlFbo &canvas, const GpuSceneEntry &entry, QSize canvasSize,
                               const GpuEffectHooks &hooks);
    static GlFbo layerToCanvasFbo(const GpuLayer &layer, QSize canvasSize, const GpuEffectHooks &hooks);
    static LayerTexture layerTexture(const GpuLayer &layer, QSize canvasSize, const GpuEffectHooks &hooks);
    static void runEffectChain(LayerTexture &texture, const GpuLayer &layer, const GpuEffectHooks &hooks);
    static void drawLayer(GlFbo &canvas, const LayerTexture &texture, const GpuLayer &layer, int blendMode,
                          QSize canvasSize);
    static void drawLayerBlended(GlFbo &canvas, const LayerTexture &texture, const QMatrix4x4 &model,
                                 const GpuLayer &layer, int blendMode, GLuint mask, float maskInvert,
                                 QSize canvasSize);
    static GLuint maskTexture(const ClipMask &mask, QSize size);
};

// CPU side of masks, also used when the background picture is built. `width` and `height` are
// the layer texture's size in pixels. Neither touches GL.
QImage rasterMask(const ClipMask &mask, int width, int height);
QPainterPath maskPath(const ClipMask &mask, int width, int height);
// The feather of a mask raster: R / 2 passes (1 to 8) of a (2R + 1)-wide box filter over the
// pixels' luma, edges clamped, as a Format_Grayscale8 image. A radius below 1 counts as 1.
QImage featherMask(const QImage &image, int radius);

} // namespace orvel
