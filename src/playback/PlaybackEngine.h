#pragma once

#include "core/document/model/Project.h"
#include "playback/audio/AudioMixer.h"
#include "playback/audio/PlaybackAudioOutput.h"
#include "playback/PlaybackClock.h"
#include "render/scene/FrameCompositor.h"
#include "render/gl/GpuFrameTexture.h"

#include <QMutex>
#include <QObject>
#include <QSize>
#include <QString>
#include <QTimer>

#include <atomic>

namespace orvel {

class CompositorService;
class CompositorWorker;

// The transport of the timeline preview. It decides which instant to show, asks the compositor
// for it and keeps the newest frame for the preview item.
//
// "fast" plays in real time with sound: the clock follows the audio device, a 16 ms timer moves
// the playhead and a frame timer at the project's rate asks for whatever instant the clock shows,
// so frames that cannot be drawn in time are skipped. "quality" plays silently and steps the
// playhead one frame each time a composite finishes, so every frame is shown, as slowly as it
// takes. Lives on the main thread; the audio thread only reads the mixer and the clock.
class PlaybackEngine : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int previewTextureId READ previewTextureId NOTIFY currentFrameChanged)
    Q_PROPERTY(QSize previewTextureSize READ previewTextureSize NOTIFY currentFrameChanged)
    Q_PROPERTY(bool hasFrame READ hasFrame NOTIFY currentFrameChanged)
    Q_PROPERTY(bool playing READ isPlaying NOTIFY playingChanged)
    Q_PROPERTY(
        QString previewQuality READ previewQuality WRITE setPreviewQuality NOTIFY previewQualityChanged)
    Q_PROPERTY(QString playbackMode READ playbackMode WRITE setPlaybackMode NOTIFY playbackModeChanged)
    Q_PROPERTY(qint64 playheadUs READ playheadUs NOTIFY playheadUsChanged)

public:
    static constexpr int kPlayheadIntervalMs = 16;
    static constexpr int32_t kPlayingEchoFrames = 12;
    static constexpr TimeUs kPlayingReadAheadUs = 2'000'000;

    // Draws on the GPU, but only once the GL runtime has been started elsewhere (from the GUI
    // thread): the preview never pays for a first start, and without GL it simply shows nothing.
    explicit PlaybackEngine(QObject *parent = nullptr);
    // Draws with `worker` (owned) and reads steady time from `steadyNs`; for tests and tools.
    PlaybackEngine(CompositorWorker *worker, PlaybackClock::SteadyNs steadyNs, QObject *parent = nullptr);
    ~PlaybackEngine() override;

    int previewTextureId() const;
    QSize previewTextureSize() const;
    bool hasFrame() const;
    bool isPlaying() const { return m_playing.load(); }
    QString previewQuality() const { return m_previewQuality; }
    void setPreviewQuality(const QString &quality);
    QString playbackMode() const { return m_playbackMode; }
    void setPlaybackMode(const QString &mode);
    TimeUs playheadUs() const { return m_playheadUs; }
    bool fastMode() const { return m_playbackMode == QLatin1String("fast"); }

    // For the controller.
    void seek(TimeUs us);
    void setProject(const Project *project);
    void setHiddenClipId(const QString &clipId);
    // The document changed: later frames are drawn from a fresh copy, and a stopped engine
    // draws the current one again at once.
    void documentChanged();

    // What the next request asks of the compositor, from the quality, the panel size and
    // whether it is playing.
    FrameCompositor::RenderOptions renderOptions() const;
    CompositorService *compositor() const { return m_compositor; }
    PlaybackAudioOutput *audioOutput() { return &m_audio; }
    AudioMixer *mixer() { return &m_mixer; }

public slots:
    void play();
    void pause();
    void refreshFrame();
    void setPreviewRenderSize(int width, int height);

signals:
    void currentFrameChanged();
    void playingChanged();
    void previewQualityChanged();
    void playbackModeChanged();
    void playheadUsChanged();

private:
    void connectCompositor();
    void readSettings();
    void playheadTick();
    void frameTick();
    void checkEnd(TimeUs t);
    void qualityStep();
    void onFrameReady(const GpuFrameTexture &frame);
    void requestFrame(TimeUs t);
    void renderStopped();
    TimeUs durationUs() const;
    TimeUs frameStepUs() const;

    const Project *m_project = nullptr;
    AudioMixer m_mixer;
    PlaybackClock m_clock;
    PlaybackAudioOutput m_audio{&m_mixer, &m_clock};
    CompositorService *m_compositor = nullptr;
    QTimer m_playheadTimer;
    QTimer m_frameTimer;

    mutable QMutex m_frameMutex; // the preview item reads the texture from the render thread
    GpuFrameTexture m_lastFrame;

    TimeUs m_playheadUs = 0;
    std::atomic<bool> m_playing{false};
    QString m_previewQuality = QStringLiteral("full");
    QString m_playbackMode = QStringLiteral("fast");
    TimeUs m_lastRequestedUs = -1;
    QString m_excludedClipId;
    int m_previewWidth = 0;
    int m_previewHeight = 0;
    int m_sampleRate = 48000;
};

} // namespace orvel
