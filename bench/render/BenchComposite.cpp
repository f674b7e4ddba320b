// Whole frames of a 1080p project through FrameCompositor::render, the export path: three video
// layers, one scaled and turned, one masked with a feather, one in screen mode. Each frame's
// decodes are waited for first, so the time splits into decoding, scene building, GL drawing and
// read-back. Needs a display with OpenGL (run under xvfb-run); on llvmpipe the frame rate is
// informational and the shares show where the time goes.
#include "core/document/timing/ClipTiming.h"
#include "core/document/animation/Keyframes.h"
#include "media/decode/ClipReaderPool.h"
#include "render/scene/FrameCompositor.h"
#include "render/gl/GlRuntime.h"
#include "render/compositor/GpuCompositor.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <benchmark/benchmark.h>

#include <chrono>

namespace {

constexpr int kCompositeFrames = 300;
constexpr orvel::TimeUs kCompositeFrameUs = 40'000; // 25 fps

// Twelve seconds of 1080p test pattern per layer, hue-shifted so the layers differ. Made once
// and kept in the temporary folder between runs.
QString compositeSource(int index)
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

orvel::Clip compositeClip(const QString &id, const QString &path)
{
    orvel::Clip clip;
    clip.id = id;
    clip.type = orvel::ClipType::video;
    clip.path = path;
    clip.timelineDurationUs = kCompositeFrames * kCompositeFrameUs;
    clip.srcOutUs = clip.timelineDurationUs;
    return clip;
}

orvel::Project compositeProject(const QStringList &paths)
{
    orvel::Clip screen = compositeClip("screen", paths[0]);
    screen.blendMode = orvel::BlendMode::screen;
    orvel::Clip turned = compositeClip("turned", paths[1]);
    turned.x = orvel::constantProperty(240);
    turned.y = orvel::constantProperty(160);
    turned.width = orvel::constantProperty(960);
    turned.height = orvel::constantProperty(540);
    turned.rotation = orvel::constantProperty(20);
    orvel::Clip masked = compositeClip("masked", paths[2]);
    masked.mask.shape = orvel::MaskShape::ellipse;
    masked.mask.w = 0.8;
    masked.mask.h = 0.8;
    masked.mask.feather = 6;
    orvel::Project project;
    project.width = 1920;
    project.height = 1080;
    project.tracks.clear(); // a new project comes with empty tracks of its own
    for (const orvel::Clip &clip : {screen, turned, masked}) {
        orvel::Track track;
        track.clips = {clip};
        project.tracks.append(track);
    }
    return project;
}

double nsSince(std::chrono::steady_clock::time_point start)
{
    return double(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start)
            .count());
}

void BM_Composite1080p(benchmark::State &state)
{
    if (!GlRuntime::instance().ensureStarted()) {
        state.SkipWithError("no OpenGL: run under xvfb-run");
        return;
    }
    QStringList paths;
    for (int i = 0; i < 3; ++i)
        paths.append(compositeSource(i));
    if (paths.contains(QString())) {
        state.SkipWithError("ffmpeg could not make the test videos");
        return;
    }
    const orvel::Project project = compositeProject(paths);
    orvel::FrameCompositor compositor(&project);
    const orvel::FrameCompositor::RenderOptions options;
    orvel::ClipReaderPool &pool = orvel::ClipReaderPool::instance();
    // Compiles the programs, fills the pools and opens the readers: start-up, not throughput.
    compositor.render(0, options);

    double decodeNs = 0, renderNs = 0, drawNs = 0, readbackNs = 0;
    int64_t frames = 0;
    for (auto _ : state) {
        const orvel::TimeUs t = (frames % kCompositeFrames) * kCompositeFrameUs;
        auto start = std::chrono::steady_clock::now();
        compositor.prepare(t, options);
        for (const orvel::Track &track : project.tracks)
            pool.decodeVideoNv12(track.clips[0].path, orvel::clipSourceTimeUs(track.clips[0], t), 1920, 1080);
        decodeNs += nsSince(start);
        start = std::chrono::steady_clock::now();
        const QImage frame = compositor.render(t, options);
        renderNs += nsSince(start);
        if (frame.isNull()) {
            state.SkipWithError("no frame was drawn");
            return;
        }
        const orvel::GpuCompositor::RenderTimings timings = orvel::GpuCompositor::lastRenderTimings();
        drawNs += double(timings.drawNs);
        readbackNs += double(timings.readbackNs);
        benchmark::DoNotOptimize(frame.constBits());
        ++frames;
    }
    const double totalNs = decodeNs + renderNs;
    state.counters["composite_fps"] = double(frames) * 1e9 / totalNs;
    state.counters["decode_share"] = decodeNs / totalNs;
    state.counters["scene_share"] = (renderNs - drawNs - readbackNs) / totalNs;
    state.counters["gl_share"] = drawNs / totalNs;
    state.counters["readback_share"] = readbackNs / totalNs;
}
BENCHMARK(BM_Composite1080p)->Iterations(kCompositeFrames)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
