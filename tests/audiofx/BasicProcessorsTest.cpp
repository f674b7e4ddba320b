#include "audiofx/BasicProcessors.h"
#include "audiofx/DelayRing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

using namespace orvel;

namespace {

// A planar stereo buffer and the view over it.
struct Planar
{
    explicit Planar(std::size_t frames) : left(frames, 0.0f), right(frames, 0.0f) {}
    AudioBlockView view() { return {pointers, 2, 0, left.size()}; }
    std::vector<float> left;
    std::vector<float> right;
    float *pointers[2] = {left.data(), right.data()};
};

} // namespace

TEST(EchoProcessor, RepeatsAnImpulseOnceAfterTheDelayUntilReset)
{
    EchoProcessor echo(0.8f, 0.9f);
    echo.setDelayMs(10.0f); // 480 frames
    echo.setDecay(0.5f);
    echo.prepare({48000.0, 4096, 2});
    Planar block(2000);
    block.left[0] = 1.0f;
    block.right[3] = -1.0f;
    echo.process(block.view());
    for (std::size_t i = 0; i < block.left.size(); ++i) {
        ASSERT_NEAR(block.left[i], i == 0 ? 0.72f : i == 480 ? 0.36f : 0.0f, 1e-6f) << "frame " << i;
        ASSERT_NEAR(block.right[i], i == 3 ? -0.72f : i == 483 ? -0.36f : 0.0f, 1e-6f) << "frame " << i;
    }

    Planar impulse(100);
    impulse.left[0] = 1.0f;
    echo.process(impulse.view());
    echo.reset();
    Planar after(1000);
    echo.process(after.view());
    EXPECT_EQ(after.left, std::vector<float>(1000, 0.0f));
}

TEST(GainProcessor, RampsToANewGainOver20Milliseconds)
{
    GainProcessor gain(1.0f);
    gain.prepare({48000.0, 4096, 2});
    gain.setGain(0.0f);
    Planar block(2000);
    std::fill(block.left.begin(), block.left.end(), 1.0f);
    std::fill(block.right.begin(), block.right.end(), -1.0f);
    gain.process(block.view());
    // 960 steps from 1 to 0, one per frame, the same on both sides.
    EXPECT_NEAR(block.left[0], 1.0f - 1.0f / 960.0f, 1e-5f);
    EXPECT_NEAR(block.left[479], 0.5f, 1e-4f);
    EXPECT_NEAR(block.right[479], -0.5f, 1e-4f);
    EXPECT_EQ(block.left[959], 0.0f);
    EXPECT_EQ(block.left[1999], 0.0f);
}

// The grouped filter must give what the plain recursion gives, whatever the block lengths, on a
// lone channel and on a pair, for a gentle and a nearly unstable (20 Hz) section. The plain
// recursion in float is itself 2e-3 off a double one for the second, and how far either drifts
// depends on the order of its roundings, hence the looser bound there.
TEST(Biquad, MatchesTheDirectFormAcrossBlockLengths)
{
    // b0, b1, b2, a1, a2, and the error allowed.
    const std::vector<std::vector<float>> sections{
        {0.0302f, 0.0605f, 0.0302f, -1.4542f, 0.5752f, 1e-5f},
        {0.99815f, -1.9963f, 0.99815f, -1.99630f, 0.99630f, 1e-2f}};
    std::mt19937 random(3);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    std::vector<float> input(6000);
    for (float &sample : input)
        sample = uniform(random);
    for (const std::vector<float> &c : sections) {
        std::vector<double> expected(input.size());
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        for (std::size_t i = 0; i < input.size(); ++i) {
            expected[i] = c[0] * input[i] + c[1] * x1 + c[2] * x2 - c[3] * y1 - c[4] * y2;
            x2 = std::exchange(x1, input[i]);
            y2 = std::exchange(y1, expected[i]);
        }
        for (std::uint32_t channels : {1u, 3u}) {
            Biquad filter;
            filter.setCoefficients(c.data());
            filter.prepare(channels);
            std::vector<std::vector<float>> planar(channels, input);
            std::vector<float *> pointers;
            for (auto &channel : planar)
                pointers.push_back(channel.data());
            std::size_t at = 0;
            for (std::size_t length : {1, 2, 3, 5, 257, 1024, 1, 700, 4007}) {
                length = std::min(length, input.size() - at);
                filter.process({pointers.data(), channels, at, length});
                at += length;
            }
            ASSERT_EQ(at, input.size());
            for (std::uint32_t ch = 0; ch < channels; ++ch) {
                for (std::size_t i = 0; i < input.size(); ++i)
                    ASSERT_NEAR(planar[ch][i], expected[i], c[5]) << "channel " << ch << " frame " << i;
            }
        }
    }
}

// The block path must give what pop-then-push gives sample by sample, across many turns of the
// ring, for a whole and a fractional delay, shorter and longer than a block.
TEST(DelayRing, BlockPathMatchesSampleBySample)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    for (const float delay : {7.0f, 300.25f, 1500.5f}) {
        DelayRing blocks;
        DelayRing samples;
        blocks.prepare(1, 2000, 1024);
        samples.prepare(1, 2000, 1024);
        const DelayRing::Tap tap = blocks.tap(delay);
        const auto mix = [](float dry, float delayed) { return 0.5f * delayed + dry; };
        for (std::size_t length : {1024, 333, 1, 1000, 1024, 17, 1024, 1024, 999, 1024, 1024, 1024}) {
            std::vector<float> block(length);
            for (float &sample : block)
                sample = uniform(random);
            std::vector<float> expected(length);
            for (std::size_t i = 0; i < length; ++i) {
                const float dry = 0.8f * block[i];
                const float delayed = samples.pop(0, tap);
                samples.push(0, dry);
                expected[i] = mix(dry, delayed);
            }
            ASSERT_TRUE(blocks.popPushBlock(0, tap, 0.8f, block.data(), length, mix));
            ASSERT_EQ(block, expected) << "delay " << delay << " block of " << length;
        }
    }
}
