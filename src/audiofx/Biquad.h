#pragma once

#include "audiofx/AudioEffectProcessor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace orvel {

// One second-order filter section over every channel of a block, with the arithmetic of JUCE's
// IIR filter (transposed direct form II, state flushed to zero when tiny at the end of a block).
// Each channel's recursion waits on its own last output, so two channels are stepped together:
// the processor then overlaps their work instead of idling on one chain.
class Biquad
{
public:
    // b0, b1, b2, a1, a2, already divided by a0. The state is kept, so a sweep does not click.
    void setCoefficients(const float *raw)
    {
        for (std::size_t k = 0; k < 5; ++k)
            m_c[k] = raw[k];
    }
    void prepare(std::uint32_t channels) { m_state.assign(std::size_t(channels) * 2, 0.0f); }
    void reset() { std::fill(m_state.begin(), m_state.end(), 0.0f); }

    void process(const AudioBlockView &block)
    {
        const std::uint32_t channels =
            std::min<std::uint32_t>(block.channelCount, std::uint32_t(m_state.size() / 2));
        std::uint32_t c = 0;
        for (; c + 1 < channels; c += 2)
            processPair(block.channel(c), block.channel(c + 1), &m_state[2 * c], block.frameCount);
        if (c < channels)
            processOne(block.channel(c), &m_state[2 * c], block.frameCount);
    }

private:
    static void flush(float &value)
    {
        if (!(value < -1.0e-8f || value > 1.0e-8f))
            value = 0.0f;
    }

    void processOne(float *x, float *state, std::size_t frames) const
    {
        const auto [b0, b1, b2, a1, a2] = m_c;
        float s1 = state[0], s2 = state[1];
        for (std::size_t i = 0; i < frames; ++i) {
            const float in = x[i];
            const float out = (in * b0) + s1;
            x[i] = out;
            s1 = (in * b1) - (out * a1) + s2;
            s2 = (in * b2) - (out * a2);
        }
        flush(s1);
        flush(s2);
        state[0] = s1;
        state[1] = s2;
    }

    void processPair(float *x, float *y, float *state, std::size_t frames) const
    {
        const auto [b0, b1, b2, a1, a2] = m_c;
        float s1 = state[0], s2 = state[1], t1 = state[2], t2 = state[3];
        for (std::size_t i = 0; i < frames; ++i) {
            const float inX = x[i];
            const float inY = y[i];
            const float outX = (inX * b0) + s1;
            const float outY = (inY * b0) + t1;
            x[i] = outX;
            y[i] = outY;
            s1 = (inX * b1) - (outX * a1) + s2;
            t1 = (inY * b1) - (outY * a1) + t2;
            s2 = (inX * b2) - (outX * a2);
            t2 = (inY * b2) - (outY * a2);
        }
        for (float *value : {&s1, &s2, &t1, &t2})
            flush(*value);
        state[0] = s1;
        state[1] = s2;
        state[2] = t1;
        state[3] = t2;
    }

    std::array<float, 5> m_c{1.0f, 0.0f, 0.0f, 0.0f, 0.0f};
    std::vector<float> m_state;
};

} // namespace orvel
