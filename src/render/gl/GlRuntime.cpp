#include "render/gl/GlRuntime.h"

#include "render/gl/GlShaders.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QMetaObject>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>
#include <QSurfaceFormat>
#include <QThread>

#include <chrono>

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

constexpr std::chrono::seconds kSurfaceWait{10};

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
    // The application object is not touched once the state is settled: callers on other
    // threads keep asking while it is being destroyed.
    std::unique_lock lock(m_stateMutex);
    for (;;) {
        if (m_state == State::available)
            return true;
        if (m_state == State::unavailable || m_state == State::stopping)
            return false;
        if (m_state == State::notStarted)
            break;
        // Another thread is starting. If it waits for the surface and this is the GUI thread,
        // make it here: the GUI thread may be blocked in this very call and never reach the
        // event that would have made it.
        if (QThread::currentThread() == m_guiThread && m_surfaceWanted && !m_surfaceClaimed) {
            lock.unlock();
            makeSurfaceOnGuiThread();
            lock.lock();
            continue;
        }
        m_stateChanged.wait(lock);
    }
    // Concurrent first callers wait above and all see this one start's result.
    m_state = State::starting;
    const QCoreApplication *application = QCoreApplication::instance();
    m_guiThread = application ? application->thread() : nullptr;
    lock.unlock();
    const bool started = start();
    lock.lock();
    m_state = started ? State::available : State::unavailable;
    m_stateChanged.notify_all();
    return started;
}

bool GlRuntime::isAvailable()
{
    std::lock_guard lock(m_stateMutex);
    return m_state == State::available;
}

bool GlRuntime::start()
{
    if (!QCoreApplication::instance()) {
        qWarning("GlRuntime: no QCoreApplication; OpenGL unavailable");
        return false;
    }
    // Surfaces and contexts need a GUI application; a plain core one (a command-line tool, a
    // test) has no windowing system to ask.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        qWarning("GlRuntime: no QGuiApplication; OpenGL unavailable");
        return false;
    }
    if (!makeSurface())
        return false;
    m_glThread = new QThread;
    m_glThread->setObjectName(QStringLiteral("OrvelGL"));
    m_glThread->start(QThread::InheritPriority);
    m_anchor = new QObject;
    m_anchor->moveToThread(m_glThread);

    bool initialized = false;
    QMetaObject::invokeMethod(
        m_anchor, [this] { return initialize(); }, Qt::BlockingQueuedConnection, &initialized);
    if (initialized)
        return true;
    stopThread();
    m_surface->deleteLater(); // its thread, the GUI thread, deletes it
    m_surface = nullptr;
    return false;
}

// Qt requires offscreen surfaces to be created on the GUI thread; the GL thread only uses it.
bool GlRuntime::makeSurface()
{
    if (QThread::currentThread() == m_guiThread) {
        {
            std::lock_guard lock(m_stateMutex);
            m_surfaceWanted = true;
        }
        makeSurfaceOnGuiThread();
    } else {
        {
            std::lock_guard lock(m_stateMutex);
            m_surfaceWanted = true;
        }
        m_stateChanged.notify_all();
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [this] { makeSurfaceOnGuiThread(); }, Qt::QueuedConnection);
        std::unique_lock lock(m_stateMutex);
        // Bounded, so a GUI thread that is itself waiting for this one costs GL, not a hang.
        if (!m_stateChanged.wait_for(lock, kSurfaceWait,
                                     [this] { return m_surfaceReady || m_surfaceClaimed; })) {
            m_surfaceWanted = false;
            qWarning("GlRuntime: the GUI thread did not make the offscreen surface; OpenGL unavailable");
            return false;
        }
        m_stateChanged.wait(lock, [this] { return m_surfaceReady; });
    }
    if (!m_surface->isValid()) {
        qWarning("GlRuntime: failed to create offscreen surface");
        m_surface->deleteLater();
        m_surface = nullptr;
        return false;
    }
    return true;
}

void GlRuntime::makeSurfaceOnGuiThread()
{
    {
        std::lock_guard lock(m_stateMutex);
        if (!m_surfaceWanted || m_surfaceClaimed)
            return;
        m_surfaceClaimed = true;
    }
    auto *surface = new QOffscreenSurface;
    surface->setFormat(glRuntimeFormat());
    surface->create();
    {
        std::lock_guard lock(m_stateMutex);
        m_surface = surface;
        m_surfaceReady = true;
    }
    m_stateChanged.notify_all();
}

void GlRuntime::stopThread()
{
    m_glThread->quit();
    m_glThread->wait();
    delete m_anchor;
    m_anchor = nullptr;
    delete m_glThread;
    m_glThread = nullptr;
}

bool GlRuntime::initialize()
{
    const QSurfaceFormat format = glRuntimeFormat();
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

// Drops the context after a failed start, on the GL thread that made it.
void GlRuntime::destroyContextObjects()
{
    delete m_context;
    m_context = nullptr;
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
        std::lock_guard lock(m_stateMutex);
        if (m_state != State::available || !m_anchor)
            return false;
        if (QThread::currentThread() == m_glThread) {
            // The GL thread would wait for itself.
            qWarning("GlRuntime: run called from a job on the GL thread");
            return false;
        }
        // Counted, so that shutdown keeps the anchor and the thread until this call is back.
        ++m_runsInFlight;
        anchor = m_anchor;
    }
    bool ran = false;
    QMetaObject::invokeMethod(
        anchor, [this, &job] { return runOnGlThread(job); }, Qt::BlockingQueuedConnection, &ran);
    {
        std::lock_guard lock(m_stateMutex);
        --m_runsInFlight;
    }
    m_stateChanged.notify_all();
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
    {
        std::unique_lock lock(m_stateMutex);
        // A start under way finishes first (helped with its surface if it waits for this thread).
        while (m_state == State::starting) {
            if (QThread::currentThread() == m_guiThread && m_surfaceWanted && !m_surfaceClaimed) {
                lock.unlock();
                makeSurfaceOnGuiThread();
                lock.lock();
                continue;
            }
            m_stateChanged.wait(lock);
        }
        if (m_state != State::available) {
            if (m_state == State::notStarted)
                m_state = State::unavailable; // no start after the application is gone
            return;
        }
        m_state = State::stopping;
        m_stateChanged.notify_all();
        m_stateChanged.wait(lock, [this] { return m_runsInFlight == 0; });
    }
    // No job can start now and none is under way; nothing here holds the mutex, so a job that
    // was still asking ensureStarted() has had its answer.
    QMetaObject::invokeMethod(
        m_anchor, [this] { releaseAll(); }, Qt::BlockingQueuedConnection);
    stopThread();
    delete m_context;
    m_context = nullptr;
    if (QThread::currentThread() == m_surface->thread())
        delete m_surface;
    else
        m_surface->deleteLater();
    m_surface = nullptr;
    std::lock_guard lock(m_stateMutex);
    m_state = State::unavailable;
    m_stateChanged.notify_all();
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
    for (Nv12PlaneSlot &slot : m_nv12Slots) {
        gl->glDeleteTextures(2, slot.textures);
        slot = {};
    }
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
