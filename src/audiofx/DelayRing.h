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
        m_gather.assign(m_maxBlock + 1, 0.0f);
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
    // block no longer than prepared for: the block goes in first and is then read back in
    // straight runs, which the compiler turns into vector code. False, doing nothing, otherwise.
    bool popPushBlock(std::uint32_t channel, Tap tap, const float *in, float *out, std::size_t frames)
    {
        if (tap.whole < 1 || frames > m_maxBlock)
            return false;
        float *line = m_samples.data() + channel * m_size;
        const std::uint32_t write = m_write[channel];
        const std::size_t first = std::min<std::size_t>(frames, m_size - (write & m_mask));
        std::copy_n(in, first, line + (write & m_mask));
        std::copy_n(in + first, frames - first, line);
        m_write[channel] += std::uint32_t(frames);

        // The sample before the first one read, then one per pop.
        const std::uint32_t start = (m_read[channel] - tap.whole - 1) & m_mask;
        const std::size_t count = frames + 1;
        const std::size_t head = std::min<std::size_t>(count, m_size - start);
        std::copy_n(line + start, head, m_gather.data());
        std::copy_n(line, count - head, m_gather.data() + head);
        m_read[channel] += std::uint32_t(frames);

        const float *older = m_gather.data();
        const float fraction = tap.fraction;
        for (std::size_t i = 0; i < frames; ++i)
            out[i] = older[i + 1] + fraction * (older[i] - older[i + 1]);
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
    std::vector<float> m_gather;
};

} // namespace orvel
