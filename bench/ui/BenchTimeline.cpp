// bench_ui: frame times of the timeline panel in a real window. Run it under xvfb-run where
// there is no display. timeline_scroll_frame_ms is the median time from a scroll step to the
// swapped frame with a 2,000-clip project; empty_frame_ms is the same step with no project, the
// floor this machine's renderer gives the panel's chrome. The *_ms breakdown counters say where
// a scrolling frame goes: bindings run while contentX is set, then polish (text layout, canvas
// paints), scene graph sync and render with the swap.
#include "core/BenchProjects.h"
#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSurfaceFormat>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <vector>

Q_IMPORT_QML_PLUGIN(OrvelPlugin)

namespace {

EditorState *g_editor = nullptr;
// Instance singletons belong to one engine, so both windows share it.
QQmlEngine *g_engine = nullptr;

struct FrameParts
{
    double bindingsMs = 0;
    double polishMs = 0;
    double syncMs = 0;
    double renderMs = 0;
    double totalMs = 0;
};

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

class TimelineWindow
{
public:
    TimelineWindow()
    {
        QQmlComponent component(g_engine);
        component.setData("import QtQuick\nimport Orvel\nTimelinePanel { width: 1600; height: 520 }\n",
                          QUrl());
        panel = qobject_cast<QQuickItem *>(component.create());
        if (!panel)
            qFatal("timeline panel did not load: %s", qPrintable(component.errorString()));
        view.setContent(QUrl(), nullptr, panel);
        view.resize(1600, 520);
        view.show();
        flick = panel->findChild<QObject *>(QStringLiteral("timelineFlickable"));
        QObject::connect(&view, &QQuickWindow::beforeSynchronizing, [this] { syncStart.restart(); });
        QObject::connect(&view, &QQuickWindow::afterSynchronizing, [this] { syncMs = ms(syncStart); });
        QObject::connect(&view, &QQuickWindow::beforeRendering, [this] { renderStart.restart(); });
        QObject::connect(&view, &QQuickWindow::frameSwapped, [this] {
            renderMs = ms(renderStart);
            swapped = true;
            if (loop.isRunning())
                loop.quit();
        });
        for (int i = 0; i < 5; ++i)
            waitFrame();
    }

    static double ms(const QElapsedTimer &timer) { return double(timer.nsecsElapsed()) / 1e6; }

    bool waitFrame()
    {
        swapped = false;
        view.update();
        QTimer::singleShot(2000, &loop, &QEventLoop::quit);
        if (!swapped)
            loop.exec();
        return swapped;
    }

    // One scroll step and the frame that shows it.
    FrameParts step(double dx)
    {
        const double width = flick->property("width").toDouble();
        const double contentWidth = flick->property("contentWidth").toDouble();
        double x = flick->property("contentX").toDouble() + dx;
        if (x > contentWidth - width)
            x = 0;
        FrameParts parts;
        QElapsedTimer total;
        total.start();
        flick->setProperty("contentX", x);
        parts.bindingsMs = ms(total);
        syncMs = renderMs = 0;
        syncStart.invalidate();
        waitFrame();
        parts.totalMs = ms(total);
        parts.syncMs = syncMs;
        parts.renderMs = renderMs;
        parts.polishMs = std::max(0.0, parts.totalMs - parts.bindingsMs - syncMs - renderMs);
        return parts;
    }

    QQuickView view{g_engine, nullptr};
    QQuickItem *panel = nullptr;
    QObject *flick = nullptr;
    QEventLoop loop;
    QElapsedTimer syncStart;
    QElapsedTimer renderStart;
    double syncMs = 0;
    double renderMs = 0;
    bool swapped = false;
};

void runScroll(benchmark::State &state, const char *counter, bool withProject)
{
    if (withProject) {
        orvel::bench::BenchProjectShape shape;
        shape.clipCount = 2000;
        shape.trackCount = 6;
        const orvel::Project project = orvel::bench::makeBenchProject(shape);
        g_editor->loadProjectJson(QJsonDocument(orvel::projectToJson(project)).toJson());
    } else {
        g_editor->newProject();
    }
    TimelineWindow window;
    std::vector<double> totals, bindings, polish, sync, render;
    for (auto _ : state) {
        const FrameParts parts = window.step(97.0);
        state.SetIterationTime(parts.totalMs / 1000.0);
        totals.push_back(parts.totalMs);
        bindings.push_back(parts.bindingsMs);
        polish.push_back(parts.polishMs);
        sync.push_back(parts.syncMs);
        render.push_back(parts.renderMs);
    }
    state.counters[counter] = median(totals);
    if (withProject) {
        state.counters["bindings_ms"] = median(bindings);
        state.counters["polish_ms"] = median(polish);
        state.counters["sync_ms"] = median(sync);
        state.counters["render_ms"] = median(render);
    }
}

void BM_TimelineScroll(benchmark::State &state)
{
    runScroll(state, "timeline_scroll_frame_ms", true);
}
BENCHMARK(BM_TimelineScroll)->UseManualTime()->Iterations(400)->Unit(benchmark::kMillisecond);

void BM_EmptyTimelineFrame(benchmark::State &state)
{
    runScroll(state, "empty_frame_ms", false);
}
BENCHMARK(BM_EmptyTimelineFrame)->UseManualTime()->Iterations(200)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    // One thread renders, so every part of a frame is measured on the same clock; no swap
    // interval, so a frame is not held back to a display rate.
    qputenv("QSG_RENDER_LOOP", "basic");
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    format.setSwapInterval(0);
    QSurfaceFormat::setDefaultFormat(format);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    AssetLibrary library;
    library.setCacheFilesOnImport(false);
    EditorState editor(&library);
    g_editor = &editor;
    qmlRegisterSingletonInstance("Orvel", 1, 0, "AssetLibrary", &library);
    qmlRegisterSingletonInstance<AppController>("Orvel", 1, 0, "EditorState", &editor);
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    g_engine = &engine;

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
