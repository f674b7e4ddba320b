#include "TestMedia.h"

#include "media/ClipReaderPool.h"
#include "media/ClipReaderWorker.h"

#include <gtest/gtest.h>

#include <vector>

using namespace orvel;
using testmedia::kFrameUs;
using testmedia::patternIndex;

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

    const QString video = testmedia::path("pattern.mp4");
    ClipReaderPool pool;
};

TEST_F(ClipReaderPoolTest, ClipsOfOneFileShareOneVideoDecoderAndAudioHasItsOwn)
{
    std::vector<float> samples(2 * 4800);
    EXPECT_EQ(pool.decodeAudio(video, 1'000'000, 4800, 48000, samples.data()), 4800);
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(video, 10 * kFrameUs, 0, 0)), 10);
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(video, 180 * kFrameUs, 0, 0)), 180);
    // Video seeking did not move the audio reader: the next block continues without a seek.
    EXPECT_EQ(pool.decodeAudio(video, 1'100'000, 4800, 48000, samples.data()), 4800);
    EXPECT_EQ(pool.workerCount(), 2);
    ClipReaderWorker *audio = pool.audioWorker(video);
    ClipReaderWorker *worker = pool.videoWorker(video);
    ASSERT_NE(audio, nullptr);
    ASSERT_NE(worker, nullptr);
    EXPECT_NE(audio->thread(), worker->thread());
    EXPECT_EQ(countersOf(audio).audioSeeks, 1);
    settle(worker);
    const bool bothCached = worker->withReader([](ClipReader &reader) {
        return reader.nv12Cache.contains(10 * kFrameUs) && reader.nv12Cache.contains(180 * kFrameUs);
    });
    EXPECT_TRUE(bothCached);
}

TEST_F(ClipReaderPoolTest, MissingFileStaysDarkAndIsNeverReopened)
{
    const QString path = testmedia::missingFile();
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
    EXPECT_EQ(pool.decodeAudio(video, 0, 32, 48000, nullptr), 0);
    EXPECT_FALSE(pool.decodeVideoNv12(QString(), 0, 0, 0).isValid());
    EXPECT_EQ(pool.workerCount(), 2);
}

TEST_F(ClipReaderPoolTest, RequestedFramesAnswerTheBlockingCallFromCache)
{
    pool.requestFrames({FrameRequest{video, 90 * kFrameUs, 0, 0}, FrameRequest{QString(), 0, 0, 0}});
    EXPECT_EQ(pool.workerCount(), 1);
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(video, 90 * kFrameUs, 0, 0)), 90);
    EXPECT_EQ(countersOf(pool.videoWorker(video)).seeks, 1);
}

TEST_F(ClipReaderPoolTest, EnsureReadersMakesBothRoles)
{
    const QString audio = testmedia::path("ramp.wav");
    pool.ensureReaders({video, QString()}, {video, audio});
    EXPECT_NE(pool.videoWorker(video), nullptr);
    EXPECT_NE(pool.audioWorker(audio), nullptr);
    EXPECT_EQ(pool.videoWorker(audio), nullptr);
    EXPECT_EQ(pool.workerCount(), 3);
}

TEST_F(ClipReaderPoolTest, ReadAheadPrefetchRequeuesUntilFull)
{
    pool.setReadAhead(8 * kFrameUs);
    ASSERT_EQ(patternIndex(pool.decodeVideoNv12(video, 30 * kFrameUs, 0, 0)), 30);
    ClipReaderWorker *worker = pool.videoWorker(video);
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
            count += reader.nv12Cache.contains(i * kFrameUs) ? 1 : 0;
        return count;
    });
    EXPECT_EQ(cached, 7);
    const int decoded = countersOf(worker).framesDecoded;
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(video, 35 * kFrameUs, 0, 0)), 35);
    EXPECT_EQ(countersOf(worker).framesDecoded, decoded);
}

TEST_F(ClipReaderPoolTest, StillCaptureIsFullSizeRgba)
{
    ASSERT_EQ(patternIndex(pool.decodeVideoNv12(video, 0, 40, 40)), 0);
    const QImage still = pool.captureStillFrame(video, 77 * kFrameUs);
    EXPECT_EQ(still.size(), QSize(testmedia::kPatternWidth, testmedia::kPatternHeight));
    EXPECT_EQ(patternIndex(still), 77);
}
