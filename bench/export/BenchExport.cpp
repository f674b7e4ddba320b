// The "bench-1" edit exported by orvel-render against the same edit rendered by one ffmpeg
// filter graph, run alternately in one process so both see the same machine load. Each side is
// a child process, timed on the wall clock, with its peak resident memory from wait4.
//
// Needs a display for OpenGL (xvfb-run -a here). The media are generated once into
// $ORVEL_BENCH_MEDIA (default /tmp/bench-media) by bench-1/make-media.sh.
#include "core/document/json/ProjectJson.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>

#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

using namespace orvel;

namespace {

const QString kScripts = QStringLiteral(ORVEL_BENCH1_DIR);

QString mediaDir()
{
    const QString dir = qEnvironmentVariable("ORVEL_BENCH_MEDIA");
    return dir.isEmpty() ? QStringLiteral("/tmp/bench-media") : dir;
}

struct ChildRun
{
    bool ok = false;
    double seconds = 0.0;
    double peakRssMib = 0.0;
};

// Runs a program to its end, quietly; wait4 gives the peak memory of that one child.
ChildRun runChild(const QStringList &command)
{
    std::vector<QByteArray> bytes;
    for (const QString &word : command)
        bytes.push_back(word.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &word : bytes)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    QElapsedTimer clock;
    clock.start();
    const pid_t pid = fork();
    if (pid == 0) {
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    struct rusage usage = {};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid)
        return {};
    return {WIFEXITED(status) && WEXITSTATUS(status) == 0, double(clock.nsecsElapsed()) / 1e9,
            double(usage.ru_maxrss) / 1024.0};
}

Clip clipOf(ClipType type, const QString &id, const QString &path, TimeUs startUs, TimeUs durationUs)
{
    Clip clip;
    clip.id = id;
    clip.type = type;
    clip.path = path;
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = durationUs;
    clip.srcOutUs = durationUs;
    return clip;
}

Track trackOf(TrackType type, const QList<Clip> &clips)
{
    Track track;
    track.type = type;
    track.clips = clips;
    return track;
}

// The edit of bench-1/README.md: A then B with a 2 s dissolve, a half-transparent logo, a title
// for the first 5 s and music 6 dB down for the first 20 s; 1920x1080 at 30 fps, 48 kHz.
Project bench1Project(const QDir &media)
{
    const Clip a = clipOf(ClipType::video, "A", media.filePath("A.mp4"), 0, 17'000'000);
    const Clip b = clipOf(ClipType::video, "B", media.filePath("B.mp4"), 15'000'000, 15'000'000);
    Track main = trackOf(TrackType::video, {a, b});
    main.transitions = {Transition{"A-B", "A", "B", QStringLiteral("crossfade"), {}, 2'000'000}};

    Clip logo = clipOf(ClipType::image, "logo", media.filePath("logo.png"), 0, 30'000'000);
    logo.x = constantProperty(1632);
    logo.y = constantProperty(32);
    logo.width = constantProperty(256);
    logo.height = constantProperty(256);
    logo.opacity = constantProperty(0.5);

    Clip title = clipOf(ClipType::text, "title", {}, 0, 5'000'000);
    title.textContent = QStringLiteral("Hello");
    title.textStyle.fontFamily = QStringLiteral("DejaVu Sans");
    title.textStyle.pixelSize = 160;
    title.textStyle.fontWeight = 700;
    title.textStyle.color = Qt::white;
    title.textStyle.outlineWidth = 4;
    title.textStyle.outlineColor = Qt::black;

    Clip music = clipOf(ClipType::audio, "music", media.filePath("music.wav"), 0, 20'000'000);
    music.volume = constantProperty(0.5012); // -6 dB

    Project project;
    project.name = QStringLiteral("bench-1");
    project.width = 1920;
    project.height = 1080;
    project.fps = 30;
    project.sampleRate = 48000;
    project.tracks = {trackOf(TrackType::text, {title}), trackOf(TrackType::video, {logo}), main,
                      trackOf(TrackType::audio, {music})};
    return project;
}

// Media made and the project written once per run; empty with a reason on failure.
QString prepare(QString *projectPath)
{
    const QDir media(mediaDir());
    if (!media.exists("A.mp4") &&
        QProcess::execute("env", {"MEDIA=" + media.path(), "bash", kScripts + "/make-media.sh"}) != 0)
        return QStringLiteral("make-media.sh failed");
    *projectPath = media.filePath("bench-1.json");
    QFile file(*projectPath);
    if (!file.open(QIODevice::WriteOnly))
        return QStringLiteral("cannot write ") + *projectPath;
    file.write(QJsonDocument(projectToJson(bench1Project(media))).toJson());
    return {};
}

void BM_ExportBench1(benchmark::State &state)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        state.SkipWithError("needs a display for OpenGL: run under xvfb-run -a");
        return;
    }
    QString project;
    const QString problem = prepare(&project);
    if (!problem.isEmpty()) {
        state.SkipWithError(qPrintable(problem));
        return;
    }
    const QDir media(mediaDir());
    const QString orvelOut = media.filePath("out-orvel.mp4");
    const QString ffmpegOut = media.filePath("out-ffmpeg.mp4");
    ChildRun orvel, reference;
    int rounds = 0;
    for (auto _ : state) {
        const ChildRun o = runChild({QStringLiteral(ORVEL_RENDER_CLI), project, "--export", orvelOut,
                                     "--video-codec", "h264", "--crf", "23", "--preset", "medium",
                                     "--audio-codec", "aac", "--audio-bitrate", "192", "--quiet"});
        const ChildRun f =
            runChild({"env", "MEDIA=" + media.path(), "bash", kScripts + "/ffmpeg-reference.sh", ffmpegOut});
        if (!o.ok || !f.ok) {
            state.SkipWithError(!o.ok ? "orvel-render failed" : "the ffmpeg reference failed");
            return;
        }
        state.SetIterationTime(o.seconds);
        orvel.seconds += o.seconds;
        reference.seconds += f.seconds;
        orvel.peakRssMib = std::max(orvel.peakRssMib, o.peakRssMib);
        reference.peakRssMib = std::max(reference.peakRssMib, f.peakRssMib);
        ++rounds;
    }
    const double frames = 900.0 * rounds;
    state.counters["export_fps"] = frames / orvel.seconds;
    state.counters["ffmpeg_fps"] = frames / reference.seconds;
    state.counters["export_vs_ffmpeg"] = orvel.seconds / reference.seconds;
    state.counters["export_peak_rss_mib"] = orvel.peakRssMib;
    state.counters["ffmpeg_peak_rss_mib"] = reference.peakRssMib;
    state.counters["rss_vs_ffmpeg"] = orvel.peakRssMib / reference.peakRssMib;
}

} // namespace

// Each round is a whole 30 s film on both sides: one round is already a long measurement.
BENCHMARK(BM_ExportBench1)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
