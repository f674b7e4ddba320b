// Import throughput of AssetLibrary on 100 short clips, against running ffprobe over the same
// files one after the other. Posters and strips are timed apart, since ffprobe makes none.
#include "media/assets/AssetLibrary.h"
#include "media/assets/Thumbnails.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <benchmark/benchmark.h>

namespace {

constexpr int kImportFileCount = 100;

struct ImportBenchFiles
{
    QTemporaryDir dir;
    QList<QUrl> urls;
    QStringList paths;
    bool ok = false;
};

// One 160x90, one-second H.264 + AAC clip, copied under 100 names; made once per process.
const ImportBenchFiles &importBenchFiles()
{
    static ImportBenchFiles files = [] {
        ImportBenchFiles made;
        qputenv("XDG_CACHE_HOME", QDir(made.dir.path()).filePath("cache").toUtf8());
        const QString source = QDir(made.dir.path()).filePath("source.mp4");
        const int code = QProcess::execute(
            "ffmpeg", {"-hide_banner", "-loglevel", "error",     "-y",
                       "-f",           "lavfi",     "-i",        "testsrc=size=160x90:rate=25:duration=1",
                       "-f",           "lavfi",     "-i",        "sine=sample_rate=48000:duration=1",
                       "-c:v",         "libx264",   "-pix_fmt",  "yuv420p",
                       "-c:a",         "aac",       "-shortest", source});
        made.ok = code == 0;
        for (int i = 0; made.ok && i < kImportFileCount; ++i) {
            const QString copy = QDir(made.dir.path()).filePath(QStringLiteral("clip%1.mp4").arg(i));
            made.ok = QFile::copy(source, copy);
            made.paths << copy;
            made.urls << QUrl::fromLocalFile(copy);
        }
        return made;
    }();
    return files;
}

void waitForImports(AssetLibrary &library)
{
    QEventLoop loop;
    QObject::connect(&library, &AssetLibrary::importingChanged, &loop, [&] {
        if (!library.importing())
            loop.quit();
    });
    if (library.importing())
        loop.exec();
}

void waitForMetadataChanges(AssetLibrary &library, int expected)
{
    QEventLoop loop;
    int seen = 0;
    QObject::connect(&library, &AssetLibrary::assetMetadataChanged, &loop, [&] {
        if (++seen == expected)
            loop.quit();
    });
    loop.exec();
}

// Seconds for AssetLibrary to turn 100 files into complete rows, without posters or strips.
double timeImportSeconds(const ImportBenchFiles &files)
{
    orvel::Project project;
    AssetLibrary library;
    library.setCacheFilesOnImport(false);
    library.setProject(&project);
    QElapsedTimer timer;
    timer.start();
    library.importUrls(files.urls);
    waitForImports(library);
    return double(timer.nsecsElapsed()) / 1e9;
}

double timeFfprobeSeconds(const ImportBenchFiles &files)
{
    QElapsedTimer timer;
    timer.start();
    for (const QString &path : files.paths)
        QProcess::execute("ffprobe",
                          {"-v", "error", "-show_format", "-show_streams", "-o", "/dev/null", path});
    return double(timer.nsecsElapsed()) / 1e9;
}

void BM_ImportHundredClipsVsFfprobe(benchmark::State &state)
{
    const ImportBenchFiles &files = importBenchFiles();
    if (!files.ok || QStandardPaths::findExecutable("ffprobe").isEmpty()) {
        state.SkipWithError("ffmpeg/ffprobe missing or sample generation failed");
        return;
    }
    const double ffprobeSeconds = timeFfprobeSeconds(files);
    double importSeconds = 0.0;
    for (auto _ : state) {
        const double seconds = timeImportSeconds(files);
        state.SetIterationTime(seconds);
        importSeconds += seconds;
    }
    importSeconds /= double(state.iterations());
    state.counters["import_ms"] = importSeconds * 1e3;
    state.counters["ffprobe_ms"] = ffprobeSeconds * 1e3;
    state.counters["probe_vs_ffprobe"] = importSeconds / ffprobeSeconds;
}
BENCHMARK(BM_ImportHundredClipsVsFfprobe)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

// Posters and strips for the same 100 clips, made by ensureAllMedia into an empty cache.
void BM_PostersAndStripsHundredClips(benchmark::State &state)
{
    const ImportBenchFiles &files = importBenchFiles();
    if (!files.ok) {
        state.SkipWithError("sample generation failed");
        return;
    }
    double totalSeconds = 0.0;
    for (auto _ : state) {
        QDir(orvel::thumbnailCacheDir()).removeRecursively();
        QDir().mkpath(orvel::thumbnailCacheDir());
        orvel::Project project;
        AssetLibrary library;
        library.setCacheFilesOnImport(false);
        library.setProject(&project);
        library.importUrls(files.urls);
        waitForImports(library);
        QElapsedTimer timer;
        timer.start();
        library.ensureAllMedia();
        waitForMetadataChanges(library, kImportFileCount);
        const double seconds = double(timer.nsecsElapsed()) / 1e9;
        state.SetIterationTime(seconds);
        totalSeconds += seconds;
    }
    const double meanSeconds = totalSeconds / double(state.iterations());
    state.counters["posters_strips_ms"] = meanSeconds * 1e3;
    state.counters["per_clip_ms"] = meanSeconds * 1e3 / kImportFileCount;
}
BENCHMARK(BM_PostersAndStripsHundredClips)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
