// The engine's transport against a worker that stands in for the GPU and a steady clock that the
// test moves by hand. No sound server is reachable, so the clock runs free.
#include "playback/PlaybackEngine.h"
#include "render/compositor/CompositorService.h"
#include "render/compositor/CompositorWorker.h"

#include <QMutex>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

using namespace orvel;

// Answers every request at once with a texture named after the request's number.
class RecordingWorker : public CompositorWorker
{
public:
    QList<std::pair<TimeUs, FrameCompositor::RenderOptions>> composites() const
    {
        QMutexLocker lock(&mutex);
        return done;
    }
    std::atomic<bool> emptyFrames{false};

protected:
    GpuFrameTexture renderFrame(const Project &, TimeUs t,
                                const FrameCompositor::RenderOptions &options) override
    {
        QMutexLocker lock(&mutex);
        done.append({t, options});
        return emptyFrames ? GpuFrameTexture{} : GpuFrameTexture{uint32_t(done.size()), QSize(64, 36)};
    }
    mutable QMutex mutex;
    QList<std::pair<TimeUs, FrameCompositor::RenderOptions>> done;
};

static QStringList warnings;

class PlaybackEngineTest : public testing::Test
{
protected:
    PlaybackEngineTest()
    {
        qputenv("PULSE_SERVER", "unix:/nonexistent/orvel-no-server"); // the steady clock is the test's
        QSettings().clear();
        warnings.clear();
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
            if (text.startsWith(QLatin1String("PlaybackEngine:")))
                warnings.append(text);
        });
        project.fps = 25;
        Clip clip;
        clip.type = ClipType::text;
        clip.timelineDurationUs = 2'000'000;
        project.tracks = {Track()};
        project.tracks[0].clips = {clip};
    }
    ~PlaybackEngineTest() override { qInstallMessageHandler(nullptr); }

    std::unique_ptr<PlaybackEngine> makeEngine()
    {
        worker = new RecordingWorker;
        auto engine = std::make_unique<PlaybackEngine>(worker, [this] { return steadyNs.load(); });
        engine->setProject(&project);
        return engine;
    }
    TimeUs lastTime() const { return worker->composites().last().first; }
    FrameCompositor::RenderOptions lastOptions() const { return worker->composites().last().second; }

    Project project; // 1920 x 1080
    std::atomic<std::int64_t> steadyNs{1'000'000'000};
    RecordingWorker *worker = nullptr;
};

TEST_F(PlaybackEngineTest, RenderOptionsFollowQualityPanelSizeAndTransport)
{
    auto engine = makeEngine();
    engine->setHiddenClipId("clip-a");
    FrameCompositor::RenderOptions stopped = engine->renderOptions();
    EXPECT_EQ(std::make_tuple(stopped.previewScale, stopped.maxEchoFrames, stopped.readAheadUs,
                              stopped.excludedClipId),
              std::make_tuple(1.0, -1, TimeUs(0), QString("clip-a")));
    // "full" is as many pixels as the panel shows, between 0.1 and 1; other qualities are fixed.
    const QList<std::tuple<QString, int, int, double>> cases = {
        {"full", 480, 270, 0.25}, {"full", 3840, 2160, 1.0}, {"full", 100, 20, 0.1},
        {"full", -5, 270, 1.0},   {"half", 480, 270, 0.5},   {"quarter", 0, 0, 0.25}};
    for (const auto &[quality, width, height, scale] : cases) {
        engine->setPreviewQuality(quality);
        engine->setPreviewRenderSize(width, height);
        EXPECT_DOUBLE_EQ(engine->renderOptions().previewScale, scale)
            << quality.toStdString() << " " << width;
    }

    engine->play();
    const FrameCompositor::RenderOptions playing = engine->renderOptions();
    EXPECT_EQ(std::make_tuple(playing.maxEchoFrames, playing.readAheadUs, playing.excludedClipId),
              std::make_tuple(12, TimeUs(2'000'000), QString()));
    engine->pause();
    QTest::qWait(40);
    // The pause frame has the stopped options; a composite without a texture keeps the last frame.
    EXPECT_EQ(lastOptions().maxEchoFrames, -1);
    const int shown = engine->previewTextureId();
    worker->emptyFrames = true;
    engine->seek(500'000);
    QTest::qWait(40);
    EXPECT_EQ(lastTime(), 500'000);
    EXPECT_EQ(engine->previewTextureId(), shown);
}

TEST_F(PlaybackEngineTest, QualityAndModeNamesAreCheckedStoredAndReadBack)
{
    {
        auto engine = makeEngine();
        engine->setPreviewQuality("ultra");
        engine->setPreviewQuality("FULL");
        engine->setPlaybackMode("slow");
        engine->setPlaybackMode("QUALITY");
        EXPECT_EQ(engine->previewQuality(), "full");
        EXPECT_EQ(engine->playbackMode(), "quality");
        EXPECT_EQ(warnings, QStringList({"PlaybackEngine: ignoring unknown preview quality 'ultra'",
                                         "PlaybackEngine: ignoring unknown playback mode 'slow'"}));
        engine->setPreviewQuality("Half");
    }
    auto reread = makeEngine(); // stored values come back; stored junk gives the defaults
    EXPECT_EQ(reread->previewQuality() + reread->playbackMode(), "halfquality");
    QSettings().setValue("preview/quality", "ultra");
    QSettings().setValue("preview/playbackMode", "FAST");
    auto fallback = makeEngine();
    EXPECT_EQ(fallback->previewQuality() + fallback->playbackMode(), "fullfast");
}

TEST_F(PlaybackEngineTest, QualityModeStepsOneFrameAtATimeToTheEnd)
{
    project.tracks[0].clips[0].timelineDurationUs = 400'000;
    auto engine = makeEngine();
    engine->setPlaybackMode("quality");
    QTest::qWait(40);
    const qsizetype before = worker->composites().size();
    engine->play();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !engine->isPlaying(); }, 5000));
    const auto composites = worker->composites().mid(before);
    ASSERT_GE(composites.size(), 10);
    for (qsizetype i = 0; i < 10; ++i)
        EXPECT_EQ(composites[i].first, TimeUs(i) * 40'000) << "request " << i; // 25 fps, every frame
    EXPECT_EQ(engine->playheadUs(), 400'000);
}

TEST_F(PlaybackEngineTest, FastModeRunsOnTheClockSeeksAndPausesAtTheEnd)
{
    auto engine = makeEngine();
    engine->seek(300'000);
    engine->play();
    steadyNs += 400'000'000; // no device: the first half second stands still
    QTest::qWait(40);
    EXPECT_EQ(engine->playheadUs(), 300'000);
    steadyNs += 600'000'000;
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return engine->playheadUs() == 800'000 && lastTime() == 800'000; }, 2000));
    EXPECT_EQ(lastOptions().maxEchoFrames, 12);

    engine->seek(1'500'000);
    steadyNs += 600'000'000;
    ASSERT_TRUE(QTest::qWaitFor([&] { return engine->playheadUs() == 1'600'000; }, 2000));
    steadyNs += 5'000'000'000;
    ASSERT_TRUE(QTest::qWaitFor([&] { return !engine->isPlaying(); }, 2000));
    EXPECT_EQ(engine->playheadUs(), 2'000'000);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return lastTime() == 2'000'000 && lastOptions().maxEchoFrames == -1; }, 2000));
}
