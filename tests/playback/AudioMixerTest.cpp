#include "ToneFiles.h"

#include "audiofx/AudioEffectRegistry.h"
#include "playback/audio/AudioMixer.h"
#include "playback/audio/AudioRetime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

using namespace orvel;

namespace {

constexpr int kRate = 48000;

Clip makeClip(ClipType type, const QString &path, TimeUs startUs, TimeUs durationUs, TimeUs srcInUs = 0)
{
    Clip clip;
    clip.id = newUuid();
    clip.type = type;
    clip.path = path;
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = durationUs;
    clip.srcInUs = srcInUs;
    clip.srcOutUs = srcInUs + durationUs;
    return clip;
}

Track makeTrack(TrackType type, QList<Clip> clips)
{
    Track track;
    track.type = type;
    track.clips = std::move(clips);
    return track;
}

Track levelTrack(double level)
{
    return makeTrack(TrackType::audio,
                     {makeClip(ClipType::audio, tonefiles::constantFile(level), 0, 8'000'000)});
}

Project projectOf(QList<Track> tracks)
{
    Project project;
    project.tracks = std::move(tracks);
    return project;
}

// Interleaved stereo from a fresh mixer, so no decoder or rack state carries between cases.
std::vector<float> mixAt(const Project &project, TimeUs timeUs, int frames,
                         const TransitionCurveLookup &curves = {})
{
    AudioMixer mixer;
    mixer.setProject(&project);
    mixer.setTransitionCurveLookup(curves);
    std::vector<float> out(std::size_t(frames) * 2, -7.0f);
    mixer.mix(timeUs, frames, kRate, out.data());
    return out;
}

float firstLeft(const Project &project, TimeUs timeUs, const TransitionCurveLookup &curves = {})
{
    return mixAt(project, timeUs, 256, curves)[0];
}

// Power of one frequency in the left channel (a single DFT bin, Goertzel's recurrence).
double tonePower(const std::vector<float> &interleaved, int first, int count, double frequencyHz)
{
    const double w = 2.0 * std::numbers::pi * frequencyHz / kRate;
    double s1 = 0.0, s2 = 0.0;
    for (int i = first; i < first + count; ++i) {
        const double s = interleaved[std::size_t(2 * i)] + 2.0 * std::cos(w) * s1 - s2;
        s2 = s1;
        s1 = s;
    }
    return s1 * s1 + s2 * s2 - 2.0 * std::cos(w) * s1 * s2;
}

} // namespace

TEST(AudioMixer, MutedHiddenAndSuppressedSourcesAddNothing)
{
    Project project = projectOf({levelTrack(0.25), levelTrack(0.125), levelTrack(0.0625)});
    EXPECT_FLOAT_EQ(firstLeft(project, 1'000'000), 0.4375f);
    project.tracks[0].muted = true;
    EXPECT_FLOAT_EQ(firstLeft(project, 1'000'000), 0.1875f);
    project.tracks[1].hidden = true;
    EXPECT_FLOAT_EQ(firstLeft(project, 1'000'000), 0.0625f);

    // A video clip's own sound, and its linked audio clip on an audio track.
    Clip video = makeClip(ClipType::video, tonefiles::constantFile(0.25), 0, 4'000'000);
    Clip audio = makeClip(ClipType::audio, tonefiles::constantFile(0.125), 0, 4'000'000);
    video.linkId = audio.linkId = newUuid();
    Project linked = projectOf({makeTrack(TrackType::video, {video}), makeTrack(TrackType::audio, {audio})});
    EXPECT_FLOAT_EQ(firstLeft(linked, 500'000), 0.375f);
    linked.tracks[0].clips[0].suppressEmbeddedAudio = true;
    EXPECT_FLOAT_EQ(firstLeft(linked, 500'000), 0.125f);
}

TEST(AudioMixer, SoftLimiterRoundsOffLoudSumsOnly)
{
    const std::vector<float> loud =
        mixAt(projectOf({levelTrack(0.5), levelTrack(0.5), levelTrack(0.5)}), 1'000'000, 512);
    const double w = double(1.0f - 0.95f);
    const double expected = 0.95 + w * std::tanh((1.5 - 0.95) / w);
    for (float sample : loud) {
        ASSERT_NEAR(sample, expected, 1e-6);
        ASSERT_LT(sample, 1.0f);
    }
    EXPECT_GT(loud[0], 0.9999f);

    Project quiet = projectOf({levelTrack(0.5), levelTrack(0.5)});
    quiet.tracks[1].clips[0].volume = constantProperty(0.9); // 0.5 + 0.45 = 0.95
    EXPECT_EQ(firstLeft(quiet, 1'000'000), 0.5f + float(0.9 * 0.5));
}

TEST(AudioMixer, FadesAndVolumeScaleTheClip)
{
    Project project = projectOf({levelTrack(0.5)});
    Clip &clip = project.tracks[0].clips[0];
    clip.fadeInUs = 500'000;
    clip.fadeOutUs = 500'000;
    clip.fadeCurve = FadeCurve::equalPower;
    EXPECT_NEAR(firstLeft(project, 250'000), 0.5 * std::sin(std::numbers::pi / 4), 1e-6);
    EXPECT_NEAR(firstLeft(project, 8'000'000 - 250'000), 0.5 * std::sin(std::numbers::pi / 4), 1e-6);
    EXPECT_FLOAT_EQ(firstLeft(project, 4'000'000), 0.5f);
    clip.fadeCurve = FadeCurve::smooth;
    EXPECT_NEAR(firstLeft(project, 125'000), 0.5 * 0.25 * 0.25 * (3.0 - 0.5), 1e-6);
    clip.fadeCurve = FadeCurve::linear;
    EXPECT_NEAR(firstLeft(project, 125'000), 0.5 * 0.25, 1e-6);

    // Blocks that straddle the end of the fade-in and the start of the fade-out are ramped from
    // the right frame on; the frames of the block outside the ramp are left at full level.
    clip.fadeInUs = 1'000'000;
    for (TimeUs blockStartUs : {TimeUs(990'000), TimeUs(8'000'000 - 510'000)}) {
        const std::vector<float> out = mixAt(project, blockStartUs, 960);
        for (int i : {0, 470, 479, 480, 481, 959}) {
            const TimeUs t = blockStartUs + TimeUs(i) * 1'000'000 / kRate;
            const double ramp = std::min({double(t) / 1e6, double(8'000'000 - t) / 5e5, 1.0});
            EXPECT_NEAR(out[std::size_t(2 * i)], 0.5 * ramp, 1e-6)
                << "block " << blockStartUs << " frame " << i;
        }
    }

    // Without fades a volume key of 3 is clamped to a gain of 2.
    Project single = projectOf({levelTrack(0.25)});
    single.tracks[0].clips[0].volume = constantProperty(3.0);
    EXPECT_FLOAT_EQ(firstLeft(single, 2'000'000), 0.5f);
}

TEST(AudioMixer, TransitionCurvesWeightTheTwoClips)
{
    // Outgoing 0.25 on [0, 2 s), incoming 0.125 on [1.5 s, 3.5 s): the window is their overlap.
    Clip from = makeClip(ClipType::video, tonefiles::constantFile(0.25), 0, 2'000'000);
    Clip to = makeClip(ClipType::video, tonefiles::constantFile(0.125), 1'500'000, 2'000'000);
    Transition transition;
    transition.id = newUuid();
    transition.fromClipId = from.id;
    transition.toClipId = to.id;
    Track track = makeTrack(TrackType::video, {from, to});
    track.transitions = {transition};
    Project project = projectOf({track});
    auto curves = [](const QString &kind) { return kind == QLatin1String("wipe") ? QString() : kind; };

    const TimeUs half = 1'750'000;
    const TimeUs quarter = 1'625'000;
    project.tracks[0].transitions[0].kind = QStringLiteral("dip");
    EXPECT_FLOAT_EQ(firstLeft(project, half, curves), 0.0f);
    EXPECT_FLOAT_EQ(firstLeft(project, quarter, curves), 0.125f); // outgoing at 1 - 2 x 0.25
    project.tracks[0].transitions[0].kind = QStringLiteral("hold");
    EXPECT_FLOAT_EQ(firstLeft(project, half, curves), 0.375f);
    // A kind the catalogue does not know, or no catalogue at all, crossfades.
    project.tracks[0].transitions[0].kind = QStringLiteral("wipe");
    EXPECT_FLOAT_EQ(firstLeft(project, quarter, curves), 0.75f * 0.25f + 0.25f * 0.125f);
    project.tracks[0].transitions[0].kind = QStringLiteral("dip");
    EXPECT_FLOAT_EQ(firstLeft(project, half), 0.1875f);
}

TEST(AudioMixer, ReadsFromTheRightSourceOffsetForwardsAndReversed)
{
    // The clip starts 50 ms into the block and plays its file from 1 s.
    Project project = projectOf({makeTrack(TrackType::audio, {makeClip(ClipType::audio, tonefiles::rampFile(),
                                                                       100'000, 2'000'000, 1'000'000)})});
    const std::vector<float> out = mixAt(project, 50'000, 4800);
    for (int i = 0; i < 2400; ++i)
        ASSERT_EQ(out[std::size_t(2 * i)], 0.0f) << "frame " << i;
    for (int k : {0, 1, 100, 2399}) {
        const double fileSeconds = 1.0 + double(k) / kRate;
        EXPECT_NEAR(out[std::size_t(2 * (2400 + k))], fileSeconds / 10.0, 1e-6) << "frame " << 2400 + k;
        EXPECT_NEAR(out[std::size_t(2 * (2400 + k) + 1)], fileSeconds / 10.0, 1e-6);
    }

    // Reversed, 0.5 s into the clip plays the file backwards from 2.5 s. A file of its own, so
    // that the decoder's position from the read above does not carry over.
    Clip reversed = makeClip(ClipType::audio, tonefiles::rampFile(4.0), 0, 2'000'000, 1'000'000);
    reversed.reverse = true;
    const std::vector<float> back = mixAt(projectOf({makeTrack(TrackType::audio, {reversed})}), 500'000, 480);
    for (int k : {0, 1, 479})
        EXPECT_NEAR(back[std::size_t(2 * k)], (2.5 - double(k + 1) / kRate) / 10.0, 1e-6) << "frame " << k;
}

TEST(AudioRetime, AtempoStagesForLargeAndSmallSpeeds)
{
    EXPECT_EQ(atempoChain(4.0), QStringLiteral("atempo=2.0,atempo=2.0000"));
    EXPECT_EQ(atempoChain(0.2), QStringLiteral("atempo=0.5,atempo=0.5,atempo=0.8000"));
    EXPECT_EQ(atempoChain(1.5), QStringLiteral("atempo=1.5000"));
    EXPECT_EQ(atempoChain(-3.0), QStringLiteral("atempo=1.0000"));
    EXPECT_TRUE(isUnitySpeed(1.0 + 1e-13));
    EXPECT_FALSE(isUnitySpeed(1.0 + 1e-9));
}

TEST(AudioMixer, DoubleSpeedKeepsThePitchAndHalvesTheLength)
{
    // Two seconds of source, 1 kHz then 3 kHz from its second second, at speed 2 fill one second
    // of the timeline. Each 200 ms block squeezes 400 ms of source: the block at 0.4 s holds the
    // change of tone in its middle, which a block cut short instead of retimed would not.
    const QString tones = tonefiles::expressionFile(
        QStringLiteral("tones-1k-3k"), QStringLiteral("0.5*sin(2*PI*if(lt(t,1),1000,3000)*t)"), 3.0);
    Clip clip = makeClip(ClipType::audio, tones, 0, 1'000'000);
    clip.srcOutUs = 2'000'000;
    clip.speed = 2.0;
    Project project = projectOf({makeTrack(TrackType::audio, {clip})});
    AudioMixer mixer;
    mixer.setProject(&project);
    const int block = 9600;
    // Which tone dominates frames [first, first + 2400) of a block, against the other tones.
    auto dominant = [](const std::vector<float> &out, int first) {
        double best = 0.0, bestHz = 0.0, total = 0.0;
        for (double hz : {500.0, 1000.0, 2000.0, 3000.0, 6000.0}) {
            const double power = tonePower(out, first, 2400, hz);
            total += power;
            if (power > best)
                best = power, bestHz = hz;
        }
        return best > 0.99 * total && best > 0.5 * 600.0 * 600.0 ? bestHz : 0.0;
    };
    for (int n = 0; n < 7; ++n) {
        std::vector<float> out(std::size_t(block) * 2);
        mixer.mix(n * 200'000, block, kRate, out.data());
        if (n >= 5) {
            for (float sample : out)
                ASSERT_EQ(sample, 0.0f) << "block " << n;
            continue;
        }
        EXPECT_EQ(dominant(out, 200), n <= 2 ? 1000.0 : 3000.0) << "block " << n;
        EXPECT_EQ(dominant(out, 7000), n <= 1 ? 1000.0 : 3000.0) << "block " << n;
    }
}

TEST(AudioMixer, JumpReplaysTheRackPrerollSoEchoTailsAreThereAtOnce)
{
    // A 100 ms burst at 1 s echoed 500 ms later; playback jumps straight into the echo.
    const QString burst =
        tonefiles::expressionFile(QStringLiteral("burst"), QStringLiteral("0.5*gte(t,1)*lt(t,1.1)"), 3.0);
    Clip clip = makeClip(ClipType::audio, burst, 0, 3'000'000);
    clip.audioEffects = {EffectInstance{}};
    Project project = projectOf({makeTrack(TrackType::audio, {clip})});
    auto echoWithPreroll = [](int prerollMs) {
        return [prerollMs](const Clip &) {
            return QList<AudioEffectSpec>{
                {QStringLiteral("echo"),
                 prerollMs,
                 {{QStringLiteral("delay"), 500.0f}, {QStringLiteral("decay"), 1.0f}}}};
        };
    };
    for (int prerollMs : {1000, 0}) {
        AudioMixer mixer;
        mixer.setProject(&project);
        mixer.setEffectSpecResolver(echoWithPreroll(prerollMs));
        std::vector<float> out(4800 * 2);
        mixer.mix(1'520'000, 2400, kRate, out.data());
        EXPECT_FLOAT_EQ(out[0], prerollMs > 0 ? 0.5f : 0.0f) << "preroll " << prerollMs;
        EXPECT_FLOAT_EQ(out[2 * 2399 + 1], prerollMs > 0 ? 0.5f : 0.0f) << "preroll " << prerollMs;
    }
}

TEST(AudioMixer, ThreeEffectRackSoundsAsTheProcessorsRunOffline)
{
    const QList<AudioEffectSpec> specs{
        {QStringLiteral("eq3"), 0, {{QStringLiteral("low"), 6.0f}, {QStringLiteral("high"), -9.0f}}},
        {QStringLiteral("compressor"),
         0,
         {{QStringLiteral("threshold"), -20.0f},
          {QStringLiteral("ratio"), 4.0f},
          {QStringLiteral("attack"), 5.0f}}},
        {QStringLiteral("echo"), 1000, {{QStringLiteral("delay"), 60.0f}, {QStringLiteral("decay"), 0.5f}}}};
    Clip clip = makeClip(ClipType::audio, tonefiles::sineFile(440.0), 0, 2'000'000);
    clip.audioEffects = {EffectInstance{}, EffectInstance{}, EffectInstance{}};
    Project project = projectOf({makeTrack(TrackType::audio, {clip})});
    constexpr int kBlock = 1024;
    constexpr int kBlocks = 20;

    AudioMixer mixer;
    mixer.setProject(&project);
    mixer.setEffectSpecResolver([&specs](const Clip &) { return specs; });
    std::vector<float> mixed(std::size_t(kBlock) * kBlocks * 2);
    for (int b = 0; b < kBlocks; ++b)
        mixer.mix(TimeUs(b) * kBlock * 1'000'000 / kRate, kBlock, kRate,
                  mixed.data() + std::size_t(b) * kBlock * 2);

    // The same samples through the same three processors, by hand, in one pass.
    AudioMixer reader;
    const QList<float> raw = reader.readClipSamples(clip, 0, kBlock * kBlocks, kRate);
    std::vector<float> left(std::size_t(kBlock) * kBlocks), right(left.size());
    for (std::size_t i = 0; i < left.size(); ++i) {
        left[i] = raw[qsizetype(2 * i)];
        right[i] = raw[qsizetype(2 * i + 1)];
    }
    float *channels[] = {left.data(), right.data()};
    for (const AudioEffectSpec &spec : specs) {
        std::unique_ptr<ChainProcessor> chain = makeChain(spec.processorId);
        ASSERT_TRUE(chain) << qPrintable(spec.processorId);
        chain->prepare({double(kRate), std::uint32_t(left.size()), 2});
        for (auto it = spec.parameters.cbegin(); it != spec.parameters.cend(); ++it)
            chain->setParameter(it.key(), it.value());
        chain->reset();
        chain->process({channels, 2, 0, left.size()});
    }

    double difference = 0.0;
    for (std::size_t i = 0; i < left.size(); ++i) {
        ASSERT_NEAR(mixed[2 * i], left[i], 1e-5) << "frame " << i;
        ASSERT_NEAR(mixed[2 * i + 1], right[i], 1e-5) << "frame " << i;
        difference = std::max(difference, double(std::abs(left[i] - raw[qsizetype(2 * i)])));
    }
    // The effects did change the sound: this is not dry audio compared with dry audio.
    EXPECT_GT(difference, 0.1);
}
