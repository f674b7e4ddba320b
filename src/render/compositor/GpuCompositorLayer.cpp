// One layer on its way to the canvas: its texture, its effect chain, its mask and the draw with
// its geometry, opacity and blend mode.
#include "render/compositor/GpuCompositor.h"

#include "render/compositor/CompositorShaders.h"
#include "render/gl/GlRuntime.h"
#include "render/effects/GpuEffectHooks.h"

#include <QMatrix4x4>
#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>

#include <cmath>
#include <list>

namespace orvel {

namespace {

// The quad's placement on the canvas. The rotation sits inside the non-uniform scale: it turns
// the picture within the layer's own normalised square, so a non-square layer shears as it
// turns and at 90 degrees still fills its rectangle. Canvas row 0 is clip-space y = -1, so
// the top-left rectangle maps without a flip of its own.
QMatrix4x4 layerModelMatrix(const GpuLayer &layer, QSize canvasSize)
{
    const double W = canvasSize.width();
    const double H = canvasSize.height();
    const QRectF &r = layer.rect;
    QMatrix4x4 model;
    model.translate(float((r.x() + r.width() / 2.0) * 2.0 / W - 1.0),
                    float((r.y() + r.height() / 2.0) * 2.0 / H - 1.0));
    model.scale(float(r.width() / W), float(r.height() / H));
    model.rotate(float(layer.rotationDegrees), 0.0f, 0.0f, 1.0f);
    model.scale(layer.flipH ? -1.0f : 1.0f, layer.flipV ? -1.0f : 1.0f);
    return model;
}

// A layer whose texels land exactly on canvas pixels, unturned and unscaled at whole-pixel
// offsets, looks the same sampled nearest as linear, and nearest is the cheaper of the two.
bool layerFitsPixels(const GpuLayer &layer, QSize textureSize)
{
    const QRectF &r = layer.rect;
    return layer.rotationDegrees == 0.0 && r.x() == std::floor(r.x()) && r.y() == std::floor(r.y()) &&
           r.width() == textureSize.width() && r.height() == textureSize.height();
}

// Binds a texture with the filter this draw needs. Pooled framebuffers keep whatever filter
// their last use set, so it is set every time.
void bindLayerSampler(QOpenGLExtraFunctions *f, GLenum unit, GLuint texture, GLint filter)
{
    f->glActiveTexture(unit);
    f->glBindTexture(GL_TEXTURE_2D, texture);
    if (texture) {
        f->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
        f->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    }
}

void unbindLayerSamplers(QOpenGLExtraFunctions *f, int count)
{
    for (int unit = count - 1; unit >= 0; --unit) {
        f->glActiveTexture(GLenum(GL_TEXTURE0 + unit));
        f->glBindTexture(GL_TEXTURE_2D, 0);
    }
}

void setLayerUniforms(QOpenGLShaderProgram *program, const QMatrix4x4 &model, const GpuLayer &layer,
                      GLuint mask, float maskInvert)
{
    program->setUniformValue("u_model", model);
    program->setUniformValue("u_opacity", float(layer.opacity));
    program->setUniformValue("u_hasMask", mask ? 1.0f : 0.0f);
    program->setUniformValue("u_maskInvert", maskInvert);
    program->setUniformValue("u_layer", 0);
    program->setUniformValue("u_mask", 1);
}

// Frames already converted to RGBA on the GPU, by the identity of their NV12 bytes. Holding a
// reference to the bytes keeps their buffer alive and unchanged (a writer would detach), so the
// same address means the same picture: a paused preview drawn again, or a source frame that
// lasts more than one output frame, is not uploaded and converted twice. GL thread only.
class ConvertedFrameCache
{
public:
    static constexpr size_t kCapacity = 4; // a few video layers on screen at once

    // The RGBA texture of the frame, converted on a miss; 0 when the conversion fails.
    GLuint texture(const QByteArray &bytes, int width, int height, const VideoColour &colour)
    {
        for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
            if (it->bytes.constData() == bytes.constData() && it->bytes.size() == bytes.size() &&
                it->width == width && it->height == height && it->colour == colour) {
                m_entries.splice(m_entries.begin(), m_entries, it);
                return m_entries.front().fbo.texture();
            }
        }
        GlRuntime &gl = GlRuntime::instance();
        GlFbo fbo = gl.nv12ToFbo(bytes, width, height, colour);
        if (!fbo.isValid())
            return 0;
        if (m_entries.size() >= kCapacity) {
            gl.releaseFbo(m_entries.back().fbo);
            m_entries.pop_back();
        }
        m_entries.push_front({bytes, width, height, colour, std::move(fbo)});
        return m_entries.front().fbo.texture();
    }

private:
    struct Entry
    {
        QByteArray bytes;
        int width = 0;
        int height = 0;
        VideoColour colour;
        GlFbo fbo;
    };
    std::list<Entry> m_entries; // most recent first
};

// Never destroyed: its framebuffers go with the GL context when the runtime shuts down.
ConvertedFrameCache &convertedFrames()
{
    static auto *const cache = new ConvertedFrameCache;
    return *cache;
}

} // namespace

GpuCompositor::LayerTexture GpuCompositor::layerTexture(const GpuLayer &layer, QSize canvasSize,
                                                        const GpuEffectHooks &hooks)
{
    if (!layer.valid || (layer.nv12.isEmpty() && layer.image.isNull()))
        return {};
    GlRuntime &gl = GlRuntime::instance();
    LayerTexture texture;
    if (!layer.nv12.isEmpty() && layer.nv12Width > 0 && layer.nv12Height > 0) {
        texture.texture =
            convertedFrames().texture(layer.nv12, layer.nv12Width, layer.nv12Height, layer.nv12Colour);
        texture.size = QSize(layer.nv12Width, layer.nv12Height);
    } else if (!layer.image.isNull()) {
        // A still is uploaded once and drawn from the cache; no framebuffer is filled for it.
        texture.texture = gl.cachedImageTexture(layer.image);
        texture.size = layer.image.size();
    } else {
        texture.owned = gl.cachedImageToFbo(layer.image, canvasSize);
    }
    if (texture.owned.isValid()) {
        texture.texture = texture.owned.texture();
        texture.size = texture.owned.fbo->size();
    }
    if (!texture.isValid()) {
        gl.releaseFbo(texture.owned);
        return {};
    }
    runEffectChain(texture, layer, hooks);
    return texture;
}

void GpuCompositor::runEffectChain(LayerTexture &texture, const GpuLayer &layer, const GpuEffectHooks &hooks)
{
    if (!hooks.describe || !hooks.runEffect)
        return;
    GlRuntime &gl = GlRuntime::instance();
    for (const EffectInstance &effect : layer.effects) {
        if (effect.catalogId.isEmpty())
            continue;
        const GpuEffectInfo info = hooks.describe(effect.catalogId);
        // CPU and compositor effects do nothing on this path; time echo was applied before the
        // layer was built.
        if (!info.found || info.backend != QLatin1String("gpu") || !info.pipelineValid ||
            info.id == QLatin1String("time_echo"))
            continue;
        GlFbo output = hooks.runEffect(effect, layer, texture.texture, texture.size);
        // A failed effect passes the picture through: the next one sees it as it was.
        if (!output.isValid())
            continue;
        gl.releaseFbo(texture.owned);
        texture.owned = std::move(output);
        texture.texture = texture.owned.texture();
        texture.size = texture.owned.fbo->size();
    }
}

void GpuCompositor::drawLayer(GlFbo &canvas, const LayerTexture &texture, const GpuLayer &layer,
                              int blendMode, QSize canvasSize)
{
    if (!texture.isValid() || layer.rect.width() < 0.5 || layer.rect.height() < 0.5 || layer.opacity <= 0.0)
        return;
    GlRuntime &gl = GlRuntime::instance();
    QOpenGLExtraFunctions *f = gl.extraFunctions();
    // A rastered mask carries its inversion; a matte frame is inverted in the shader.
    GLuint mask = 0;
    float maskInvert = 0.0f;
    if (layer.maskImage.isNull()) {
        mask = maskTexture(layer.mask, texture.size);
    } else {
        mask = gl.cachedImageTexture(layer.maskImage);
        maskInvert = layer.mask.invert ? 1.0f : 0.0f;
    }
    const QMatrix4x4 model = layerModelMatrix(layer, canvasSize);
    if (blendMode != 0 && blendMode != 4) {
        drawLayerBlended(canvas, texture, model, layer, blendMode, mask, maskInvert, canvasSize);
        return;
    }
    QOpenGLShaderProgram *program =
        gl.builtinProgram(QString::fromLatin1(kLayerProgramName), kLayerVertexShader, kLayerFragmentShader);
    if (!program)
        return;
    canvas.fbo->bind();
    f->glViewport(0, 0, canvasSize.width(), canvasSize.height());
    f->glEnable(GL_BLEND);
    // Add sums the premultiplied layer, alpha included.
    f->glBlendFunc(GL_ONE, blendMode == 4 ? GL_ONE : GL_ONE_MINUS_SRC_ALPHA);
    program->bind();
    setLayerUniforms(program, model, layer, mask, maskInvert);
    const GLint filter = layerFitsPixels(layer, texture.size) ? GL_NEAREST : GL_LINEAR;
    bindLayerSampler(f, GL_TEXTURE1, mask, layer.maskImage.isNull() ? filter : GL_LINEAR);
    bindLayerSampler(f, GL_TEXTURE0, texture.texture, filter);
    gl.drawQuad();
    f->glDisable(GL_BLEND);
    unbindLayerSamplers(f, 2);
    program->release();
    canvas.fbo->release();
}

void GpuCompositor::drawLayerBlended(GlFbo &canvas, const LayerTexture &texture, const QMatrix4x4 &model,
                                     const GpuLayer &layer, int blendMode, GLuint mask, float maskInvert,
                                     QSize canvasSize)
{
    GlRuntime &gl = GlRuntime::instance();
    QOpenGLExtraFunctions *f = gl.extraFunctions();
    QOpenGLShaderProgram *program = gl.builtinProgram(QString::fromLatin1(kLayerBlendProgramName),
                                                      kLayerVertexShader, kLayerBlendFragmentShader);
    if (!program)
        return;
    // The shader reads the canvas under the layer, so it needs a copy it does not write to. A
    // blit moves the bytes in one pass; a draw would clear and sample.
    GlFbo copy = gl.acquireFbo(canvasSize.width(), canvasSize.height());
    if (!copy.isValid())
        return;
    QOpenGLFramebufferObject::blitFramebuffer(copy.fbo.get(), canvas.fbo.get());
    canvas.fbo->bind();
    f->glViewport(0, 0, canvasSize.width(), canvasSize.height());
    f->glDisable(GL_BLEND);
    program->bind();
    setLayerUniforms(program, model, layer, mask, maskInvert);
    program->setUniformValue("u_blendMode", blendMode >= 1 && blendMode <= 6 ? blendMode : 0);
    program->setUniformValue("u_canvasSize", float(canvasSize.width()), float(canvasSize.height()));
    program->setUniformValue("u_dst", 2);
    // The canvas copy is read at pixel centres only.
    const GLint filter = layerFitsPixels(layer, texture.size) ? GL_NEAREST : GL_LINEAR;
    bindLayerSampler(f, GL_TEXTURE2, copy.texture(), GL_NEAREST);
    bindLayerSampler(f, GL_TEXTURE1, mask, layer.maskImage.isNull() ? filter : GL_LINEAR);
    bindLayerSampler(f, GL_TEXTURE0, texture.texture, filter);
    gl.drawQuad();
    unbindLayerSamplers(f, 3);
    program->release();
    canvas.fbo->release();
    gl.releaseFbo(copy);
}

GLuint GpuCompositor::maskTexture(const ClipMask &mask, QSize size)
{
    if (mask.shape == MaskShape::none)
        return 0;
    // The key counts a freeform mask's points but not where they are: moving one at an equal
    // count keeps the old raster until another field changes. Rasters live until shutdown.
    const QString key = QStringLiteral("__mask__:%1:%2:%3:%4:%5:%6:%7:%8:%9:%10:%11")
                            .arg(int(mask.shape))
                            .arg(mask.x)
                            .arg(mask.y)
                            .arg(mask.w)
                            .arg(mask.h)
                            .arg(mask.rotation)
                            .arg(mask.feather)
                            .arg(mask.invert ? 1 : 0)
                            .arg(mask.points.size())
                            .arg(size.width())
                            .arg(size.height());
    GlRuntime &gl = GlRuntime::instance();
    std::map<QString, GLuint> &textures = gl.fileTextures();
    const auto found = textures.find(key);
    if (found != textures.end())
        return found->second;
    const QImage raster = rasterMask(mask, size.width(), size.height());
    const GLuint texture =
        raster.isNull() ? 0 : gl.uploadTexture(raster.convertToFormat(QImage::Format_RGBA8888), false);
    textures.emplace(key, texture);
    return texture;
}

} // namespace orvel
