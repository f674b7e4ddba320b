// Saving and opening through the controller, against writing the document's JSON alone, and the
// memory a shareable copy of 1 GiB of media needs.
#include "BenchProjects.h"
#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"
#include "output/ProjectContainer.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {

using SaveClock = std::chrono::steady_clock;
constexpr int kSaveSamples = 9;

template <typename Work> double saveMedianMs(Work work)
{
    std::vector<double> samples;
    for (int i = 0; i < kSaveSamples; ++i) {
        const SaveClock::time_point begin = SaveClock::now();
        work();
        samples.push_back(std::chrono::duration<double, std::milli>(SaveClock::now() - begin).count());
    }
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

// Settings and application data of the benchmark stay in a folder of its own.
void isolateUserFolders(const QTemporaryDir &home)
{
    qputenv("XDG_DATA_HOME", QDir(home.path()).filePath("data").toUtf8());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QDir(home.path()).filePath("config"));
}

void BM_SaveOpen(benchmark::State &state)
{
    QTemporaryDir home;
    isolateUserFolders(home);
    orvel::bench::BenchProjectShape shape;
    shape.clipCount = 2000;
    shape.trackCount = 10;
    AssetLibrary library;
    AppController controller(&library);
    controller.loadProjectJson(QJsonDocument(orvel::projectToJson(orvel::bench::makeBenchProject(shape)))
                                   .toJson(QJsonDocument::Compact));
    const QUrl target = QUrl::fromLocalFile(QDir(home.path()).filePath("bench.orvel"));
    const QString jsonPath = QDir(home.path()).filePath("bench.json");
    double saveMs = 0, openMs = 0, jsonMs = 0;
    for (auto _ : state) {
        saveMs = saveMedianMs([&] { controller.saveProject(target); });
        openMs = saveMedianMs([&] { controller.loadProject(target); });
        jsonMs = saveMedianMs([&] {
            QSaveFile file(jsonPath);
            file.open(QIODevice::WriteOnly);
            file.write(QJsonDocument(controller.projectJsonObject()).toJson(QJsonDocument::Compact));
            file.commit();
        });
        state.SetIterationTime(saveMs / 1000.0);
    }
    state.counters["save_ms"] = saveMs;
    state.counters["open_ms"] = openMs;
    state.counters["json_write_ms"] = jsonMs;
    state.counters["save_vs_json_write"] = jsonMs > 0 ? saveMs / jsonMs : 0.0;
    state.counters["file_kib"] = double(QFile(target.toLocalFile()).size()) / 1024.0;
}
BENCHMARK(BM_SaveOpen)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

qint64 statusKib(const char *field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(qstrlen(field)).trimmed().split(' ').value(0).toLongLong();
    return 0;
}

// The peak resident size while a shareable copy of 1 GiB of media is written: the raw media
// stream through in 1 MiB pieces, so the peak stays far below the size of the media.
void BM_PackageStreaming(benchmark::State &state)
{
    QTemporaryDir home;
    const QString media = QDir(home.path()).filePath("footage.mov");
    {
        QFile file(media);
        file.open(QIODevice::WriteOnly);
        QByteArray piece(1048576, Qt::Uninitialized);
        for (int i = 0; i < 1024; ++i) {
            std::fill(piece.begin(), piece.end(), char(i));
            file.write(piece);
        }
    }
    orvel::ProjectSaveData data;
    data.id = QStringLiteral("package-bench");
    data.document = QJsonObject{{"version", 3}};
    data.media = {{media, {}, orvel::ProjectMediaRole::source, true, -1}};
    const QString target = QDir(home.path()).filePath("share.orvel");
    double packageMs = 0;
    qint64 peakKib = 0;
    for (auto _ : state) {
        // Resets the kernel's peak counter, so the peak is that of the copy alone.
        QFile clear(QStringLiteral("/proc/self/clear_refs"));
        if (clear.open(QIODevice::WriteOnly))
            clear.write("5");
        const qint64 beforeKib = statusKib("VmRSS:");
        const SaveClock::time_point begin = SaveClock::now();
        orvel::writeProjectFile(target, data, {}, nullptr);
        packageMs = std::chrono::duration<double, std::milli>(SaveClock::now() - begin).count();
        peakKib = statusKib("VmHWM:");
        state.counters["rss_before_mib"] = double(beforeKib) / 1024.0;
        state.SetIterationTime(packageMs / 1000.0);
    }
    state.counters["package_ms"] = packageMs;
    state.counters["package_peak_rss_mib"] = double(peakKib) / 1024.0;
    state.counters["package_file_mib"] = double(QFile(target).size()) / 1048576.0;
}
BENCHMARK(BM_PackageStreaming)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace
