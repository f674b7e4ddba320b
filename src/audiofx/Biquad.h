#pragma once

#include "audiofx/AudioEffectProcessor.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace orvel {

// One second-order filter section over every channel of a block. The coefficients are JUCE's
// (b0, b1, b2, a1, a2, already divided by a0).
//
// Run sample by sample, every output waits for the one before it, so the filter is bound by
// the latency of a multiply and a subtract per sample however wide the processor is. Here the
// feed-forward half (b0, b1, b2) runs first over a run of inputs, where nothing depends on an
// earlier output, and the feedback half is then solved four outputs at a time: each group of
// four is a fixed linear mix of its four feed-forward values and of the two outputs before the
// group, so the chain from group to group is one multiply and two adds for four samples. Two
// channels are stepped together so that their chains overlap. The result equals the direct
// form up to float rounding.
//
// History that has decayed to almost nothing is flushed to zero at the end of a block, as JUCE
// does, so silence never turns into denormals.
class Biquad
{
public:
    // The history is kept, so a sweep does not click.
    void setCoefficients(const float *raw)
    {
        std::copy_n(raw, 5, m_c.begin());
        buildGroupTables();
    }
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
            processPair(block.channel(c), nullptr, &m_history[4 * c], block.frameCount);
    }

private:
    using Lanes = float __attribute__((vector_size(16)));
    static constexpr std::size_t kGroup = 4;
    // Frames of feed-forward values worked out ahead of the feedback, on the stack.
    static constexpr std::size_t kRun = 256;

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

    // Output k of a group is sum over j <= k of h[k - j] w[j], plus p[k] y1 + q[k] y2, where h is
    // the impulse response of the feedback alone and y1, y2 are the outputs before the group.
    void buildGroupTables()
    {
        const double a1 = m_c[3];
        const double a2 = m_c[4];
        std::array<double, kGroup> h{};
        std::array<double, kGroup> p{};
        std::array<double, kGroup> q{};
        double pPrev = 1.0, pPrev2 = 0.0, qPrev = 0.0, qPrev2 = 1.0;
        for (std::size_t k = 0; k < kGroup; ++k) {
            h[k] = k == 0 ? 1.0 : k == 1 ? -a1 : -a1 * h[k - 1] - a2 * h[k - 2];
            p[k] = -a1 * pPrev - a2 * pPrev2;
            q[k] = -a1 * qPrev - a2 * qPrev2;
            pPrev2 = std::exchange(pPrev, p[k]);
            qPrev2 = std::exchange(qPrev, q[k]);
        }
        for (std::size_t j = 0; j < kGroup; ++j) {
            for (std::size_t k = 0; k < kGroup; ++k)
                m_columns[j][k] = k >= j ? float(h[k - j]) : 0.0f;
        }
        for (std::size_t k = 0; k < kGroup; ++k) {
            m_p[k] = float(p[k]);
            m_q[k] = float(q[k]);
        }
    }

    // The feed-forward values of frames inputs into w, and the inputs' history moved on.
    void feedForward(const float *x, float *w, std::size_t frames, History &s) const
    {
        const float b0 = m_c[0], b1 = m_c[1], b2 = m_c[2];
        w[0] = x[0] * b0 + s.x1 * b1 + s.x2 * b2;
        if (frames > 1)
            w[1] = x[1] * b0 + x[0] * b1 + s.x1 * b2;
        for (std::size_t i = 2; i < frames; ++i)
            w[i] = x[i] * b0 + x[i - 1] * b1 + x[i - 2] * b2;
        s.x2 = frames > 1 ? x[frames - 2] : s.x1;
        s.x1 = x[frames - 1];
    }

    // The group tables, copied out of the object so that the loops keep them in registers.
    struct GroupTables
    {
        std::array<Lanes, kGroup> columns;
        Lanes p;
        Lanes q;
    };

    static Lanes splat(float value) { return Lanes{value, value, value, value}; }

    // Lane `lane` of v in every lane, without leaving the vector registers.
    template <int lane> static Lanes splatLane(Lanes v)
    {
#if defined(__clang__)
        return __builtin_shufflevector(v, v, lane, lane, lane, lane);
#else
        using Mask = int __attribute__((vector_size(16)));
        return __builtin_shuffle(v, Mask{lane, lane, lane, lane});
#endif
    }

    // The outputs of one group, given the last two outputs before it in every lane.
    static Lanes groupOutputs(const GroupTables &g, const float *w, Lanes y1, Lanes y2)
    {
        const Lanes forward = (g.columns[0] * splat(w[0]) + g.columns[1] * splat(w[1])) +
                              (g.columns[2] * splat(w[2]) + g.columns[3] * splat(w[3]));
        return forward + (g.p * y1 + g.q * y2);
    }

    float feedbackStep(float w, History &s) const
    {
        const float out = (w - s.y2 * m_c[4]) - s.y1 * m_c[3];
        s.y2 = s.y1;
        s.y1 = out;
        return out;
    }

    // Runs the groups of one channel's run of feed-forward values into out; returns where the
    // groups stopped.
    static std::size_t runGroups(const GroupTables &g, const float *w, float *out, std::size_t count,
                                 History &s)
    {
        Lanes y1 = splat(s.y1);
        Lanes y2 = splat(s.y2);
        std::size_t i = 0;
        for (; i + kGroup <= count; i += kGroup) {
            const Lanes y = groupOutputs(g, w + i, y1, y2);
            std::memcpy(out + i, &y, sizeof y);
            y1 = splatLane<3>(y);
            y2 = splatLane<2>(y);
        }
        s.y1 = y1[0];
        s.y2 = y2[0];
        return i;
    }

    // The two channels' groups interleaved, so that their chains overlap.
    static std::size_t runGroupPair(const GroupTables &g, const float *wx, float *x, const float *wy,
                                    float *y, std::size_t count, History &s, History &t)
    {
        Lanes x1 = splat(s.y1), x2 = splat(s.y2);
        Lanes y1 = splat(t.y1), y2 = splat(t.y2);
        std::size_t i = 0;
        for (; i + kGroup <= count; i += kGroup) {
            const Lanes outX = groupOutputs(g, wx + i, x1, x2);
            const Lanes outY = groupOutputs(g, wy + i, y1, y2);
            std::memcpy(x + i, &outX, sizeof outX);
            std::memcpy(y + i, &outY, sizeof outY);
            x1 = splatLane<3>(outX);
            x2 = splatLane<2>(outX);
            y1 = splatLane<3>(outY);
            y2 = splatLane<2>(outY);
        }
        s.y1 = x1[0];
        s.y2 = x2[0];
        t.y1 = y1[0];
        t.y2 = y2[0];
        return i;
    }

    // y may be null for a single channel.
    void processPair(float *x, float *y, float *history, std::size_t frames) const
    {
        History s = load(history);
        History t = y ? load(history + 4) : History{};
        const GroupTables g{m_columns, m_p, m_q};
        alignas(16) float wx[kRun];
        alignas(16) float wy[kRun];
        for (std::size_t start = 0; start < frames; start += kRun) {
            const std::size_t count = std::min(kRun, frames - start);
            float *xs = x + start;
            feedForward(xs, wx, count, s);
            std::size_t i = 0;
            if (y) {
                float *ys = y + start;
                feedForward(ys, wy, count, t);
                i = runGroupPair(g, wx, xs, wy, ys, count, s, t);
                for (std::size_t k = i; k < count; ++k)
                    ys[k] = feedbackStep(wy[k], t);
            } else {
                i = runGroups(g, wx, xs, count, s);
            }
            for (; i < count; ++i)
                xs[i] = feedbackStep(wx[i], s);
        }
        store(history, s);
        if (y)
            store(history + 4, t);
    }

    std::array<float, 5> m_c{1.0f, 0.0f, 0.0f, 0.0f, 0.0f};
    // Column j: what feed-forward value j of a group adds to each of the group's outputs.
    std::array<Lanes, kGroup> m_columns{Lanes{1.0f, 0.0f, 0.0f, 0.0f}, Lanes{0.0f, 1.0f, 0.0f, 0.0f},
                                        Lanes{0.0f, 0.0f, 1.0f, 0.0f}, Lanes{0.0f, 0.0f, 0.0f, 1.0f}};
    Lanes m_p{0.0f, 0.0f, 0.0f, 0.0f};
    Lanes m_q{0.0f, 0.0f, 0.0f, 0.0f};
    std::vector<float> m_history;
};

} // namespace orvel
