// Structural edits through the controller's slots: tracks, transitions, bookmarks and the canvas.
// The pure rules (partners, durations, pinning, crop shifts) have their own suite; these cases
// check that the slots apply them, keep the selection's indices right and say the right words.
#include "ControllerFixture.h"

#include <QSettings>
#include <QSignalSpy>

#include <tuple>

using namespace fixture;

class ControllerTracks : public ControllerTest
{
protected:
    // Video a|b touching, a second video row with c, an audio row with d.
    void loadThreeRows()
    {
        load(makeProject(
            {makeTrack(TrackType::video, {makeClip("a", 0, 2000000), makeClip("b", 2000000, 3000000)}),
             makeTrack(TrackType::video, {makeClip("c", 0, 1000000)}),
             makeTrack(TrackType::audio, {makeClip("d", 0, 1000000, ClipType::audio)})}));
    }
};

TEST_F(ControllerTracks, HeightScaleClampsAndIgnoresFuzzilyEqualValues)
{
    loadThreeRows();
    QSignalSpy tracks(&controller, &AppController::tracksChanged);
    controller.setTrackHeightScale(0, 9.0);
    EXPECT_DOUBLE_EQ(doc().tracks[0].heightScale, 4.0);
    controller.setTrackHeightScale(0, 0.1);
    EXPECT_DOUBLE_EQ(doc().tracks[0].heightScale, 0.6);
    EXPECT_EQ(tracks.count(), 2);
    controller.setTrackHeightScale(0, 0.6 + 1e-15);
    controller.setTrackHeightScale(0, 0.2); // clamps to the value it already has
    EXPECT_EQ(tracks.count(), 2);
    EXPECT_EQ(entries(), 0); // a display setting, not an edit

    controller.setTrackHeightScale(1, 1.0);
    controller.nudgeTrackHeightScale(1, 2);
    EXPECT_NEAR(doc().tracks[1].heightScale, 1.18 * 1.18, 1e-12);
    controller.nudgeTrackHeightScale(1, 20);
    EXPECT_DOUBLE_EQ(doc().tracks[1].heightScale, 4.0);
    controller.nudgeTrackHeightScale(9, 1); // a bad index is ignored
}

TEST_F(ControllerTracks, AddTrackGoesOnTopAndEveryIndexFollows)
{
    loadThreeRows();
    controller.selectClip(1, 0);
    controller.addToSelection(2, 0);
    controller.selectTransition(0, 0);
    controller.addTrack(QStringLiteral(" Video "));

    ASSERT_EQ(doc().tracks.size(), 4);
    EXPECT_TRUE(doc().tracks[0].clips.isEmpty());
    EXPECT_EQ(doc().tracks[2].clips[0].id, QStringLiteral("c"));
    EXPECT_EQ(controller.selectedTrack(), 3);
    EXPECT_EQ(controller.selectedClip(), 0);
    EXPECT_TRUE(controller.selectionContains(2, 0));
    EXPECT_TRUE(controller.selectionContains(3, 0));
    EXPECT_EQ(controller.selectedTransitionTrack(), 1);
    expectWords("Add track", "Track added");

    controller.addTrack(QStringLiteral("timeline"));
    EXPECT_EQ(entries(), 1);
}

TEST_F(ControllerTracks, RemoveAndMoveTrackCorrectTheSelection)
{
    loadThreeRows();
    controller.setSelection(selectionOf({{0, 1}, {2, 0}}));
    controller.removeTrack(1);
    ASSERT_EQ(doc().tracks.size(), 2);
    EXPECT_TRUE(controller.selectionContains(0, 1));
    EXPECT_TRUE(controller.selectionContains(1, 0));
    EXPECT_EQ(controller.selectedTrack(), 1);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Track deleted"));

    controller.removeTrack(1); // the primary's track goes: the rest of the selection stays
    EXPECT_EQ(controller.selectedTrack(), 0);
    EXPECT_EQ(controller.selectedClip(), 1);

    controller.undo();
    controller.undo();
    ASSERT_EQ(doc().tracks.size(), 3);
    controller.selectClip(2, 0);
    controller.selectTransition(0, 0);
    controller.moveTrack(2, 0);
    EXPECT_EQ(doc().tracks[0].type, TrackType::audio);
    EXPECT_EQ(doc().tracks[1].clips[0].id, QStringLiteral("a"));
    EXPECT_EQ(controller.selectedTrack(), 0);
    EXPECT_EQ(controller.selectedTransitionTrack(), 1);
    EXPECT_EQ(undoText(), QStringLiteral("Move track"));

    const int count = entries();
    controller.moveTrack(1, 1);
    controller.moveTrack(0, 3);
    EXPECT_EQ(entries(), count);
}

TEST_F(ControllerTracks, MuteAndHideAreUndoableWithTheirOwnWords)
{
    loadThreeRows();
    controller.setTrackMuted(2, true);
    EXPECT_TRUE(doc().tracks[2].muted);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Track muted"));
    controller.setTrackHidden(0, true);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Track hidden"));
    controller.setTrackHidden(0, false);
    expectWords("Track visibility", "Track shown");
    controller.undo();
    EXPECT_TRUE(doc().tracks[0].hidden);

    const int count = entries();
    controller.setTrackShowWaveform(2, true); // a display setting, not an edit
    EXPECT_TRUE(doc().tracks[2].showWaveform);
    EXPECT_EQ(entries(), count);
}

TEST_F(ControllerTracks, AddTransitionNeedsATouchingPartnerAndReplacesInPlace)
{
    load(makeProject({makeTrack(TrackType::video, {makeClip("a", 0, 2000000), makeClip("b", 2000000, 3000000),
                                                   makeClip("far", 9000000, 1000000)}),
                      makeTrack(TrackType::audio, {makeClip("s", 0, 1000000, ClipType::audio),
                                                   makeClip("t", 1000000, 1000000, ClipType::audio)})}));
    controller.addTransition(0, 2, QStringLiteral("crossfade"), 1.0); // no right partner
    controller.addTransition(1, 0, QStringLiteral("crossfade"), 1.0); // audio rows take none
    EXPECT_EQ(entries(), 0);

    controller.addTransition(0, 0, QStringLiteral("dip_to_black"), 0.02);
    ASSERT_EQ(doc().tracks[0].transitions.size(), 1);
    const Transition added = doc().tracks[0].transitions[0];
    EXPECT_EQ(added.kind, QStringLiteral("dip_to_black"));
    EXPECT_EQ(added.durationUs, 100000);
    EXPECT_EQ(added.toClipId, QStringLiteral("b"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Transition added"));
    EXPECT_EQ(controller.selectedTransitionLeftClip(), 0);
    EXPECT_EQ(controller.selectedTransitionData().value("id").toString(), added.id);

    controller.setTransitionParam(0, added.id, QStringLiteral("softness"), 0.4);
    controller.addTransition(0, 0, QStringLiteral("wipe_left"), 2.0);
    ASSERT_EQ(doc().tracks[0].transitions.size(), 1);
    const Transition replaced = doc().tracks[0].transitions[0];
    EXPECT_EQ(replaced.id, added.id);
    EXPECT_EQ(replaced.kind, QStringLiteral("wipe_left"));
    EXPECT_TRUE(replaced.parameters.isEmpty());
    expectWords("Replace transition", "Transition updated");
    // A kind no package provides is added as the crossfade, which always draws.
    controller.addTransition(0, 0, QStringLiteral("wipe.left"), 2.0);
    EXPECT_EQ(doc().tracks[0].transitions[0].kind, QStringLiteral("crossfade"));

    // The inspector's list: every package with its strip and its parameters.
    const QVariantList kinds = controller.transitionKinds();
    const auto wipe = std::find_if(kinds.cbegin(), kinds.cend(),
                                   [](const QVariant &k) { return k.toMap().value("kind") == "wipe_left"; });
    ASSERT_NE(wipe, kinds.cend());
    EXPECT_EQ(wipe->toMap().value("previewFrames").toInt(), 8);
    EXPECT_EQ(wipe->toMap().value("params").toList().value(0).toMap().value("key"), "u_softness");
    EXPECT_EQ(controller.transitionCategories().value(0).toMap().value("label"), "Basic");

    controller.removeTransition(0, added.id);
    EXPECT_TRUE(doc().tracks[0].transitions.isEmpty());
    EXPECT_TRUE(controller.transitionBetweenClips(0, 0).isEmpty());
}

TEST_F(ControllerTracks, TransitionDurationMovesTheRightClipAndItsPartner)
{
    Clip right = makeClip("b", 1500000, 3000000);
    right.linkId = QStringLiteral("link");
    load(makeProject({makeTrack(TrackType::video, {makeClip("a", 0, 2000000), right}),
                      makeTrack(TrackType::audio, {linkedAudioOf(right)})}));
    controller.addTransition(0, 0, QStringLiteral("crossfade"), 3.0);
    const QVariantMap before = controller.transitionBetweenClips(0, 0); // the overlap, not the request
    expectFields(before, {{"duration", 0.5}, {"overlapping", true}, {"start", 1.5}});

    const QString id = before.value("id").toString();
    controller.setTransitionDuration(0, id, 0.8);
    EXPECT_EQ(starts(0), (QList<TimeUs>{0, 1200000}));
    EXPECT_EQ(starts(1), QList<TimeUs>{1200000});
    EXPECT_EQ(doc().tracks[0].transitions[0].durationUs, 800000);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Transition duration updated"));

    controller.setTransitionKind(0, id, QStringLiteral("hold"));
    EXPECT_EQ(doc().tracks[0].transitions[0].kind, QStringLiteral("hold"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Transition kind updated"));
    const int count = entries();
    controller.setTransitionDuration(0, QStringLiteral("missing"), 1.0);
    controller.setTransitionKind(5, id, QStringLiteral("dip"));
    EXPECT_EQ(entries(), count);
}

TEST_F(ControllerTracks, BookmarksAppendWithADefaultLabelAndSeek)
{
    QSignalSpy bookmarks(&controller, &AppController::bookmarksChanged);
    controller.addBookmark(4.0, QString());
    controller.addBookmark(1.5, QStringLiteral("Drop"));
    ASSERT_EQ(doc().bookmarks.size(), 2);
    EXPECT_EQ(doc().bookmarks[0].label, QStringLiteral("Bookmark"));
    EXPECT_EQ(doc().bookmarks[1].timeUs, 1500000); // appended, not sorted
    EXPECT_GE(bookmarks.count(), 2);
    EXPECT_DOUBLE_EQ(controller.bookmarks().value(1).toMap().value("seconds").toDouble(), 1.5);

    controller.goToBookmark(0);
    EXPECT_DOUBLE_EQ(controller.playheadSeconds(), 4.0);
    controller.removeBookmark(0);
    EXPECT_EQ(doc().bookmarks[0].label, QStringLiteral("Drop"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Bookmark removed"));
    controller.removeBookmark(3);
    EXPECT_EQ(doc().bookmarks.size(), 1);
}

// Clamping, pinning and the crop's shift are the canvas rules; the slots add the frame rate's
// clamp, whole-pixel rounding of the crop and no entry when nothing changes.
TEST_F(ControllerTracks, ProjectSetupAndCropClampPinAndSkipNoChange)
{
    Clip title = makeClip("title", 0, 1000000, ClipType::text);
    title.x = constantProperty(500);
    load(makeProject(
        {makeTrack(TrackType::video, {makeClip("v", 0, 1000000)}), makeTrack(TrackType::text, {title})}));
    controller.setProjectSetup(9000, 8, 500);
    EXPECT_EQ(std::tuple(doc().width, doc().height, doc().fps), std::tuple(7680, 16, 240));
    EXPECT_EQ(clip(0, 0).width, constantProperty(1920)); // pinned at the old canvas
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Project setup updated"));

    const int count = entries();
    controller.setProjectSetup(7680, 16, 240);
    controller.setProjectResolution(8000, 2);
    EXPECT_EQ(entries(), count);
    controller.setProjectResolution(1920, 1080);
    EXPECT_EQ(doc().fps, 240);
    controller.applyCanvasCrop(99.6, 0.2, 1280.4, 720);
    EXPECT_EQ(std::tuple(doc().width, doc().height), std::tuple(1280, 720));
    EXPECT_EQ(clip(1, 0).x, constantProperty(400));
    EXPECT_TRUE(clip(1, 0).y.isEmpty()); // 0.2 rounds to no shift at all
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Video size cropped to 1280×720"));
    controller.applyCanvasCrop(0, 0, 1280, 720);
    EXPECT_EQ(entries(), count + 2);
}

TEST_F(ControllerTracks, FirstAssetSetupAndItsSuggestion)
{
    Asset portrait = makeAsset("portrait", AssetKind::video, 1920, 1080);
    portrait.rotationDegrees = 90;
    load(makeProject({makeTrack(TrackType::video)}, {portrait, makeAsset("song", AssetKind::audio, 0, 0),
                                                     makeAsset("wide", AssetKind::image, 2390, 1000)}));
    EXPECT_TRUE(controller.shouldConfigureProjectForAsset(0));
    EXPECT_FALSE(controller.shouldConfigureProjectForAsset(1));
    EXPECT_FALSE(controller.shouldConfigureProjectForAsset(7));
    expectFields(controller.suggestedProjectSetupForAsset(0),
                 {{"width", 1080}, {"height", 1920}, {"aspect", "9:16"}, {"fps", 25.0}, {"kind", "video"}});
    expectFields(controller.suggestedProjectSetupForAsset(2), {{"aspect", "source"}});
    expectFields(controller.suggestedProjectSetupForAsset(-1), {{"aspect", "custom"}, {"width", 1920}});

    QSignalSpy chosen(&controller, &AppController::projectLayoutChosenChanged);
    controller.markProjectLayoutChosen();
    EXPECT_EQ(chosen.count(), 1);
    EXPECT_FALSE(controller.shouldConfigureProjectForAsset(0));
}

TEST_F(ControllerTracks, BackgroundAndMetadata)
{
    QSignalSpy background(&controller, &AppController::backgroundChanged);
    controller.setBackground({{"kind", "blur"}, {"color", "#ff336699"}, {"blurStrength", 35}});
    EXPECT_EQ(doc().background.kind, BackgroundKind::blur);
    EXPECT_EQ(doc().background.color, QColor(0x33, 0x66, 0x99));
    EXPECT_DOUBLE_EQ(doc().background.blurStrength, 35.0);
    EXPECT_EQ(controller.background().value("kind").toString(), QStringLiteral("blur"));
    EXPECT_GE(background.count(), 1);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Background updated"));

    controller.setProjectMetadata(QStringLiteral("Trip"), QStringLiteral("Ana"), QStringLiteral("Summer"));
    EXPECT_EQ(QSettings().value("authorName").toString(), QStringLiteral("Ana")); // the next project's author
}
