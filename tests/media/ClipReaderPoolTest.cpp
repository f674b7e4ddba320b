#include "TestMedia.h"

#include "media/decode/ClipReaderPool.h"
#include "media/decode/ClipReaderWorker.h"

#include <gtest/gtest.h>

#include <vector>

using namespace orvel;
using testmedia::kFrameUs;
using testmedia::patternIndex;

namespace {

// Waits, without sleeping, until the worker has run everything queued before this call.
void settle(const std::shared_ptr<ClipReaderWorker> &worker)
{
    QMetaObject::invokeMethod(
        worker.get(), [] {}, Qt::BlockingQueuedConnection);
}

ClipReaderCounters countersOf(const std::shared_ptr<ClipReaderWorker> &worker)
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
    const auto audio = pool.audioWorker(video);
    const auto worker = pool.videoWorker(video);
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

TEST_F(ClipReaderPoolTest, FramesAndReadersAskedForAheadAreReadyWhenUsed)
{
    pool.requestFrames({FrameRequest{video, 90 * kFrameUs, 0, 0}, FrameRequest{QString(), 0, 0, 0}});
    EXPECT_EQ(pool.workerCount(), 1);
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(video, 90 * kFrameUs, 0, 0)), 90);
    EXPECT_EQ(countersOf(pool.videoWorker(video)).seeks, 1);

    // Readers made ahead of use, in both roles.
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
    const auto worker = pool.videoWorker(video);
    // Asked on the worker's own thread, so no prefetch runs while the flag is read: a set flag
    // means another step is queued behind this call.
    bool queued = true;
    for (int rounds = 0; queued && rounds < 100; ++rounds)
        QMetaObject::invokeMethod(
            worker.get(), [&] { queued = worker->prefetchQueued(); }, Qt::BlockingQueuedConnection);
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

TEST_F(ClipReaderPoolTest, EachAudioReaderKeepsItsOwnPlaceInOneFile)
{
    const QString file = testmedia::path("short-video.mov");
    const std::vector<float> reference = testmedia::ffmpegAudio(file);
    std::vector<float> a(2 * 4800);
    std::vector<float> b(2 * 4800);
    for (TimeUs t = 0; t < 1'000'000; t += 100'000)
        ASSERT_EQ(pool.decodeAudio(file, t, 4800, 48000, a.data(), "clip-a"), 4800);
    // Clip B, a copy of the same file on another track, asks for 2.0 s and gets 2.0 s...
    ASSERT_EQ(pool.decodeAudio(file, 2'000'000, 4800, 48000, b.data(), "clip-b"), 4800);
    EXPECT_NEAR(double(testmedia::bestLag(b, reference, 90'000, 102'000)), 96'000.0, 1.0);
    // ...and clip A reads on from 1.0 s without a seek of its own.
    ASSERT_EQ(pool.decodeAudio(file, 1'000'000, 4800, 48000, a.data(), "clip-a"), 4800);
    EXPECT_NEAR(double(testmedia::bestLag(a, reference, 42'000, 54'000)), 48'000.0, 1.0);
    EXPECT_EQ(countersOf(pool.audioWorker(file, "clip-a")).audioSeeks, 1);
    EXPECT_EQ(pool.workerCount(), 2);
}

TEST_F(ClipReaderPoolTest, IdleOrUnusedFilesAreClosedAndReopenedOnTheNextRequest)
{
    const QStringList files = testmedia::copies("pattern.mp4", 3);
    std::vector<float> samples(2 * 480);
    for (const QString &file : files) {
        ASSERT_EQ(patternIndex(pool.decodeVideoNv12(file, 5 * kFrameUs, 0, 0)), 5);
        ASSERT_EQ(pool.decodeAudio(file, 0, 480, 48000, samples.data()), 480);
    }
    ASSERT_EQ(pool.workerCount(), 6);

    // The project dropped two of the files: their workers go, the third file's stay.
    const std::weak_ptr<ClipReaderWorker> dropped = pool.videoWorker(files[0]);
    pool.retainOnly({files[2]});
    EXPECT_EQ(pool.workerCount(), 2);
    EXPECT_TRUE(dropped.expired());
    EXPECT_NE(pool.audioWorker(files[2]), nullptr);

    // A worker in use survives a release until its caller lets go.
    std::shared_ptr<ClipReaderWorker> held = pool.videoWorker(files[2]);
    const std::weak_ptr<ClipReaderWorker> watched = held;
    pool.releaseIdle(0);
    EXPECT_EQ(pool.workerCount(), 0);
    EXPECT_EQ(patternIndex(held->decodeVideoNv12(7 * kFrameUs, 0, 0)), 7);
    held.reset();
    EXPECT_TRUE(watched.expired());

    // A later request opens the file again, on a fresh worker.
    EXPECT_EQ(patternIndex(pool.decodeVideoNv12(files[2], 9 * kFrameUs, 0, 0)), 9);
    settle(pool.videoWorker(files[2]));
    EXPECT_EQ(countersOf(pool.videoWorker(files[2])).openAttempts, 1);

    // Recent use keeps a worker through an idle check with a long limit.
    pool.releaseIdle(60'000);
    EXPECT_EQ(pool.workerCount(), 1);
}

TEST_F(ClipReaderPoolTest, AfterShutdownEveryCallIsEmptyAndNothingIsMade)
{
    ASSERT_EQ(patternIndex(pool.decodeVideoNv12(video, 3 * kFrameUs, 0, 0)), 3);
    std::shared_ptr<ClipReaderWorker> held = pool.videoWorker(video);
    pool.shutdown();
    EXPECT_EQ(pool.workerCount(), 0);
    // The caller that held a worker finishes its work on it.
    EXPECT_EQ(patternIndex(held->decodeVideoNv12(4 * kFrameUs, 0, 0)), 4);
    held.reset();

    std::vector<float> samples(64);
    EXPECT_FALSE(pool.decodeVideoNv12(video, 0, 0, 0).isValid());
    EXPECT_TRUE(pool.decodeVideo(video, 0, 0, 0).isNull());
    EXPECT_EQ(pool.decodeAudio(video, 0, 32, 48000, samples.data()), 0);
    pool.requestFrames({FrameRequest{video, 0, 0, 0}});
    pool.ensureReaders({video}, {video});
    EXPECT_EQ(pool.workerCount(), 0);
    pool.shutdown(); // a second time does nothing
}
