#include "audiofx/PitchProcessor.h"

#include <soundtouch/SoundTouch.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace orvel {

namespace {
constexpr std::size_t kReceiveFrames = 1024;
}

SoundTouchPitchProcessor::SoundTouchPitchProcessor()
    : m_soundTouch(std::make_unique<soundtouch::SoundTouch>())
{}

SoundTouchPitchProcessor::~SoundTouchPitchProcessor() = default;

void SoundTouchPitchProcessor::setPitch(float ratio)
{
    const float clamped = std::clamp(ratio, 0.25f, 4.0f);
    // SoundTouch rebuilds its filters on every call; skip values that did not really change.
    if (std::abs(clamped - m_pitch) <= std::numeric_limits<float>::epsilon())
        return;
    m_pitch = clamped;
    m_soundTouch->setPitch(m_pitch);
}

void SoundTouchPitchProcessor::prepare(const AudioProcessSpec &spec)
{
    auto &st = *m_soundTouch;
    st.setSampleRate(unsigned(std::max(1.0, spec.sampleRate)));
    st.setChannels(2);
    st.setTempo(1.0);
    st.setRate(1.0);
    st.setSetting(SETTING_USE_QUICKSEEK, 0);
    st.setSetting(SETTING_USE_AA_FILTER, 1);
    st.setPitch(m_pitch);
    m_nominalFrames = std::max(st.getSetting(SETTING_NOMINAL_OUTPUT_SEQUENCE), 64);
    m_initialLatencyFrames = std::max(st.getSetting(SETTING_INITIAL_LATENCY), 0);
    m_interleaved.assign(std::size_t(spec.maximumBlockSize) * 2, 0.0f);
    // Enough room for a block plus everything SoundTouch holds back, so process never grows it.
    m_queue.clear();
    m_queue.reserve((std::size_t(spec.maximumBlockSize) * 4 + std::size_t(m_nominalFrames) * 4 + 16384) * 2);
    reset();
}

int SoundTouchPitchProcessor::latencyFrames() const
{
    return m_initialLatencyFrames + m_nominalFrames;
}

void SoundTouchPitchProcessor::drainIntoQueue()
{
    for (;;) {
        const std::size_t before = m_queue.size();
        m_queue.resize(before + kReceiveFrames * 2);
        const unsigned got = m_soundTouch->receiveSamples(m_queue.data() + before, kReceiveFrames);
        m_queue.resize(before + std::size_t(got) * 2);
        if (got == 0)
            return;
    }
}

void SoundTouchPitchProcessor::process(const AudioBlockView &block)
{
    if (block.channelCount == 0)
        return;
    const std::size_t frames = std::min(block.frameCount, m_interleaved.size() / 2);
    const float *left = block.channel(0);
    const float *right = block.channelCount > 1 ? block.channel(1) : left;
    for (std::size_t i = 0; i < frames; ++i) {
        m_interleaved[2 * i] = left[i];
        m_interleaved[2 * i + 1] = right[i];
    }
    m_soundTouch->putSamples(m_interleaved.data(), unsigned(frames));
    drainIntoQueue();

    const std::size_t queued = (m_queue.size() - m_queueStart) / 2;
    if (m_priming) {
        if (queued < std::size_t(m_nominalFrames) + frames) {
            for (std::uint32_t c = 0; c < std::min<std::uint32_t>(block.channelCount, 2); ++c)
                std::fill_n(block.channel(c), frames, 0.0f);
            return;
        }
        m_priming = false;
    }
    const std::size_t out = std::min(frames, queued);
    const float *source = m_queue.data() + m_queueStart;
    for (std::size_t i = 0; i < out; ++i) {
        block.channel(0)[i] = source[2 * i];
        if (block.channelCount > 1)
            block.channel(1)[i] = source[2 * i + 1];
    }
    m_queueStart += out * 2;
    // Compact once the consumed head is large, so the queue's storage stays bounded.
    if (m_queueStart >= m_queue.size() / 2) {
        m_queue.erase(m_queue.begin(), m_queue.begin() + std::ptrdiff_t(m_queueStart));
        m_queueStart = 0;
    }
}

void SoundTouchPitchProcessor::reset()
{
    m_soundTouch->clear();
    m_queue.clear();
    m_queueStart = 0;
    m_priming = true;
}

} // namespace orvel
