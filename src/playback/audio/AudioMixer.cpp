#include "playback/audio/AudioMixer.h"

#include "core/document/timing/ClipTiming.h"
#include "media/decode/ClipReaderPool.h"
#include "playback/audio/AudioRetime.h"

#include <QMutexLocker>

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

TimeUs framesToUs(qint64 frames, int sampleRate)
{
    return frames * 1'000'000 / sampleRate;
}

bool clipOverlapsBlock(const Clip &clip, TimeUs startUs, TimeUs lastUs)
{
    const TimeUs clipStart = clip.timelineStartUs;
    const TimeUs clipEnd = clip.timelineEndUs();
    const bool firstInside = startUs >= clipStart && startUs < clipEnd;
    const bool lastInside = lastUs >= clipStart && lastUs < clipEnd;
    const bool covers = startUs <= clipStart && lastUs >= clipEnd - 1;
    return firstInside || lastInside || covers;
}

double clipSpeedAt(const Clip &clip, TimeUs timelineUs)
{
    if (clip.speedCurve.isActive())
        return clipSpeedAtLocalUs(clip, timelineUs - clip.timelineStartUs);
    return clip.speed <= 0.0 ? 1.0 : clip.speed;
}

// Outside its fade ramps a clip's fade gain is exactly 1, so a block that lies wholly between
// them can skip the fade arithmetic without changing a sample.
bool fadesTouchBlock(const Clip &clip, TimeUs firstUs, TimeUs lastUs)
{
    const bool inFadeIn = clip.fadeInUs > 0 && firstUs < clip.timelineStartUs + clip.fadeInUs;
    const bool inFadeOut = clip.fadeOutUs > 0 && lastUs > clip.timelineEndUs() - clip.fadeOutUs;
    return inFadeIn || inFadeOut;
}

void reverseFrames(QList<float> &samples, int frames)
{
    for (int i = 0, j = frames - 1; i < j; ++i, --j) {
        std::swap(samples[2 * i], samples[2 * j]);
        std::swap(samples[2 * i + 1], samples[2 * j + 1]);
    }
}

QMutex &defaultResolverMutex()
{
    static QMutex mutex;
    return mutex;
}

AudioMixer::EffectSpecResolver &defaultResolver()
{
    static AudioMixer::EffectSpecResolver resolver;
    return resolver;
}

} // namespace

AudioMixer::AudioMixer()
{
    QMutexLocker lock(&defaultResolverMutex());
    m_resolveEffects = defaultResolver();
}

void AudioMixer::setDefaultEffectSpecResolver(EffectSpecResolver resolver)
{
    QMutexLocker lock(&defaultResolverMutex());
    defaultResolver() = std::move(resolver);
}

void AudioMixer::mix(TimeUs timeUs, int frameCount, int sampleRate, float *out)
{
    const Project *project = m_project;
    if (!out || frameCount < 1 || !project || sampleRate < 1)
        return;
    std::fill_n(out, std::size_t(frameCount) * 2, 0.0f);
    for (const Track &track : project->tracks)
        mixTrack(track, timeUs, frameCount, sampleRate, out);
    // Most sums lie below the limiter's knee, where it leaves them alone; only the others pay
    // for the call.
    for (std::size_t i = 0; i < std::size_t(frameCount) * 2; ++i) {
        if (std::fabs(out[i]) > 0.95f)
            out[i] = softLimit(out[i]);
    }
}

void AudioMixer::mixTrack(const Track &track, TimeUs timeUs, int frameCount, int sampleRate, float *out)
{
    if (track.muted || track.hidden)
        return;
    if (track.type != TrackType::audio && track.type != TrackType::video)
        return;
    // Transitions are resolved once per block; the project cannot change under one block
    // except by the accepted edit race, which the next block picks up.
    const QList<AudioTransitionWindow> windows = audioTransitionWindows(track, m_transitionCurve);
    for (const Clip &clip : track.clips) {
        if (track.type == TrackType::video && (clip.type != ClipType::video || clip.suppressEmbeddedAudio))
            continue;
        mixClip(clip, windows, timeUs, frameCount, sampleRate, out);
    }
}

void AudioMixer::mixClip(const Clip &clip, const QList<AudioTransitionWindow> &windows, TimeUs timeUs,
                         int frameCount, int sampleRate, float *out)
{
    if (clip.path.isEmpty())
        return;
    const TimeUs blockUs = framesToUs(frameCount, sampleRate);
    if (!clipOverlapsBlock(clip, timeUs, timeUs + blockUs - 1))
        return;
    const float *samples = processedClipSamples(clip, timeUs, frameCount, sampleRate);
    const int frames = frameCount;
    const bool fades =
        fadesTouchBlock(clip, timeUs, timeUs + framesToUs(std::max(frames - 1, 0), sampleRate));
    // One key is a constant volume: evaluate it once, not per frame.
    const bool volume = clip.volume.keyframes.size() > 1;
    const double steadyGain = clip.volume.keyframes.size() == 1 ? clipVolumeGain(clip, timeUs) : 1.0;
    const bool transitions = !windows.isEmpty();
    if (!fades && !volume && !transitions) {
        // One gain for the whole block: no per-frame times to work out.
        const float gain = float(steadyGain);
        for (int i = 0; i < 2 * frames; ++i)
            out[i] += gain * samples[i];
        return;
    }
    // The factors are worked out one at a time over the whole block, each a tight loop, and
    // multiplied in the order a single frame's gain would be.
    const TimeUs *offsetsUs = frameOffsetsUs(frames, sampleRate);
    m_frameGains.assign(std::size_t(frames), steadyGain);
    double *gains = m_frameGains.data();
    if (fades)
        applyClipFadeGains(clip, timeUs, offsetsUs, frames, gains);
    for (int i = 0; i < frames && (volume || transitions); ++i) {
        // Keys and transitions are looked up per frame; silent frames need neither.
        if (samples[2 * i] == 0.0f && samples[2 * i + 1] == 0.0f)
            continue;
        const TimeUs t = timeUs + offsetsUs[i];
        if (volume)
            gains[i] *= clipVolumeGain(clip, t);
        if (transitions)
            gains[i] *= transitionAudioGain(windows, clip.id, t);
    }
    for (int i = 0; i < frames; ++i) {
        out[2 * i] += float(gains[i] * samples[2 * i]);
        out[2 * i + 1] += float(gains[i] * samples[2 * i + 1]);
    }
}

const TimeUs *AudioMixer::frameOffsetsUs(int frameCount, int sampleRate)
{
    // The same few block shapes come back every block, and a 64-bit division per frame was a
    // good part of the cost of a fade.
    if (m_offsetsRate != sampleRate || m_offsetsUs.size() < std::size_t(frameCount)) {
        m_offsetsRate = sampleRate;
        m_offsetsUs.resize(std::max(m_offsetsUs.size(), std::size_t(frameCount)));
        for (std::size_t i = 0; i < m_offsetsUs.size(); ++i)
            m_offsetsUs[i] = framesToUs(qint64(i), sampleRate);
    }
    return m_offsetsUs.data();
}

const float *AudioMixer::processedClipSamples(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate)
{
    // One buffer for every clip of every block: mixing allocates nothing once it has grown.
    m_clipBlock.resize(std::size_t(frameCount) * 2);
    float *samples = m_clipBlock.data();
    if (clip.audioEffects.isEmpty()) {
        readClipInto(clip, timeUs, frameCount, sampleRate, samples);
        return samples;
    }
    const QList<AudioEffectSpec> specs = m_resolveEffects ? m_resolveEffects(clip) : QList<AudioEffectSpec>();
    const std::shared_ptr<AudioEffectRack> rack = rackFor(clip.id);
    const TimeUs expectedUs = rack->nextExpectedUs();
    const bool contiguous = expectedUs >= 0 && std::llabs(timeUs - expectedUs) < 2001;
    const bool active = rack->configure(specs, sampleRate);
    if (active && !contiguous) {
        // After a jump the chains restart from silence; replaying the audio just before the
        // jump rebuilds echo and reverb tails, so the block sounds as it would have in sequence.
        rack->reset();
        const int preroll = rack->prerollFrames();
        if (preroll > 0) {
            const QList<float> before =
                readClipSamples(clip, timeUs - framesToUs(preroll, sampleRate), preroll, sampleRate);
            rack->process(before.constData(), nullptr, preroll);
        }
    }
    readClipInto(clip, timeUs, frameCount, sampleRate, samples);
    if (active)
        rack->process(samples, samples, frameCount);
    rack->setNextExpectedUs(timeUs + framesToUs(frameCount, sampleRate));
    return samples;
}

std::shared_ptr<AudioEffectRack> AudioMixer::rackFor(const QString &clipId)
{
    QMutexLocker lock(&m_rackMutex);
    std::shared_ptr<AudioEffectRack> &rack = m_racks[clipId];
    if (!rack)
        rack = std::make_shared<AudioEffectRack>();
    return rack;
}

std::shared_ptr<AudioMixer::ClipReadState> AudioMixer::readStateFor(const QString &clipId)
{
    QMutexLocker lock(&m_rackMutex);
    std::shared_ptr<ClipReadState> &state = m_readStates[clipId];
    if (!state)
        state = std::make_shared<ClipReadState>();
    return state;
}

void AudioMixer::reset()
{
    QMutexLocker lock(&m_rackMutex);
    m_racks.clear();
    m_readStates.clear();
}

void AudioMixer::setProject(const Project *project)
{
    if (project != m_project)
        reset();
    m_project = project;
}

void AudioMixer::setEffectSpecResolver(EffectSpecResolver resolver)
{
    m_resolveEffects = std::move(resolver);
}

void AudioMixer::setTransitionCurveLookup(TransitionCurveLookup lookup)
{
    m_transitionCurve = std::move(lookup);
}

QList<float> AudioMixer::readClipSamples(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate)
{
    QList<float> result(2 * std::max(frameCount, 0), 0.0f);
    readClipInto(clip, timeUs, frameCount, sampleRate, result.data());
    return result;
}

void AudioMixer::readClipInto(const Clip &clip, TimeUs timeUs, int frameCount, int sampleRate, float *result)
{
    if (frameCount < 1)
        return;
    // Only what the read left out is cleared: a block inside the clip is written whole.
    const WrittenFrames written = readClipFrames(clip, timeUs, frameCount, sampleRate, result);
    const int first = std::clamp(written.offset, 0, frameCount);
    const int end = std::clamp(written.offset + std::max(written.frames, 0), first, frameCount);
    std::fill(result, result + 2 * std::size_t(first), 0.0f);
    std::fill(result + 2 * std::size_t(end), result + 2 * std::size_t(frameCount), 0.0f);
}

AudioMixer::WrittenFrames AudioMixer::readClipFrames(const Clip &clip, TimeUs timeUs, int frameCount,
                                                     int sampleRate, float *result)
{
    if (frameCount < 1 || sampleRate < 1)
        return {};
    const TimeUs blockEndUs = timeUs + framesToUs(frameCount, sampleRate);
    if (blockEndUs <= clip.timelineStartUs || timeUs >= clip.timelineEndUs())
        return {};
    const TimeUs startUs = std::max(timeUs, clip.timelineStartUs);
    const int offset = int((startUs - timeUs) * sampleRate / 1'000'000);
    const int count = std::max(frameCount - offset, 1);
    double speed = clipSpeedAt(clip, startUs);
    if (isUnitySpeed(speed))
        speed = 1.0;
    const std::shared_ptr<ClipReadState> state = readStateFor(clip.id);
    if (speed != 1.0 && !clip.reverse && !clip.speedCurve.isActive()) {
        // A constant speed played forwards streams through one kept filter.
        const int taken = readRetimed(clip, *state, startUs, speed, sampleRate,
                                      std::min(count, frameCount - offset), result + 2 * offset);
        state->nextTimelineUs = blockEndUs;
        return {offset, taken};
    }
    state->nextTimelineUs = -1;
    const int sourceFrames = std::max(int(std::llround(count * speed)), 1);
    const TimeUs sourceLengthUs = std::max(framesToUs(sourceFrames, sampleRate), TimeUs(1));
    TimeUs sourceStartUs = clipSourceTimeUs(clip, startUs);
    if (clip.reverse)
        sourceStartUs = std::max(sourceStartUs - sourceLengthUs, TimeUs(0));

    if (speed == 1.0 && !clip.reverse) {
        // The common case: straight from the read-ahead buffer into the block.
        return {offset, state->source.read(clip.path, sourceStartUs, std::min(count, frameCount - offset),
                                           sampleRate, result + 2 * offset)};
    }
    QList<float> samples(2 * sourceFrames, 0.0f);
    const int read = state->source.read(clip.path, sourceStartUs, sourceFrames, sampleRate, samples.data());
    if (read < 1)
        return {};
    if (clip.reverse)
        reverseFrames(samples, read);
    if (speed != 1.0)
        samples = retimeAudio(samples, read, sampleRate, speed, count);
    const int available = int(samples.size() / 2);
    const int copy = std::min({count, available, frameCount - offset});
    std::copy_n(samples.constData(), 2 * std::max(copy, 0), result + 2 * offset);
    return {offset, copy};
}

int AudioMixer::readRetimed(const Clip &clip, ClipReadState &state, TimeUs startUs, double speed,
                            int sampleRate, int frameCount, float *out)
{
    AudioRetimeStream &retime = state.retime;
    const bool contiguous = retime.isOpen() && retime.speed() == speed && retime.sampleRate() == sampleRate &&
                            state.nextTimelineUs >= 0 && std::llabs(startUs - state.nextTimelineUs) < 2001;
    if (!contiguous) {
        // A jump, a new speed or a first block: the filter starts afresh at the new place.
        state.retimeSourceStartUs = clipSourceTimeUs(clip, startUs);
        state.retimeFramesFed = 0;
        state.retimeSourceEnded = false;
        if (!retime.open(sampleRate, speed))
            return 0;
    }
    // The filter hands out audio in whole windows, so it is fed until a block's worth is waiting.
    const int step = std::max(int(std::llround(frameCount * speed)), 1);
    state.retimeInput.resize(std::size_t(step) * 2);
    while (retime.queuedFrames() < frameCount && !state.retimeSourceEnded) {
        const TimeUs atUs = state.retimeSourceStartUs + framesToUs(state.retimeFramesFed, sampleRate);
        const int read = state.source.read(clip.path, atUs, step, sampleRate, state.retimeInput.data());
        state.retimeFramesFed += read;
        const bool pushed = read < 1 || retime.push(state.retimeInput.data(), read);
        if (read < step || !pushed) {
            retime.finish();
            state.retimeSourceEnded = true;
        }
    }
    return retime.take(out, frameCount);
}

} // namespace orvel
