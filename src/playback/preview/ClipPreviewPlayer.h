#pragma once

#include "playback/preview/AbstractClipPreviewPlayer.h"
#include "playback/audio/AudioMixer.h"
#include "playback/PlaybackClock.h"

#include <QImage>
#include <QMutex>
#include <QThread>
#include <QTimer>

#include <atomic>

class QAudioSink;

namespace orvel {

class ClipPreviewAudioDevice;
class ClipPreviewFrameWorker;

// Plays one clip's source on its own, with sound, for the custom speed window: no compositor,
// just pictures decoded on "ClipPreviewDecode" into the "clippreview" image store and the clip's
// samples pulled by a sink on "ClipPreviewAudio". Times are counted from the clip's start in
// retimed (timeline) time. Everything but the clip copy, the playing flag and the clock lives on
// the thread that made the player.
class ClipPreviewPlayer final : public AbstractClipPreviewPlayer
{
    Q_OBJECT
public:
    static constexpr int kMaxFrameWidth = 960;
    static constexpr int kMaxFrameHeight = 540;

    explicit ClipPreviewPlayer(QObject *parent = nullptr);
    ~ClipPreviewPlayer() override;

    void setClip(const Clip &clip, int sampleRate, int fps) override;
    void updateSpeed(const SpeedCurve &curve) override;
    void clear() override;
    void play() override;
    void pause() override;
    void seek(TimeUs positionUs) override;

    TimeUs positionUs() const override { return m_positionUs; }
    bool isPlaying() const override { return m_playing.load(); }
    QSize frameSize() const override { return m_frameSize; }
    TimeUs durationUs() const;
    // The token of the picture now in the image store, which rises with every picture shown,
    // and the newest token handed out. Equal when no picture is on its way.
    quint64 shownToken() const { return m_shownToken; }
    quint64 latestToken() const { return m_token.load(); }

    // Called by the audio device on "ClipPreviewAudio": fills frames of interleaved stereo at the
    // clock's written time, silence while paused, and advances the clock.
    void renderAudio(float *out, int frames);

private:
    void requestFrameAt(TimeUs timeUs);
    void showDecoded(const QImage &image, quint64 token);
    void onPositionTick();
    void onFrameTick();
    // Makes sure a sink for the rate exists; runs on the audio thread.
    void openSink(int sampleRate);
    // Cancels pictures still on their way, so an old clip's frame never shows after a change.
    void dropPendingFrames();

    mutable QMutex m_clipMutex;
    Clip m_clip;             // guarded by m_clipMutex; timelineStartUs is always 0
    TimeUs m_durationUs = 0; // guarded by m_clipMutex

    PlaybackClock m_clock;
    AudioMixer m_audioReader; // used only on the audio thread, for its speed-aware clip read
    QThread m_audioThread;
    QThread m_decodeThread;
    ClipPreviewAudioDevice *m_device = nullptr;
    QAudioSink *m_sink = nullptr; // created, used and deleted on the audio thread
    ClipPreviewFrameWorker *m_worker = nullptr;
    QTimer m_frameTimer;
    QTimer m_positionTimer;

    QSize m_frameSize;
    TimeUs m_positionUs = 0;
    std::atomic<bool> m_playing{false};
    int m_sampleRate = 48000;
    int m_fps = 30;
    std::atomic<quint64> m_token{0};
    quint64 m_shownToken = 0;
};

} // namespace orvel
