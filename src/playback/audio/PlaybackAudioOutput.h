#pragma once

#include "core/document/model/Types.h"

#include <QAudio>
#include <QObject>
#include <QThread>

#include <atomic>

class QAudioSink;

namespace orvel {

class AudioMixer;
class AudioPlaybackIODevice;
class PlaybackClock;

// The sound side of playback: the "PlaybackAudio" thread, the QAudioSink created there, and the
// device the sink pulls, which mixes at the clock's written time and feeds the device's processed
// figure back into the clock. The playback engine owns the mixer and the clock and holds one of
// these. A sink that cannot start (no audio server, no device) logs one warning; the clock then
// runs free after its half second, so playback goes on silently and nothing waits on the sink.
class PlaybackAudioOutput final : public QObject
{
    Q_OBJECT
public:
    PlaybackAudioOutput(AudioMixer *mixer, PlaybackClock *clock, QObject *parent = nullptr);
    ~PlaybackAudioOutput() override;

    // Read by the audio thread before each block; set by the engine on play and pause.
    void setPlaying(bool playing) { m_playing.store(playing); }
    bool isPlaying() const { return m_playing.load(); }
    int sampleRate() const { return m_sampleRate.load(); }

    // Opens the sink at sampleRate (stereo float) if needed, starts the clock, then starts the
    // sink pulling. The two sink steps are queued to the audio thread; this never blocks on them.
    void start(int sampleRate);
    // Stops the sink, waiting for the audio thread.
    void stop();

    // The sink's processed time, fetched on the audio thread; -1 while there is no sink.
    TimeUs deviceProcessedUs();
    QThread *audioThread() { return &m_thread; }

    // Called by the device on the audio thread: mixes frames at the clock's written time and
    // advances it. False when stopped or without a project, and the caller writes silence.
    bool mixInto(float *out, int frames);

private:
    void openSink(int sampleRate);
    void startSink();
    void noteSinkState(QAudio::State state);

    AudioMixer *m_mixer;
    PlaybackClock *m_clock;
    QThread m_thread;
    AudioPlaybackIODevice *m_device = nullptr;
    QAudioSink *m_sink = nullptr; // created, used and deleted on the audio thread
    std::atomic<bool> m_playing{false};
    std::atomic<int> m_sampleRate{48000};
    bool m_warned = false; // audio thread only
};

} // namespace orvel
