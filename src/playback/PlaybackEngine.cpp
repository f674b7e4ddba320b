#include "playback/PlaybackEngine.h"

#include "render/compositor/CompositorService.h"
#include "render/compositor/CompositorWorker.h"
#include "render/gl/GlRuntime.h"

#include <QMutexLocker>
#include <QSettings>

#include <algorithm>

namespace orvel {

namespace {

const QString kQualityKey = QStringLiteral("preview/quality");
const QString kModeKey = QStringLiteral("preview/playbackMode");

bool validQuality(const QString &quality)
{
    return quality == QLatin1String("full") || quality == QLatin1String("half") ||
           quality == QLatin1String("quarter");
}

bool validMode(const QString &mode)
{
    return mode == QLatin1String("fast") || mode == QLatin1String("quality");
}

// Starting GL from the compositor's thread would wait on the GUI thread for its surface; the
// preview only draws once someone on the GUI thread has started it, and otherwise finishes each
// request at once with no picture.
class PreviewWorker final : public CompositorWorker
{
protected:
    GpuFrameTexture renderFrame(const Project &project, TimeUs timeUs,
                                const FrameCompositor::RenderOptions &options) override
    {
        if (!GlRuntime::instance().isAvailable())
            return {};
        return CompositorWorker::renderFrame(project, timeUs, options);
    }
};

} // namespace

PlaybackEngine::PlaybackEngine(QObject *parent) : PlaybackEngine(new PreviewWorker, {}, parent) {}

PlaybackEngine::PlaybackEngine(CompositorWorker *worker, PlaybackClock::SteadyNs steadyNs, QObject *parent)
    : QObject(parent), m_clock(std::move(steadyNs))
{
    m_compositor = new CompositorService(worker, this);
    m_playheadTimer.setTimerType(Qt::PreciseTimer);
    m_frameTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_playheadTimer, &QTimer::timeout, this, &PlaybackEngine::playheadTick);
    connect(&m_frameTimer, &QTimer::timeout, this, &PlaybackEngine::frameTick);
    connectCompositor();
    readSettings();
    m_compositor->setAdaptive(fastMode());
}

PlaybackEngine::~PlaybackEngine()
{
    m_playing.store(false);
    m_audio.setPlaying(false);
    m_playheadTimer.stop();
    m_frameTimer.stop();
    m_clock.stop();
    // The audio output stops its sink and joins its thread in its own destructor.
}

void PlaybackEngine::connectCompositor()
{
    connect(m_compositor, &CompositorService::frameReady, this, &PlaybackEngine::onFrameReady);
    connect(m_compositor, &CompositorService::compositeFinished, this, &PlaybackEngine::qualityStep);
}

void PlaybackEngine::readSettings()
{
    QSettings settings;
    const QString quality = settings.value(kQualityKey).toString().toLower();
    if (validQuality(quality))
        m_previewQuality = quality;
    const QString mode = settings.value(kModeKey).toString().toLower();
    if (validMode(mode))
        m_playbackMode = mode;
}

int PlaybackEngine::previewTextureId() const
{
    QMutexLocker lock(&m_frameMutex);
    return int(m_lastFrame.textureId);
}

QSize PlaybackEngine::previewTextureSize() const
{
    QMutexLocker lock(&m_frameMutex);
    return m_lastFrame.size;
}

bool PlaybackEngine::hasFrame() const
{
    QMutexLocker lock(&m_frameMutex);
    return !m_lastFrame.isNull();
}

TimeUs PlaybackEngine::durationUs() const
{
    return m_project ? projectDurationUs(*m_project) : 0;
}

TimeUs PlaybackEngine::frameStepUs() const
{
    const int fps = m_project ? std::max(m_project->fps, 1) : 30;
    return TimeUs(1'000'000 / fps);
}

FrameCompositor::RenderOptions PlaybackEngine::renderOptions() const
{
    FrameCompositor::RenderOptions options;
    options.previewScale = m_previewQuality == QLatin1String("quarter") ? 0.25
                           : m_previewQuality == QLatin1String("half")  ? 0.5
                                                                        : 1.0;
    const bool playing = isPlaying();
    if (playing && fastMode()) {
        options.maxEchoFrames = kPlayingEchoFrames;
        options.readAheadUs = kPlayingReadAheadUs;
    }
    // "full" means as many pixels as the panel shows, not the project's own size.
    if (m_previewQuality == QLatin1String("full") && m_project && m_previewWidth > 0 && m_previewHeight > 0) {
        const double byWidth = double(m_previewWidth) / std::max(m_project->width, 1);
        const double byHeight = double(m_previewHeight) / std::max(m_project->height, 1);
        options.previewScale = std::clamp(std::min(byWidth, byHeight), 0.1, 1.0);
    }
    if (!playing)
        options.excludedClipId = m_excludedClipId;
    return options;
}

void PlaybackEngine::requestFrame(TimeUs t)
{
    if (!m_project)
        return;
    m_compositor->requestFrame(t, renderOptions());
}

void PlaybackEngine::renderStopped()
{
    m_compositor->invalidateSnapshot();
    requestFrame(m_playheadUs);
}

void PlaybackEngine::play()
{
    if (isPlaying())
        return;
    // The project's rate is taken before the clock is reset, so that the mix position and the
    // device agree from the very first block.
    if (fastMode() && m_project)
        m_sampleRate = std::max(m_project->sampleRate, 1);
    m_mixer.reset();
    m_clock.reset(m_playheadUs, m_sampleRate);
    m_playing.store(true);

    if (!fastMode()) {
        emit playingChanged();
        m_lastRequestedUs = m_playheadUs;
        requestFrame(m_playheadUs);
        return;
    }
    m_audio.setPlaying(true);
    // Opens the sink if needed and starts the clock; the sink steps are queued to the audio
    // thread, so a device that fails or hangs never holds up the picture.
    m_audio.start(m_sampleRate);
    emit playingChanged();
    const int fps = m_project ? std::max(m_project->fps, 1) : 30;
    m_playheadTimer.start(kPlayheadIntervalMs);
    m_frameTimer.start(std::max(1'000'000 / fps / 1000, 1));
    playheadTick();
    frameTick();
}

void PlaybackEngine::pause()
{
    if (!isPlaying())
        return;
    m_playing.store(false);
    m_playheadTimer.stop();
    m_frameTimer.stop();
    m_clock.stop();
    if (fastMode()) {
        // The clock may have run a little past the end before the end check's pause came round.
        m_playheadUs = m_clock.nowUs();
        if (m_project)
            m_playheadUs = std::min(m_playheadUs, durationUs());
    }
    m_lastRequestedUs = -1;
    // The sink stops (waiting for the audio thread) before the racks go, so no block is being
    // mixed while they are dropped.
    m_audio.setPlaying(false);
    m_audio.stop();
    m_mixer.reset();
    emit playingChanged();
    emit playheadUsChanged();
    // The pause frame is drawn with the options of a stopped engine, at full quality.
    renderStopped();
}

void PlaybackEngine::seek(TimeUs us)
{
    const TimeUs target = std::max<TimeUs>(us, 0);
    const bool moved = target != m_playheadUs;
    m_playheadUs = target;
    if (isPlaying() && fastMode()) {
        // The device's processed figure counts from the sink's start; restarting the sink puts it
        // back to zero, so the clock does not add the time played before the seek.
        m_audio.setPlaying(false);
        m_audio.stop();
        m_mixer.reset();
        m_clock.reset(m_playheadUs, m_sampleRate);
        m_audio.setPlaying(true);
        m_audio.start(m_sampleRate);
    } else {
        m_mixer.reset();
        m_clock.reset(m_playheadUs, m_sampleRate);
    }
    if (moved)
        emit playheadUsChanged();
    if (!isPlaying())
        renderStopped();
}

void PlaybackEngine::playheadTick()
{
    if (!isPlaying() || !m_project)
        return;
    const TimeUs t = m_clock.nowUs();
    if (t == m_playheadUs)
        return;
    m_playheadUs = t;
    emit playheadUsChanged();
    checkEnd(t);
}

void PlaybackEngine::checkEnd(TimeUs t)
{
    if (!m_project || t < durationUs())
        return;
    m_playheadUs = durationUs();
    emit playheadUsChanged();
    QMetaObject::invokeMethod(this, &PlaybackEngine::pause, Qt::QueuedConnection);
}

void PlaybackEngine::frameTick()
{
    if (!isPlaying() || !m_project)
        return;
    // Not tied to the project's frame grid: the request is for the clock's time right now.
    requestFrame(m_clock.nowUs());
}

void PlaybackEngine::qualityStep()
{
    if (!isPlaying() || fastMode() || !m_project)
        return;
    if (m_lastRequestedUs == m_playheadUs) {
        m_playheadUs += frameStepUs();
        emit playheadUsChanged();
        if (m_playheadUs >= durationUs()) {
            checkEnd(m_playheadUs);
            return;
        }
    }
    m_lastRequestedUs = m_playheadUs;
    requestFrame(m_playheadUs);
}

void PlaybackEngine::onFrameReady(const GpuFrameTexture &frame)
{
    if (frame.isNull())
        return; // the last frame stays
    {
        QMutexLocker lock(&m_frameMutex);
        m_lastFrame = frame;
    }
    emit currentFrameChanged();
}

void PlaybackEngine::refreshFrame()
{
    if (!isPlaying())
        renderStopped();
}

void PlaybackEngine::documentChanged()
{
    // While playing the next tick picks the fresh copy up.
    m_compositor->invalidateSnapshot();
    if (!isPlaying())
        requestFrame(m_playheadUs);
}

void PlaybackEngine::setPreviewRenderSize(int width, int height)
{
    width = std::max(width, 0);
    height = std::max(height, 0);
    if (width == m_previewWidth && height == m_previewHeight)
        return;
    m_previewWidth = width;
    m_previewHeight = height;
    if (!isPlaying())
        renderStopped();
    else if (fastMode())
        frameTick();
    // A quality play takes the new size up with its next step.
}

void PlaybackEngine::setHiddenClipId(const QString &clipId)
{
    if (clipId == m_excludedClipId)
        return;
    m_excludedClipId = clipId;
    if (!isPlaying())
        renderStopped();
}

void PlaybackEngine::setProject(const Project *project)
{
    m_project = project;
    m_mixer.setProject(project);
    m_compositor->setProject(project);
    renderStopped();
}

void PlaybackEngine::setPreviewQuality(const QString &quality)
{
    const QString lower = quality.toLower();
    if (!validQuality(lower)) {
        qWarning("PlaybackEngine: ignoring unknown preview quality '%s'", qUtf8Printable(quality));
        return;
    }
    if (lower == m_previewQuality)
        return;
    m_previewQuality = lower;
    QSettings().setValue(kQualityKey, lower);
    emit previewQualityChanged();
    m_compositor->invalidateSnapshot();
    // A quality play picks the new scale up with its next step; an extra request would step twice.
    if (!isPlaying() || fastMode())
        requestFrame(m_playheadUs);
}

void PlaybackEngine::setPlaybackMode(const QString &mode)
{
    const QString lower = mode.toLower();
    if (!validMode(lower)) {
        qWarning("PlaybackEngine: ignoring unknown playback mode '%s'", qUtf8Printable(mode));
        return;
    }
    if (lower == m_playbackMode)
        return;
    const bool wasPlaying = isPlaying();
    // The stop belongs to the mode that started the play.
    if (wasPlaying)
        pause();
    m_playbackMode = lower;
    QSettings().setValue(kModeKey, lower);
    m_compositor->setAdaptive(fastMode());
    emit playbackModeChanged();
    if (wasPlaying)
        play();
}

} // namespace orvel
