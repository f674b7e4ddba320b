#include "TestMedia.h"

#include "media/decode/ClipReader.h"

#include <gtest/gtest.h>

#include <vector>

using namespace orvel;
using testmedia::kFrameUs;
using testmedia::patternIndex;

// Sets both hardware switches for one test and clears them afterwards.
struct VaapiSwitches
{
    VaapiSwitches(bool noVaapi, bool force)
    {
        set("ORVEL_NO_VAAPI", noVaapi);
        set("ORVEL_FORCE_VAAPI", force);
    }
    ~VaapiSwitches()
    {
        qunsetenv("ORVEL_NO_VAAPI");
        qunsetenv("ORVEL_FORCE_VAAPI");
    }
    static void set(const char *name, bool on) { on ? qputenv(name, "1") : qunsetenv(name); }
};

class ClipReaderVideo : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(reader.open(testmedia::path("pattern.mp4"))); }

    int nv12At(TimeUs t, int maxWidth = 0, int maxHeight = 0)
    {
        return patternIndex(reader.decodeVideoNv12(t, maxWidth, maxHeight));
    }

    VaapiSwitches software{true, false};
    ClipReader reader;
};

TEST_F(ClipReaderVideo, GivesTheFrameOnScreenAtTheTimeAndServesRepeatsFromCache)
{
    EXPECT_GE(reader.videoStream, 0);
    EXPECT_GE(reader.audioStream, 0);
    EXPECT_TRUE(reader.open(testmedia::path("pattern.mp4"))); // the same path again does no work
    EXPECT_EQ(reader.counters.openAttempts, 1);

    // Any time within a cached frame is served from the cache.
    ASSERT_EQ(nv12At(12 * kFrameUs), 12);
    const ClipReaderCounters before = reader.counters;
    EXPECT_EQ(nv12At(12 * kFrameUs + kFrameUs / 2), 12);
    EXPECT_EQ(nv12At(13 * kFrameUs - 1), 12); // the last microsecond of frame 12
    EXPECT_EQ(reader.counters.framesDecoded, before.framesDecoded);
    EXPECT_EQ(reader.counters.seeks, before.seeks);
    EXPECT_EQ(reader.nv12Cache.size(), 1);
    EXPECT_EQ(nv12At(20 * kFrameUs + kFrameUs - 1), 20); // decoded on, not from the cache

    // Half way between two frames gives the earlier one, and the next exact request the later.
    for (int i = 10; i < 40; i += 3) {
        EXPECT_EQ(nv12At(i * kFrameUs + kFrameUs / 2), i);
        EXPECT_EQ(nv12At((i + 1) * kFrameUs), i + 1);
        EXPECT_EQ(patternIndex(reader.decodeVideo((i + 1) * kFrameUs - 1, 0, 0)), i);
    }
    EXPECT_EQ(nv12At(-500'000), 0); // before the start: the first frame

    // Past the end: the last frame, and asking again costs no seek.
    EXPECT_EQ(nv12At(60'000'000), 199);
    const int seeks = reader.counters.seeks;
    EXPECT_EQ(nv12At(70'000'000), 199);
    EXPECT_EQ(reader.counters.seeks, seeks);
    EXPECT_EQ(nv12At(100 * kFrameUs), 100);
}

TEST_F(ClipReaderVideo, ForwardDecodesThroughUpToTwoSecondsAndSeeksBeyond)
{
    ASSERT_EQ(nv12At(0), 0);
    const ClipReaderCounters start = reader.counters;
    for (int i = 1; i <= 25; ++i)
        ASSERT_EQ(nv12At(i * kFrameUs), i);
    EXPECT_EQ(reader.counters.framesDecoded - start.framesDecoded, 25); // one frame per step
    // Measured from the next frame due, frame 26: exactly 2.0 s on decodes through.
    EXPECT_EQ(nv12At(76 * kFrameUs), 76);
    EXPECT_EQ(reader.counters.seeks, start.seeks);
    EXPECT_EQ(nv12At(127 * kFrameUs + 1), 127); // 2.000001 s past frame 77
    EXPECT_EQ(reader.counters.seeks, start.seeks + 1);
}

TEST_F(ClipReaderVideo, BackwardStepsSeekAndOnlyTheChosenFramesAreKept)
{
    ASSERT_EQ(nv12At(60 * kFrameUs), 60);
    const int seeks = reader.counters.seeks;
    for (int i = 59; i >= 50; --i)
        ASSERT_EQ(nv12At(i * kFrameUs), i);
    EXPECT_EQ(reader.counters.seeks, seeks + 10);
    EXPECT_EQ(reader.nv12Cache.size(), 11);
    // The RGBA cache is empty; the decoder stands at frame 50, and a quarter frame before it
    // frame 49 is on screen.
    EXPECT_EQ(patternIndex(reader.decodeVideo(50 * kFrameUs - kFrameUs / 4, 0, 0)), 49);
    EXPECT_EQ(reader.counters.seeks, seeks + 11);
}

TEST_F(ClipReaderVideo, OutputSizeInEighthsWithoutUpscalingAndCachesKeepTheirCapacity)
{
    Nv12Frame small = reader.decodeVideoNv12(5 * kFrameUs, 50, 1000);
    EXPECT_EQ(QSize(small.width, small.height), QSize(60, 36)); // 160 * 3/8
    EXPECT_EQ(patternIndex(small), 5);
    EXPECT_EQ(small.data.size(), 60 * 54);

    QImage big = reader.decodeVideo(6 * kFrameUs, 4000, 4000);
    EXPECT_EQ(big.size(), QSize(testmedia::kPatternWidth, testmedia::kPatternHeight));
    EXPECT_EQ(big.format(), QImage::Format_RGBA8888);
    // The size change emptied both caches.
    EXPECT_EQ(reader.nv12Cache.size(), 0);
    EXPECT_EQ(reader.rgbaCache.size(), 1);

    // Both caches keep their capacity; played frames go oldest first, so the newest sixteen remain.
    for (int i = 0; i < 24; ++i)
        ASSERT_EQ(nv12At(i * kFrameUs), i);
    for (int i = 0; i < 24; ++i)
        ASSERT_EQ(patternIndex(reader.decodeVideo(i * kFrameUs, 0, 0)), i);
    EXPECT_EQ(reader.rgbaCache.size(), RgbaFrameCache::kCapacity);
    ASSERT_EQ(reader.nv12Cache.size(), 16);
    EXPECT_EQ(reader.nv12Cache.entries().back().span.timeUs, 8 * kFrameUs);
    EXPECT_EQ(reader.nv12Cache.entries().front().span.timeUs, 23 * kFrameUs);
}

TEST_F(ClipReaderVideo, PrefetchFillsReadAheadThenStops)
{
    ASSERT_EQ(nv12At(10 * kFrameUs), 10);
    const TimeUs readAhead = 10 * kFrameUs;
    int steps = 0;
    while (steps < 100 && reader.prefetchNextVideoNv12(0, 0, readAhead))
        ++steps;
    EXPECT_EQ(reader.playheadAnchorUs, 10 * kFrameUs); // prefetch never moves the anchor
    const int decoded = reader.counters.framesDecoded;
    for (int i = 11; i < 20; ++i)
        EXPECT_TRUE(reader.nv12Cache.contains(i * kFrameUs)) << i;
    EXPECT_FALSE(reader.prefetchNextVideoNv12(0, 0, readAhead)); // the read-ahead is full
    EXPECT_EQ(nv12At(15 * kFrameUs), 15);
    EXPECT_EQ(reader.counters.framesDecoded, decoded);
}

TEST(ClipReaderStreams, UnknownFrameRatePrefetchesByTimestamps)
{
    ClipReader reader;
    ASSERT_TRUE(reader.open(testmedia::path("nofps.nut")));
    EXPECT_EQ(reader.frameDurationUs, 0);
    ASSERT_TRUE(reader.decodeVideoNv12(0, 0, 0).isValid());
    EXPECT_TRUE(reader.decodeVideoNv12(499'999, 0, 0).isValid()); // still the first frame
    EXPECT_EQ(reader.nv12Cache.size(), 1);
    EXPECT_FALSE(reader.prefetchNextVideoNv12(0, 0, 1'000'000)); // the stream has no more
    const int decoded = reader.counters.framesDecoded;
    EXPECT_TRUE(reader.nv12Cache.contains(500'000));
    EXPECT_TRUE(reader.decodeVideoNv12(600'000, 0, 0).isValid());
    EXPECT_EQ(reader.counters.framesDecoded, decoded);
}

TEST(ClipReaderStreams, Nv12SourceIsCopiedPlaneByPlaneAndOddSizesRoundDownForNv12Only)
{
    ClipReader reader;
    ASSERT_TRUE(reader.open(testmedia::path("raw-nv12.nut")));
    const Nv12Frame frame = reader.decodeVideoNv12(7 * kFrameUs, 0, 0);
    EXPECT_EQ(patternIndex(frame), 7);
    const int lumaBytes = testmedia::kPatternWidth * testmedia::kPatternHeight;
    EXPECT_EQ(frame.data.size(), lumaBytes * 3 / 2);
    // The scaler is never made for a source that is already NV12 of the right size.
    EXPECT_EQ(reader.swsNv12, nullptr);
    const QByteArray chroma = frame.data.mid(lumaBytes);
    EXPECT_EQ(chroma.count(char(128)), chroma.size());

    ClipReader odd;
    ASSERT_TRUE(odd.open(testmedia::path("odd.mp4")));
    const Nv12Frame even = odd.decodeVideoNv12(0, 0, 0);
    EXPECT_TRUE(even.isValid());
    EXPECT_EQ(QSize(even.width, even.height), QSize(160, 96));
    EXPECT_EQ(odd.decodeVideo(0, 0, 0).size(), QSize(161, 97));
}

TEST(ClipReaderStreams, MissingFileOrMissingStreamGivesNothing)
{
    ClipReader missing;
    EXPECT_FALSE(missing.open(testmedia::missingFile()));
    EXPECT_FALSE(missing.isOpen());
    float buffer[64] = {};
    EXPECT_FALSE(missing.decodeVideoNv12(0, 0, 0).isValid());
    EXPECT_TRUE(missing.decodeVideo(0, 0, 0).isNull());
    EXPECT_EQ(missing.decodeAudio(0, 32, 48000, buffer), 0);
    EXPECT_FALSE(missing.open(QString()));

    ClipReader audioOnly;
    ASSERT_TRUE(audioOnly.open(testmedia::path("ramp.wav")));
    EXPECT_LT(audioOnly.videoStream, 0);
    EXPECT_FALSE(audioOnly.decodeVideoNv12(0, 0, 0).isValid());
    EXPECT_EQ(audioOnly.decodeAudio(0, 32, 48000, nullptr), 0);
    EXPECT_EQ(audioOnly.decodeAudio(0, 0, 48000, buffer), 0);
}

TEST(ClipReaderHardware, OnlyAForcedDeviceIsTriedAndAFailingOneFallsBackToSoftwareOnce)
{
    // Forcing the device does not override switching it off; without force, a light stream
    // stays in software.
    for (const bool noVaapi : {true, false}) {
        SCOPED_TRACE(noVaapi ? "switched off" : "light stream");
        VaapiSwitches switches(noVaapi, noVaapi);
        ClipReader reader;
        ASSERT_TRUE(reader.open(testmedia::path("pattern.mp4")));
        EXPECT_EQ(patternIndex(reader.decodeVideoNv12(0, 0, 0)), 0);
        EXPECT_TRUE(reader.hwDisabled);
        EXPECT_FALSE(reader.hwActive);
        EXPECT_EQ(reader.counters.hwConfigLookups, 0);
    }

    // A forced device that fails falls back to software once.
    VaapiSwitches switches(false, true);
    ClipReader reader;
    reader.hwDeviceName = QStringLiteral("/nonexistent/renderD999");
    ASSERT_TRUE(reader.open(testmedia::path("pattern.mp4")));
    EXPECT_EQ(patternIndex(reader.decodeVideoNv12(3 * kFrameUs, 0, 0)), 3);
    EXPECT_EQ(reader.counters.hwConfigLookups, 1);
    EXPECT_EQ(reader.counters.softwareOpens, 1);
    EXPECT_FALSE(reader.hwActive);
    EXPECT_TRUE(reader.hwDisabled);
    // The latch holds: later requests never look at the device again.
    EXPECT_EQ(patternIndex(reader.decodeVideoNv12(90 * kFrameUs, 0, 0)), 90);
    EXPECT_EQ(reader.counters.hwDeviceAttempts, 1);

    // A decoder that fails mid-stream is dropped, software takes over and the request is made again.
    reader.simulateHardwareFailure = true;
    EXPECT_EQ(patternIndex(reader.decodeVideo(4 * kFrameUs, 0, 0)), 4);
    EXPECT_EQ(reader.counters.softwareOpens, 2);
    EXPECT_EQ(reader.counters.hwConfigLookups, 1);
    EXPECT_EQ(reader.nv12Cache.size(), 0);

    // Closing forgets the latch: a reopened file may try the device again.
    reader.close();
    EXPECT_FALSE(reader.hwDisabled);
}

class ClipReaderAudio : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(reader.open(testmedia::path("ramp.wav"))); }

    // The ramp's sample value at a buffer position, as seconds of source time.
    double secondsAt(int frame) const { return buffer[size_t(frame) * 2] * 10.0; }

    int read(TimeUs startUs, int frames, int rate = 48000)
    {
        buffer.assign(size_t(frames) * 2, -1.0f);
        return reader.decodeAudio(startUs, frames, rate, buffer.data());
    }

    ClipReader reader;
    std::vector<float> buffer;
};

TEST_F(ClipReaderAudio, ReadsOnForwardUpToTwoSecondsAndSeeksOtherwiseAndTheEndGivesWhatIsLeft)
{
    ASSERT_EQ(read(0, 4800), 4800);
    EXPECT_NEAR(secondsAt(0), 0.0, 1e-6);
    EXPECT_EQ(buffer[1], buffer[0]); // stereo stays stereo
    EXPECT_NEAR(secondsAt(4799), 4799 / 48000.0, 1e-5);

    // 1 s past the last read: the samples of the new time, reached by reading on.
    ASSERT_EQ(read(1'100'000, 4800), 4800);
    EXPECT_NEAR(secondsAt(0), 1.1, 1e-5);
    EXPECT_EQ(reader.counters.audioSeeks, 1);
    EXPECT_EQ(reader.audioNextUs, 1'200'000);

    // 3 s ahead seeks and starts at the exact sample.
    ASSERT_EQ(read(3'200'000 + 125, 480), 480);
    EXPECT_EQ(reader.counters.audioSeeks, 2);
    EXPECT_NEAR(secondsAt(0), 3.200125, 1.5 / 48000.0);
    EXPECT_NEAR(secondsAt(479), 3.200125 + 479 / 48000.0, 1.5 / 48000.0);

    // Back to 1 s seeks; then a block time's rounding reads on, a step back or a new rate seeks.
    ASSERT_EQ(read(1'000'000, 4800), 4800);
    EXPECT_EQ(reader.counters.audioSeeks, 3);
    ASSERT_EQ(read(1'100'000 - 800, 480), 480);
    EXPECT_NEAR(secondsAt(0), 1.1, 1e-5);
    EXPECT_EQ(reader.counters.audioSeeks, 3);
    ASSERT_EQ(read(1'110'000 - 50'000, 480), 480);
    EXPECT_EQ(reader.counters.audioSeeks, 4);
    EXPECT_NEAR(secondsAt(0), 1.06, 1.5 / 48000.0);

    ASSERT_EQ(read(2'000'000, 4410, 44100), 4410);
    EXPECT_EQ(reader.counters.audioSeeks, 5);
    EXPECT_NEAR(secondsAt(2000), 2.0 + 2000 / 44100.0, 1e-3);

    EXPECT_EQ(read(5'900'000, 9600), 4800);
    EXPECT_EQ(read(5'999'000, 480), 0);
}

// Block after block, a read that asks for t starts at t, whether it lies a little ahead of the
// last read (samples in between are skipped), far ahead, or a little behind it.
TEST_F(ClipReaderAudio, EveryReadStartsAtTheTimeItAsksFor)
{
    // Start and length of each read: leaving part of a packet waiting, 10 ms past the last read
    // (skipped within what waits), 1.5 s ahead, 20 ms and 49 ms behind, then exactly on.
    const std::pair<TimeUs, int> walk[] = {{0, 1000},        {30'833, 700},     {1'500'000, 2400},
                                           {1'530'000, 480}, {1'491'000, 4800}, {1'591'000, 480}};
    for (const auto &[startUs, frames] : walk) {
        ASSERT_EQ(read(startUs, frames), frames) << startUs;
        EXPECT_NEAR(secondsAt(0), startUs / 1e6, 1.5 / 48000.0) << startUs;
        EXPECT_NEAR(secondsAt(frames - 1), startUs / 1e6 + (frames - 1) / 48000.0, 1.5 / 48000.0) << startUs;
    }
}
