#include "media/DecodeRules.h"
#include "media/FrameCaches.h"

#include <gtest/gtest.h>

using namespace orvel;

namespace {
Nv12Frame grayFrame(int width, int height)
{
    Nv12Frame frame;
    frame.width = width;
    frame.height = height;
    frame.data = QByteArray(width * (height + height / 2), char(128));
    return frame;
}
} // namespace

TEST(DecodeRules, OutputSizeStepsInEighthsAndNeverUpscales)
{
    // s = 0.3125 rounds up to 3/8.
    EXPECT_EQ(decodeOutputSize(1920, 1080, 600, 1000), QSize(720, 404));
    EXPECT_EQ(decodeOutputSize(1920, 1080, 960, 540), QSize(960, 540));
    // Just under full size stays at full size.
    EXPECT_EQ(decodeOutputSize(1920, 1080, 1900, 1080), QSize(1920, 1080));
    EXPECT_EQ(decodeOutputSize(1920, 1080, 4000, 4000), QSize(1920, 1080));
    // A missing limit means the stream's own size.
    EXPECT_EQ(decodeOutputSize(1920, 1080, 0, 540), QSize(1920, 1080));
    // Tiny limits keep at least 2 pixels, and odd results lose their lowest bit.
    EXPECT_EQ(decodeOutputSize(101, 51, 1, 1), QSize(12, 6));
    EXPECT_EQ(decodeOutputSize(10, 6, 1, 1), QSize(2, 2));
    EXPECT_EQ(decodeOutputSize(0, 0, 320, 0), QSize(320, 1));
}

TEST(DecodeRules, ToleranceDecodeThroughAndAudioContinuationWindows)
{
    EXPECT_EQ(frameToleranceUs(40'000), 20'000);
    EXPECT_EQ(frameToleranceUs(0), 20'000);
    EXPECT_EQ(frameToleranceUs(1), 1);

    // Video decodes on from 20 ms behind to 2 s ahead of the last frame.
    const TimeUs last = 1'000'000;
    EXPECT_TRUE(canDecodeThrough(true, last, last + 2'000'000, 20'000));
    EXPECT_FALSE(canDecodeThrough(true, last, last + 2'000'001, 20'000));
    EXPECT_TRUE(canDecodeThrough(true, last, last - 20'000, 20'000));
    EXPECT_FALSE(canDecodeThrough(true, last, last - 20'001, 20'000));
    EXPECT_FALSE(canDecodeThrough(false, last, last + 1, 20'000));

    // Audio continues from 50 ms behind to 2 s ahead, at the same rate only.
    const TimeUs next = 5'000'000;
    EXPECT_TRUE(canContinueAudio(true, 48000, 48000, next, next - 50'000));
    EXPECT_FALSE(canContinueAudio(true, 48000, 48000, next, next - 50'001));
    EXPECT_TRUE(canContinueAudio(true, 48000, 48000, next, next + 2'000'000));
    EXPECT_FALSE(canContinueAudio(true, 48000, 48000, next, next + 2'000'001));
    EXPECT_FALSE(canContinueAudio(true, 48000, 44100, next, next));
    EXPECT_FALSE(canContinueAudio(false, 48000, 48000, next, next));
}

TEST(DecodeRules, ThreadsAndHardwareChoice)
{
    for (const auto &[cores, threads] : {std::pair{1, 1}, {2, 1}, {6, 3}, {32, 4}})
        EXPECT_EQ(softwareDecoderThreads(cores), threads) << cores;

    EXPECT_TRUE(isHeavyStream(3840, 2160, 1000, 30.0));
    EXPECT_FALSE(isHeavyStream(1920, 1080, 7'000'000, 30.0)); // 233 kbit a frame
    EXPECT_TRUE(isHeavyStream(1920, 1080, 7'500'000, 30.0));  // 250 kbit a frame
    EXPECT_TRUE(isHeavyStream(1920, 1080, 0, 30.0));          // unknown bit rate
    EXPECT_TRUE(isHeavyStream(1920, 1080, 1'000'000, 0.0));   // unknown frame rate
}

TEST(NearestCachedFrame, TakesNearestWithinToleranceFirstAmongEquals)
{
    const QList<TimeUs> times{400'000, 440'000, 360'000};
    for (const auto &[t, index] :
         {std::pair<TimeUs, int>{420'000, 0}, {430'000, 1}, {380'000, 0}, {500'000, -1}})
        EXPECT_EQ(nearestWithinTolerance(times, t, 20'000), index) << t;
    EXPECT_EQ(nearestWithinTolerance({}, 0, 20'000), -1);
}

TEST(Nv12CacheRules, CapacityFollowsReadAheadAndByteBudget)
{
    EXPECT_EQ(nv12CacheCapacity(0, 40'000, 0), 16);
    EXPECT_EQ(nv12CacheCapacity(400'000, 0, 0), 16);
    EXPECT_EQ(nv12CacheCapacity(400'000, 40'000, 0), 26);
    EXPECT_EQ(nv12CacheCapacity(60'000'000, 40'000, 0), 316);
    // 1080p NV12 is about 3 MB: 128 MiB holds 43 of them.
    EXPECT_EQ(nv12CacheCapacity(60'000'000, 40'000, 1920 * 1620), 43);
    // 4K is about 12 MB a frame: the budget allows 10, the floor keeps 16.
    EXPECT_EQ(nv12CacheCapacity(60'000'000, 40'000, 3840 * 3240), 16);
}

TEST(Nv12CacheRules, EvictsPlayedFramesFarthestFirstThenFarthestAhead)
{
    const TimeUs anchor = 1'000'000;
    // Behind the anchor, the farthest goes first.
    EXPECT_EQ(nv12EvictionIndex({1'200'000, 900'000, 500'000, 1'040'000}, anchor), 2);
    // The anchor itself counts as played.
    EXPECT_EQ(nv12EvictionIndex({1'200'000, 1'000'000, 3'000'000}, anchor), 1);
    // All ahead: the farthest ahead; the first among equals.
    EXPECT_EQ(nv12EvictionIndex({1'100'000, 1'300'000, 1'300'000}, anchor), 1);
    EXPECT_EQ(nv12EvictionIndex({}, anchor), -1);

    Nv12FrameCache cache;
    for (TimeUs t : {800'000, 1'000'000, 1'040'000, 1'080'000, 1'120'000})
        cache.insert(t, grayFrame(4, 2));
    cache.trim(3, anchor);
    ASSERT_EQ(cache.size(), 3);
    EXPECT_EQ(cache.entries()[0].timeUs, 1'120'000);
    EXPECT_EQ(cache.entries()[1].timeUs, 1'080'000);
    EXPECT_EQ(cache.entries()[2].timeUs, 1'040'000);
}

TEST(FrameCaches, RgbaKeepsSixteenMostRecentAndMovesHitsToFront)
{
    RgbaFrameCache cache;
    QImage image(2, 2, QImage::Format_RGBA8888);
    for (int i = 0; i < 20; ++i)
        cache.insert(i * 40'000, image);
    ASSERT_EQ(cache.size(), RgbaFrameCache::kCapacity);
    EXPECT_EQ(cache.entries().front().timeUs, 19 * 40'000);
    EXPECT_EQ(cache.entries().back().timeUs, 4 * 40'000);

    EXPECT_FALSE(cache.take(5 * 40'000 + 15'000, 20'000).isNull());
    EXPECT_EQ(cache.entries().front().timeUs, 5 * 40'000);
    EXPECT_TRUE(cache.take(3 * 40'000, 20'000).isNull());

    // A time already held is moved, not added twice.
    cache.insert(10 * 40'000, image);
    EXPECT_EQ(cache.size(), RgbaFrameCache::kCapacity);
    EXPECT_EQ(cache.entries().front().timeUs, 10 * 40'000);
}

TEST(FrameCaches, Nv12FramesNeedAnEvenSizeAndEnoughBytesAndLookupSkipsInvalidOnes)
{
    Nv12Frame odd = grayFrame(4, 2);
    odd.width = 3;
    Nv12Frame shortData = grayFrame(4, 4);
    shortData.data.chop(1);
    EXPECT_TRUE(grayFrame(4, 2).isValid());
    EXPECT_FALSE(odd.isValid());
    EXPECT_FALSE(shortData.isValid());
    EXPECT_FALSE(Nv12Frame{}.isValid());

    Nv12FrameCache cache;
    cache.insert(0, shortData);
    EXPECT_FALSE(cache.find(0, 20'000).isValid());
    cache.insert(40'000, grayFrame(4, 2));
    EXPECT_TRUE(cache.find(45'000, 20'000).isValid());
    EXPECT_EQ(cache.frontBytes(), 12);
}
