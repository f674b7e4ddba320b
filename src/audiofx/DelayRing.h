#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace orvel {

// A delay line per channel, read with linear interpolation, pushed and popped sample by sample.
// It answers exactly as JUCE's DelayLine with linear interpolation does, pop for pop, but its
// storage is a power of two long, so stepping round it is a mask where JUCE divides twice for
// every sample; in the echo and modulation loops those divisions were most of the cost.
class DelayRing
{
public:
    // Room for delays up to maxDelaySamples, and for blocks of up to maxBlockFrames through
    // popPushBlock; allocates and clears.
    void prepare(int channels, int maxDelaySamples, int maxBlockFrames = 0)
    {
        m_maxDelay = float(std::max(maxDelaySamples, 1));
        m_maxBlock = std::size_t(std::max(maxBlockFrames, 0));
        std::uint32_t size = 4;
        while (size < std::uint32_t(maxDelaySamples) + 2 + std::uint32_t(m_maxBlock))
            size *= 2;
        m_mask = size - 1;
        m_size = size;
        m_samples.assign(std::size_t(std::max(channels, 0)) * size, 0.0f);
        m_write.assign(std::size_t(std::max(channels, 0)), 0);
        m_read.assign(std::size_t(std::max(channels, 0)), 0);
    }

    void reset()
    {
        std::fill(m_samples.begin(), m_samples.end(), 0.0f);
        std::fill(m_write.begin(), m_write.end(), 0);
        std::fill(m_read.begin(), m_read.end(), 0);
    }

    // A delay split into its whole samples and the fraction between them, once per value.
    struct Tap
    {
        std::uint32_t whole = 0;
        float fraction = 0.0f;
    };
    Tap tap(float delaySamples) const
    {
        const float delay = std::clamp(delaySamples, 0.0f, m_maxDelay);
        const float whole = std::floor(delay);
        return {std::uint32_t(whole), delay - whole};
    }

    void push(std::uint32_t channel, float sample)
    {
        m_samples[channel * m_size + (m_write[channel]++ & m_mask)] = sample;
    }

    // The sample pushed `whole` steps before this pop, blended towards the one before it.
    float pop(std::uint32_t channel, Tap tap)
    {
        const float *line = m_samples.data() + channel * m_size;
        const std::uint32_t at = m_read[channel]++ - tap.whole;
        const float first = line[at & m_mask];
        const float second = line[(at - 1) & m_mask];
        return first + tap.fraction * (second - first);
    }
    float pop(std::uint32_t channel, float delaySamples) { return pop(channel, tap(delaySamples)); }

    // What `frames` rounds of pop-then-push give, for a delay of at least one whole sample and a
    // block no longer than prepared for. Each sample of io is scaled by inGain and pushed; then
    // io[i] becomes combine(io[i], pop i). The block goes in first and is then read back in
    // straight runs of the line, which the compiler turns into vector code. False, doing
    // nothing, otherwise.
    template <typename Combine>
    bool popPushBlock(std::uint32_t channel, Tap tap, float inGain, float *io, std::size_t frames,
                      Combine combine)
    {
        if (tap.whole < 1 || frames > m_maxBlock)
            return false;
        float *line = m_samples.data() + channel * m_size;
        const std::uint32_t write = m_write[channel] & m_mask;
        const std::size_t first = std::min<std::size_t>(frames, m_size - write);
        for (std::size_t i = 0; i < first; ++i)
            line[write + i] = io[i] *= inGain;
        for (std::size_t i = first; i < frames; ++i)
            line[i - first] = io[i] *= inGain;
        m_write[channel] += std::uint32_t(frames);

        // Pop i blends line[at + 1] towards line[at], at being the sample before the one read.
        std::uint32_t at = (m_read[channel] - tap.whole - 1) & m_mask;
        m_read[channel] += std::uint32_t(frames);
        const float fraction = tap.fraction;
        for (std::size_t i = 0; i < frames;) {
            const std::size_t run = std::min<std::size_t>(frames - i, m_size - 1 - at);
            if (run == 0) { // the newer sample of this pop lies at the start of the line
                io[i] = combine(io[i], line[0] + fraction * (line[at] - line[0]));
                ++i;
                at = 0;
                continue;
            }
            const float *older = line + at;
            float *out = io + i;
            if (fraction == 0.0f) {
                for (std::size_t k = 0; k < run; ++k)
                    out[k] = combine(out[k], older[k + 1]);
            } else {
                for (std::size_t k = 0; k < run; ++k)
                    out[k] = combine(out[k], older[k + 1] + fraction * (older[k] - older[k + 1]));
            }
            i += run;
            at = (at + std::uint32_t(run)) & m_mask;
        }
        return true;
    }

private:
    std::vector<float> m_samples;
    std::vector<std::uint32_t> m_write;
    std::vector<std::uint32_t> m_read;
    std::uint32_t m_mask = 3;
    std::uint32_t m_size = 4;
    float m_maxDelay = 1.0f;
    std::size_t m_maxBlock = 0;
};

} // namespace orvel
