#include "media/decode/DecodeRules.h"
#include "media/frames/FrameCaches.h"

#include <gtest/gtest.h>

using namespace orvel;

namespace {
// A 40 ms frame at t.
FrameSpan spanAt(TimeUs t)
{
    return FrameSpan{t, t, t + 40'000};
}

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

TEST(DecodeRules, AudioRequestsReadOnNearbyDecodeThroughForwardAndSeekOtherwise)
{
    const TimeUs next = 5'000'000;
    const std::pair<TimeUs, AudioStep> cases[] = {{next, AudioStep::continueOn},
                                                  {next - 1'000, AudioStep::continueOn},
                                                  {next + 1'000, AudioStep::continueOn},
                                                  {next - 1'001, AudioStep::seek},
                                                  {next + 1'001, AudioStep::decodeThrough},
                                                  {next + 2'000'000, AudioStep::decodeThrough},
                                                  {next + 2'000'001, AudioStep::seek}};
    for (const auto &[t, step] : cases)
        EXPECT_EQ(audioStepFor(true, 48000, 48000, next, t), step) << t;
    EXPECT_EQ(audioStepFor(true, 48000, 44100, next, next), AudioStep::seek);
    EXPECT_EQ(audioStepFor(false, 48000, 48000, next, next), AudioStep::seek);

    // Counting in frames keeps an hour of 1024-frame blocks exact, where adding each block's
    // truncated microseconds would drift by 56 ms.
    const qint64 hourFrames = 3600LL * 48000;
    EXPECT_EQ(audioFramesToUs(hourFrames, 48000), 3'600'000'000LL);
    EXPECT_EQ(audioFramesToUs(1024, 48000), 21'333);
    EXPECT_EQ(audioUsToFrames(1'500'000, 44100), 66150);
    EXPECT_EQ(audioUsToFrames(3'600'000'000LL, 48000), hourFrames);
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
    // All readers together over the process budget: a few frames each.
    EXPECT_EQ(nv12CacheCapacity(60'000'000, 40'000, 1920 * 1620, kFrameCacheBudgetBytes + 1), 4);
    EXPECT_EQ(nv12CacheCapacity(60'000'000, 40'000, 1920 * 1620, kFrameCacheBudgetBytes), 43);
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
        cache.insert(spanAt(t), grayFrame(4, 2));
    const qint64 heldBefore = totalFrameCacheBytes();
    cache.trim(3, anchor);
    ASSERT_EQ(cache.size(), 3);
    EXPECT_EQ(cache.entries()[0].span.timeUs, 1'120'000);
    EXPECT_EQ(cache.entries()[1].span.timeUs, 1'080'000);
    EXPECT_EQ(cache.entries()[2].span.timeUs, 1'040'000);
    // The process-wide count follows evictions and clearing.
    EXPECT_EQ(totalFrameCacheBytes(), heldBefore - 2 * 12);
    cache.clear();
    EXPECT_EQ(totalFrameCacheBytes(), heldBefore - 5 * 12);
}

TEST(FrameCaches, RgbaKeepsSixteenMostRecentAndMovesHitsToFront)
{
    RgbaFrameCache cache;
    QImage image(2, 2, QImage::Format_RGBA8888);
    for (int i = 0; i < 20; ++i)
        cache.insert(spanAt(i * 40'000), image);
    ASSERT_EQ(cache.size(), RgbaFrameCache::kCapacity);
    EXPECT_EQ(cache.entries().front().span.timeUs, 19 * 40'000);
    EXPECT_EQ(cache.entries().back().span.timeUs, 4 * 40'000);

    EXPECT_FALSE(cache.take(5 * 40'000 + 39'999).isNull());
    EXPECT_EQ(cache.entries().front().span.timeUs, 5 * 40'000);
    EXPECT_TRUE(cache.take(3 * 40'000).isNull());

    // A frame already held is moved, not added twice.
    cache.insert(spanAt(10 * 40'000), image);
    EXPECT_EQ(cache.size(), RgbaFrameCache::kCapacity);
    EXPECT_EQ(cache.entries().front().span.timeUs, 10 * 40'000);
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
    cache.insert(spanAt(0), shortData);
    EXPECT_FALSE(cache.find(0).isValid());
    cache.insert(spanAt(40'000), grayFrame(4, 2));
    EXPECT_TRUE(cache.find(45'000).isValid());
    EXPECT_EQ(cache.frontBytes(), 12);
}
