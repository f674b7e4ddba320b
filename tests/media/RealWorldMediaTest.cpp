// Awkward files from cameras, broadcasts and phones, decoded by ClipReader and compared with
// ffmpeg's own reading of the same file: frames by the index of the frame on screen at each
// time by ffprobe's timestamps, samples by where they fit in ffmpeg's decode.
#include "TestMedia.h"

#include "media/decode/ClipReader.h"
#include "media/assets/MediaProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace orvel;
using testmedia::patternIndex;

// Outside the anonymous namespace: the fixtures below hold one, and a fixture class with a member
// of an internal type trips a linkage warning in unity builds.
struct NoVaapi
{
    NoVaapi() { qputenv("ORVEL_NO_VAAPI", "1"); }
    ~NoVaapi() { qunsetenv("ORVEL_NO_VAAPI"); }
};

namespace {

constexpr int kRate = 48000;

std::vector<float> readAudio(ClipReader &reader, TimeUs startUs, int frames)
{
    std::vector<float> samples(size_t(frames) * 2, -9.0f);
    samples.resize(size_t(reader.decodeAudio(startUs, frames, kRate, samples.data())) * 2);
    return samples;
}

// Where in ffmpeg's decode (counted from the stream's first sample) our samples fit.
qint64 lagInReference(const std::vector<float> &ours, const std::vector<float> &reference, qint64 expected)
{
    return testmedia::bestLag(ours, reference, expected - 2400, expected + 2400);
}

// Every request gets the frame ffprobe says is on screen then.
void expectFramesByTimestamp(ClipReader &reader, const QList<qint64> &times,
                             const std::vector<TimeUs> &requests)
{
    for (const TimeUs t : requests)
        EXPECT_EQ(patternIndex(reader.decodeVideoNv12(t, 0, 0)), testmedia::frameShownAt(times, t)) << t;
}

std::vector<TimeUs> steps(TimeUs fromUs, TimeUs toUs, TimeUs stepUs)
{
    std::vector<TimeUs> times;
    for (TimeUs t = fromUs; t < toUs; t += stepUs)
        times.push_back(t);
    return times;
}

} // namespace

class TransportStreams : public ::testing::TestWithParam<const char *>
{
protected:
    NoVaapi software;
};

TEST_P(TransportStreams, SourceTimeZeroIsTheFirstPresentableMoment)
{
    const QString file = testmedia::path(GetParam());
    const QList<qint64> times = testmedia::ffprobeFrameTimesUs(file);
    ASSERT_EQ(times.size(), 75);

    const MediaProbeResult probe = probeMedia(file);
    ASSERT_TRUE(probe.ok);
    EXPECT_GT(probe.containerStartUs, 1'400'000);
    ASSERT_EQ(probe.streams.size(), 2);
    EXPECT_NEAR(double(probe.streams[0].startUs), double(times.front()), 1.0);
    EXPECT_NEAR(double(probe.durationUs), 3.0e6, 0.05e6);

    // Read through, then jump about: the head and the tail are reachable and each time gets
    // the frame on screen then.
    ClipReader reader;
    ASSERT_TRUE(reader.open(file));
    expectFramesByTimestamp(reader, times, steps(0, 3'000'000, 100'000));
    std::vector<TimeUs> shuffled = steps(5'000, 3'000'000, 170'000);
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
    expectFramesByTimestamp(reader, times, shuffled);
    EXPECT_EQ(patternIndex(reader.decodeVideoNv12(2'990'000, 0, 0)), 74);

    // Audio at 1.0 s of source time is ffmpeg's sample at 1.0 s less the stream's own start.
    const std::vector<float> reference = testmedia::ffmpegAudio(file);
    const qint64 audioStartFrames = qRound64(probe.streams[1].startUs * kRate / 1e6);
    for (const TimeUs t : {1'000'000, 300'000, 2'200'000}) {
        const std::vector<float> ours = readAudio(reader, t, 4096);
        ASSERT_EQ(ours.size(), 4096u * 2);
        const qint64 expected = t * kRate / 1'000'000 - audioStartFrames;
        EXPECT_NEAR(double(lagInReference(ours, reference, expected)), double(expected), 2.0) << t;
    }
}

INSTANTIATE_TEST_SUITE_P(Broadcast, TransportStreams, ::testing::Values("offset.ts", "hour.ts"));

TEST(LateAudio, IsSilentSampleExactUntilTheStreamBeginsThenInPlace)
{
    const QString file = testmedia::path("late-audio.mov");
    const MediaProbeResult probe = probeMedia(file);
    ASSERT_TRUE(probe.ok);
    ASSERT_EQ(probe.streams.size(), 2);
    EXPECT_EQ(probe.streams[1].startUs, 1'000'000);

    // One 2 s read from 0: a second of exact silence, then the chirp in place.
    ClipReader reader;
    ASSERT_TRUE(reader.open(file));
    const std::vector<float> ours = readAudio(reader, 0, 2 * kRate);
    ASSERT_EQ(ours.size(), size_t(4 * kRate));
    const auto firstSound = std::find_if(ours.begin(), ours.end(), [](float v) { return v != 0.0f; });
    EXPECT_GE(firstSound - ours.begin(), 2 * kRate);
    EXPECT_LE(firstSound - ours.begin(), 2 * kRate + 4);
    const std::vector<float> reference = testmedia::ffmpegAudio(file);
    const std::vector<float> tail(ours.begin() + 2 * kRate * 12 / 10, ours.end());
    EXPECT_NEAR(double(lagInReference(tail, reference, kRate / 5)), kRate / 5.0, 1.0);

    // Requests inside the silence stay silent (no repeated first block), block after block.
    ClipReader blocks;
    ASSERT_TRUE(blocks.open(file));
    for (TimeUs t = 100'000; t < 1'000'000; t += 100'000) {
        const std::vector<float> block = readAudio(blocks, t, 4800);
        ASSERT_EQ(block.size(), 9600u);
        EXPECT_EQ(std::count(block.begin(), block.end(), 0.0f), 9600) << t;
    }
    const std::vector<float> after = readAudio(blocks, 1'000'000, 4800);
    EXPECT_NEAR(double(lagInReference(after, reference, 0)), 0.0, 1.0);
}

TEST(VideoSeeking, SequentialReadsOfVariableRateAndShortStreamsNeverSeekNorDoesThePastTheEnd)
{
    NoVaapi software;
    for (const char *name : {"vfr.mkv", "short-video.mov"}) {
        SCOPED_TRACE(name);
        const QString file = testmedia::path(name);
        const QList<qint64> times = testmedia::ffprobeFrameTimesUs(file);
        ClipReader reader;
        ASSERT_TRUE(reader.open(file));
        // A preview at 50 Hz from the start to a second past the video's end.
        expectFramesByTimestamp(reader, times, steps(0, times.back() + 1'000'000, 20'000));
        EXPECT_EQ(reader.counters.seeks, 0);
        EXPECT_EQ(reader.counters.framesDecoded, times.size());
    }

    // Past the end of the short video the last frame costs nothing more.
    ClipReader reader;
    ASSERT_TRUE(reader.open(testmedia::path("short-video.mov")));
    EXPECT_EQ(patternIndex(reader.decodeVideoNv12(3'500'000, 0, 0)), 24);
    const ClipReaderCounters first = reader.counters;
    EXPECT_LE(first.seeks, 1);
    for (TimeUs t = 1'000'000; t < 4'000'000; t += 97'000)
        EXPECT_EQ(patternIndex(reader.decodeVideoNv12(t, 0, 0)), 24) << t;
    EXPECT_EQ(reader.counters.seeks, first.seeks);
    EXPECT_EQ(reader.counters.framesDecoded, first.framesDecoded);
}
