#include "render/GlRuntime.h"

#include "render/GlShaders.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>
#include <QSurfaceFormat>
#include <QThread>

namespace {

void shutdownGlRuntimeRoutine()
{
    GlRuntime::instance().shutdown();
}

// Position then texture coordinate, drawn as a triangle strip. v = 0 at y = -1 keeps row 0 of
// every texture at row 0 of the framebuffer.
constexpr float kQuadVertices[16] = {
    -1.0f, -1.0f, 0.0f, 0.0f, //
    1.0f,  -1.0f, 1.0f, 0.0f, //
    -1.0f, 1.0f,  0.0f, 1.0f, //
    1.0f,  1.0f,  1.0f, 1.0f, //
};

QSurfaceFormat glRuntimeFormat()
{
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(0);
    format.setStencilBufferSize(0);
    return format;
}

} // namespace

GlRuntime &GlRuntime::instance()
{
    // Never destroyed: shutdown() does the GL teardown while the application still exists, and
    // nothing may touch GL from a static destructor afterwards.
    static GlRuntime *const runtime = [] {
        auto *created = new GlRuntime;
        qRegisterMetaType<orvel::GpuFrameTexture>("orvel::GpuFrameTexture");
        qAddPostRoutine(shutdownGlRuntimeRoutine);
        return created;
    }();
    return *runtime;
}

bool GlRuntime::ensureStarted()
{
    // Held across the whole start so that concurrent first callers all see one result.
    QMutexLocker lock(&m_startMutex);
    if (m_startAttempted)
        return m_available;
    m_startAttempted = true;
    if (!QCoreApplication::instance()) {
        qWarning("GlRuntime: no QCoreApplication; OpenGL unavailable");
        return false;
    }
    m_glThread = new QThread;
    m_glThread->setObjectName(QStringLiteral("OrvelGL"));
    m_glThread->start(QThread::InheritPriority);
    m_anchor = new QObject;
    m_anchor->moveToThread(m_glThread);

    bool initialized = false;
    QMetaObject::invokeMethod(
        m_anchor, [this] { return initialize(); }, Qt::BlockingQueuedConnection, &initialized);
    if (initialized) {
        m_available = true;
        return true;
    }
    m_glThread->quit();
    m_glThread->wait();
    delete m_anchor;
    m_anchor = nullptr;
    delete m_glThread;
    m_glThread = nullptr;
    return false;
}

bool GlRuntime::initialize()
{
    const QSurfaceFormat format = glRuntimeFormat();
    m_surface = new QOffscreenSurface;
    m_surface->setFormat(format);
    m_surface->create();
    if (!m_surface->isValid()) {
        qWarning("GlRuntime: failed to create offscreen surface");
        destroyContextObjects();
        return false;
    }
    m_context = new QOpenGLContext;
    m_context->setFormat(format);
    if (QOpenGLContext *share = QOpenGLContext::globalShareContext())
        m_context->setShareContext(share);
    if (!m_context->create()) {
        qWarning("GlRuntime: failed to create OpenGL context");
        destroyContextObjects();
        return false;
    }
    if (!m_context->makeCurrent(m_surface)) {
        qWarning("GlRuntime: makeCurrent failed on the GL thread");
        destroyContextObjects();
        return false;
    }
    if (!m_context->extraFunctions()) {
        qWarning("GlRuntime: OpenGL extra functions unavailable");
        m_context->doneCurrent();
        destroyContextObjects();
        return false;
    }
    createQuad();

    m_copyProgram = new QOpenGLShaderProgram;
    m_copyProgram->bindAttributeLocation("a_position", 0);
    m_copyProgram->bindAttributeLocation("a_texCoord", 1);
    if (!m_copyProgram->addShaderFromSourceCode(QOpenGLShader::Vertex, orvel::kFullScreenVertexShader) ||
        !m_copyProgram->addShaderFromSourceCode(QOpenGLShader::Fragment, orvel::kCopyFragmentShader) ||
        !m_copyProgram->link()) {
        qWarning("GlRuntime: copy shader failed: %s", qPrintable(m_copyProgram->log()));
        releaseAll();
        destroyContextObjects();
        return false;
    }
    m_context->doneCurrent();
    return true;
}

// Drops the context and surface after a failed start, on the GL thread that made them.
void GlRuntime::destroyContextObjects()
{
    delete m_context;
    m_context = nullptr;
    delete m_surface;
    m_surface = nullptr;
}

void GlRuntime::createQuad()
{
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    gl->glGenVertexArrays(1, &m_quadVao);
    gl->glGenBuffers(1, &m_quadVbo);
    gl->glBindVertexArray(m_quadVao);
    gl->glBindBuffer(GL_ARRAY_BUFFER, m_quadVbo);
    gl->glBufferData(GL_ARRAY_BUFFER, sizeof(kQuadVertices), kQuadVertices, GL_STATIC_DRAW);
    const GLsizei stride = 4 * sizeof(float);
    gl->glEnableVertexAttribArray(0);
    gl->glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, stride, nullptr);
    gl->glEnableVertexAttribArray(1);
    gl->glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, stride,
                              reinterpret_cast<const void *>(2 * sizeof(float)));
    gl->glBindVertexArray(0);
    gl->glBindBuffer(GL_ARRAY_BUFFER, 0);
}

bool GlRuntime::run(const std::function<void()> &job)
{
    if (!ensureStarted())
        return false;
    QObject *anchor = nullptr;
    {
        QMutexLocker lock(&m_startMutex);
        if (!m_available || !m_anchor)
            return false;
        if (QThread::currentThread() == m_glThread) {
            // The GL thread would wait for itself.
            qWarning("GlRuntime: run called from a job on the GL thread");
            return false;
        }
        anchor = m_anchor;
    }
    bool ran = false;
    QMetaObject::invokeMethod(
        anchor, [this, &job] { return runOnGlThread(job); }, Qt::BlockingQueuedConnection, &ran);
    return ran;
}

bool GlRuntime::runOnGlThread(const std::function<void()> &job)
{
    if (!m_context || !m_context->makeCurrent(m_surface)) {
        qWarning("GlRuntime: makeCurrent failed");
        return false;
    }
    job();
    m_context->doneCurrent();
    return true;
}

bool GlRuntime::hasCurrentContext() const
{
    return m_context && QOpenGLContext::currentContext() == m_context;
}

QOpenGLExtraFunctions *GlRuntime::extraFunctions() const
{
    return m_context ? m_context->extraFunctions() : nullptr;
}

void GlRuntime::shutdown()
{
    QMutexLocker lock(&m_startMutex);
    if (!m_available || !m_anchor)
        return;
    QMetaObject::invokeMethod(
        m_anchor, [this] { releaseAll(); }, Qt::BlockingQueuedConnection);
    m_glThread->quit();
    m_glThread->wait();
    delete m_anchor;
    m_anchor = nullptr;
    delete m_glThread;
    m_glThread = nullptr;
    delete m_context;
    m_context = nullptr;
    delete m_surface;
    m_surface = nullptr;
    m_available = false;
}

void GlRuntime::releaseAll()
{
    if (!m_context || !m_context->makeCurrent(m_surface))
        return;
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    for (GLsync &fence : m_presentFences) {
        if (fence)
            gl->glDeleteSync(fence);
        fence = nullptr;
    }
    for (const ImageTextureEntry &entry : m_imageTextures)
        gl->glDeleteTextures(1, &entry.texture);
    m_imageTextures.clear();
    m_imageTextureIndex.clear();
    for (orvel::GlFbo &slot : m_presentSlots)
        slot.reset();
    m_fboPool.clear();
    m_programs.clear();
    delete m_copyProgram;
    m_copyProgram = nullptr;
    for (const auto &[path, texture] : m_fileTextures) {
        if (texture)
            gl->glDeleteTextures(1, &texture);
    }
    m_fileTextures.clear();
    gl->glDeleteBuffers(1, &m_quadVbo);
    gl->glDeleteVertexArrays(1, &m_quadVao);
    m_quadVbo = 0;
    m_quadVao = 0;
    m_context->doneCurrent();
}

void GlRuntime::drawQuad()
{
    if (!hasCurrentContext() || !m_quadVao)
        return;
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    gl->glBindVertexArray(m_quadVao);
    gl->glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    gl->glBindVertexArray(0);
}
