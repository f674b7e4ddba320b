#pragma once

#include "audiofx/AudioEffectRack.h"
#include "core/document/Project.h"
#include "playback/AudioMixGain.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QString>

#include <functional>
#include <memory>

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

    AudioMixer() = default;
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

    // A clip's raw samples for a block: 2 x frameCount floats, zeros outside the clip, with no
    // gain and no effects.
    QList<float> readClipSamples(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate) const;

private:
    void mixTrack(const Track &track, TimeUs timeUs, int frameCount, int sampleRate, float *out);
    void mixClip(const Clip &clip, const QList<AudioTransitionWindow> &windows, TimeUs timeUs, int frameCount,
                 int sampleRate, float *out);
    QList<float> processedClipSamples(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate);
    std::shared_ptr<AudioEffectRack> rackFor(const QString &clipId);

    const Project *m_project = nullptr;
    EffectSpecResolver m_resolveEffects;
    TransitionCurveLookup m_transitionCurve;
    QMutex m_rackMutex;
    QHash<QString, std::shared_ptr<AudioEffectRack>> m_racks;
};

} // namespace orvel
