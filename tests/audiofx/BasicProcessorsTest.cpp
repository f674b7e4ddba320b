#include "audiofx/BasicProcessors.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

using namespace orvel;

namespace {

constexpr double kRate = 48000.0;

// A planar stereo buffer and the view over it.
struct Planar
{
    explicit Planar(std::size_t frames) : left(frames, 0.0f), right(frames, 0.0f) {}
    AudioBlockView view()
    {
        pointers = {left.data(), right.data()};
        return {pointers.data(), 2, 0, left.size()};
    }
    std::vector<float> left;
    std::vector<float> right;
    std::array<float *, 2> pointers{};
};

AudioProcessSpec stereoSpec()
{
    return {kRate, 1 << 16, 2};
}

double sineRmsThrough(BandFilterProcessor &filter, double frequencyHz)
{
    Planar block(24000);
    for (std::size_t i = 0; i < block.left.size(); ++i)
        block.left[i] = block.right[i] =
            float(std::sin(2.0 * std::numbers::pi * frequencyHz * double(i) / kRate));
    filter.reset();
    filter.process(block.view());
    double sum = 0.0;
    for (std::size_t i = 12000; i < block.left.size(); ++i) // past the filter's settling
        sum += double(block.left[i]) * block.left[i];
    return std::sqrt(sum / 12000.0) * std::numbers::sqrt2; // relative to the input's amplitude
}

} // namespace

TEST(EchoProcessor, RepeatsAnImpulseOnceAfterTheDelay)
{
    EchoProcessor echo(0.8f, 0.9f);
    echo.setDelayMs(10.0f); // 480 frames
    echo.setDecay(0.5f);
    echo.prepare(stereoSpec());
    Planar block(2000);
    block.left[0] = 1.0f;
    block.right[3] = -1.0f;
    echo.process(block.view());
    for (std::size_t i = 0; i < block.left.size(); ++i) {
        const float left = i == 0 ? 0.72f : i == 480 ? 0.36f : 0.0f;
        const float right = i == 3 ? -0.72f : i == 483 ? -0.36f : 0.0f;
        ASSERT_NEAR(block.left[i], left, 1e-6f) << "frame " << i;
        ASSERT_NEAR(block.right[i], right, 1e-6f) << "frame " << i;
    }

    // reset() empties the line: the impulse's echo does not survive it.
    echo.setDecay(1.0f);
    echo.prepare(stereoSpec());
    Planar first(100);
    first.left[0] = 1.0f;
    echo.process(first.view());
    echo.reset();
    Planar after(1000);
    echo.process(after.view());
    for (float sample : after.left)
        ASSERT_EQ(sample, 0.0f);
}

TEST(GainProcessor, RampsToANewGainOver20Milliseconds)
{
    GainProcessor gain(1.0f);
    gain.prepare(stereoSpec());
    gain.setGain(0.0f);
    Planar block(2000);
    std::fill(block.left.begin(), block.left.end(), 1.0f);
    std::fill(block.right.begin(), block.right.end(), -1.0f);
    gain.process(block.view());
    // 960 steps from 1 to 0, one per frame.
    EXPECT_NEAR(block.left[0], 1.0f - 1.0f / 960.0f, 1e-5f);
    EXPECT_NEAR(block.left[479], 0.5f, 1e-4f);
    EXPECT_NEAR(block.right[479], -0.5f, 1e-4f);
    EXPECT_EQ(block.left[959], 0.0f);
    EXPECT_EQ(block.left[1999], 0.0f);
}

TEST(BandFilterProcessor, LowPassKeepsLowTonesAndCutsHighOnes)
{
    BandFilterProcessor lowPass(BandFilterProcessor::lowPass, 800.0f);
    lowPass.prepare(stereoSpec());
    EXPECT_NEAR(sineRmsThrough(lowPass, 100.0), 1.0, 0.02);
    // A second-order low-pass is 12 dB per octave: 5 kHz is about 2.6 octaves above 800 Hz.
    EXPECT_LT(sineRmsThrough(lowPass, 5000.0), 0.04);
    lowPass.setFrequency(10000.0f);
    EXPECT_GT(sineRmsThrough(lowPass, 5000.0), 0.9);

    BandFilterProcessor highPass(BandFilterProcessor::highPass, 800.0f);
    highPass.prepare(stereoSpec());
    EXPECT_LT(sineRmsThrough(highPass, 100.0), 0.03);
    EXPECT_NEAR(sineRmsThrough(highPass, 5000.0), 1.0, 0.03);
}
