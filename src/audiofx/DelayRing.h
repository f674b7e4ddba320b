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
    // Room for delays up to maxDelaySamples; allocates and clears.
    void prepare(int channels, int maxDelaySamples)
    {
        m_maxDelay = float(std::max(maxDelaySamples, 1));
        std::uint32_t size = 4;
        while (size < std::uint32_t(maxDelaySamples) + 2)
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

private:
    std::vector<float> m_samples;
    std::vector<std::uint32_t> m_write;
    std::vector<std::uint32_t> m_read;
    std::uint32_t m_mask = 3;
    std::uint32_t m_size = 4;
    float m_maxDelay = 1.0f;
};

} // namespace orvel
