// The timeline panel in a real window with the real controller and imported media: gestures
// are sent as mouse and key events, and the results are read back from the document.
#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"
#include "media/TestMedia.h"

#include <QJsonDocument>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

Q_IMPORT_QML_PLUGIN(OrvelPlugin)

namespace {

using namespace orvel;

// The panel plus a stand-in library item whose drag carries an asset index, as the asset
// panel's items do, and a few helpers that turn timeline places into window points.
const char *const kHostQml = R"(
import QtQuick
import Orvel
Item {
    width: 1200; height: 420
    TimelinePanel { id: panel; objectName: "panel"; anchors.fill: parent }
    Rectangle {
        id: libraryItem
        width: 2; height: 2
        Drag.keys: ["text/plain"]
        Drag.mimeData: ({ "text/plain": "0" })
    }
    function trackPoint(track, seconds) {
        const f = panel.flickable
        return f.mapToItem(null, seconds * panel.pxPerSecond - f.contentX,
                           panel.assetDropTopSlop + panel.trackOffsetY(track) + panel.trackHeight(track) / 2 - f.contentY)
    }
    function emptyPoint(seconds) {
        const f = panel.flickable
        return f.mapToItem(null, seconds * panel.pxPerSecond - f.contentX, f.height - 10)
    }
    function startLibraryDrag(assetIndex, p) {
        EditorState.draggingAssetIndex = assetIndex
        libraryItem.x = p.x; libraryItem.y = p.y
        libraryItem.Drag.active = true
    }
    function moveLibraryDrag(p) { libraryItem.x = p.x; libraryItem.y = p.y }
    function dropLibraryDrag() {
        libraryItem.Drag.drop()
        libraryItem.Drag.active = false
        EditorState.draggingAssetIndex = -1
    }
}
)";

class TimelinePanelTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        library = new AssetLibrary;
        library->setCacheFilesOnImport(false);
        editor = new EditorState(library);
        qmlRegisterSingletonInstance("Orvel", 1, 0, "AssetLibrary", library);
        qmlRegisterSingletonInstance<AppController>("Orvel", 1, 0, "EditorState", editor);
        // Instance singletons belong to one engine, so every case's window shares it.
        engine = new QQmlEngine;
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    }
    static void TearDownTestSuite()
    {
        delete engine;
        delete editor;
        delete library;
    }

    void SetUp() override
    {
        freshProject();
        view = std::make_unique<QQuickView>(engine, nullptr);
        QQmlComponent component(engine);
        component.setData(kHostQml, QUrl());
        QObject *root = component.create();
        ASSERT_TRUE(root) << qPrintable(component.errorString());
        view->setContent(QUrl(), nullptr, root);
        view->show();
        view->requestActivate();
        ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
        panel = root->findChild<QQuickItem *>(QStringLiteral("panel"));
        ASSERT_TRUE(panel);
    }

    // A walk through several gestures starts each step from an empty project, named in failures.
    void freshStep(const char *name)
    {
        step.emplace(__FILE__, __LINE__, name);
        freshProject();
    }
    static void freshProject()
    {
        editor->newProject();
        editor->markProjectLayoutChosen();
    }
    void importMedia(const QString &name)
    {
        library->importUrls({QUrl::fromLocalFile(testmedia::path(name))});
        ASSERT_TRUE(QTest::qWaitFor([] { return !library->importing(); }));
        ASSERT_GT(library->count(), 0);
    }
    QVariant call(const char *method, const QVariant &a = {}, const QVariant &b = {})
    {
        QVariant result;
        QObject *root = view->rootObject();
        if (!b.isValid() && !a.isValid())
            QMetaObject::invokeMethod(root, method, Q_RETURN_ARG(QVariant, result));
        else if (!b.isValid())
            QMetaObject::invokeMethod(root, method, Q_RETURN_ARG(QVariant, result), Q_ARG(QVariant, a));
        else
            QMetaObject::invokeMethod(root, method, Q_RETURN_ARG(QVariant, result), Q_ARG(QVariant, a),
                                      Q_ARG(QVariant, b));
        return result;
    }
    QPoint trackPoint(int track, double seconds)
    {
        return call("trackPoint", track, seconds).toPointF().toPoint();
    }
    // Lets queued events, bindings and one rendered frame run after an edit or a gesture.
    // Two frames: the clip pool sizes itself from the first frame's layout and places its items in
    // the next, so one frame is not always enough on a busy machine.
    void settle()
    {
        for (int i = 0; i < 2; ++i) {
            QCoreApplication::processEvents();
            QSignalSpy frame(view.get(), &QQuickWindow::frameSwapped);
            view->update();
            frame.wait(2000);
        }
    }
    // A left-button drag in steps, as a hand makes it.
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mousePress(view.get(), Qt::LeftButton, modifiers, from);
        for (int i = 1; i <= 6; ++i)
            QTest::mouseMove(view.get(), from + (to - from) * i / 6, 5);
        QTest::mouseRelease(view.get(), Qt::LeftButton, modifiers, to, 5);
        settle();
    }
    void dropAsset(int assetIndex, const QPointF &at)
    {
        call("startLibraryDrag", assetIndex, at);
        settle();
        call("moveLibraryDrag", at + QPointF(1, 0));
        settle();
        call("moveLibraryDrag", at);
        settle();
        call("dropLibraryDrag");
        settle();
    }
    double pps() const { return panel->property("pxPerSecond").toDouble(); }
    const Project &doc() const { return editor->project(); }
    double startOf(int track, int clip) const
    {
        return doc().tracks[track].clips[clip].timelineStartUs / 1e6;
    }
    double durationOf(int track, int clip) const
    {
        return doc().tracks[track].clips[clip].timelineDurationUs / 1e6;
    }

    static inline QQmlEngine *engine = nullptr;
    static inline AssetLibrary *library = nullptr;
    static inline EditorState *editor = nullptr;
    std::unique_ptr<QQuickView> view;
    QQuickItem *panel = nullptr;
    std::optional<testing::ScopedTrace> step;
};

TEST_F(TimelinePanelTest, LibraryDropsMakeATrackOrLandOnTheRowOrTheFirstTrackThatAccepts)
{
    freshStep("no track at all");
    // With no track at all the drop makes one.
    editor->removeTrack(0);
    importMedia(QStringLiteral("pattern.mp4"));
    settle();
    ASSERT_EQ(doc().tracks.size(), 0);
    const int entries = editor->undoStack()->count();
    dropAsset(0, call("emptyPoint", 3.0).toPointF());
    ASSERT_EQ(doc().tracks.size(), 1);
    ASSERT_EQ(doc().tracks[0].clips.size(), 1);
    EXPECT_EQ(doc().tracks[0].type, TrackType::video);
    EXPECT_NEAR(startOf(0, 0), 3.0, 1.5 / pps());
    EXPECT_EQ(editor->undoStack()->count(), entries + 1);

    // Onto the row: the clip joins that track.
    dropAsset(0, trackPoint(0, 14.0));
    ASSERT_EQ(doc().tracks.size(), 1);
    ASSERT_EQ(doc().tracks[0].clips.size(), 2);
    EXPECT_NEAR(startOf(0, 1), 14.0, 1.5 / pps());

    freshStep("tracks without clips");
    importMedia(QStringLiteral("pattern.mp4"));
    editor->addTrack(QStringLiteral("audio"));
    settle();
    ASSERT_EQ(doc().tracks.size(), 2); // the new project's video track sits below the audio one
    // Dropped over the audio row, the video still goes to the video track, at the drop time.
    dropAsset(0, trackPoint(0, 2.0));
    ASSERT_EQ(doc().tracks.size(), 2);
    ASSERT_EQ(doc().tracks[1].clips.size(), 1);
    EXPECT_NEAR(startOf(1, 0), 2.0, 1.5 / pps());
}

TEST_F(TimelinePanelTest, GesturesMoveTrimCutMarqueeDeleteUndoAndRedo)
{
    freshStep("move and trim");
    importMedia(QStringLiteral("pattern.mp4"));
    editor->addTrack(QStringLiteral("video"));
    editor->addTrack(QStringLiteral("video"));
    editor->addClipFromAssetAt(0, 1, 2.0);
    settle();
    ASSERT_EQ(doc().tracks[1].clips.size(), 1);
    const double duration = durationOf(1, 0);

    // Grab the clip 1 s into it and drop it 4 s later on the same row.
    drag(trackPoint(1, 3.0), trackPoint(1, 7.0));
    EXPECT_NEAR(startOf(1, 0), 6.0, 2.0 / pps());
    EXPECT_EQ(editor->selectedTrack(), 1);

    // Up to the row above.
    drag(trackPoint(1, 7.0), trackPoint(0, 9.0));
    ASSERT_EQ(doc().tracks[1].clips.size(), 0);
    ASSERT_EQ(doc().tracks[0].clips.size(), 1);
    EXPECT_NEAR(startOf(0, 0), 8.0, 2.0 / pps());

    // The clip is selected after the move, so its handles are there: the right one pulls the
    // end in by 2 s, the left one the start in by 1 s.
    const double end = startOf(0, 0) + duration;
    drag(trackPoint(0, end) - QPoint(2, 0), trackPoint(0, end - 2.0) - QPoint(2, 0));
    EXPECT_NEAR(durationOf(0, 0), duration - 2.0, 3.0 / pps());
    const double start = startOf(0, 0), shortened = durationOf(0, 0);
    drag(trackPoint(0, start) + QPoint(2, 0), trackPoint(0, start + 1.0) + QPoint(2, 0));
    EXPECT_NEAR(startOf(0, 0), start + 1.0, 3.0 / pps());
    EXPECT_NEAR(durationOf(0, 0), shortened - 1.0, 3.0 / pps());

    freshStep("cut tool and keys");
    importMedia(QStringLiteral("pattern.mp4"));
    editor->addTrack(QStringLiteral("video"));
    editor->addClipFromAssetAt(0, 0, 0.0);
    editor->setSnapEnabled(false);
    settle();

    QTest::keyClick(view.get(), Qt::Key_B);
    EXPECT_EQ(panel->property("timelineTool").toString(), QStringLiteral("split"));
    QTest::mouseMove(view.get(), trackPoint(0, 3.0));
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, trackPoint(0, 3.0));
    settle();
    ASSERT_EQ(doc().tracks[0].clips.size(), 2);
    EXPECT_NEAR(startOf(0, 1), 3.0, 1.5 / pps());

    // Back to Select: a click on a clip selects it instead of cutting.
    QTest::keyClick(view.get(), Qt::Key_V);
    EXPECT_EQ(panel->property("timelineTool").toString(), QString());
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, trackPoint(0, 5.0), 300);
    settle();
    EXPECT_EQ(doc().tracks[0].clips.size(), 2);
    EXPECT_EQ(editor->selectedClip(), 1);
    editor->setSnapEnabled(true);

    freshStep("marquee, delete, undo and redo");
    importMedia(QStringLiteral("pattern.mp4"));
    editor->addTrack(QStringLiteral("video"));
    editor->addTrack(QStringLiteral("video"));
    editor->addClipFromAssetAt(0, 0, 10.0);
    editor->addClipFromAssetAt(0, 1, 10.0);
    editor->addClipFromAssetAt(0, 1, 30.0);
    editor->clearSelection();
    settle();

    // A box from empty space before the clips across both rows, ending before the third clip.
    const QPoint from = trackPoint(0, 2.0) - QPoint(0, 20);
    const QPoint to = trackPoint(1, 12.0) + QPoint(0, 10);
    drag(from, to);
    const QVariantList selection = editor->selectedClips();
    ASSERT_EQ(selection.size(), 2);
    EXPECT_TRUE(editor->selectionContains(0, 0));
    EXPECT_TRUE(editor->selectionContains(1, 0));

    QQuickItem *deleteButton = panel->findChild<QQuickItem *>(QStringLiteral("deleteButton"));
    QQuickItem *undoButton = panel->findChild<QQuickItem *>(QStringLiteral("undoButton"));
    QQuickItem *redoButton = panel->findChild<QQuickItem *>(QStringLiteral("redoButton"));
    ASSERT_TRUE(deleteButton && undoButton && redoButton);
    auto centre = [](QQuickItem *item) {
        return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
    };
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, centre(deleteButton), 300);
    settle();
    EXPECT_EQ(doc().tracks[0].clips.size(), 0);
    ASSERT_EQ(doc().tracks[1].clips.size(), 1);
    EXPECT_NEAR(startOf(1, 0), 30.0, 1e-6);

    QTest::mouseClick(view.get(), Qt::LeftButton, {}, centre(undoButton), 300);
    settle();
    EXPECT_EQ(doc().tracks[0].clips.size(), 1);
    EXPECT_EQ(doc().tracks[1].clips.size(), 2);
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, centre(redoButton), 300);
    settle();
    EXPECT_EQ(doc().tracks[0].clips.size(), 0);
    EXPECT_EQ(doc().tracks[1].clips.size(), 1);

    // A plain click on empty track space clears what is left selected.
    editor->selectClip(1, 0);
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, trackPoint(1, 2.0), 300);
    EXPECT_TRUE(editor->selectedClips().isEmpty());
}

// The panel's pure helpers, loaded from the module's resources as the panel loads them.
TEST(TimelineMath, TickStepsLabelsSnappingAndVisibleSlice)
{
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(R"(
import QtQml
import "qrc:/qt/qml/Orvel/components/timeline/TimelineMath.js" as TM
QtObject {
    function step(pps, unused) { return TM.tickStepSeconds(pps) }
    function label(s, step) { return TM.formatTick(s, step) }
    // Snapping to whole seconds within 0.15 s stands in for the controller's snapTime.
    function snap(start, duration) {
        const r = TM.snapClipStart(function (t) { return Math.abs(t - Math.round(t)) < 0.15 ? Math.round(t) : t },
                                   start, duration)
        return [r.start, r.guide]
    }
    function slice(from, to) {
        const index = TM.buildTrackIndex([{ start: 20, duration: 1 }, { start: 0, duration: 12 }, { start: 13, duration: 1 }])
        const r = TM.visibleRange(index, from, to, 0.5)
        return index.order.slice(r.first, r.last + 1)
    }
}
)",
                      QUrl());
    std::unique_ptr<QObject> math(component.create());
    ASSERT_TRUE(math) << qPrintable(component.errorString());
    // Every helper takes two arguments, so one call shape reaches them all.
    auto invoke = [&](const char *name, QVariant a, QVariant b = {}) {
        QVariant result;
        EXPECT_TRUE(QMetaObject::invokeMethod(math.get(), name, Q_RETURN_ARG(QVariant, result),
                                              Q_ARG(QVariant, a), Q_ARG(QVariant, b)))
            << name;
        return result;
    };
    // The first step with at least 66 px between ticks, at the zoom limits too.
    EXPECT_DOUBLE_EQ(invoke("step", 50.0).toDouble(), 2.0);
    EXPECT_DOUBLE_EQ(invoke("step", 66.0).toDouble(), 1.0);
    EXPECT_DOUBLE_EQ(invoke("step", 2000.0).toDouble(), 0.05);
    EXPECT_DOUBLE_EQ(invoke("step", 2.5).toDouble(), 30.0);
    EXPECT_EQ(invoke("label", 3725.0, 5.0).toString(), QStringLiteral("01:02:05"));
    EXPECT_EQ(invoke("label", 61.25, 0.05).toString(), QStringLiteral("00:01:01.25"));

    const auto snapped = [&](double start, double duration) {
        return invoke("snap", start, duration).toList();
    };
    // Only the left edge can snap: it does, with its guide.
    EXPECT_EQ(snapped(2.1, 0.5), (QVariantList{2.0, 2.0}));
    // Only the right edge can snap: the clip moves so its end lands.
    EXPECT_EQ(snapped(1.4, 0.5), (QVariantList{1.5, 2.0}));
    // Both snap: the left wins when it moved no further.
    EXPECT_EQ(snapped(3.05, 0.9), (QVariantList{3.0, 3.0}));
    // Neither: the start stays and no guide shows.
    EXPECT_EQ(snapped(5.5, 0.5), (QVariantList{5.5, -1}));

    // A long clip that starts before the view still reaches into it; one after it does not.
    EXPECT_EQ(invoke("slice", 10.0, 13.5).toList(), (QVariantList{1, 2}));
    EXPECT_EQ(invoke("slice", 0.0, 5.0).toList(), QVariantList{1});
}

// Items of a name in the panel's visual tree, all of them or only the visible ones.
int countItems(QQuickItem *item, const QString &name, bool visibleOnly)
{
    int n = item->objectName() == name && (!visibleOnly || item->isVisible()) ? 1 : 0;
    for (QQuickItem *child : item->childItems())
        n += countItems(child, name, visibleOnly);
    return n;
}

// Builds 2,000 one-to-three second clips over four tracks, back to back.
QByteArray longProjectJson()
{
    Project project;
    for (int t = 0; t < 4; ++t) {
        Track track;
        track.type = t == 3 ? TrackType::audio : TrackType::video;
        TimeUs at = 0;
        for (int i = 0; i < 500; ++i) {
            Clip clip;
            clip.id = QStringLiteral("c%1-%2").arg(t).arg(i);
            clip.name = clip.id;
            clip.type = t == 3 ? ClipType::audio : ClipType::video;
            clip.timelineStartUs = at + 200000 * t;
            clip.timelineDurationUs = 1000000 + TimeUs((i * 7 + t * 3) % 5) * 500000;
            clip.srcOutUs = clip.timelineDurationUs;
            at += clip.timelineDurationUs;
            track.clips.append(clip);
        }
        project.tracks.append(track);
    }
    return QJsonDocument(projectToJson(project)).toJson();
}

TEST_F(TimelinePanelTest, LongProjectKeepsClipItemsAndTicksToTheViewport)
{
    ASSERT_TRUE(editor->loadProjectJson(longProjectJson()));
    settle();
    QObject *flick = panel->findChild<QObject *>(QStringLiteral("timelineFlickable"));
    ASSERT_TRUE(flick);
    const double viewWidth = flick->property("width").toDouble();
    const double contentWidth = flick->property("contentWidth").toDouble();
    ASSERT_GT(contentWidth, 40 * viewWidth);

    int steps = 0;
    for (double x = 0; x <= contentWidth - viewWidth; x += viewWidth * 2.3, ++steps) {
        flick->setProperty("contentX", x);
        settle();
        // The clips whose rectangles reach into the viewport widened by the item margin.
        const double pxPerSecond = pps(), margin = panel->property("clipMarginPx").toDouble();
        int reachable = 0;
        for (const Track &track : doc().tracks)
            for (const Clip &clip : track.clips) {
                const double left = clip.timelineStartUs / 1e6 * pxPerSecond;
                const double right = left + std::max(56.0, clip.timelineDurationUs / 1e6 * pxPerSecond);
                reachable += right >= x - margin && left <= x + viewWidth + margin;
            }
        const int created = countItems(panel, QStringLiteral("timelineClip"), false);
        const int shown = countItems(panel, QStringLiteral("timelineClip"), true);
        ASSERT_LE(created, reachable + 4 * 16) << "at x " << x;
        ASSERT_GE(shown, 4) << "at x " << x;
        const int ticks = countItems(panel, QStringLiteral("rulerTick"), true);
        const double stepPx =
            panel->findChild<QObject *>(QStringLiteral("timelineRuler"))->property("stepPx").toDouble();
        ASSERT_LE(ticks, std::ceil(viewWidth / stepPx) + 3) << "at x " << x;
        ASSERT_GE(ticks, std::floor(viewWidth / stepPx)) << "at x " << x;
    }
    EXPECT_GT(steps, 18);
}

} // namespace
