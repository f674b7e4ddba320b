#include "audiofx/AudioEffectRack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace orvel;

namespace {

constexpr int kRate = 48000;

AudioEffectSpec echoSpec(float delayMs, float decay)
{
    return {
        QStringLiteral("echo"), 0, {{QStringLiteral("delay"), delayMs}, {QStringLiteral("decay"), decay}}};
}

AudioEffectSpec muffledSpec(float cutoffHz)
{
    return {QStringLiteral("muffled"), 0, {{QStringLiteral("cutoff"), cutoffHz}}};
}

// Interleaved stereo silence with a unit impulse on both sides at frame 0.
std::vector<float> impulse(int frames)
{
    std::vector<float> block(std::size_t(frames) * 2, 0.0f);
    block[0] = block[1] = 1.0f;
    return block;
}

// Runs frames of silence through the rack and returns the left channel.
std::vector<float> runSilence(AudioEffectRack &rack, int frames)
{
    std::vector<float> block(std::size_t(frames) * 2, 0.0f);
    rack.process(block.data(), block.data(), frames);
    std::vector<float> left(static_cast<std::size_t>(frames));
    for (int i = 0; i < frames; ++i)
        left[std::size_t(i)] = block[std::size_t(2 * i)];
    return left;
}

float peakAround(const std::vector<float> &left, int centre, int radius)
{
    float peak = 0.0f;
    for (int i = std::max(centre - radius, 0); i < std::min(centre + radius, int(left.size())); ++i)
        peak = std::max(peak, std::fabs(left[std::size_t(i)]));
    return peak;
}

// Doubles every sample, records each block's length and reports a fixed latency.
class ProbeProcessor final : public AudioEffectProcessor
{
public:
    ProbeProcessor(std::vector<std::size_t> *blocks, int latency) : m_blocks(blocks), m_latency(latency) {}
    void prepare(const AudioProcessSpec &) override {}
    void process(const AudioBlockView &block) override
    {
        m_blocks->push_back(block.frameCount);
        for (std::uint32_t c = 0; c < block.channelCount; ++c)
            for (std::size_t i = 0; i < block.frameCount; ++i)
                block.channel(c)[i] *= 2.0f;
    }
    void reset() override {}
    int latencyFrames() const override { return m_latency; }

private:
    std::vector<std::size_t> *m_blocks;
    int m_latency;
};

AudioEffectRack probeRack(std::vector<std::size_t> *blocks, int latency)
{
    return AudioEffectRack([blocks, latency](const QString &id) -> std::unique_ptr<ChainProcessor> {
        if (id != QLatin1String("probe"))
            return nullptr;
        auto chain = std::make_unique<ChainProcessor>();
        chain->add<ProbeProcessor>(blocks, latency);
        return chain;
    });
}

} // namespace

TEST(AudioEffectRack, EmptyOrUnknownEffectsPassTheSignalDry)
{
    AudioEffectRack rack;
    ASSERT_TRUE(rack.configure({echoSpec(10.0f, 1.0f)}, kRate));
    std::vector<float> first = impulse(1024);
    rack.process(first.data(), first.data(), 1024);

    EXPECT_FALSE(rack.configure({}, kRate));
    EXPECT_EQ(rack.chainCount(), 0);
    EXPECT_EQ(rack.nextExpectedUs(), -1);
    EXPECT_EQ(rack.prerollFrames(), 0);
    std::vector<float> block = impulse(1024);
    const std::vector<float> dry = block;
    rack.process(block.data(), block.data(), 1024);
    EXPECT_EQ(block, dry); // the echo of the first impulse, due at frame 480, is gone

    EXPECT_FALSE(rack.configure({{QStringLiteral("no-such-processor"), 500, {}}}, kRate));
    EXPECT_EQ(rack.prerollFrames(), 0);
}

TEST(AudioEffectRack, ParameterChangeKeepsTheDelayLineButReorderCutsIt)
{
    // A 100 ms echo of an impulse arrives 4800 frames later at the decay in force by then.
    AudioEffectRack kept;
    ASSERT_TRUE(kept.configure({echoSpec(100.0f, 1.0f)}, kRate));
    std::vector<float> block = impulse(1024);
    kept.process(block.data(), block.data(), 1024);
    ASSERT_TRUE(kept.configure({echoSpec(100.0f, 0.5f)}, kRate));
    const std::vector<float> tail = runSilence(kept, 8000);
    EXPECT_NEAR(tail[4800 - 1024], 0.5f, 1e-4f);
    EXPECT_NEAR(peakAround(tail, 2000, 1500), 0.0f, 1e-6f);

    // The same echo after a low-pass; swapping the two rebuilds both chains from silence.
    const QList<AudioEffectSpec> order{echoSpec(100.0f, 1.0f), muffledSpec(20000.0f)};
    const QList<AudioEffectSpec> swapped{muffledSpec(20000.0f), echoSpec(100.0f, 1.0f)};
    AudioEffectRack steady;
    AudioEffectRack reordered;
    for (AudioEffectRack *rack : {&steady, &reordered}) {
        ASSERT_TRUE(rack->configure(order, kRate));
        std::vector<float> start = impulse(1024);
        rack->process(start.data(), start.data(), 1024);
    }
    ASSERT_TRUE(steady.configure(order, kRate));
    ASSERT_TRUE(reordered.configure(swapped, kRate));
    EXPECT_GT(peakAround(runSilence(steady, 8000), 4800 - 1024, 64), 0.3f);
    EXPECT_LT(peakAround(runSilence(reordered, 8000), 4800 - 1024, 64), 1e-6f);
}

TEST(AudioEffectRack, PrerollIsTheLargerOfPrerollAndLatency)
{
    AudioEffectRack echo;
    ASSERT_TRUE(echo.configure({{QStringLiteral("echo"), 2000, {}}}, kRate));
    EXPECT_EQ(echo.prerollFrames(), 96000);
    ASSERT_TRUE(echo.configure({{QStringLiteral("echo"), 2000, {}}}, 44100));
    EXPECT_EQ(echo.prerollFrames(), 88200);

    std::vector<std::size_t> blocks;
    AudioEffectRack smallLatency = probeRack(&blocks, 5000);
    ASSERT_TRUE(smallLatency.configure({{QStringLiteral("probe"), 2000, {}}}, kRate));
    EXPECT_EQ(smallLatency.prerollFrames(), 96000);
    AudioEffectRack largeLatency = probeRack(&blocks, 60000);
    ASSERT_TRUE(largeLatency.configure({{QStringLiteral("probe"), 100, {}},
                                        {QStringLiteral("probe"), 0, {}},
                                        {QStringLiteral("x"), 3000, {}}},
                                       kRate));
    EXPECT_EQ(largeLatency.prerollFrames(), 120000); // latencies add; an id without a chain adds nothing
}

TEST(AudioEffectRack, ProcessesInChunksOfAtMost1024Frames)
{
    std::vector<std::size_t> blocks;
    AudioEffectRack rack = probeRack(&blocks, 0);
    ASSERT_TRUE(rack.configure({{QStringLiteral("probe"), 0, {}}}, kRate));
    std::vector<float> in(2500 * 2);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = float(i) * 0.001f;
    std::vector<float> out(in.size(), -1.0f);
    rack.process(in.data(), out.data(), 2500);
    EXPECT_EQ(blocks, (std::vector<std::size_t>{1024, 1024, 452}));
    for (std::size_t i = 0; i < in.size(); ++i)
        ASSERT_FLOAT_EQ(out[i], 2.0f * in[i]) << "sample " << i;

    // In place gives the same; a null output runs the chain and leaves the input alone.
    std::vector<float> inPlace = in;
    rack.process(inPlace.data(), inPlace.data(), 2500);
    EXPECT_EQ(inPlace, out);
    const std::vector<float> kept = in;
    rack.process(in.data(), nullptr, 2500);
    EXPECT_EQ(in, kept);
    EXPECT_EQ(blocks.size(), 9u);
}

TEST(ChainProcessor, NamesReachTheirSettersAndUnknownNamesAreIgnored)
{
    ChainProcessor chain;
    float a = 0.0f;
    int calls = 0;
    chain.bindFunction(QStringLiteral("a"), [&](float v) {
        a = v;
        ++calls;
    });
    chain.bindFunction(QStringLiteral("alias"), [&](float v) {
        a = v;
        ++calls;
    });
    chain.setParameter(QStringLiteral("a"), 2.5f);
    chain.setParameter(QStringLiteral("alias"), 4.0f);
    chain.setParameter(QStringLiteral("nobody"), 9.0f);
    EXPECT_EQ(a, 4.0f);
    EXPECT_EQ(calls, 2);
}
