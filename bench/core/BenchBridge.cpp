// Cost of one read of the controller's `tracks` property on the 2,000-clip project of the edit
// benchmarks: the full rebuild of the timeline as maps, and the read that follows an ordinary
// edit, where only the edited track's clips are mapped again. Both are set against the 8 ms a
// read may take, and the full rebuild against writing the same document as JSON (the other full
// walk of the project), timed in the same run.
#include "BenchProjects.h"

#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"

#include <QJsonDocument>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

namespace {

using BridgeClock = std::chrono::steady_clock;

constexpr double kTracksReadTargetMs = 8.0;
constexpr int kBridgeSamples = 60;

std::unique_ptr<AppController> bridgeBenchController(AssetLibrary &library)
{
    orvel::bench::BenchProjectShape shape;
    shape.clipCount = 2000;
    shape.trackCount = 10;
    auto controller = std::make_unique<AppController>(&library);
    const orvel::Project project = orvel::bench::makeBenchProject(shape);
    controller->loadProjectJson(QJsonDocument(orvel::projectToJson(project)).toJson(QJsonDocument::Compact));
    return controller;
}

// Median of the timed work over the samples; prepare runs untimed before each one.
template <typename Prepare, typename Work> double bridgeMedianMs(Prepare prepare, Work work)
{
    std::vector<double> samples;
    samples.reserve(kBridgeSamples);
    for (int i = 0; i < kBridgeSamples; ++i) {
        prepare();
        const BridgeClock::time_point begin = BridgeClock::now();
        work();
        samples.push_back(std::chrono::duration<double, std::milli>(BridgeClock::now() - begin).count());
    }
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

template <typename Work> double bridgeMedianMs(Work work)
{
    return bridgeMedianMs([] {}, work);
}

void BM_TracksReadOn2000Clips(benchmark::State &state)
{
    AssetLibrary library;
    auto controller = bridgeBenchController(library);
    qsizetype clipsSeen = 0;
    double fullMs = 0;
    double afterEditMs = 0;
    double jsonMs = 0;
    for (auto _ : state) {
        // The full rebuild: every clip of every track mapped anew, as a first read does.
        fullMs = bridgeMedianMs([&] {
            const QVariantList tracks = orvel::tracksToList(controller->project());
            clipsSeen = 0;
            for (const QVariant &track : tracks)
                clipsSeen += track.toMap().value(QStringLiteral("clips")).toList().size();
            benchmark::DoNotOptimize(clipsSeen);
        });
        // The read QML makes after an ordinary edit: one clip's fade changed, then `tracks` read
        // through the controller. Only the read is timed.
        int step = 0;
        controller->tracks();
        afterEditMs = bridgeMedianMs(
            [&] {
                const int track = step % 10;
                controller->setClipFade(track, (step / 10) % 50, (step % 2) ? 0.25 : 0.5, 0.0);
                ++step;
            },
            [&] { benchmark::DoNotOptimize(controller->tracks().size()); });
        jsonMs = bridgeMedianMs([&] {
            const QJsonObject json = orvel::projectToJson(controller->project());
            benchmark::DoNotOptimize(json.size());
        });
        state.SetIterationTime(fullMs / 1000.0);
    }
    state.counters["clips"] = double(clipsSeen);
    state.counters["tracks_read_ms"] = fullMs;
    state.counters["tracks_read_vs_8ms_target"] = fullMs / kTracksReadTargetMs;
    state.counters["tracks_read_after_edit_ms"] = afterEditMs;
    state.counters["after_edit_vs_8ms_target"] = afterEditMs / kTracksReadTargetMs;
    state.counters["json_write_ms"] = jsonMs;
    state.counters["tracks_read_vs_json_write"] = jsonMs > 0 ? fullMs / jsonMs : 0.0;
}
BENCHMARK(BM_TracksReadOn2000Clips)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace
