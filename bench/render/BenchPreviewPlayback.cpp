// The timeline preview playing as the editor plays it: PlaybackEngine with its timers, the
// compositor service and the GL thread, over 10 s of a 1080p project of three video layers. No
// sound server is reachable, so the clock runs free after its first half second.
//   preview_fps            frames that reached the screen per second of wall time, fast mode at "half"
//   preview_dropped_share  the share of the project's own frames (25 per second) that were never shown
//   quality_fps            frames per second in quality mode, which shows every frame
// Needs a display with OpenGL (run under xvfb-run); on llvmpipe the figures are informational.
#include "playback/PlaybackEngine.h"
#include "render/gl/GlRuntime.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTimer>

#include <benchmark/benchmark.h>

namespace {

constexpr orvel::TimeUs kPlaybackUs = 10'000'000;
constexpr int kPlaybackFps = 25;

// The same 1080p layers as the composite benchmark, kept in the temporary folder between runs.
QString playbackLayer(int index)
{
    const QString dir = QDir::temp().filePath("orvel-bench-composite");
    QDir().mkpath(dir);
    const QString path = QDir(dir).filePath(QString("layer%1.mp4").arg(index));
    if (QFile::exists(path))
        return path;
    const QString source = QString("testsrc2=s=1920x1080:r=25:d=12,hue=h=%1").arg(index * 120);
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-v", "error", "-y", "-f", "lavfi", "-i", source, "-pix_fmt", "yuv420p", "-c:v",
                            "libx264", "-preset", "veryfast", "-g", "50", path + ".part.mp4"});
    if (!ffmpeg.waitForFinished(600000) || ffmpeg.exitCode() != 0)
        return {};
    QFile::rename(path + ".part.mp4", path);
    return path;
}

// Three full-frame layers, the upper two at half size in opposite corners so all three show.
bool playbackProject(orvel::Project &project)
{
    project.width = 1920;
    project.height = 1080;
    project.fps = kPlaybackFps;
    project.tracks.clear();
    for (int i = 0; i < 3; ++i) {
        const QString path = playbackLayer(i);
        if (path.isEmpty())
            return false;
        orvel::Clip clip;
        clip.id = QString("layer%1").arg(i);
        clip.type = orvel::ClipType::video;
        clip.path = path;
        clip.timelineDurationUs = kPlaybackUs;
        clip.srcOutUs = kPlaybackUs;
        if (i < 2) {
            clip.x = orvel::constantProperty(i == 0 ? 0 : 960);
            clip.y = orvel::constantProperty(i == 0 ? 0 : 540);
            clip.width = orvel::constantProperty(960);
            clip.height = orvel::constantProperty(540);
        }
        orvel::Track track;
        track.clips = {clip};
        project.tracks.append(track);
    }
    return true;
}

struct PlayResult
{
    int shownFrames = 0;
    double wallSeconds = 0.0;
};

// Plays from `fromUs` to the end and counts the frames that reached the engine.
PlayResult playToEnd(orvel::PlaybackEngine &engine, orvel::TimeUs fromUs)
{
    PlayResult result;
    engine.seek(fromUs);
    QEventLoop settle;
    QTimer::singleShot(500, &settle, &QEventLoop::quit);
    settle.exec(); // the stopped frame at the start is not part of the play
    QObject counter;
    QObject::connect(&engine, &orvel::PlaybackEngine::currentFrameChanged, &counter,
                     [&result] { ++result.shownFrames; });
    QEventLoop loop;
    QObject::connect(&engine, &orvel::PlaybackEngine::playingChanged, &loop, [&] {
        if (!engine.isPlaying())
            loop.quit();
    });
    QElapsedTimer wall;
    wall.start();
    engine.play();
    loop.exec();
    result.wallSeconds = double(wall.nsecsElapsed()) / 1e9;
    return result;
}

void BM_PreviewPlayback(benchmark::State &state)
{
    qputenv("PULSE_SERVER", "unix:/nonexistent/orvel-bench-no-server");
    if (!GlRuntime::instance().ensureStarted()) {
        state.SkipWithError("no OpenGL: run under xvfb-run");
        return;
    }
    orvel::Project project;
    if (!playbackProject(project)) {
        state.SkipWithError("ffmpeg could not make the test videos");
        return;
    }
    orvel::PlaybackEngine engine;
    engine.setProject(&project);
    engine.setPreviewQuality("half");
    PlayResult fast;
    PlayResult quality;
    for (auto _ : state) {
        engine.setPlaybackMode("fast");
        fast = playToEnd(engine, 0);
        // Quality mode over the last two seconds: every frame is drawn, however long it takes.
        engine.setPlaybackMode("quality");
        quality = playToEnd(engine, kPlaybackUs - 2'000'000);
    }
    engine.setPlaybackMode("fast");
    const double projectFrames = double(kPlaybackUs) / 1e6 * kPlaybackFps;
    // The free clock stands still for its first half second; that is not the preview's doing.
    state.counters["preview_fps"] = fast.shownFrames / std::max(fast.wallSeconds - 0.5, 1e-3);
    state.counters["preview_dropped_share"] = std::max(0.0, 1.0 - fast.shownFrames / projectFrames);
    state.counters["quality_fps"] = quality.shownFrames / std::max(quality.wallSeconds, 1e-3);
    state.counters["reference_fps"] = kPlaybackFps;
}
BENCHMARK(BM_PreviewPlayback)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
