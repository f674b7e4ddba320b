#include "render/effects/EffectPipelineRunner.h"

#include "render/gl/GlRuntime.h"

#include <QColor>
#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>
#include <QVector2D>
#include <QVector3D>

#include <algorithm>
#include <cmath>
#include <map>

namespace orvel {

namespace pipelinerunnerdetail {

struct RunState
{
    std::map<QString, GlFbo> buffers;
    std::map<QString, GLuint> textures;
    GlFbo output;
    bool failed = false;
};

// Package textures are loaded once per path and kept by the runtime; a failed load is kept as 0
// so it is not retried every frame, and the pass samples black.
GLuint fileTexture(const QString &path)
{
    GlRuntime &gl = GlRuntime::instance();
    auto &textures = gl.fileTextures();
    auto it = textures.find(path);
    if (it != textures.end())
        return it->second;
    QImage image;
    GLuint texture = 0;
    if (image.load(path))
        texture = gl.uploadTexture(image, true);
    if (texture) {
        QOpenGLExtraFunctions *f = gl.extraFunctions();
        f->glBindTexture(GL_TEXTURE_2D, texture);
        f->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
        f->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
        f->glBindTexture(GL_TEXTURE_2D, 0);
    } else {
        qWarning("GlRuntime: failed to load texture '%s'", qPrintable(path));
    }
    textures[path] = texture;
    return texture;
}

void setParamUniform(QOpenGLShaderProgram *program, const QString &name, const QVariant &value)
{
    if (isReservedUniformName(name, false))
        return;
    const QByteArray key = name.toUtf8();
    const int location = program->uniformLocation(key.constData());
    if (location < 0)
        return;
    if (value.typeId() == QMetaType::Bool) {
        program->setUniformValue(location, value.toBool() ? 1.0f : 0.0f);
    } else if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text.startsWith(QLatin1Char('#'))) {
            const QColor color(text);
            program->setUniformValue(
                location, QVector3D(float(color.redF()), float(color.greenF()), float(color.blueF())));
        } else if (name == QLatin1String("position") || name == QLatin1String("blendMode")) {
            program->setUniformValue(location, namedParameterCode(text));
        } else {
            program->setUniformValue(location, text.toFloat());
        }
    } else {
        program->setUniformValue(location, float(value.toDouble()));
    }
}

void setFixedUniforms(QOpenGLShaderProgram *program, TimeUs timeUs, double progress)
{
    const float seconds = float(timeUs) / 1e6f;
    program->setUniformValue("u_time", seconds);
    program->setUniformValue("u_timeUs", float(timeUs));
    program->setUniformValue("u_frameIndex", int(std::floor(seconds * 30.0f)));
    program->setUniformValue("u_progress", float(std::clamp(progress, 0.0, 1.0)));
}

void allocate(const EffectPipeline &pipeline, QSize canvas, RunState &state)
{
    GlRuntime &gl = GlRuntime::instance();
    for (const PipelineBuffer &buffer : pipeline.buffers) {
        const int w = std::max(1, int(std::lround(canvas.width() * buffer.scale)));
        const int h = std::max(1, int(std::lround(canvas.height() * buffer.scale)));
        GlFbo fbo = gl.acquireFbo(w, h);
        if (!fbo.isValid()) {
            qWarning("GlRuntime: FBO alloc failed for buffer %s", qPrintable(buffer.id));
            state.failed = true;
        }
        state.buffers[buffer.id] = std::move(fbo);
    }
    for (const PipelineTexture &texture : pipeline.textures)
        state.textures[texture.id] = fileTexture(texture.path);
    state.output = gl.acquireFbo(canvas.width(), canvas.height());
    if (!state.output.isValid()) {
        qWarning("GlRuntime: canvas FBO alloc failed");
        state.failed = true;
    }
}

// Binds one input at `slot`; false when the pass names a buffer the run does not have.
bool bindInput(QOpenGLShaderProgram *program, const PassInput &input, int slot, const QList<GLuint> &inputs,
               RunState &state, QSize &resolution)
{
    QOpenGLExtraFunctions *f = GlRuntime::instance().extraFunctions();
    GLuint texture = 0;
    if (input.type == PassInput::sourceTexture) {
        const int index = input.index >= 0 && input.index < inputs.size() ? input.index : 0;
        texture = inputs.value(index);
        if (index == 0)
            program->setUniformValue("u_fromTexture", slot);
        else if (index == 1)
            program->setUniformValue("u_toTexture", slot);
    } else if (input.type == PassInput::buffer) {
        auto it = state.buffers.find(input.bufferId);
        if (it == state.buffers.end() || !it->second.isValid())
            return false;
        texture = it->second.texture();
        if (slot == 0)
            resolution = it->second.fbo->size();
    } else {
        texture = state.textures.count(input.textureId) ? state.textures[input.textureId] : 0;
    }
    f->glActiveTexture(GLenum(GL_TEXTURE0 + slot));
    f->glBindTexture(GL_TEXTURE_2D, texture);
    const QByteArray samplerName =
        slot == 0 ? QByteArray("u_currentTexture") : "u_texture" + QByteArray::number(slot);
    program->setUniformValue(samplerName.constData(), slot);
    return true;
}

bool runPass(const PipelinePass &pass, QOpenGLShaderProgram *program, const QList<GLuint> &inputs,
             const QVariantMap &params, TimeUs timeUs, double progress, QSize canvas, RunState &state)
{
    GlRuntime &gl = GlRuntime::instance();
    QOpenGLExtraFunctions *f = gl.extraFunctions();
    GlFbo *target = &state.output;
    if (pass.output.type == PassOutput::buffer) {
        auto it = state.buffers.find(pass.output.bufferId);
        if (it == state.buffers.end() || !it->second.isValid())
            return false;
        target = &it->second;
    }
    target->fbo->bind();
    f->glViewport(0, 0, target->fbo->width(), target->fbo->height());
    f->glDisable(GL_BLEND);
    f->glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    f->glClear(GL_COLOR_BUFFER_BIT);
    program->bind();
    setFixedUniforms(program, timeUs, progress);
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        setParamUniform(program, it.key(), it.value());
    QSize resolution = canvas;
    bool ok = true;
    for (int slot = 0; slot < pass.inputs.size() && ok; ++slot)
        ok = bindInput(program, pass.inputs.at(slot), slot, inputs, state, resolution);
    if (ok) {
        program->setUniformValue("u_resolution",
                                 QVector2D(float(resolution.width()), float(resolution.height())));
        gl.drawQuad();
    }
    for (int slot = int(pass.inputs.size()) - 1; slot >= 0; --slot) {
        f->glActiveTexture(GLenum(GL_TEXTURE0 + slot));
        f->glBindTexture(GL_TEXTURE_2D, 0);
    }
    program->release();
    target->fbo->release();
    return ok;
}

} // namespace pipelinerunnerdetail

float namedParameterCode(const QString &text)
{
    if (text == QLatin1String("right") || text == QLatin1String("add"))
        return 1.0f;
    if (text == QLatin1String("top") || text == QLatin1String("screen"))
        return 2.0f;
    if (text == QLatin1String("bottom"))
        return 3.0f;
    if (text == QLatin1String("random"))
        return 4.0f;
    return 0.0f;
}

GlFbo runPipeline(const QString &name, const EffectPipeline &pipeline, const QList<GLuint> &inputs,
                  const QVariantMap &params, TimeUs timeUs, double progress, QSize canvasSize)
{
    using namespace pipelinerunnerdetail;
    GlRuntime &gl = GlRuntime::instance();
    GlRuntime::ProgramEntry *programs = gl.pipelinePrograms(name, pipeline);
    if (!programs || programs->programs.size() != size_t(pipeline.passes.size()) || canvasSize.isEmpty())
        return {};
    RunState state;
    allocate(pipeline, canvasSize, state);
    for (qsizetype i = 0; i < pipeline.passes.size() && !state.failed; ++i) {
        if (!runPass(pipeline.passes.at(i), programs->programs.at(size_t(i)).get(), inputs, params, timeUs,
                     progress, canvasSize, state))
            state.failed = true;
    }
    GlRuntime::instance().extraFunctions()->glActiveTexture(GL_TEXTURE0);
    for (auto &entry : state.buffers)
        gl.releaseFbo(entry.second);
    if (state.failed) {
        qWarning("GlRuntime: pass failed for %s — passthrough", qPrintable(name));
        gl.releaseFbo(state.output);
        return {};
    }
    return std::move(state.output);
}

void addFaceUniforms(QVariantMap &params, const QList<FaceDetection> &faces)
{
    const int index = params.value(QStringLiteral("faceIndex"), 0).toInt();
    const bool valid = index >= 0 && index < faces.size() && faces.at(index).valid;
    params.insert(QStringLiteral("u_faceValid"), valid ? 1.0 : 0.0);
    if (!valid)
        return;
    const FaceDetection &face = faces.at(index);
    const std::pair<const char *, QPointF> points[] = {
        {"u_faceLeftEye", face.leftEye},     {"u_faceRightEye", face.rightEye},
        {"u_faceNose", face.nose},           {"u_faceMouth", face.mouth},
        {"u_faceMouthLeft", face.mouthLeft}, {"u_faceMouthRight", face.mouthRight},
        {"u_faceChin", face.chin},           {"u_faceForehead", face.forehead},
        {"u_faceCenter", face.center}};
    for (const auto &[name, point] : points) {
        params.insert(QLatin1String(name) + QLatin1Char('X'), point.x());
        params.insert(QLatin1String(name) + QLatin1Char('Y'), point.y());
    }
    params.insert(QStringLiteral("u_faceRx"), face.rx);
    params.insert(QStringLiteral("u_faceRy"), face.ry);
    params.insert(QStringLiteral("u_faceAngle"), face.angle);
    params.insert(QStringLiteral("u_faceEyeRadius"), face.eyeRadius);
}

} // namespace orvel
