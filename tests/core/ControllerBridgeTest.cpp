// What QML reads from the controller: the map forms, the two list models, the keyboard table and
// the clips under the playhead.
#include "ControllerFixture.h"
#include "core/bridge/BridgeMaps.h"

#include <QAbstractItemModelTester>
#include <QCursor>
#include <QGuiApplication>
#include <QMetaProperty>
#include <QSettings>
#include <QSignalSpy>

using namespace fixture;

namespace {

Clip bridgeClip(const QString &id, TimeUs startUs, TimeUs durationUs, ClipType type = ClipType::video)
{
    return makeClip(id, startUs, durationUs, type, 500000);
}

// Row 0: video v1 (0-2 s, asset "second") and v2 (1.5-4 s, overlapping); row 1: a hidden video row;
// row 2: an audio row; row 3: a text row.
Project bridgeProject()
{
    Asset second = makeAsset("second", AssetKind::video);
    second.durationUs = 8000000;
    Clip v1 = bridgeClip("v1", 0, 2000000);
    v1.assetId = QStringLiteral("second");
    v1.linkId = QStringLiteral("link");
    v1.opacity = keys({{0, 0.0}, {1000000, 1.0}});
    EffectInstance blur;
    blur.name = QStringLiteral("Blur");
    blur.catalogId = QStringLiteral("fx.blur");
    blur.parameters = {{QStringLiteral("radius"), 4.0}, {QStringLiteral("inverted"), true}};
    v1.effects = {blur};
    EffectInstance echo;
    echo.name = QStringLiteral("Echo");
    echo.catalogId = QStringLiteral("afx.echo");
    echo.parameters.insert(QStringLiteral("mix"), 0.3);
    v1.audioEffects = {echo};
    Track hidden = makeTrack(TrackType::video, {bridgeClip("h", 0, 9000000)});
    hidden.hidden = true;
    Clip title = bridgeClip("title", 0, 3000000, ClipType::text);
    title.textContent = QStringLiteral("Hello");
    return makeProject({makeTrack(TrackType::video, {v1, bridgeClip("v2", 1500000, 2500000)}), hidden,
                        makeTrack(TrackType::audio, {bridgeClip("s", 1000000, 5000000, ClipType::audio)}),
                        makeTrack(TrackType::text, {title})},
                       {makeAsset("first", AssetKind::video), second});
}

} // namespace

class ControllerBridge : public ControllerTest
{
protected:
    void SetUp() override
    {
        QSettings().remove(QStringLiteral("shortcuts"));
        QSettings().remove(QStringLiteral("preview/guidesEnabled"));
    }
};

TEST_F(ControllerBridge, ClipMapCarriesTheDocumentInSecondsAndBadIndicesGiveNothing)
{
    load(bridgeProject());
    const QVariantMap v1 = controller.clipAt(0.0, 0.0);
    expectFields(v1, {{"id", "v1"},
                      {"duration", 2.0},
                      {"inPoint", 0.5},
                      {"outPoint", 2.5},
                      {"sourceDuration", 8.0},
                      {"assetIndex", 1},
                      {"linked", true},
                      {"volume", 1.0}});
    const QVariantMap opacity = v1.value("keyframes").toMap().value("opacity").toMap();
    EXPECT_EQ(opacity.value("count").toInt(), 2);
    EXPECT_DOUBLE_EQ(opacity.value("times").toList().value(1).toDouble(), 1.0);
    EXPECT_EQ(v1.value("effects").toList().size(), 1);
    EXPECT_EQ(controller.clipAt(3.0, 0.0).value("textContent").toString(), QStringLiteral("Hello"));

    for (const auto &[track, index] :
         {std::pair{-1.0, 0.0}, {0.0, 2.0}, {4.0, 0.0}, {qQNaN(), 0.0}, {1e300, 0.0}})
        EXPECT_TRUE(controller.clipAt(track, index).isEmpty()) << track << ", " << index;
}

TEST_F(ControllerBridge, TracksListHoldsRowsAndTransitionMaps)
{
    load(bridgeProject());
    controller.setTrackHeightScale(2, 2.0);
    controller.moveClip(0, 1, 1.5); // commits, so the overlap gets its crossfade
    const QVariantList tracks = controller.tracks();
    ASSERT_EQ(tracks.size(), 4);
    const QVariantMap video = tracks[0].toMap();
    EXPECT_EQ(video.value("type").toString(), QStringLiteral("video"));
    EXPECT_EQ(video.value("clips").toList().size(), 2);
    const QVariantList transitions = video.value("transitions").toList();
    ASSERT_EQ(transitions.size(), 1);
    const QVariantMap crossfade = transitions[0].toMap();
    expectFields(crossfade, {{"fromClipId", "v1"}, {"duration", 0.5}, {"start", 1.5}, {"overlapping", true}});
    EXPECT_TRUE(tracks[1].toMap().value("hidden").toBool());
    EXPECT_DOUBLE_EQ(tracks[2].toMap().value("heightScale").toDouble(), 2.0);

    controller.setTransitionParam(0, crossfade.value("id").toString(), QStringLiteral("smooth"), true);
    expectFields(controller.transitionBetweenClips(0, 0).value("params").toList().value(0).toMap(),
                 {{"id", "smooth"}, {"isBoolean", true}, {"value", true}});
}

TEST_F(ControllerBridge, SelectedClipFormsFollowTheSelection)
{
    load(bridgeProject());
    QSignalSpy data(&controller, &AppController::selectedClipDataChanged);
    EXPECT_TRUE(controller.selectedClipData().isEmpty());
    controller.selectClip(0, 0);
    EXPECT_GE(data.count(), 1);
    EXPECT_EQ(controller.selectedClipData().value("id").toString(), QStringLiteral("v1"));

    const QVariantList effects = controller.selectedClipEffects();
    ASSERT_EQ(effects.size(), 1);
    const QVariantMap blur = effects[0].toMap();
    EXPECT_EQ(blur.value("label").toString(), QStringLiteral("Blur"));
    const QVariantList params = blur.value("params").toList();
    ASSERT_EQ(params.size(), 2);
    expectFields(params[0].toMap(), {{"prop", "fx.0.inverted"}, {"isBoolean", true}});
    expectFields(params[1].toMap(), {{"prop", "fx.0.radius"}, {"isBoolean", false}});

    expectFields(controller.selectedClipAudioEffects().value(0).toMap(),
                 {{"catalogId", "afx.echo"}, {"missing", true}});
    controller.setAudioEffectCatalogLookup([](const QString &id) { return id == QLatin1String("afx.echo"); });
    expectFields(controller.selectedClipAudioEffects().value(0).toMap(), {{"missing", false}});

    EXPECT_EQ(controller.property("selection").toList(), selectionOf({{0, 0}}));
    controller.clearSelection();
    EXPECT_TRUE(controller.selectedClipEffects().isEmpty());
}

TEST_F(ControllerBridge, ModelsResetOnEveryTrackChangeAndShowTheSelectedTrack)
{
    load(bridgeProject());
    TimelineModel *timeline = controller.timelineModel();
    ClipListModel *clips = controller.clipListModel();
    QAbstractItemModelTester timelineTester(timeline,
                                            QAbstractItemModelTester::FailureReportingMode::Warning);
    QAbstractItemModelTester clipsTester(clips, QAbstractItemModelTester::FailureReportingMode::Warning);
    ASSERT_EQ(timeline->rowCount(), 4);
    EXPECT_EQ(timeline->data(timeline->index(1), TimelineModel::HiddenRole).toBool(), true);
    EXPECT_EQ(timeline->data(timeline->index(0), TimelineModel::ClipCountRole).toInt(), 2);
    EXPECT_FALSE(timeline->data(timeline->index(9), TimelineModel::TypeRole).isValid());

    EXPECT_EQ(clips->trackIndex(), 0);
    EXPECT_EQ(clips->data(clips->index(1), ClipListModel::StartRole).toDouble(), 1.5);
    EXPECT_EQ(clips->data(clips->index(0), ClipListModel::AssetIdRole).toString(), QStringLiteral("second"));

    QSignalSpy timelineResets(timeline, &QAbstractItemModel::modelReset);
    QSignalSpy clipResets(clips, &QAbstractItemModel::modelReset);
    controller.addTrack(QStringLiteral("shape"));
    EXPECT_GE(timelineResets.count(), 1);
    EXPECT_GE(clipResets.count(), 1);
    EXPECT_EQ(timeline->rowCount(), 5);
    EXPECT_EQ(timeline->data(timeline->index(0), TimelineModel::TypeRole).toString(),
              QStringLiteral("shape"));

    controller.selectClip(4, 0); // the text row, now at index 4
    EXPECT_EQ(clips->trackIndex(), 4);
    EXPECT_EQ(clips->data(clips->index(0), ClipListModel::KindRole).toString(), QStringLiteral("text"));
    EXPECT_EQ(clips->data(clips->index(0), ClipListModel::TextContentRole).toString(),
              QStringLiteral("Hello"));
    const int resets = clipResets.count();
    controller.selectClip(4, 0);
    EXPECT_EQ(clipResets.count(), resets); // same track: no reset
    controller.clearSelection();
    EXPECT_EQ(clips->trackIndex(), 0);
}

TEST_F(ControllerBridge, ShortcutOverlayKeepsDefaultsForUnknownIdsAndEmptyStrings)
{
    {
        QSettings settings;
        settings.setValue("shortcuts/save", "Ctrl+Alt+S");
        settings.setValue("shortcuts/undo", "");
        settings.setValue("shortcuts/bogus", "F1");
    }
    AppController reloaded(nullptr);
    EXPECT_EQ(reloaded.shortcutFor("save"), QStringLiteral("Ctrl+Alt+S"));
    EXPECT_EQ(reloaded.shortcutFor("undo"), QStringLiteral("Ctrl+Z"));
    EXPECT_TRUE(reloaded.shortcutFor("bogus").isEmpty());
    QVariantMap save; // the list QML shows carries the overlay too
    for (const QVariant &action : reloaded.actions())
        save = action.toMap().value("id") == "save" ? action.toMap() : save;
    expectFields(save, {{"label", "Save project"}, {"shortcut", "Ctrl+Alt+S"}});

    QSignalSpy changed(&reloaded, &AppController::shortcutsChanged);
    reloaded.setShortcut("unknown", "F2");
    EXPECT_EQ(changed.count(), 0);
    EXPECT_FALSE(QSettings().contains("shortcuts/unknown"));
    reloaded.setShortcut("split", "Ctrl+K");
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(reloaded.shortcutFor("split"), QStringLiteral("Ctrl+K"));
    EXPECT_EQ(QSettings().value("shortcuts/split").toString(), QStringLiteral("Ctrl+K"));
}

TEST_F(ControllerBridge, TriggeredActionsReachTheirSlots)
{
    load(bridgeProject());
    QSignalSpy save(&controller, &AppController::saveRequested);
    QSignalSpy open(&controller, &AppController::openRequested);
    controller.triggerAction("save");
    controller.triggerAction("open");
    controller.triggerAction("no such action");
    EXPECT_EQ(save.count(), 1);
    EXPECT_EQ(open.count(), 1);

    controller.triggerAction("playPause");
    EXPECT_TRUE(controller.playing());
    controller.triggerAction("playPause");
    controller.triggerAction("toggleGuides");
    EXPECT_TRUE(controller.guidesEnabled());
    EXPECT_TRUE(QSettings().value("preview/guidesEnabled").toBool());

    controller.selectClip(3, 0);
    controller.triggerAction("nudgeRight");
    EXPECT_EQ(doc().tracks[3].clips[0].timelineStartUs, 100000);
    controller.triggerAction("undo");
    EXPECT_EQ(doc().tracks[3].clips[0].timelineStartUs, 0);
    controller.triggerAction("delete");
    EXPECT_TRUE(doc().tracks[3].clips.isEmpty());
}

TEST_F(ControllerBridge, TrimCursorOverridesOnceAndRestores)
{
    controller.setTimelineTrimCursor(-1);
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->pixmap().height(), 28);
    controller.setTimelineTrimCursor(-1, 0); // unchanged: no second override on the stack
    controller.setTimelineTrimCursor(1, 40);
    EXPECT_EQ(QGuiApplication::overrideCursor()->pixmap().height(), 40);
    controller.setTimelineTrimCursor(0);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);

    QSignalSpy dragging(&controller, &AppController::draggingAssetIndexChanged);
    controller.setDraggingAssetIndex(2);
    controller.setDraggingAssetIndex(2);
    EXPECT_EQ(dragging.count(), 1);
}

TEST(TrackMapsCache, ReadsEqualAFreshBuildThroughEditsMovesAndAssetChanges)
{
    Project project = bridgeProject();
    TrackMapsCache cache;
    EXPECT_EQ(cache.tracks(project), tracksToList(project));

    // A write to one clip detaches that track's list only; the result must show the new value.
    project.tracks[0].clips[1].name = QStringLiteral("renamed");
    QVariantList read = cache.tracks(project);
    EXPECT_EQ(read, tracksToList(project));
    EXPECT_EQ(read[0].toMap().value("clips").toList()[1].toMap().value("name").toString(),
              QStringLiteral("renamed"));

    project.tracks.move(3, 0); // rows move with their clips
    EXPECT_EQ(cache.tracks(project), tracksToList(project));

    // Asset lengths and rows feed every clip map: a changed asset table maps everything again.
    project.asset(QStringLiteral("second"))->durationUs = 12000000;
    project.assetOrder.move(1, 0);
    read = cache.tracks(project);
    EXPECT_EQ(read, tracksToList(project));
    expectFields(read[1].toMap().value("clips").toList()[0].toMap(),
                 {{"sourceDuration", 12.0}, {"assetIndex", 0}});
}

// The preview lists visible visual clips bottom track first; the active clips skip hidden and
// muted rows.
TEST_F(ControllerBridge, ClipsUnderThePlayheadSkipHiddenAndMutedRows)
{
    Project project = bridgeProject();
    project.tracks[0].clips[1].x = constantProperty(300);
    project.tracks[0].clips[1].rotation = constantProperty(15);
    load(project);
    controller.setPlayheadSeconds(1.75);
    const QVariantList rows = controller.previewClipsAtPlayhead();
    ASSERT_EQ(rows.size(), 3); // the hidden row and the audio row give none
    expectFields(rows[0].toMap(), {{"track", 3}, {"kind", "text"}, {"pixelSize", 64}});
    // An empty width reads as the canvas width.
    expectFields(rows[2].toMap(), {{"track", 0},
                                   {"clip", 1},
                                   {"x", 300.0},
                                   {"rotation", 15.0},
                                   {"width", 1920.0},
                                   {"canvasHeight", 1080},
                                   {"pixelSize", 0}});

    EXPECT_EQ(controller.activeVideoClipAtPlayhead().value("id").toString(), QStringLiteral("v2"));
    EXPECT_EQ(controller.activeAudioClipAtPlayhead().value("id").toString(), QStringLiteral("s"));
    controller.setTrackMuted(2, true);
    EXPECT_TRUE(controller.activeAudioClipAtPlayhead().isEmpty());
    controller.setPlayheadSeconds(6.0); // only the hidden row has a clip here
    EXPECT_TRUE(controller.activeVideoClipAtPlayhead().isEmpty());
}

// QML binds the transition inspector to these three; all must be told when a clip selection
// clears the transition.
TEST_F(ControllerBridge, SelectingAClipAnnouncesTheClearedTransition)
{
    load(bridgeProject());
    const QMetaObject *meta = controller.metaObject();
    for (const char *name :
         {"selectedTransitionData", "selectedTransitionTrack", "selectedTransitionLeftClip"})
        EXPECT_EQ(meta->property(meta->indexOfProperty(name)).notifySignal().name(),
                  QByteArray("selectedTransitionDataChanged"))
            << name;

    controller.selectTransition(0, 0);
    ASSERT_EQ(controller.selectedTransitionTrack(), 0);
    QSignalSpy transition(&controller, &AppController::selectedTransitionDataChanged);
    controller.selectClip(0, 1);
    EXPECT_EQ(transition.count(), 1);
    EXPECT_EQ(controller.selectedTransitionTrack(), -1);
    EXPECT_EQ(controller.selectedTransitionLeftClip(), -1);
    EXPECT_TRUE(controller.selectedTransitionData().isEmpty());
}
