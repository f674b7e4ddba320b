// Memory of the decoder pool: many 1080p files touched once each and then left alone must not
// keep their decoders, threads and frames. Reports resident memory in MiB before, while the
// files are open, and after the pool has released them.
#include "media/decode/ClipReaderPool.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

using namespace orvel;

namespace {
constexpr int kFileCount = 20;

double residentMib()
{
    long pages = 0;
    long resident = 0;
    FILE *statm = std::fopen("/proc/self/statm", "r");
    if (!statm)
        return 0.0;
    const bool read = std::fscanf(statm, "%ld %ld", &pages, &resident) == 2;
    std::fclose(statm);
    return read ? double(resident) * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0) : 0.0;
}

// Twenty files of 2 s 1920x1080 H.264 with AAC, each under its own name. They are copies of one
// encode: what the pool keeps depends on the streams, not on the pictures in them.
QStringList manyFiles(const QTemporaryDir &dir)
{
    const QString first = dir.filePath("many0.mp4");
    const QString command = QStringLiteral("ffmpeg -v error -y -f lavfi -i testsrc2=s=1920x1080:r=30:d=2 "
                                           "-f lavfi -i sine=f=440:r=48000:d=2 -ac 2 -c:v libx264 "
                                           "-preset ultrafast -g 30 -pix_fmt yuv420p -c:a aac %1")
                                .arg(first);
    if (std::system(command.toUtf8().constData()) != 0)
        return {};
    QStringList files{first};
    for (int i = 1; i < kFileCount; ++i) {
        files << dir.filePath(QStringLiteral("many%1.mp4").arg(i));
        if (!QFile::copy(first, files.back()))
            return {};
    }
    return files;
}
} // namespace

static void BM_ManyFilesMemory(benchmark::State &state)
{
    qputenv("ORVEL_NO_VAAPI", "1");
    QTemporaryDir dir;
    const QStringList files = manyFiles(dir);
    if (files.size() != kFileCount) {
        state.SkipWithError("could not generate the files");
        return;
    }
    double baseline = 0.0, touched = 0.0, idle = 0.0;
    for (auto _ : state) {
        ClipReaderPool pool;
        pool.setIdleRelease(0); // released here by hand, not by the background check
        baseline = residentMib();
        std::vector<float> samples(2 * 4800);
        for (const QString &file : files) {
            benchmark::DoNotOptimize(pool.decodeVideoNv12(file, 500'000, 0, 0).data.constData());
            benchmark::DoNotOptimize(pool.decodeAudio(file, 500'000, 4800, 48000, samples.data()));
        }
        touched = residentMib();
        // Every file has now been left unused; the idle release closes all of them.
        pool.releaseIdle(0);
        idle = residentMib();
    }
    state.counters["baseline_rss_mib"] = baseline;
    state.counters["touched_rss_mib"] = touched;
    state.counters["idle_rss_mib"] = idle;
}
BENCHMARK(BM_ManyFilesMemory)->Iterations(1)->Unit(benchmark::kMillisecond);
