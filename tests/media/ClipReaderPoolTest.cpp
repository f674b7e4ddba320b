#include "DecodeTestMedia.h"

#include "media/ClipReaderPool.h"
#include "media/ClipReaderWorker.h"

#include <gtest/gtest.h>

#include <vector>

using namespace orvel;
using namespace decodetest;

namespace {

// Waits, without sleeping, until the worker has run everything queued before this call.
void settle(ClipReaderWorker *worker)
{
    QMetaObject::invokeMethod(
        worker, [] {}, Qt::BlockingQueuedConnection);
}

ClipReaderCounters countersOf(ClipReaderWorker *worker)
{
    return worker->withReader([](ClipReader &reader) { return reader.counters; });
}

} // namespace

class ClipReaderPoolTest : public ::testing::Test
{
protected:
    void SetUp() override { qputenv("ORVEL_NO_VAAPI", "1"); }
    void TearDown() override { qunsetenv("ORVEL_NO_VAAPI"); }

    ClipReaderPool pool;
};

TEST_F(ClipReaderPoolTest, TwoClipsOfOneFileShareOneDecoderAndCache)
{
    const QString path = patternVideo();
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(path, 10 * kFrameUs, 0, 0)), 10);
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(path, 150 * kFrameUs, 0, 0)), 150);
    EXPECT_EQ(pool.workerCount(), 1);
    ClipReaderWorker *worker = pool.videoWorker(path);
    ASSERT_NE(worker, nullptr);
    settle(worker);
    const bool bothCached = worker->withReader([](ClipReader &reader) {
        return reader.nv12Cache.contains(10 * kFrameUs, 1) && reader.nv12Cache.contains(150 * kFrameUs, 1);
    });
    EXPECT_TRUE(bothCached);
}

TEST_F(ClipReaderPoolTest, VideoAndAudioOfOneFileUseSeparateWorkers)
{
    const QString path = patternVideo();
    std::vector<float> samples(2 * 4800);
    EXPECT_EQ(pool.decodeAudio(path, 1'000'000, 4800, 48000, samples.data()), 4800);
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(path, 180 * kFrameUs, 0, 0)), 180);
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(path, 20 * kFrameUs, 0, 0)), 20);
    // Video seeking did not move the audio reader: the next block continues without a seek.
    EXPECT_EQ(pool.decodeAudio(path, 1'100'000, 4800, 48000, samples.data()), 4800);
    ClipReaderWorker *audio = pool.audioWorker(path);
    ClipReaderWorker *video = pool.videoWorker(path);
    ASSERT_NE(audio, nullptr);
    ASSERT_NE(video, nullptr);
    EXPECT_NE(audio, video);
    EXPECT_NE(audio->thread(), video->thread());
    EXPECT_EQ(countersOf(audio).audioSeeks, 1);
    EXPECT_EQ(pool.workerCount(), 2);
}

TEST_F(ClipReaderPoolTest, MissingFileStaysDarkAndIsNeverReopened)
{
    const QString path = missingFile();
    std::vector<float> samples(64, 1.0f);
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(pool.decodeVideoNv12(path, i * kFrameUs, 0, 0).isValid());
        EXPECT_TRUE(pool.decodeVideo(path, i * kFrameUs, 0, 0).isNull());
        EXPECT_EQ(pool.decodeAudio(path, 0, 32, 48000, samples.data()), 0);
    }
    settle(pool.videoWorker(path));
    EXPECT_EQ(countersOf(pool.videoWorker(path)).openAttempts, 1);
    EXPECT_EQ(countersOf(pool.audioWorker(path)).openAttempts, 1);

    // Refusals make no worker at all.
    EXPECT_EQ(pool.decodeAudio(QString(), 0, 32, 48000, samples.data()), 0);
    EXPECT_EQ(pool.decodeAudio(patternVideo(), 0, 32, 48000, nullptr), 0);
    EXPECT_FALSE(pool.decodeVideoNv12(QString(), 0, 0, 0).isValid());
    EXPECT_EQ(pool.workerCount(), 2);
}

TEST_F(ClipReaderPoolTest, RequestedFramesAnswerTheBlockingCallFromCache)
{
    const QString path = patternVideo();
    pool.requestFrames({FrameRequest{path, 90 * kFrameUs, 0, 0}, FrameRequest{QString(), 0, 0, 0}});
    EXPECT_EQ(pool.workerCount(), 1);
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(path, 90 * kFrameUs, 0, 0)), 90);
    EXPECT_EQ(countersOf(pool.videoWorker(path)).seeks, 1);
}

TEST_F(ClipReaderPoolTest, ReadAheadPrefetchRequeuesUntilFull)
{
    const QString path = patternVideo();
    pool.setReadAhead(8 * kFrameUs);
    EXPECT_EQ(pool.readAheadUs(), 8 * kFrameUs);
    ASSERT_EQ(patternIndex(pool.decodeVideoNv12(path, 30 * kFrameUs, 0, 0)), 30);
    ClipReaderWorker *worker = pool.videoWorker(path);
    // Asked on the worker's own thread, so no prefetch runs while the flag is read: a set flag
    // means another step is queued behind this call.
    bool queued = true;
    for (int rounds = 0; queued && rounds < 100; ++rounds)
        QMetaObject::invokeMethod(
            worker, [&] { queued = worker->prefetchQueued(); }, Qt::BlockingQueuedConnection);
    EXPECT_FALSE(queued);
    const int cached = worker->withReader([](ClipReader &reader) {
        int count = 0;
        for (int i = 31; i < 38; ++i)
            count += reader.nv12Cache.contains(i * kFrameUs, 1) ? 1 : 0;
        return count;
    });
    EXPECT_EQ(cached, 7);
    const int decoded = countersOf(worker).framesDecoded;
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(path, 35 * kFrameUs, 0, 0)), 35);
    EXPECT_EQ(countersOf(worker).framesDecoded, decoded);
}

TEST_F(ClipReaderPoolTest, StillCaptureIsFullSizeRgba)
{
    const QString path = patternVideo();
    ASSERT_EQ(patternIndex(pool.decodeVideoNv12(path, 0, 40, 40)), 0);
    const QImage still = pool.captureStillFrame(path, 77 * kFrameUs);
    EXPECT_EQ(still.size(), QSize(kPatternWidth, kPatternHeight));
    EXPECT_EQ(patternIndex(still), 77);
}

TEST_F(ClipReaderPoolTest, EnsureReadersMakesBothRoles)
{
    pool.ensureReaders({patternVideo(), QString()}, {patternVideo(), rampAudio()});
    EXPECT_NE(pool.videoWorker(patternVideo()), nullptr);
    EXPECT_NE(pool.audioWorker(rampAudio()), nullptr);
    EXPECT_EQ(pool.videoWorker(rampAudio()), nullptr);
    EXPECT_EQ(pool.workerCount(), 3);
}
