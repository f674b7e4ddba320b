// Cost of one timeline edit on a large project: the latency of a clip move, slot call to last
// signal, against the 16 ms of a 60 Hz frame; and the memory that fifty whole-document undo
// entries hold, against one deep copy of the same project.
#include "BenchProjects.h"

#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"

#include <QJsonDocument>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

namespace {

using EditsClock = std::chrono::steady_clock;

constexpr double kFrameBudgetMs = 16.0;

orvel::bench::BenchProjectShape editsBenchShape()
{
    orvel::bench::BenchProjectShape shape;
    shape.clipCount = 2000;
    shape.trackCount = 10;
    return shape;
}

// A controller holding the 2,000-clip project, loaded the way a saved file would be.
std::unique_ptr<AppController> editsBenchController(AssetLibrary &library)
{
    auto controller = std::make_unique<AppController>(&library);
    const orvel::Project project = orvel::bench::makeBenchProject(editsBenchShape());
    controller->loadProjectJson(QJsonDocument(orvel::projectToJson(project)).toJson(QJsonDocument::Compact));
    return controller;
}

size_t heapBytesInUse()
{
    return mallinfo2().uordblks;
}

double medianOf(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const size_t mid = values.size() / 2;
    return values.size() % 2 ? values[mid] : (values[mid - 1] + values[mid]) / 2.0;
}

void BM_MoveClipOn2000Clips(benchmark::State &state)
{
    AssetLibrary library;
    auto controller = editsBenchController(library);
    const orvel::Project &project = controller->project();

    // The refresh ends with the selection signals and, when the text changes, the message; the
    // last of them stamps the end of the edit.
    EditsClock::time_point lastSignal;
    const auto stamp = [&lastSignal] { lastSignal = EditsClock::now(); };
    QObject::connect(controller.get(), &AppController::tracksChanged, stamp);
    QObject::connect(controller.get(), &AppController::selectionChanged, stamp);
    QObject::connect(controller.get(), &AppController::selectedClipDataChanged, stamp);
    QObject::connect(controller.get(), &AppController::lastMessageChanged, stamp);

    std::vector<double> samplesMs;
    int step = 0;
    for (auto _ : state) {
        // Walk over clips of every track; each goes 40 ms right, then back on its next turn,
        // so the document does not drift and overlaps (crossfades) keep appearing and going.
        const int trackIndex = step % 10;
        const int clipIndex = (step / 20) % project.tracks[trackIndex].clips.size();
        const orvel::TimeUs startUs = project.tracks[trackIndex].clips[clipIndex].timelineStartUs;
        const orvel::TimeUs targetUs =
            (step / 10) % 2 == 0 ? startUs + 40000 : std::max<orvel::TimeUs>(startUs - 40000, 0);
        ++step;

        const EditsClock::time_point begin = EditsClock::now();
        controller->moveClip(trackIndex, clipIndex, (double(targetUs) + 0.5) / 1e6);
        const double ms = std::chrono::duration<double, std::milli>(lastSignal - begin).count();
        samplesMs.push_back(ms);
        state.SetIterationTime(ms / 1000.0);
    }
    const double medianMs = medianOf(samplesMs);
    state.counters["move_ms"] = medianMs;
    state.counters["move_vs_16ms_frame"] = medianMs / kFrameBudgetMs;
}
BENCHMARK(BM_MoveClipOn2000Clips)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(400);

void BM_UndoMemoryOf50Edits(benchmark::State &state)
{
    AssetLibrary library;
    auto controller = editsBenchController(library);
    const QJsonObject json = orvel::projectToJson(controller->project());

    double entriesBytes = 0;
    double deepCopyBytes = 0;
    for (auto _ : state) {
        // Fifty single-clip edits spread over the tracks: each entry keeps its own copy of what
        // it detached (the track list and the edited track's clip list).
        const size_t beforeEdits = heapBytesInUse();
        for (int i = 0; i < 50; ++i)
            controller->setClipFade(i % 10, i / 10, 0.25, 0.25);
        entriesBytes = double(heapBytesInUse()) - double(beforeEdits);

        // One deep copy: a project read back from its JSON form shares nothing with the live one.
        const size_t beforeCopy = heapBytesInUse();
        const orvel::Project deepCopy = orvel::projectFromJson(json);
        deepCopyBytes = double(heapBytesInUse()) - double(beforeCopy);
        benchmark::DoNotOptimize(deepCopy.tracks.constData());
    }
    state.counters["undo50_mib"] = entriesBytes / (1024.0 * 1024.0);
    state.counters["deep_copy_mib"] = deepCopyBytes / (1024.0 * 1024.0);
    state.counters["undo50_vs_copies"] = deepCopyBytes > 0 ? entriesBytes / deepCopyBytes : 0.0;
}
BENCHMARK(BM_UndoMemoryOf50Edits)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
