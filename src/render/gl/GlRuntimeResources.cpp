// The runtime's reusable GL objects: the framebuffer pool, the presentation ring and the
// compiled programs.
#include "render/gl/GlRuntime.h"

#include "render/gl/GlShaders.h"

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>

#include <algorithm>

namespace {

quint64 fboPoolKey(int width, int height)
{
    return (quint64(quint32(width)) << 32) | quint64(quint32(height));
}

// A stuck driver costs this long at most before drawing goes ahead into the slot.
constexpr GLuint64 kPresentSlotWaitNs = 100'000'000;
// How long publishing waits for the frame just drawn, so it is complete when Qt Quick samples it.
constexpr GLuint64 kPublishWaitNs = 16'000'000;

std::unique_ptr<QOpenGLShaderProgram> newQuadProgram()
{
    auto program = std::make_unique<QOpenGLShaderProgram>();
    program->bindAttributeLocation("a_position", 0);
    program->bindAttributeLocation("a_texCoord", 1);
    return program;
}

QString pipelineSignature(const orvel::GlPipelineSource &pipeline)
{
    QString signature;
    for (const orvel::GlPassSource &pass : pipeline.passes)
        signature += pass.source;
    signature += QLatin1Char('#') + QString::number(pipeline.passes.size());
    return signature;
}

} // namespace

orvel::GlFbo GlRuntime::acquireFbo(int width, int height)
{
    if (!hasCurrentContext())
        return {};
    width = std::max(width, 1);
    height = std::max(height, 1);
    auto it = m_fboPool.find(fboPoolKey(width, height));
    if (it != m_fboPool.end()) {
        orvel::GlFbo fbo = std::move(it->second);
        m_fboPool.erase(it);
        return fbo;
    }
    return orvel::makeGlFbo(width, height);
}

void GlRuntime::releaseFbo(orvel::GlFbo &fbo)
{
    if (!fbo.isValid() || !hasCurrentContext())
        return;
    // A full pool leaves the framebuffer with the caller, whose GlFbo then deletes it.
    if (m_fboPool.size() >= size_t(kFboPoolCapacity))
        return;
    const QSize size = fbo.fbo->size();
    fbo.width = size.width();
    fbo.height = size.height();
    m_fboPool.emplace(fboPoolKey(size.width(), size.height()), std::move(fbo));
    fbo.reset();
}

void GlRuntime::waitAndDeletePresentFence(int index)
{
    GLsync &fence = m_presentFences[size_t(index)];
    if (!fence)
        return;
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    // The result does not matter: on a timeout drawing goes ahead and accepts tearing.
    gl->glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, kPresentSlotWaitNs);
    gl->glDeleteSync(fence);
    fence = nullptr;
}

orvel::GlFbo &GlRuntime::acquirePresentTarget(int width, int height)
{
    if (!hasCurrentContext()) {
        m_noPresentTarget.reset();
        return m_noPresentTarget;
    }
    const int index = m_presentNext;
    m_presentNext = (index + 1) % kPresentSlotCount;
    waitAndDeletePresentFence(index);
    width = std::max(width, 1);
    height = std::max(height, 1);
    orvel::GlFbo &slot = m_presentSlots[size_t(index)];
    if (slot.isValid() && slot.fbo->size() == QSize(width, height))
        return slot;
    slot.reset();
    slot = orvel::makeGlFbo(width, height);
    return slot;
}

void GlRuntime::publishPresentTarget(orvel::GlFbo &slot)
{
    if (!hasCurrentContext())
        return;
    const auto found = std::find_if(m_presentSlots.begin(), m_presentSlots.end(),
                                    [&slot](const orvel::GlFbo &candidate) { return &candidate == &slot; });
    if (found == m_presentSlots.end() || !slot.isValid())
        return;
    const int index = int(found - m_presentSlots.begin());
    waitAndDeletePresentFence(index);
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    gl->glFlush();
    GLsync fence = gl->glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    m_presentFences[size_t(index)] = fence;
    if (fence)
        gl->glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, kPublishWaitNs);
}

QOpenGLShaderProgram *GlRuntime::builtinProgram(const QString &name, const char *vertexSource,
                                                const char *fragmentSource)
{
    if (!hasCurrentContext())
        return nullptr;
    auto it = m_programs.find(name);
    if (it != m_programs.end() && it->second.valid && !it->second.programs.empty())
        return it->second.programs.front().get();

    std::unique_ptr<QOpenGLShaderProgram> program = newQuadProgram();
    if (!program->addShaderFromSourceCode(QOpenGLShader::Vertex, vertexSource) ||
        !program->addShaderFromSourceCode(QOpenGLShader::Fragment, fragmentSource) || !program->link()) {
        qWarning("GlRuntime: builtin program '%s' failed: %s", qPrintable(name), qPrintable(program->log()));
        m_programs.erase(name);
        return nullptr;
    }
    ProgramEntry &entry = m_programs[name];
    entry = ProgramEntry{};
    entry.name = name;
    entry.programs.push_back(std::move(program));
    entry.valid = true;
    return entry.programs.front().get();
}

GlRuntime::ProgramEntry *GlRuntime::pipelinePrograms(const QString &effectId,
                                                     const orvel::GlPipelineSource &pipeline)
{
    if (!hasCurrentContext())
        return nullptr;
    const QString signature = pipelineSignature(pipeline);
    auto it = m_programs.find(effectId);
    if (it != m_programs.end() && it->second.valid && it->second.name == effectId &&
        it->second.signature == signature)
        return &it->second;

    ProgramEntry fresh;
    fresh.name = effectId;
    fresh.signature = signature;
    const QByteArray id = effectId.toUtf8();
    for (const orvel::GlPassSource &pass : pipeline.passes) {
        std::unique_ptr<QOpenGLShaderProgram> program = newQuadProgram();
        if (!program->addShaderFromSourceCode(QOpenGLShader::Vertex, orvel::kFullScreenVertexShader)) {
            qWarning("GlRuntime: vertex shader compile failed for %s: %s", id.constData(),
                     qPrintable(program->log()));
        } else if (!program->addShaderFromSourceCode(QOpenGLShader::Fragment, pass.source)) {
            qWarning("GlRuntime: fragment compile failed for %s pass %d (%s): %s", id.constData(),
                     int(pass.passIndex), qPrintable(pass.fragmentShader), qPrintable(program->log()));
        } else if (!program->link()) {
            qWarning("GlRuntime: link failed for %s pass %d: %s", id.constData(), int(pass.passIndex),
                     qPrintable(program->log()));
        } else {
            fresh.programs.push_back(std::move(program));
            continue;
        }
        // Erased, so the next frame that uses the effect tries (and logs) again.
        m_programs.erase(effectId);
        return nullptr;
    }
    fresh.valid = true;
    ProgramEntry &entry = m_programs[effectId];
    entry = std::move(fresh);
    return &entry;
}
