// Reading across blocks: the read-ahead buffer must hand out exactly the frames a direct decode
// would, and the kept speed filter must sound like one uninterrupted run of atempo.
#include "ToneFiles.h"

#include "playback/audio/AudioMixer.h"
#include "playback/audio/AudioRetime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

using namespace orvel;

namespace {

constexpr int kStreamRate = 48000;

Clip streamClip(const QString &path, TimeUs durationUs, TimeUs srcInUs, double speed)
{
    Clip clip;
    clip.id = newUuid();
    clip.type = ClipType::audio;
    clip.path = path;
    clip.timelineDurationUs = durationUs;
    clip.srcInUs = srcInUs;
    clip.srcOutUs = srcInUs + TimeUs(std::llround(double(durationUs) * speed));
    clip.speed = speed;
    return clip;
}

TimeUs blockStartUs(qint64 frame)
{
    return frame * 1'000'000 / kStreamRate;
}

// Left-channel power at one frequency over [first, first + count) (Goertzel).
double leftPower(const QList<float> &interleaved, int first, int count, double frequencyHz)
{
    const double w = 2.0 * std::numbers::pi * frequencyHz / kStreamRate;
    double s1 = 0.0, s2 = 0.0;
    for (int i = first; i < first + count; ++i) {
        const double s = interleaved[2 * i] + 2.0 * std::cos(w) * s1 - s2;
        s2 = s1;
        s1 = s;
    }
    return s1 * s1 + s2 * s2 - 2.0 * std::cos(w) * s1 * s2;
}

} // namespace

TEST(AudioStreamingRead, ContiguousBlocksReadEveryFrameOnceForwardsAndReversed)
{
    // 1024-frame blocks cross the read-ahead's chunk edges many times; every frame of the ramp
    // must come back exactly once, in order. Files no other test reads, since the clip reader
    // would carry on from another test's position.
    const int block = 1024;
    const int blocks = 60;
    AudioMixer mixer;
    const Clip forward = streamClip(tonefiles::rampFile(7.0), 3'000'000, 1'000'000, 1.0);
    for (int n = 0; n < blocks; ++n) {
        const QList<float> out =
            mixer.readClipSamples(forward, blockStartUs(qint64(n) * block), block, kStreamRate);
        for (int k : {0, 1, block / 2, block - 1}) {
            const double fileSeconds = 1.0 + double(n * block + k) / kStreamRate;
            ASSERT_NEAR(out[2 * k], fileSeconds / 10.0, 1e-6) << "block " << n << " frame " << k;
            ASSERT_NEAR(out[2 * k + 1], fileSeconds / 10.0, 1e-6) << "block " << n << " frame " << k;
        }
    }
    // Reversed from source 3 s backwards: frame k of block n is the file at 3 s - (n*block + k + 1)
    // frames. Block times are whole microseconds, so a frame may land one either way.
    Clip reversed = streamClip(tonefiles::rampFile(5.0), 2'000'000, 1'000'000, 1.0);
    reversed.reverse = true;
    for (int n = 0; n < blocks; ++n) {
        const QList<float> out =
            mixer.readClipSamples(reversed, blockStartUs(qint64(n) * block), block, kStreamRate);
        for (int k : {0, block / 2, block - 1}) {
            const double fileSeconds = 3.0 - double(n * block + k + 1) / kStreamRate;
            ASSERT_NEAR(out[2 * k], fileSeconds / 10.0, 1.05 / kStreamRate / 10.0)
                << "block " << n << " frame " << k;
        }
    }
}

TEST(AudioStreamingRead, ContiguousSpeedBlocksMatchOneLongAtempoRun)
{
    // A 440 Hz sine at speed 1.5, mixed block by block, against atempo run once over the whole
    // source computed here from the sine's formula.
    const int block = 1024;
    const int blocks = 80;
    const double speed = 1.5;
    const Clip clip = streamClip(tonefiles::sineFile(440.0, 6.0), 3'000'000, 0, speed);
    AudioMixer mixer;
    QList<float> streamed;
    for (int n = 0; n < blocks; ++n)
        streamed.append(mixer.readClipSamples(clip, blockStartUs(qint64(n) * block), block, kStreamRate));

    const int sourceFrames = int(blocks * block * speed) + kStreamRate;
    QList<float> source(2 * sourceFrames);
    for (int i = 0; i < sourceFrames; ++i)
        source[2 * i] = source[2 * i + 1] =
            float(0.5 * std::sin(2.0 * std::numbers::pi * 440.0 * i / kStreamRate));
    const QList<float> reference = retimeAudio(source, sourceFrames, kStreamRate, speed, blocks * block);
    ASSERT_EQ(reference.size(), streamed.size());
    double worst = 0.0;
    for (qsizetype i = 0; i < streamed.size(); ++i)
        worst = std::max(worst, double(std::fabs(streamed[i] - reference[i])));
    EXPECT_LT(worst, 1e-4);
    // The reference itself is a full-level tone, so matching it is not matching silence.
    EXPECT_GT(leftPower(reference, block, 4800, 440.0), 0.5 * std::pow(0.25 * 4800, 2));
}

TEST(AudioStreamingRead, JumpAndSpeedChangeRestartAtTheRightSourceTime)
{
    // 1 kHz then 3 kHz from source 1 s. At speed 2 the change is at timeline 0.5 s; at 1.25 it
    // is at 0.8 s.
    const QString tones = tonefiles::expressionFile(
        QStringLiteral("stream-1k-3k"), QStringLiteral("0.5*sin(2*PI*if(lt(t,1),1000,3000)*t)"), 4.0);
    Clip clip = streamClip(tones, 1'500'000, 0, 2.0);
    AudioMixer mixer;
    const int block = 4800;
    auto dominant = [](const QList<float> &out, int first, int count) {
        const double low = leftPower(out, first, count, 1000.0);
        const double high = leftPower(out, first, count, 3000.0);
        const double floor = 0.3 * std::pow(0.25 * count, 2);
        return low > 20.0 * high && low > floor ? 1000 : high > 20.0 * low && high > floor ? 3000 : 0;
    };
    for (int n = 0; n < 3; ++n)
        mixer.readClipSamples(clip, n * 100'000, block, kStreamRate);
    // Forward jump to 0.45 s: the change falls at frame 2400 of this block.
    QList<float> out = mixer.readClipSamples(clip, 450'000, block, kStreamRate);
    EXPECT_EQ(dominant(out, 0, 1800), 1000);
    EXPECT_EQ(dominant(out, 3000, 1800), 3000);
    // Backward jump to 0.1 s is all low tone again.
    out = mixer.readClipSamples(clip, 100'000, block, kStreamRate);
    EXPECT_EQ(dominant(out, 0, block), 1000);
    // Carrying on in time but at a new speed: the filter must restart at the source time of the
    // new speed, 0.9375 s, so the change falls at frame 2400 again.
    mixer.readClipSamples(clip, 650'000, block, kStreamRate);
    clip.speed = 1.25;
    clip.srcOutUs = 1'875'000;
    out = mixer.readClipSamples(clip, 750'000, block, kStreamRate);
    EXPECT_EQ(dominant(out, 0, 1800), 1000);
    EXPECT_EQ(dominant(out, 3000, 1800), 3000);
}
