// Cost of saving and loading a large project compared with the bare JSON parse of the same file.
#include "BenchProjects.h"

#include "core/document/json/ProjectJson.h"

#include <QJsonDocument>

#include <benchmark/benchmark.h>

#include <ctime>

namespace {

const QByteArray &benchProjectBytes()
{
    static const QByteArray bytes =
        QJsonDocument(orvel::projectToJson(orvel::bench::makeBenchProject())).toJson(QJsonDocument::Indented);
    return bytes;
}

// CPU time of this thread: the build machine is shared, and wall time there mostly measures the
// other jobs. Both sides of the ratio are taken the same way.
double threadCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

void BM_ProjectJsonWrite(benchmark::State &state)
{
    const orvel::Project project = orvel::bench::makeBenchProject();
    qsizetype bytes = 0;
    for (auto _ : state) {
        const QByteArray text = QJsonDocument(orvel::projectToJson(project)).toJson(QJsonDocument::Indented);
        bytes = text.size();
        benchmark::DoNotOptimize(text.constData());
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["json_mib"] = double(bytes) / (1024.0 * 1024.0);
}

// The floor: what QJsonDocument alone costs for the same bytes.
void BM_ProjectJsonParseOnly(benchmark::State &state)
{
    const QByteArray &bytes = benchProjectBytes();
    for (auto _ : state) {
        const QJsonDocument document = QJsonDocument::fromJson(bytes);
        benchmark::DoNotOptimize(document.isObject());
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}

// The full load (parse plus projectFromJson), timed against a bare parse of the same bytes in
// every iteration so that the ratio does not depend on the machine's load between benchmarks.
// The reported time is the full load's thread CPU time.
void BM_ProjectJsonRead(benchmark::State &state)
{
    const QByteArray &bytes = benchProjectBytes();
    double readSeconds = 0.0;
    double parseSeconds = 0.0;
    qsizetype clips = 0;
    for (auto _ : state) {
        double start = threadCpuSeconds();
        {
            const QJsonDocument document = QJsonDocument::fromJson(bytes);
            benchmark::DoNotOptimize(document.isObject());
        }
        parseSeconds += threadCpuSeconds() - start;

        start = threadCpuSeconds();
        const orvel::Project project = orvel::projectFromJson(QJsonDocument::fromJson(bytes).object());
        const double elapsed = threadCpuSeconds() - start;
        readSeconds += elapsed;
        state.SetIterationTime(elapsed);
        clips = 0;
        for (const orvel::Track &track : project.tracks)
            clips += track.clips.size();
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
    state.counters["clips"] = double(clips);
    state.counters["read_ms"] = readSeconds * 1e3 / double(state.iterations());
    state.counters["parse_ms"] = parseSeconds * 1e3 / double(state.iterations());
    state.counters["read_vs_parse"] = parseSeconds > 0.0 ? readSeconds / parseSeconds : 0.0;
}

} // namespace

BENCHMARK(BM_ProjectJsonWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProjectJsonParseOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProjectJsonRead)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);
