#pragma once

#include "media/frames/VideoColour.h"
#include "render/gl/GlFbo.h"
#include "render/gl/GpuFrameTexture.h"

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QList>
#include <QMutex>
#include <QSize>
#include <QString>
#include <QtGui/qopengl.h>

#include <array>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

class QObject;
class QOffscreenSurface;
class QOpenGLContext;
class QOpenGLExtraFunctions;
class QOpenGLShaderProgram;
class QThread;

namespace orvel {

// What the runtime needs of one pass of an effect or transition pipeline to compile it. The
// package catalog's pipeline type converts to this through the template overload of
// GlRuntime::pipelinePrograms, so this layer does not depend on the catalog.
struct GlPassSource
{
    int32_t passIndex = 0;
    QString fragmentShader; // the file name as the package wrote it, for messages
    QString source;         // the shader text
};

struct GlPipelineSource
{
    QList<GlPassSource> passes;
};

} // namespace orvel

// The one owner of OpenGL in the back end: a dedicated thread "OrvelGL" with one offscreen 3.3
// core context, shared with Qt Quick's, on which every draw runs as a blocking job. It also
// keeps the reusable GL objects: the full-screen quad, compiled programs, a framebuffer pool, a
// ring of three presentation framebuffers and caches of uploaded textures.
//
// Everything except instance(), ensureStarted(), run() and shutdown() may be called only inside
// a job. Outside one (or when GL is unavailable) each entry point returns its empty value.
class GlRuntime
{
public:
    struct ProgramEntry
    {
        QString name;
        QString signature;
        std::vector<std::unique_ptr<QOpenGLShaderProgram>> programs; // one for each pass
        bool valid = false;
    };

    struct ImageTextureEntry
    {
        qint64 cacheKey = 0;
        GLuint texture = 0;
        int width = 0;
        int height = 0;
    };

    static constexpr int kFboPoolCapacity = 32;
    static constexpr int kImageTextureCapacity = 48;
    static constexpr int kPresentSlotCount = 3;
    // Plane texture pairs kept for NV12 uploads: a transition draws two videos per frame, and
    // alternating between pairs lets one upload proceed while the other's draw is pending.
    static constexpr int kNv12PlaneSlotCount = 2;

    // Made on first use; registers shutdown() to run when the application object goes away.
    static GlRuntime &instance();

    // Starts the GL thread and context once. A failed start is never retried. Any thread; the
    // offscreen surface is made on the GUI thread, so a start from another thread needs the GUI
    // thread's event loop running (or the GUI thread asking too). The application starts the
    // runtime from the GUI thread early on.
    bool ensureStarted();
    // Whether a start has already succeeded; never starts anything and never waits. For callers
    // that must not pay for a first start, such as the preview on a machine without GL.
    bool isAvailable();
    // Runs `job` on the GL thread with the context current and blocks until it has finished, so
    // the job may use the caller's stack. False, with the job not run, when GL is unavailable.
    bool run(const std::function<void()> &job);
    // Refuses new jobs, lets those under way finish, releases every GL object and stops the
    // thread; the runtime stays unavailable after it. Runs on the GUI thread.
    void shutdown();

    QOpenGLExtraFunctions *extraFunctions() const;

    // Framebuffer pool keyed by exact size: another size is never handed out. A pooled
    // framebuffer still holds its last pixels; whoever takes one clears or overwrites all of it.
    orvel::GlFbo acquireFbo(int width, int height);
    void releaseFbo(orvel::GlFbo &fbo);
    int pooledFboCount() const { return int(m_fboPool.size()); }

    // Presentation ring: a slot is not drawn into again until two further frames are published.
    orvel::GlFbo &acquirePresentTarget(int width, int height);
    void publishPresentTarget(orvel::GlFbo &slot);

    // A program under a fixed name; the sources are compiled once and never compared again.
    QOpenGLShaderProgram *builtinProgram(const QString &name, const char *vertexSource,
                                         const char *fragmentSource);
    // One program per pass, recompiled when the pass sources change; null after any failure.
    ProgramEntry *pipelinePrograms(const QString &effectId, const orvel::GlPipelineSource &pipeline);
    template <typename Pipeline>
    ProgramEntry *pipelinePrograms(const QString &effectId, const Pipeline &pipeline);

    // A new RGBA texture that the caller owns.
    GLuint uploadTexture(const QImage &image, bool flipVertically);
    // A texture owned by the LRU cache, keyed by the RGBA8888 image's cacheKey().
    GLuint cachedImageTexture(const QImage &image);
    bool hasCachedImageTexture(qint64 cacheKey) const { return m_imageTextureIndex.contains(cacheKey); }
    int cachedImageTextureCount() const { return int(m_imageTextures.size()); }

    // A pooled framebuffer of the image's own size holding the image; `size` is used only for a
    // null image, which gives a transparent framebuffer. The first goes through a temporary
    // texture, the second through the image texture cache.
    orvel::GlFbo imageToFbo(const QImage &image, QSize size);
    orvel::GlFbo cachedImageToFbo(const QImage &image, QSize size);
    // Tightly packed NV12: a width x height Y plane followed by the interleaved UV plane, read
    // with the frame's matrix and range.
    orvel::GlFbo nv12ToFbo(const QByteArray &bytes, int width, int height,
                           const orvel::VideoColour &colour = {});
    // Clears `fbo` and draws `texture` over all of it, unblended.
    bool copyTextureToFbo(GLuint texture, orvel::GlFbo &fbo);
    // The full-screen triangle strip, with whatever program the caller has bound.
    void drawQuad();

    // Textures loaded from package files, by absolute path; 0 records a failed load.
    std::map<QString, GLuint> &fileTextures() { return m_fileTextures; }

private:
    GlRuntime() = default;
    GlRuntime(const GlRuntime &) = delete;
    GlRuntime &operator=(const GlRuntime &) = delete;

    enum class State
    {
        notStarted,
        starting,
        available,
        unavailable, // a start failed, or it stopped; for good either way
        stopping
    };

    bool start();
    bool makeSurface();
    void makeSurfaceOnGuiThread();
    void stopThread();
    bool initialize();
    void destroyContextObjects();
    void createQuad();
    bool runOnGlThread(const std::function<void()> &job);
    void releaseAll();
    bool hasCurrentContext() const;
    void waitAndDeletePresentFence(int index);
    GLuint createRgbaTexture(const QImage &rgba);
    orvel::GlFbo imageTextureToFbo(GLuint texture, QSize imageSize);
    bool uploadNv12Planes(const char *planes, int width, int height, GLuint *textures);

    QOpenGLContext *m_context = nullptr;
    QOffscreenSurface *m_surface = nullptr;
    GLuint m_quadVao = 0;
    GLuint m_quadVbo = 0;
    QOpenGLShaderProgram *m_copyProgram = nullptr;
    std::map<QString, ProgramEntry> m_programs;
    std::map<QString, GLuint> m_fileTextures;
    // Guards the state, the surface hand-over and the count of jobs under way; never held across
    // a blocking call, so a job that asks ensureStarted() cannot deadlock a shutdown.
    std::mutex m_stateMutex;
    std::condition_variable m_stateChanged;
    State m_state = State::notStarted;
    int m_runsInFlight = 0;
    bool m_surfaceWanted = false;  // a starter off the GUI thread waits for the surface
    bool m_surfaceClaimed = false; // the GUI thread has begun making it
    bool m_surfaceReady = false;
    QThread *m_guiThread = nullptr; // the application's thread, noted when the start begins
    QThread *m_glThread = nullptr;
    QObject *m_anchor = nullptr;
    std::multimap<quint64, orvel::GlFbo> m_fboPool;
    std::array<orvel::GlFbo, kPresentSlotCount> m_presentSlots;
    std::array<GLsync, kPresentSlotCount> m_presentFences{};
    int m_presentNext = 0;
    std::list<ImageTextureEntry> m_imageTextures; // most recent first
    QHash<qint64, std::list<ImageTextureEntry>::iterator> m_imageTextureIndex;
    struct Nv12PlaneSlot
    {
        int width = 0;
        int height = 0;
        GLuint textures[2] = {0, 0}; // Y, then interleaved UV
    };
    std::array<Nv12PlaneSlot, kNv12PlaneSlotCount> m_nv12Slots;
    int m_nv12Next = 0;
    // Handed out by acquirePresentTarget when there is no context to draw with.
    orvel::GlFbo m_noPresentTarget;
};

template <typename Pipeline>
GlRuntime::ProgramEntry *GlRuntime::pipelinePrograms(const QString &effectId, const Pipeline &pipeline)
{
    orvel::GlPipelineSource sources;
    sources.passes.reserve(pipeline.passes.size());
    for (const auto &pass : pipeline.passes)
        sources.passes.append({int32_t(pass.passIndex), pass.fragmentShader, pass.source});
    return pipelinePrograms(effectId, sources);
}
