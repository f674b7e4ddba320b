// Building the scene of one 1920x1080 frame with eight video layers whose frames the decoders
// already hold, so only the scene building itself is measured: keyframes, opacity, transitions
// and collecting the cached NV12 frames. Reported as scene_build_us, the mean per frame.
#include "core/document/animation/Keyframes.h"
#include "render/scene/FrameCompositor.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <chrono>

namespace {

constexpr int kLayerCount = 8;
constexpr orvel::TimeUs kFrameTimeUs = 500'000;
constexpr int kWarmUpRounds = 30; // more than the 13 frames from kFrameTimeUs to the file's end

// One second of 1080p video, copied once for each layer so that every layer has its own decoder.
QStringList benchVideos(const QTemporaryDir &dir)
{
    const QString first = QDir(dir.path()).filePath("layer0.mp4");
    const int rc = QProcess::execute(
        "ffmpeg", {"-v", "error", "-y", "-f", "lavfi", "-i", "testsrc=size=1920x1080:rate=25:duration=1",
                   "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", first});
    if (rc != 0)
        return {};
    QStringList paths{first};
    for (int i = 1; i < kLayerCount; ++i) {
        paths.append(QDir(dir.path()).filePath(QStringLiteral("layer%1.mp4").arg(i)));
        QFile::copy(first, paths.last());
    }
    return paths;
}

// Eight tracks, each with one moving, fading video clip: the work of a busy picture-in-picture.
orvel::Project benchProject(const QStringList &videos)
{
    orvel::Project project;
    project.tracks.clear();
    for (int i = 0; i < videos.size(); ++i) {
        orvel::Clip clip;
        clip.id = QStringLiteral("clip%1").arg(i);
        clip.path = videos[i];
        clip.timelineDurationUs = 1'000'000;
        clip.srcOutUs = 1'000'000;
        clip.fadeInUs = 800'000;
        clip.x = orvel::constantProperty(40.0 * i);
        orvel::setAt(clip.x, 1'000'000, 40.0 * i + 300.0);
        clip.y = orvel::constantProperty(20.0 * i);
        clip.width = orvel::constantProperty(960);
        clip.height = orvel::constantProperty(540);
        orvel::Track track;
        track.clips = {clip};
        project.tracks.append(track);
    }
    return project;
}

int validLayers(const orvel::GpuScene &scene)
{
    int count = 0;
    for (const orvel::GpuSceneEntry &entry : scene.entries)
        count += entry.layer.valid && !entry.layer.nv12.isEmpty() ? 1 : 0;
    return count;
}

void BM_SceneBuild(benchmark::State &state)
{
    QTemporaryDir dir;
    const QStringList videos = benchVideos(dir);
    if (videos.size() != kLayerCount) {
        state.SkipWithError("ffmpeg could not make the test video");
        return;
    }
    const orvel::Project project = benchProject(videos);
    orvel::FrameCompositor compositor(&project);
    const orvel::FrameCompositor::RenderOptions options;
    // The first frame opens the files and decodes. Every fetch also lets its decoder read one
    // frame further ahead; once that has run into the end of the short file the decoders are
    // idle and every frame comes from their caches.
    orvel::GpuScene scene;
    for (int round = 0; round < kWarmUpRounds; ++round)
        compositor.prepare(kFrameTimeUs, options, &scene);
    if (validLayers(scene) != kLayerCount) {
        state.SkipWithError("not every layer was decoded");
        return;
    }
    const QSize size = orvel::FrameCompositor::outputSize(project, 1.0);
    double seconds = 0.0;
    int64_t built = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        scene = compositor.buildScene(kFrameTimeUs, size, 1.0, options);
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        benchmark::DoNotOptimize(scene.entries.data());
        ++built;
    }
    if (validLayers(scene) != kLayerCount)
        state.SkipWithError("a cached frame went missing");
    if (built > 0)
        state.counters["scene_build_us"] = seconds * 1e6 / double(built);
}
BENCHMARK(BM_SceneBuild)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
