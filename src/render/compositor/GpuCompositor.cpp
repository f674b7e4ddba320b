// The frame as a whole: entry points, background, scene order and transitions. The drawing of
// one layer lives in GpuCompositorLayer.cpp.
#include "render/compositor/GpuCompositor.h"

#include "render/compositor/CompositorShaders.h"
#include "render/gl/GlRuntime.h"
#include "render/gl/GlShaders.h"
#include "render/effects/GpuEffectHooks.h"

#include <QElapsedTimer>
#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>

#include <algorithm>
#include <atomic>

namespace orvel {

namespace {

// A layer over the whole canvas with nothing else to it, for pictures that are canvas-sized.
GpuLayer fullCanvasLayer(QSize canvasSize, double opacity)
{
    GpuLayer layer;
    layer.rect = QRectF(0.0, 0.0, canvasSize.width(), canvasSize.height());
    layer.opacity = opacity;
    layer.valid = true;
    return layer;
}

// What drawLayer would refuse anyway; checked before any texture is made, so that an invisible
// layer costs no decode upload, no effect pass and no binding.
bool layerCanShow(const GpuLayer &layer)
{
    return layer.valid && layer.opacity > 0.0 && layer.rect.width() >= 0.5 && layer.rect.height() >= 0.5;
}

void bindAndClear(GlFbo &fbo, QSize size, float r, float g, float b, float a)
{
    QOpenGLExtraFunctions *f = GlRuntime::instance().extraFunctions();
    fbo.fbo->bind();
    f->glViewport(0, 0, size.width(), size.height());
    f->glDisable(GL_BLEND);
    f->glClearColor(r, g, b, a);
    f->glClear(GL_COLOR_BUFFER_BIT);
}

// The canvas is opaque from the first clear on (every draw keeps alpha at 1), so its stored
// premultiplied bytes are already the straight colours: read them as they are, with no flip.
QImage readCanvas(GlFbo &canvas, QSize size)
{
    QImage image(size, QImage::Format_RGBA8888);
    QOpenGLExtraFunctions *f = GlRuntime::instance().extraFunctions();
    canvas.fbo->bind();
    f->glPixelStorei(GL_PACK_ALIGNMENT, 4);
    f->glReadPixels(0, 0, size.width(), size.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
    canvas.fbo->release();
    return image;
}

std::atomic<qint64> g_lastDrawNs{0};
std::atomic<qint64> g_lastReadbackNs{0};

} // namespace

GpuCompositor::RenderTimings GpuCompositor::lastRenderTimings()
{
    return {g_lastDrawNs.load(), g_lastReadbackNs.load()};
}

QImage GpuCompositor::render(const GpuScene &scene)
{
    if (scene.size.isEmpty())
        return {};
    const std::shared_ptr<const GpuEffectHooks> hooks = gpuEffectHooks();
    GlRuntime &gl = GlRuntime::instance();
    QImage result;
    gl.run([&] {
        GlFbo canvas = gl.acquireFbo(scene.size.width(), scene.size.height());
        if (!canvas.isValid())
            return;
        QElapsedTimer timer;
        timer.start();
        drawScene(canvas, scene, *hooks);
        // The read-back would wait for the drawing anyway; finishing first only tells the two
        // apart.
        gl.extraFunctions()->glFinish();
        g_lastDrawNs = timer.nsecsElapsed();
        timer.restart();
        result = readCanvas(canvas, scene.size);
        g_lastReadbackNs = timer.nsecsElapsed();
        gl.releaseFbo(canvas);
    });
    return result;
}

GpuFrameTexture GpuCompositor::renderToTexture(const GpuScene &scene)
{
    if (scene.size.isEmpty())
        return {};
    const std::shared_ptr<const GpuEffectHooks> hooks = gpuEffectHooks();
    GlRuntime &gl = GlRuntime::instance();
    GpuFrameTexture frame;
    gl.run([&] {
        GlFbo &target = gl.acquirePresentTarget(scene.size.width(), scene.size.height());
        if (!target.isValid())
            return;
        drawScene(target, scene, *hooks);
        target.fbo->release();
        gl.publishPresentTarget(target);
        frame.textureId = target.texture();
        frame.size = scene.size;
    });
    return frame;
}

void GpuCompositor::drawScene(GlFbo &canvas, const GpuScene &scene, const GpuEffectHooks &hooks)
{
    GlRuntime &gl = GlRuntime::instance();
    drawBackground(canvas, scene);
    for (const GpuSceneEntry &entry : scene.entries) {
        if (entry.isTransition) {
            drawTransition(canvas, entry, scene.size, hooks);
            continue;
        }
        if (!layerCanShow(entry.layer))
            continue;
        LayerTexture texture = layerTexture(entry.layer, scene.size, hooks);
        if (texture.isValid())
            drawLayer(canvas, texture, entry.layer, entry.blendMode, scene.size);
        gl.releaseFbo(texture.owned);
    }
}

void GpuCompositor::drawBackground(GlFbo &canvas, const GpuScene &scene)
{
    // Alpha is always 1, so the canvas is opaque before any layer lands on it.
    const QColor colour = scene.backgroundColor.isValid() ? scene.backgroundColor : QColor(Qt::black);
    bindAndClear(canvas, scene.size, float(colour.redF()), float(colour.greenF()), float(colour.blueF()),
                 1.0f);
    if (scene.backgroundBlur && !scene.backgroundImage.isNull())
        drawBlurredPicture(canvas, scene.backgroundImage, scene.blurStrength);
}

void GpuCompositor::drawBlurredPicture(GlFbo &canvas, const QImage &picture, double blurStrength)
{
    GlRuntime &gl = GlRuntime::instance();
    const QSize size(canvas.fbo->width(), canvas.fbo->height());
    const double w = picture.width();
    const double h = picture.height();
    // The picture covers the canvas, centred.
    const double s = std::max(size.height() / h, size.width() / w);
    GpuLayer cover = fullCanvasLayer(size, 1.0);
    cover.rect = QRectF((size.width() - w * s) / 2.0, (size.height() - h * s) / 2.0, w * s, h * s);

    GlFbo a = gl.acquireFbo(size.width(), size.height());
    if (!a.isValid())
        return;
    bindAndClear(a, size, 0.0f, 0.0f, 0.0f, 1.0f);
    // A still picture stays in the image texture cache, so there is no framebuffer to fill.
    LayerTexture source;
    source.texture = gl.cachedImageTexture(picture);
    source.size = picture.size();
    drawLayer(a, source, cover, 0, size);

    GlFbo c = gl.acquireFbo(size.width(), size.height());
    if (!c.isValid() || !gl.builtinProgram(QString::fromLatin1(kBackgroundBlurProgramName),
                                           kFullScreenVertexShader, kBackgroundBlurFragmentShader)) {
        gl.releaseFbo(c);
        gl.releaseFbo(a);
        return;
    }
    const float radius = float(std::clamp(blurStrength, 1.0, 64.0));
    blurPass(a.texture(), c, 1.0f / float(size.width()), 0.0f, radius);
    blurPass(c.texture(), a, 0.0f, 1.0f / float(size.height()), radius);
    gl.releaseFbo(c);
    gl.copyTextureToFbo(a.texture(), canvas);
    gl.releaseFbo(a);
}

void GpuCompositor::blurPass(GLuint source, GlFbo &target, float texelX, float texelY, float radius)
{
    GlRuntime &gl = GlRuntime::instance();
    QOpenGLExtraFunctions *f = gl.extraFunctions();
    QOpenGLShaderProgram *program = gl.builtinProgram(QString::fromLatin1(kBackgroundBlurProgramName),
                                                      kFullScreenVertexShader, kBackgroundBlurFragmentShader);
    // Every pixel is written, so the target needs no clear.
    target.fbo->bind();
    f->glViewport(0, 0, target.fbo->width(), target.fbo->height());
    f->glDisable(GL_BLEND);
    program->bind();
    program->setUniformValue("u_texture", 0);
    program->setUniformValue("u_texel", texelX, texelY);
    program->setUniformValue("u_radius", radius);
    f->glActiveTexture(GL_TEXTURE0);
    f->glBindTexture(GL_TEXTURE_2D, source);
    // Pooled framebuffers come with whatever filter their last use set; the taps fall between
    // texels, so say which one.
    f->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    f->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    gl.drawQuad();
    f->glBindTexture(GL_TEXTURE_2D, 0);
    program->release();
    target.fbo->release();
}

GlFbo GpuCompositor::layerToCanvasFbo(const GpuLayer &layer, QSize canvasSize, const GpuEffectHooks &hooks)
{
    GlRuntime &gl = GlRuntime::instance();
    GlFbo fbo = gl.acquireFbo(canvasSize.width(), canvasSize.height());
    if (!fbo.isValid())
        return {};
    // Transparent where the layer is not, and wholly so for an invalid layer, so that the other
    // side of a transition still plays against it.
    bindAndClear(fbo, canvasSize, 0.0f, 0.0f, 0.0f, 0.0f);
    if (layerCanShow(layer)) {
        LayerTexture texture = layerTexture(layer, canvasSize, hooks);
        if (texture.isValid())
            drawLayer(fbo, texture, layer, 0, canvasSize);
        gl.releaseFbo(texture.owned);
    }
    return fbo;
}

void GpuCompositor::drawTransition(GlFbo &canvas, const GpuSceneEntry &entry, QSize canvasSize,
                                   const GpuEffectHooks &hooks)
{
    GlRuntime &gl = GlRuntime::instance();
    GlFbo from = layerToCanvasFbo(entry.fromLayer, canvasSize, hooks);
    GlFbo to = layerToCanvasFbo(entry.toLayer, canvasSize, hooks);
    const auto asTexture = [canvasSize](const GlFbo &fbo) {
        LayerTexture texture;
        texture.texture = fbo.texture();
        texture.size = canvasSize;
        return texture;
    };
    bool drawn = !from.isValid() || !to.isValid(); // without both pictures the entry is dropped
    if (!drawn && entry.transitionPipeline && hooks.runTransition) {
        GlFbo result = hooks.runTransition(entry, from.texture(), to.texture(), canvasSize);
        if (result.isValid()) {
            drawLayer(canvas, asTexture(result), fullCanvasLayer(canvasSize, 1.0), 0, canvasSize);
            gl.releaseFbo(result);
            drawn = true;
        }
    }
    if (!drawn) {
        // Two source-over draws rather than one mix: halfway through, a quarter of what lies
        // below still shows.
        const double p = std::clamp(entry.transitionProgress, 0.0, 1.0);
        drawLayer(canvas, asTexture(from), fullCanvasLayer(canvasSize, 1.0 - p), 0, canvasSize);
        drawLayer(canvas, asTexture(to), fullCanvasLayer(canvasSize, p), 0, canvasSize);
    }
    gl.releaseFbo(from);
    gl.releaseFbo(to);
}

} // namespace orvel
