#pragma once

#include "audiofx/AudioEffectProcessor.h"

#include <algorithm>
#include <array>
#include <vector>

namespace orvel {

// One second-order filter section over every channel of a block. The coefficients are JUCE's
// (b0, b1, b2, a1, a2, already divided by a0); the loop is the direct form, which keeps the last
// two inputs and outputs. Each output waits only on one multiply and one subtract of the output
// before it, where the transposed form JUCE runs chains four operations, and two channels are
// stepped together so that the processor overlaps their work. History that has decayed to almost
// nothing is flushed to zero at the end of a block, as JUCE does, so silence never turns into
// denormals.
class Biquad
{
public:
    // The history is kept, so a sweep does not click.
    void setCoefficients(const float *raw) { std::copy_n(raw, 5, m_c.begin()); }
    void prepare(std::uint32_t channels) { m_history.assign(std::size_t(channels) * 4, 0.0f); }
    void reset() { std::fill(m_history.begin(), m_history.end(), 0.0f); }

    void process(const AudioBlockView &block)
    {
        const std::uint32_t channels =
            std::min<std::uint32_t>(block.channelCount, std::uint32_t(m_history.size() / 4));
        std::uint32_t c = 0;
        for (; c + 1 < channels; c += 2)
            processPair(block.channel(c), block.channel(c + 1), &m_history[4 * c], block.frameCount);
        if (c < channels)
            processOne(block.channel(c), &m_history[4 * c], block.frameCount);
    }

private:
    // x1, x2, y1, y2 of one channel.
    struct History
    {
        float x1, x2, y1, y2;
    };

    static float flushed(float value) { return (value < -1.0e-8f || value > 1.0e-8f) ? value : 0.0f; }

    static History load(const float *h) { return {h[0], h[1], h[2], h[3]}; }
    static void store(float *h, const History &s)
    {
        h[0] = s.x1;
        h[1] = s.x2;
        h[2] = flushed(s.y1);
        h[3] = flushed(s.y2);
    }

    float step(History &s, float in) const
    {
        const auto [b0, b1, b2, a1, a2] = m_c;
        const float out = ((in * b0 + s.x1 * b1 + s.x2 * b2) - s.y2 * a2) - s.y1 * a1;
        s.x2 = s.x1;
        s.x1 = in;
        s.y2 = s.y1;
        s.y1 = out;
        return out;
    }

    void processOne(float *x, float *history, std::size_t frames) const
    {
        History s = load(history);
        for (std::size_t i = 0; i < frames; ++i)
            x[i] = step(s, x[i]);
        store(history, s);
    }

    void processPair(float *x, float *y, float *history, std::size_t frames) const
    {
        History s = load(history);
        History t = load(history + 4);
        for (std::size_t i = 0; i < frames; ++i) {
            x[i] = step(s, x[i]);
            y[i] = step(t, y[i]);
        }
        store(history, s);
        store(history + 4, t);
    }

    std::array<float, 5> m_c{1.0f, 0.0f, 0.0f, 0.0f, 0.0f};
    std::vector<float> m_history;
};

} // namespace orvel
