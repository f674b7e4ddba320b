#include "audiofx/AudioEffectRegistry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

using namespace orvel;

namespace {

constexpr double kSampleRateHz = 48000.0;
constexpr double kPiValue = 3.141592653589793;

struct Stereo
{
    std::vector<float> left;
    std::vector<float> right;
};

Stereo tone(double hz, double amplitude, std::size_t frames)
{
    Stereo s{std::vector<float>(frames), std::vector<float>(frames)};
    for (std::size_t i = 0; i < frames; ++i)
        s.left[i] = s.right[i] = float(amplitude * std::sin(2.0 * kPiValue * hz * double(i) / kSampleRateHz));
    return s;
}

// Runs the chain over the signal in blocks of 1024 frames, the size the rack uses.
void runChain(ChainProcessor &chain, Stereo &s)
{
    for (std::size_t start = 0; start < s.left.size(); start += 1024) {
        float *pointers[] = {s.left.data(), s.right.data()};
        chain.process({pointers, 2, start, std::min<std::size_t>(1024, s.left.size() - start)});
    }
}

std::unique_ptr<ChainProcessor> prepared(const char *id,
                                         std::initializer_list<std::pair<const char *, float>> values)
{
    auto chain = makeChain(QString::fromLatin1(id));
    EXPECT_NE(chain, nullptr) << id;
    if (!chain)
        return chain;
    for (const auto &[name, value] : values)
        chain->setParameter(QString::fromLatin1(name), value);
    chain->prepare({kSampleRateHz, 1024, 2});
    return chain;
}

double rmsDb(const std::vector<float> &x, std::size_t from)
{
    double sum = 0.0;
    for (std::size_t i = from; i < x.size(); ++i)
        sum += double(x[i]) * x[i];
    return 10.0 * std::log10(sum / double(x.size() - from) + 1e-30);
}

double peak(const std::vector<float> &x, std::size_t from)
{
    double p = 0.0;
    for (std::size_t i = from; i < x.size(); ++i)
        p = std::max(p, double(std::abs(x[i])));
    return p;
}

// Level change in dB that the chain applies to a steady tone, measured after it settles.
double gainDbAt(const char *id, std::initializer_list<std::pair<const char *, float>> values, double hz)
{
    auto chain = prepared(id, values);
    Stereo s = tone(hz, 0.25, 48000);
    const Stereo dry = s;
    runChain(*chain, s);
    return rmsDb(s.left, 24000) - rmsDb(dry.left, 24000);
}

double zeroCrossingHz(const std::vector<float> &x, std::size_t from)
{
    int crossings = 0;
    for (std::size_t i = from + 1; i < x.size(); ++i)
        if ((x[i - 1] < 0.0f) != (x[i] < 0.0f))
            ++crossings;
    return crossings / 2.0 / (double(x.size() - from) / kSampleRateHz);
}

} // namespace

TEST(ProcessorCatalogue, BuildsEveryIdAndNothingElse)
{
    const QStringList ids = knownProcessorIds();
    EXPECT_EQ(ids.size(), 26);
    for (const char *id : {"eq3", "tape", "darklord", "bitcrush_log", "stereowiden", "walkie"})
        EXPECT_TRUE(ids.contains(QString::fromLatin1(id))) << id;
    EXPECT_EQ(makeChain("reverb"), nullptr);
    EXPECT_EQ(makeChain("pitch")->latencyFrames() > 0, true);
}

TEST(ProcessorCatalogue, EqBandsMoveTheirToneAndLeaveFarTonesAlone)
{
    struct Case
    {
        const char *band;
        double inBandHz;
        double farHz;
    };
    for (const Case &c :
         {Case{"low", 20.0, 5000.0}, Case{"mid", 1000.0, 20.0}, Case{"high", 18000.0, 200.0}}) {
        for (float gainDb : {6.0f, -9.0f}) {
            EXPECT_NEAR(gainDbAt("eq3", {{c.band, gainDb}}, c.inBandHz), gainDb, 0.5) << c.band;
            EXPECT_NEAR(gainDbAt("eq3", {{c.band, gainDb}}, c.farHz), 0.0, 0.5) << c.band;
        }
    }
}

TEST(ProcessorCatalogue, DynamicsBringLoudTonesDown)
{
    // A full-scale tone, 20 dB over a 4:1 threshold, comes out 5 dB over it.
    auto compressor = prepared(
        "compressor",
        {{"threshold", -20.0f}, {"ratio", 4.0f}, {"attack", 1.0f}, {"release", 100.0f}, {"makeup", 1.0f}});
    Stereo loud = tone(1000.0, 1.0, 48000);
    runChain(*compressor, loud);
    EXPECT_NEAR(20.0 * std::log10(peak(loud.left, 24000)), -20.0 + 20.0 / 4.0, 1.0);

    // Limiting: four times more drive changes the settled level by far less than 12 dB, and the
    // output never leaves full scale.
    double settled[2];
    for (int k = 0; k < 2; ++k) {
        auto limiter = prepared("limiter", {{"drive", k == 0 ? 2.0f : 8.0f}, {"ceiling", 0.5f}});
        Stereo s = tone(1000.0, 0.9, 48000);
        runChain(*limiter, s);
        EXPECT_LE(peak(s.left, 0), 1.0);
        settled[k] = rmsDb(s.left, 24000);
    }
    EXPECT_LT(std::abs(settled[1] - settled[0]), 3.0);

    // The gate: a tone under threshold is pushed far down, one above passes.
    auto quietGate =
        prepared("gate", {{"threshold", 0.1f}, {"ratio", 100.0f}, {"attack", 1.0f}, {"release", 20.0f}});
    Stereo quiet = tone(440.0, 0.01, 48000);
    runChain(*quietGate, quiet);
    EXPECT_LT(rmsDb(quiet.left, 24000), 20.0 * std::log10(0.01 / std::sqrt(2.0)) - 30.0);
    auto loudGate =
        prepared("gate", {{"threshold", 0.1f}, {"ratio", 100.0f}, {"attack", 1.0f}, {"release", 20.0f}});
    Stereo passes = tone(440.0, 0.5, 48000);
    runChain(*loudGate, passes);
    EXPECT_NEAR(rmsDb(passes.left, 24000), 20.0 * std::log10(0.5 / std::sqrt(2.0)), 1.0);
}

TEST(ProcessorCatalogue, DarklordEchoRepeatsAtItsDelayAndDecay)
{
    // Pitch 1 leaves the signal only delayed, so the echo's copy shows at its own offset.
    auto chain =
        prepared("darklord", {{"pitch", 1.0f}, {"echo_delay", 100.0f}, {"echo_decay", 0.5f}, {"grit", 0.0f}});
    Stereo s = tone(500.0, 0.5, 48000);
    for (std::size_t i = 24000; i < s.left.size(); ++i)
        s.left[i] = s.right[i] = 0.0f; // a half-second burst, then silence
    runChain(*chain, s);
    const std::size_t latency = std::size_t(chain->latencyFrames());
    // After the burst has passed the latency and the echo, a tail of 100 ms stays at half of 0.72.
    const std::size_t tail = 24000 + latency + 1000;
    EXPECT_NEAR(peak({s.left.begin() + tail, s.left.begin() + tail + 2000}, 0), 0.5 * 0.5 * 0.8 * 0.9, 0.03);
    const std::size_t afterTail = 24000 + latency + 4800 + 2000;
    ASSERT_LT(afterTail + 2000, s.left.size());
    EXPECT_LT(peak({s.left.begin() + afterTail, s.left.begin() + afterTail + 2000}, 0), 0.01);
}

TEST(ProcessorCatalogue, PitchOctaveDoublesFrequencyAndKeepsLength)
{
    auto chain = prepared("pitch", {{"pitch", 2.0f}});
    Stereo s = tone(440.0, 0.5, 96000);
    runChain(*chain, s);
    const std::size_t latency = std::size_t(chain->latencyFrames());
    EXPECT_LT(peak(s.left, 0), 1.0);
    for (std::size_t i = 0; i < std::min<std::size_t>(latency, 1024); ++i)
        ASSERT_EQ(s.left[i], 0.0f) << "frame " << i;
    // Sound keeps coming right to the end: the shift did not shorten anything.
    EXPECT_GT(peak(s.left, s.left.size() - 4800), 0.2);
    EXPECT_NEAR(zeroCrossingHz(s.left, 48000), 880.0, 880.0 * 0.02);
}

TEST(ProcessorCatalogue, TremoloFollowsItsSineAndDepthZeroIsUnity)
{
    auto chain = prepared("tremolo", {{"rate", 5.0f}, {"depth", 1.0f}});
    Stereo s{std::vector<float>(48000, 1.0f), std::vector<float>(48000, 1.0f)};
    runChain(*chain, s);
    for (std::size_t i = 0; i < s.left.size(); i += 97) {
        const double expected = (std::sin(2.0 * kPiValue * (5.0 * double(i) / kSampleRateHz + 0.25)) + 1.0) / 2.0;
        ASSERT_NEAR(s.left[i], expected, 1e-3) << "frame " << i;
    }
    auto flat = prepared("tremolo", {{"rate", 5.0f}, {"depth", 0.0f}});
    Stereo n = tone(300.0, 0.7, 4096);
    const Stereo dry = n;
    runChain(*flat, n);
    EXPECT_EQ(n.left, dry.left);
}

TEST(ProcessorCatalogue, EveryChainIsSilentOnSilenceAndBoundedOnNoise)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<float> noise(-0.5f, 0.5f);
    for (const QString &id : knownProcessorIds()) {
        const QByteArray name = id.toLatin1();
        auto silentChain = prepared(name.constData(), {});
        Stereo silence{std::vector<float>(8192, 0.0f), std::vector<float>(8192, 0.0f)};
        runChain(*silentChain, silence);
        EXPECT_EQ(peak(silence.left, 0) + peak(silence.right, 0), 0.0) << name.constData();

        // Settings far outside any range must be clamped into something finite.
        for (float extreme : {-1e6f, 1e6f}) {
            auto chain = makeChain(id);
            for (const char *p :
                 {"low",       "mid",    "high",    "threshold", "ratio",   "attack",    "release",
                  "makeup",    "drive",  "ceiling", "intensity", "amount",  "frequency", "strength",
                  "peak",      "pitch",  "rate",    "depth",     "speed",   "delay",     "regen",
                  "mix",       "phase",  "decay",   "bits",      "samples", "colors",    "feedback",
                  "crossfeed", "drymix", "cutoff",  "grit",      "center",  "width"})
                chain->setParameter(QString::fromLatin1(p), extreme);
            chain->prepare({kSampleRateHz, 1024, 2});
            Stereo s{std::vector<float>(16384), std::vector<float>(16384)};
            for (std::size_t i = 0; i < s.left.size(); ++i) {
                s.left[i] = noise(random);
                s.right[i] = noise(random);
            }
            runChain(*chain, s);
            for (std::size_t i = 0; i < s.left.size(); ++i)
                ASSERT_TRUE(std::isfinite(s.left[i]) && std::isfinite(s.right[i]))
                    << name.constData() << " " << i;
        }

        // At the values a chain is built with, noise at half scale stays within full scale.
        auto defaults = prepared(name.constData(), {});
        Stereo s{std::vector<float>(16384), std::vector<float>(16384)};
        for (std::size_t i = 0; i < s.left.size(); ++i) {
            s.left[i] = noise(random);
            s.right[i] = noise(random);
        }
        runChain(*defaults, s);
        EXPECT_LE(std::max(peak(s.left, 0), peak(s.right, 0)), 1.0) << name.constData();
    }
}
