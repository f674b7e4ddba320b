#pragma once

#include "audiofx/AudioEffectRack.h"
#include "core/document/model/Project.h"
#include "playback/audio/AudioMixGain.h"
#include "playback/audio/AudioReadAhead.h"
#include "playback/audio/AudioRetime.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace orvel {

// Turns the project and a time into a block of interleaved stereo float. It is pulled: preview
// calls it from the audio device's thread, export from its own thread, each with its own mixer.
// Each clip is read through the clip readers, run through its own effect rack, scaled by its
// gains and summed; the sum goes through one soft limiter. There is no bus and no master effect.
//
// The project is read through a plain pointer with no lock, so edits made on the main thread
// during playback reach the sound within a block; that race is accepted.
class AudioMixer
{
public:
    // The rack specs for a clip's audio effects, as the audio effect catalogue resolves them.
    using EffectSpecResolver = std::function<QList<AudioEffectSpec>(const Clip &clip)>;

    // Starts with the process-wide default resolver, if one was set.
    AudioMixer();
    AudioMixer(const AudioMixer &) = delete;
    AudioMixer &operator=(const AudioMixer &) = delete;

    // Fills out with frameCount frames from timeUs. A null buffer, a count below 1 or no project
    // leaves the buffer untouched.
    void mix(TimeUs timeUs, int frameCount, int sampleRate, float *out);
    // Forgets every rack, and with them echoes and filter state.
    void reset();
    // Drops the racks when the project changes; the pointer is not owned and may be null.
    void setProject(const Project *project);
    const Project *project() const { return m_project; }

    // Without a resolver no effect is known and clips play dry; without a curve lookup every
    // transition crossfades. Both stand for catalogues that are loaded elsewhere.
    void setEffectSpecResolver(EffectSpecResolver resolver);
    void setTransitionCurveLookup(TransitionCurveLookup lookup);
    // The resolver each new mixer starts with. The editor sets it from the audio effect catalog
    // at start-up, so the preview's mixer and every export's own mixer find the same effects.
    static void setDefaultEffectSpecResolver(EffectSpecResolver resolver);

    // A clip's raw samples for a block: 2 x frameCount floats, zeros outside the clip, with no
    // gain and no effects. Not const: the clip's read-ahead buffer and speed filter carry over
    // from one block to the next.
    QList<float> readClipSamples(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate);

private:
    // What a clip's reading keeps between blocks: the decoded audio ahead of the play position
    // and, for a constant speed, the speed filter with the output it has not handed out yet.
    struct ClipReadState
    {
        AudioReadAhead source;
        AudioRetimeStream retime;
        std::vector<float> retimeInput;
        // Where the next block should start for the filter to carry on; -1 after a plain read.
        TimeUs nextTimelineUs = -1;
        TimeUs retimeSourceStartUs = 0;
        qint64 retimeFramesFed = 0;
        bool retimeSourceEnded = false;
    };

    void mixTrack(const Track &track, TimeUs timeUs, int frameCount, int sampleRate, float *out);
    void mixClip(const Clip &clip, const QList<AudioTransitionWindow> &windows, TimeUs timeUs, int frameCount,
                 int sampleRate, float *out);
    // The clip's block after its rack, in a buffer the mixer reuses: valid until the next call.
    const float *processedClipSamples(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate);
    // readClipSamples into a buffer of 2 x frameCount floats; zeros wherever the clip gave nothing.
    void readClipInto(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate, float *result);
    // The frames [offset, offset + frames) of the block that a read wrote; the rest is untouched.
    struct WrittenFrames
    {
        int offset = 0;
        int frames = 0;
    };
    WrittenFrames readClipFrames(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate,
                                 float *result);
    // framesToUs of 0..frameCount-1 at the rate, kept from block to block.
    const TimeUs *frameOffsetsUs(int frameCount, int sampleRate);
    std::shared_ptr<AudioEffectRack> rackFor(const QString &clipId);
    std::shared_ptr<ClipReadState> readStateFor(const QString &clipId);
    // Returns the frames written to out.
    int readRetimed(const Clip &clip, ClipReadState &state, TimeUs startUs, double speed, int sampleRate,
                    int frameCount, float *out);

    const Project *m_project = nullptr;
    EffectSpecResolver m_resolveEffects;
    TransitionCurveLookup m_transitionCurve;
    QMutex m_rackMutex;
    QHash<QString, std::shared_ptr<AudioEffectRack>> m_racks;
    QHash<QString, std::shared_ptr<ClipReadState>> m_readStates;
    std::vector<float> m_clipBlock;
    std::vector<TimeUs> m_offsetsUs;
    std::vector<double> m_frameGains;
    int m_offsetsRate = 0;
};

} // namespace orvel
