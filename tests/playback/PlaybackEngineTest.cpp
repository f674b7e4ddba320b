// The engine's transport against a worker that stands in for the GPU and a steady clock that the
// test moves by hand. The audio output finds no server here, so the clock runs free.
#include "playback/PlaybackEngine.h"
#include "render/CompositorService.h"
#include "render/CompositorWorker.h"

#include <QMutex>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>

using namespace orvel;

struct Composite
{
    TimeUs timeUs = 0;
    FrameCompositor::RenderOptions options;
};

// Draws nothing; answers every request at once with a texture named after the request's number.
class RecordingWorker : public CompositorWorker
{
public:
    QList<Composite> composites() const
    {
        QMutexLocker lock(&m_mutex);
        return m_composites;
    }
    std::atomic<bool> emptyFrames{false};

protected:
    GpuFrameTexture renderFrame(const Project &, TimeUs timeUs,
                                const FrameCompositor::RenderOptions &options) override
    {
        QMutexLocker lock(&m_mutex);
        m_composites.append({timeUs, options});
        if (emptyFrames.load())
            return {};
        return GpuFrameTexture{uint32_t(m_composites.size()), QSize(64, 36)};
    }

private:
    mutable QMutex m_mutex;
    QList<Composite> m_composites;
};

namespace {

QStringList &engineWarnings()
{
    static QStringList warnings;
    return warnings;
}

void keepEngineWarnings(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("PlaybackEngine:")))
        engineWarnings().append(message);
}

Project projectOf(TimeUs durationUs, int fps)
{
    Project project;
    project.width = 1920;
    project.height = 1080;
    project.fps = fps;
    Clip clip;
    clip.id = newUuid();
    clip.type = ClipType::text;
    clip.timelineDurationUs = durationUs;
    project.tracks = {Track()};
    project.tracks[0].type = TrackType::text;
    project.tracks[0].clips = {clip};
    return project;
}

} // namespace

class PlaybackEngineTest : public testing::Test
{
protected:
    PlaybackEngineTest()
    {
        // Never a real sound server, even where one runs: the steady clock here is the test's.
        qputenv("PULSE_SERVER", "unix:/nonexistent/orvel-no-server");
        QSettings().clear();
        engineWarnings().clear();
        m_previousHandler = qInstallMessageHandler(keepEngineWarnings);
    }
    ~PlaybackEngineTest() override { qInstallMessageHandler(m_previousHandler); }

    std::unique_ptr<PlaybackEngine> makeEngine(const Project *project)
    {
        worker = new RecordingWorker;
        auto engine = std::make_unique<PlaybackEngine>(worker, [this] { return steadyNs.load(); });
        engine->setProject(project);
        return engine;
    }

    // Lets queued composites, ticks and the end check's pause run.
    static void settle(int ms = 40) { QTest::qWait(ms); }

    std::atomic<std::int64_t> steadyNs{1'000'000'000};
    RecordingWorker *worker = nullptr;

private:
    QtMessageHandler m_previousHandler = nullptr;
};

TEST_F(PlaybackEngineTest, RenderOptionsFollowQualityPanelSizeAndTransport)
{
    const Project project = projectOf(2'000'000, 30);
    auto engine = makeEngine(&project);

    // Stopped: no echo, no read-ahead, and the hidden clip is left out.
    engine->setHiddenClipId(QStringLiteral("clip-a"));
    FrameCompositor::RenderOptions stopped = engine->renderOptions();
    EXPECT_DOUBLE_EQ(stopped.previewScale, 1.0);
    EXPECT_EQ(stopped.maxEchoFrames, -1);
    EXPECT_EQ(stopped.readAheadUs, 0);
    EXPECT_EQ(stopped.excludedClipId, QStringLiteral("clip-a"));

    // "full" is as many pixels as the panel shows, never more than the project, never below 0.1.
    engine->setPreviewRenderSize(480, 270);
    EXPECT_DOUBLE_EQ(engine->renderOptions().previewScale, 0.25);
    engine->setPreviewRenderSize(3840, 2160);
    EXPECT_DOUBLE_EQ(engine->renderOptions().previewScale, 1.0);
    engine->setPreviewRenderSize(100, 20);
    EXPECT_DOUBLE_EQ(engine->renderOptions().previewScale, 0.1);
    engine->setPreviewRenderSize(-5, 270); // no panel size: the quality alone decides
    EXPECT_DOUBLE_EQ(engine->renderOptions().previewScale, 1.0);
    engine->setPreviewQuality(QStringLiteral("half"));
    EXPECT_DOUBLE_EQ(engine->renderOptions().previewScale, 0.5);
    engine->setPreviewQuality(QStringLiteral("quarter"));
    engine->setPreviewRenderSize(480, 270);
    EXPECT_DOUBLE_EQ(engine->renderOptions().previewScale, 0.25);

    engine->play();
    const FrameCompositor::RenderOptions playing = engine->renderOptions();
    EXPECT_EQ(playing.maxEchoFrames, 12);
    EXPECT_EQ(playing.readAheadUs, 2'000'000);
    EXPECT_TRUE(playing.excludedClipId.isEmpty());
    engine->pause();

    // The pause frame is asked for with the stopped options, at the quality's own scale.
    settle();
    const Composite last = worker->composites().last();
    EXPECT_EQ(last.options.maxEchoFrames, -1);
    EXPECT_EQ(last.options.readAheadUs, 0);
    EXPECT_EQ(last.options.excludedClipId, QStringLiteral("clip-a"));
    EXPECT_TRUE(engine->hasFrame());
    EXPECT_EQ(engine->previewTextureSize(), QSize(64, 36));

    // A composite that yields nothing leaves the last frame in place.
    const int shown = engine->previewTextureId();
    worker->emptyFrames = true;
    engine->seek(500'000);
    settle();
    EXPECT_EQ(worker->composites().last().timeUs, 500'000);
    EXPECT_EQ(engine->previewTextureId(), shown);
    EXPECT_TRUE(engine->hasFrame());
}

TEST_F(PlaybackEngineTest, QualityAndModeNamesAreCheckedStoredAndReadBack)
{
    const Project project = projectOf(2'000'000, 30);
    {
        auto engine = makeEngine(&project);
        EXPECT_EQ(engine->previewQuality(), QStringLiteral("full"));
        EXPECT_EQ(engine->playbackMode(), QStringLiteral("fast"));
        QSignalSpy qualityChanged(engine.get(), &PlaybackEngine::previewQualityChanged);

        engine->setPreviewQuality(QStringLiteral("ultra"));
        EXPECT_EQ(engine->previewQuality(), QStringLiteral("full"));
        ASSERT_EQ(engineWarnings().size(), 1);
        EXPECT_EQ(engineWarnings().first(),
                  QStringLiteral("PlaybackEngine: ignoring unknown preview quality 'ultra'"));

        engine->setPreviewQuality(QStringLiteral("FULL")); // unchanged once lower-cased
        EXPECT_EQ(qualityChanged.count(), 0);
        engine->setPreviewQuality(QStringLiteral("Half"));
        EXPECT_EQ(engine->previewQuality(), QStringLiteral("half"));
        EXPECT_EQ(qualityChanged.count(), 1);

        engine->setPlaybackMode(QStringLiteral("slow"));
        EXPECT_EQ(engineWarnings().last(),
                  QStringLiteral("PlaybackEngine: ignoring unknown playback mode 'slow'"));
        engine->setPlaybackMode(QStringLiteral("QUALITY"));
        EXPECT_EQ(engine->playbackMode(), QStringLiteral("quality"));
    }
    EXPECT_EQ(QSettings().value(QStringLiteral("preview/quality")).toString(), QStringLiteral("half"));

    // A new engine reads the stored values back; stored junk falls back to the defaults.
    auto reread = makeEngine(&project);
    EXPECT_EQ(reread->previewQuality(), QStringLiteral("half"));
    EXPECT_EQ(reread->playbackMode(), QStringLiteral("quality"));
    QSettings().setValue(QStringLiteral("preview/quality"), QStringLiteral("ultra"));
    QSettings().setValue(QStringLiteral("preview/playbackMode"), QStringLiteral("FAST"));
    auto fallback = makeEngine(&project);
    EXPECT_EQ(fallback->previewQuality(), QStringLiteral("full"));
    EXPECT_EQ(fallback->playbackMode(), QStringLiteral("fast"));
}

TEST_F(PlaybackEngineTest, QualityModeShowsEveryFrameAndStopsAtTheEnd)
{
    const Project project = projectOf(400'000, 25);
    auto engine = makeEngine(&project);
    engine->setPlaybackMode(QStringLiteral("quality"));
    QSignalSpy playing(engine.get(), &PlaybackEngine::playingChanged);
    settle();
    const qsizetype before = worker->composites().size();

    engine->play();
    // However long a frame takes, each one is 40,000 us after the last, and every one is drawn.
    ASSERT_TRUE(QTest::qWaitFor([&] { return !engine->isPlaying(); }, 5000));
    QList<TimeUs> times;
    for (const Composite &composite : worker->composites().mid(before))
        times.append(composite.timeUs);
    ASSERT_GE(times.size(), 10);
    for (qsizetype i = 0; i < 10; ++i)
        EXPECT_EQ(times[i], TimeUs(i) * 40'000) << "request " << i;
    EXPECT_EQ(engine->playheadUs(), 400'000);
    EXPECT_EQ(playing.count(), 2);
}

TEST_F(PlaybackEngineTest, FastModeRunsOnTheClockAndPausesAtTheEnd)
{
    const Project project = projectOf(2'000'000, 30);
    auto engine = makeEngine(&project);
    engine->seek(300'000);
    engine->play();
    ASSERT_TRUE(engine->isPlaying());

    // No device reports here: the first half second stands still, then time runs free.
    steadyNs += 400'000'000;
    settle();
    EXPECT_EQ(engine->playheadUs(), 300'000);
    steadyNs += 600'000'000;
    ASSERT_TRUE(QTest::qWaitFor([&] { return engine->playheadUs() == 800'000; }, 2000));
    // Frames are asked for at the clock's time, with the playing options.
    ASSERT_TRUE(QTest::qWaitFor([&] { return worker->composites().last().timeUs == 800'000; }, 2000));
    EXPECT_EQ(worker->composites().last().options.maxEchoFrames, 12);

    // A seek while playing carries on from the new place.
    engine->seek(1'500'000);
    steadyNs += 600'000'000;
    ASSERT_TRUE(QTest::qWaitFor([&] { return engine->playheadUs() == 1'600'000; }, 2000));

    // Past the end the playhead stops on the end itself and the engine pauses.
    steadyNs += 5'000'000'000;
    ASSERT_TRUE(QTest::qWaitFor([&] { return !engine->isPlaying(); }, 2000));
    EXPECT_EQ(engine->playheadUs(), 2'000'000);
    settle();
    EXPECT_EQ(worker->composites().last().timeUs, 2'000'000);
    EXPECT_EQ(worker->composites().last().options.maxEchoFrames, -1);
}
