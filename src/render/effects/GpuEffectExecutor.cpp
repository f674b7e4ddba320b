#include "render/effects/GpuEffectExecutor.h"

#include "render/effects/EffectPipelineRunner.h"
#include "render/gl/GlRuntime.h"
#include "render/gl/GlShaders.h"

#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>

#include <algorithm>
#include <cmath>

namespace orvel {

namespace effectexecutordetail {

// Colour in add and screen modes ignores the weight on purpose: only coverage fades, so echoes
// keep their full brightness there.
const char *const kTimeEchoBlendShader = R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_currentTexture;
uniform sampler2D u_texture1;
uniform float opacity;
uniform float blendMode;
void main()
{
    vec4 over = texture(u_currentTexture, v_texCoord);
    vec4 base = texture(u_texture1, v_texCoord);
    float a = clamp(opacity, 0.0, 1.0) * over.a;
    vec3 rgb;
    if (blendMode > 1.5)
        rgb = 1.0 - (1.0 - base.rgb) * (1.0 - over.rgb);
    else if (blendMode > 0.5)
        rgb = base.rgb + over.rgb;
    else
        rgb = mix(base.rgb, over.rgb, a);
    fragColor = vec4(clamp(rgb, 0.0, 1.0), clamp(base.a + a, 0.0, 1.0));
}
)";

// The framebuffers hold straight alpha although Qt labels the read-back premultiplied; the
// bytes are taken as stored rather than un-premultiplied a second time.
QImage readBackRgba(const GlFbo &fbo, QSize wanted)
{
    QImage image = fbo.fbo->toImage(false).convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    image.reinterpretAsFormat(QImage::Format_RGBA8888);
    if (!wanted.isEmpty() && image.size() != wanted)
        image = image.scaled(wanted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return image;
}

// Draws `frame` over the accumulator into a new framebuffer; false leaves the accumulator be.
bool blendOnto(QOpenGLShaderProgram *program, const QImage &frame, float weight, int mode, GlFbo &accumulator)
{
    GlRuntime &gl = GlRuntime::instance();
    QOpenGLExtraFunctions *f = gl.extraFunctions();
    GLuint texture = gl.uploadTexture(frame, false);
    GlFbo next = gl.acquireFbo(frame.width(), frame.height());
    if (!texture || !next.isValid()) {
        if (texture)
            f->glDeleteTextures(1, &texture);
        gl.releaseFbo(next);
        return false;
    }
    next.fbo->bind();
    f->glViewport(0, 0, frame.width(), frame.height());
    f->glDisable(GL_BLEND);
    f->glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    f->glClear(GL_COLOR_BUFFER_BIT);
    program->bind();
    program->setUniformValue("u_currentTexture", 0);
    program->setUniformValue("u_texture1", 1);
    program->setUniformValue("opacity", weight);
    program->setUniformValue("blendMode", float(mode));
    f->glActiveTexture(GL_TEXTURE1);
    f->glBindTexture(GL_TEXTURE_2D, accumulator.texture());
    f->glActiveTexture(GL_TEXTURE0);
    f->glBindTexture(GL_TEXTURE_2D, texture);
    gl.drawQuad();
    f->glBindTexture(GL_TEXTURE_2D, 0);
    f->glActiveTexture(GL_TEXTURE1);
    f->glBindTexture(GL_TEXTURE_2D, 0);
    f->glActiveTexture(GL_TEXTURE0);
    program->release();
    next.fbo->release();
    f->glDeleteTextures(1, &texture);
    gl.releaseFbo(accumulator);
    accumulator = std::move(next);
    return true;
}

} // namespace effectexecutordetail

GpuEffectExecutor &GpuEffectExecutor::instance()
{
    static GpuEffectExecutor executor;
    return executor;
}

QImage GpuEffectExecutor::applyChain(const QImage &image, const QList<ChainStep> &steps, TimeUs timeUs)
{
    GlRuntime &gl = GlRuntime::instance();
    if (image.isNull() || steps.isEmpty() || !gl.ensureStarted())
        return image;
    QImage result = image;
    gl.run([&] {
        GlFbo current = gl.imageToFbo(image, image.size());
        if (!current.isValid())
            return;
        for (const ChainStep &step : steps) {
            if (!step.pipeline || !step.pipeline->valid)
                continue;
            GlFbo next = runPipeline(step.id, *step.pipeline, {current.texture()}, step.params, timeUs, 0.0,
                                     current.fbo->size());
            if (!next.isValid())
                continue;
            gl.releaseFbo(current);
            current = std::move(next);
        }
        result = effectexecutordetail::readBackRgba(current, image.size());
        gl.releaseFbo(current);
    });
    return result;
}

QImage GpuEffectExecutor::blendTimeEcho(const QList<QImage> &frames, double decay, int blendMode)
{
    GlRuntime &gl = GlRuntime::instance();
    if (frames.isEmpty() || !gl.ensureStarted())
        return {};
    const double base = std::clamp(decay, 0.0, 1.0);
    QImage result;
    gl.run([&] {
        QOpenGLShaderProgram *program =
            gl.builtinProgram(QStringLiteral("__time_echo_blend__"), kFullScreenVertexShader,
                              effectexecutordetail::kTimeEchoBlendShader);
        if (!program)
            return;
        GlFbo accumulator;
        for (qsizetype i = frames.size() - 1; i >= 0; --i) {
            const QImage &frame = frames.at(i);
            if (frame.isNull())
                continue;
            if (!accumulator.isValid()) {
                accumulator = gl.imageToFbo(frame, frame.size());
                if (!accumulator.isValid())
                    return;
                continue;
            }
            // A frame from before a change of output size cannot be lined up with the rest.
            if (frame.size() != accumulator.fbo->size())
                continue;
            const float weight = i == 0 ? 1.0f : float(std::pow(base, double(i)));
            effectexecutordetail::blendOnto(program, frame, weight, blendMode, accumulator);
        }
        if (!accumulator.isValid())
            return;
        result = effectexecutordetail::readBackRgba(accumulator, QSize());
        gl.releaseFbo(accumulator);
    });
    return result;
}

} // namespace orvel
