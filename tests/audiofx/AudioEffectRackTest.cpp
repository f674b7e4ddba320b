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

AudioEffectSpec muffledSpec()
{
    return {QStringLiteral("muffled"), 0, {{QStringLiteral("cutoff"), 20000.0f}}};
}

// Processes an interleaved stereo block of frames with a unit impulse at frame 0, or silence.
std::vector<float> run(AudioEffectRack &rack, int frames, bool impulse = false)
{
    std::vector<float> block(std::size_t(frames) * 2, 0.0f);
    if (impulse)
        block[0] = block[1] = 1.0f;
    rack.process(block.data(), block.data(), frames);
    return block;
}

// Largest left-channel magnitude within radius frames of centre.
float peakNear(const std::vector<float> &block, int centre, int radius)
{
    float peak = 0.0f;
    for (int i = std::max(centre - radius, 0); i < std::min(centre + radius, int(block.size() / 2)); ++i)
        peak = std::max(peak, std::fabs(block[std::size_t(2 * i)]));
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

// A rack whose only known id is "probe".
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
    run(rack, 100, true);
    EXPECT_FALSE(rack.configure({}, kRate));
    EXPECT_EQ(rack.nextExpectedUs(), -1);
    EXPECT_EQ(rack.prerollFrames(), 0);
    // The echo of the first impulse, due at frame 480, is gone, and a new impulse is untouched.
    std::vector<float> dry(2048, 0.0f);
    dry[0] = dry[1] = 1.0f;
    EXPECT_EQ(run(rack, 1024, true), dry);
    EXPECT_FALSE(rack.configure({{QStringLiteral("no-such-processor"), 500, {}}}, kRate));
    EXPECT_EQ(rack.prerollFrames(), 0);
}

TEST(AudioEffectRack, ParameterChangeKeepsTheDelayLineButReorderCutsIt)
{
    // A 100 ms echo of an impulse arrives 4800 frames later at the decay in force by then.
    AudioEffectRack kept;
    ASSERT_TRUE(kept.configure({echoSpec(100.0f, 1.0f)}, kRate));
    run(kept, 1024, true);
    ASSERT_TRUE(kept.configure({echoSpec(100.0f, 0.5f)}, kRate));
    const std::vector<float> tail = run(kept, 8000);
    EXPECT_NEAR(tail[2 * (4800 - 1024)], 0.5f, 1e-4f);
    EXPECT_EQ(peakNear(tail, 2000, 1500), 0.0f);

    // The same echo then a low-pass; swapping the two rebuilds both chains from silence.
    const QList<AudioEffectSpec> order{echoSpec(100.0f, 1.0f), muffledSpec()};
    AudioEffectRack steady;
    AudioEffectRack reordered;
    for (AudioEffectRack *rack : {&steady, &reordered}) {
        ASSERT_TRUE(rack->configure(order, kRate));
        run(*rack, 1024, true);
    }
    ASSERT_TRUE(steady.configure(order, kRate));
    ASSERT_TRUE(reordered.configure({order[1], order[0]}, kRate));
    EXPECT_GT(peakNear(run(steady, 8000), 4800 - 1024, 64), 0.3f);
    EXPECT_EQ(peakNear(run(reordered, 8000), 4800 - 1024, 64), 0.0f);
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
    // Latencies of the chains add up; an id without a chain adds neither latency nor preroll.
    AudioEffectRack largeLatency = probeRack(&blocks, 60000);
    ASSERT_TRUE(largeLatency.configure({{QStringLiteral("probe"), 100, {}},
                                        {QStringLiteral("probe"), 0, {}},
                                        {QStringLiteral("x"), 3000, {}}},
                                       kRate));
    EXPECT_EQ(largeLatency.prerollFrames(), 120000);
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
    // Without an output (a preroll) the chains run and the input is left alone.
    const std::vector<float> kept = in;
    rack.process(in.data(), nullptr, 2500);
    EXPECT_EQ(in, kept);
    EXPECT_EQ(blocks.size(), 6u);
}

TEST(ChainProcessor, NamesReachTheirSettersAndUnknownNamesAreIgnored)
{
    ChainProcessor chain;
    std::vector<float> calls;
    chain.bindFunction(QStringLiteral("a"), [&](float v) { calls.push_back(v); });
    chain.bindFunction(QStringLiteral("alias"), [&](float v) { calls.push_back(-v); });
    chain.setParameter(QStringLiteral("a"), 2.5f);
    chain.setParameter(QStringLiteral("nobody"), 9.0f);
    chain.setParameter(QStringLiteral("alias"), 4.0f);
    EXPECT_EQ(calls, (std::vector<float>{2.5f, -4.0f}));
}
