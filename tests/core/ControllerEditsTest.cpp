// Timeline edits driven through the controller's slots the way QML calls them: seconds in,
// signals and the resulting document out. The pure rules behind them have their own suites; these
// cases check the wiring: partners, selection, undo entries and the words the user sees.
#include "ControllerFixture.h"

#include <QSignalSpy>

#include <functional>

using namespace fixture;

namespace {

// A video track and an audio track; the asset table holds a video ("vid") and an image ("img").
Project editsProject(const QList<Clip> &videoClips, const QList<Clip> &audioClips = {})
{
    return makeProject({makeTrack(TrackType::video, videoClips), makeTrack(TrackType::audio, audioClips)},
                       {makeAsset("vid", AssetKind::video), makeAsset("img", AssetKind::image)});
}

Clip linkedVideo(const QString &id, TimeUs startUs, TimeUs durationUs)
{
    Clip video = mediaClip(id, startUs, durationUs);
    video.linkId = QStringLiteral("link");
    return video;
}

} // namespace

class ControllerEdits : public ControllerTest
{};

TEST_F(ControllerEdits, MoveTakesLinkedPartnersAndTheSelectionAlong)
{
    const Clip video = linkedVideo("v", 1000000, 2000000);
    load(editsProject({video, mediaClip("w", 6000000, 1000000)}, {linkedAudioOf(video)}));
    QSignalSpy tracks(&controller, &AppController::tracksChanged);
    QSignalSpy message(&controller, &AppController::lastMessageChanged);

    controller.moveClip(0, 0, 3.5); // the partner follows; an unselected neighbour does not
    EXPECT_EQ(starts(0), (QList<TimeUs>{3500000, 6000000}));
    EXPECT_EQ(starts(1), QList<TimeUs>{3500000});
    expectWords("Clip moved", "Clip moved");
    EXPECT_GE(tracks.count(), 1);
    EXPECT_EQ(message.count(), 1);

    // With both video clips selected, moving one moves the other by the same delta, floored at 0.
    controller.setSelection(selectionOf({{0, 0}, {0, 1}}));
    controller.moveClip(0, 1, 1.0);
    EXPECT_EQ(starts(0), (QList<TimeUs>{0, 1000000}));
    EXPECT_EQ(starts(1), QList<TimeUs>{0});
    EXPECT_EQ(message.count(), 1); // same text again: no new toast from the refresh

    controller.moveClip(7, 0, 1.0); // bad indices are ignored
    controller.moveClip(0, 9, 1.0);
    EXPECT_EQ(entries(), 2);
}

TEST_F(ControllerEdits, SplitAtPlayheadCutsALinkedPairOnceWithAFreshSharedLink)
{
    const Clip video = linkedVideo("v", 0, 4000000);
    load(editsProject({video}, {linkedAudioOf(video)}));
    controller.setPlayheadSeconds(1.5);
    controller.splitAtPlayhead();

    ASSERT_EQ(doc().tracks[0].clips.size(), 2);
    ASSERT_EQ(doc().tracks[1].clips.size(), 2);
    EXPECT_EQ(clip(0, 0).linkId, QStringLiteral("link"));
    EXPECT_EQ(clip(1, 0).linkId, QStringLiteral("link"));
    EXPECT_FALSE(clip(0, 1).linkId.isEmpty());
    EXPECT_NE(clip(0, 1).linkId, QStringLiteral("link"));
    EXPECT_EQ(clip(0, 1).linkId, clip(1, 1).linkId);
    EXPECT_EQ(starts(0), (QList<TimeUs>{0, 1500000}));
    EXPECT_EQ(clip(1, 1).srcInUs, 2500000);
    expectWords("Split at current time", "Split at current time");

    controller.setPlayheadSeconds(10.0);
    controller.splitAtPlayhead();
    EXPECT_EQ(entries(), 1); // one entry for the pair, none for the refusal
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Nothing to split here — move to a clip first"));
}

// Where a split is refused is the split core's rule; the slots must push nothing then, and the
// one-sided splits keep the half they name.
TEST_F(ControllerEdits, SplitsRefuseNearTheEdgesAndKeepOneSideOnRequest)
{
    load(editsProject({mediaClip("a", 1000000, 2000000)}));
    controller.splitClipAt(0, 0, usToSeconds(2950000)); // 50 ms from the end
    EXPECT_EQ(entries(), 0);

    controller.splitClipLeftAt(0, 0, 2.0);
    EXPECT_EQ(starts(0), QList<TimeUs>{2000000});
    EXPECT_EQ(clip(0, 0).srcInUs, 2000000);
    EXPECT_NE(clip(0, 0).id, QStringLiteral("a"));
    EXPECT_EQ(undoText(), QStringLiteral("Split left"));

    controller.selectClip(0, 0);
    controller.setPlayheadSeconds(2.5);
    controller.alignSelectedClipRight();
    EXPECT_EQ(clip(0, 0).timelineEndUs(), 2500000);
    EXPECT_EQ(undoText(), QStringLiteral("Split right"));

    // The snap slot reads the switch and the beat times; the candidates are the snap rule's.
    EXPECT_DOUBLE_EQ(controller.snapTime(2.4), 2.5);
    controller.setSnapEnabled(false);
    EXPECT_NEAR(controller.snapTime(2.4), 2.4, 1e-6);
    controller.setSnapEnabled(true);
    controller.setBeatSnapTimes({5000000});
    EXPECT_DOUBLE_EQ(controller.snapTime(4.9), 5.0);
}

TEST_F(ControllerEdits, ATrimGestureIsOneUndoEntryAndMarksTheDocument)
{
    const Clip video = linkedVideo("v", 1000000, 2000000); // source 1..3 s of a 20 s file
    load(editsProject({video}, {linkedAudioOf(video)}));
    const QByteArray untrimmed = documentJson();
    QSignalSpy dirty(&controller, &AppController::dirtyChanged);

    controller.trimClipRight(0, 0, 3.1); // under 150 ms: snaps back to its own end, no change
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 2000000);
    EXPECT_EQ(entries(), 0);
    EXPECT_FALSE(controller.hasUnsavedChanges());

    // Every mouse move of the gesture trims; together they leave one entry.
    for (double end : {5.0, 9.0, 60.0})
        controller.trimClipRight(0, 0, end);
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 19000000);
    EXPECT_EQ(clip(0, 0).srcOutUs, 20000000);
    EXPECT_EQ(clip(1, 0).timelineDurationUs, 19000000); // the partner follows
    EXPECT_EQ(entries(), 1);
    EXPECT_TRUE(controller.hasUnsavedChanges());
    EXPECT_GE(dirty.count(), 1);
    const QByteArray trimmed = documentJson();

    controller.undo();
    EXPECT_EQ(documentJson(), untrimmed);
    controller.redo();
    EXPECT_EQ(documentJson(), trimmed);

    // The other edge is another gesture.
    controller.trimClipLeft(0, 0, 0.0); // 1 s earlier needs the 1 s before the in point
    EXPECT_EQ(clip(0, 0).timelineStartUs, 0);
    EXPECT_EQ(clip(0, 0).srcInUs, 0);
    EXPECT_EQ(entries(), 2);
    controller.undo();
    EXPECT_EQ(documentJson(), trimmed);
}

TEST_F(ControllerEdits, PasteCanOverlapAndNormalisationCrossfadesIt)
{
    load(editsProject({mediaClip("a", 0, 2000000)}));
    controller.selectClip(0, 0);
    controller.copySelection();
    controller.setPlayheadSeconds(1.5);
    controller.pasteAtPlayhead();

    EXPECT_EQ(starts(0), (QList<TimeUs>{0, 1500000}));
    EXPECT_NE(clip(0, 1).id, QStringLiteral("a"));
    ASSERT_EQ(doc().tracks[0].transitions.size(), 1);
    EXPECT_EQ(doc().tracks[0].transitions[0].durationUs, 500000);
    expectWords("Paste", "Pasted 1 clip(s)");
    EXPECT_EQ(controller.selectedClip(), 1);

    // Cutting removes the clip, and the crossfade that named it goes with it.
    controller.selectClip(0, 0);
    controller.cutSelection();
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip deleted"));
    EXPECT_TRUE(doc().tracks[0].transitions.isEmpty());
    controller.undo(); // the entry holds the normalised document: the crossfade comes back
    EXPECT_EQ(doc().tracks[0].transitions.size(), 1);
}

// Which clips continue each other is the merge rule's; the slot must find the pair whatever the
// selection's order, take a lone clip's continuation, and merge linked halves pairwise.
TEST_F(ControllerEdits, MergeJoinsSelectedHalvesAndLinkedPairsPairwise)
{
    const Clip video = linkedVideo("v", 0, 4000000);
    load(editsProject({video, mediaClip("b", 6000000, 2000000)}, {linkedAudioOf(video)}));
    controller.splitClipAt(0, 1, 7.0); // b | b2, appended as clip 2
    controller.setSelection(selectionOf({{0, 2}, {0, 1}}));
    ASSERT_TRUE(controller.canMergeSelection());
    controller.mergeSelectedClips();
    ASSERT_EQ(ids(0), (QStringList{"v", "b"}));
    EXPECT_EQ(clip(0, 1).srcOutUs, 3000000);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clips merged"));

    controller.splitClipAt(0, 1, 7.0);
    controller.selectClip(0, 1); // alone: merges with whichever clip continues it
    ASSERT_TRUE(controller.canMergeSelection());
    controller.mergeSelectedClips();
    EXPECT_EQ(ids(0).size(), 2);
    controller.setSelection(selectionOf({{0, 0}, {0, 1}})); // they do not continue each other
    EXPECT_FALSE(controller.canMergeSelection());

    controller.setPlayheadSeconds(1.5);
    controller.splitAtPlayhead();
    controller.selectClip(0, 0); // the left video and its left audio partner
    ASSERT_EQ(controller.selectedClips().size(), 2);
    ASSERT_TRUE(controller.canMergeSelection());
    controller.mergeSelectedClips();
    for (int track : {0, 1}) {
        EXPECT_EQ(clip(track, 0).timelineDurationUs, 4000000);
        EXPECT_EQ(clip(track, 0).srcOutUs, 5000000);
    }
    EXPECT_EQ(ids(0).size(), 2);
    EXPECT_EQ(ids(1).size(), 1);
    EXPECT_EQ(clip(0, 0).linkId, clip(1, 0).linkId);
    EXPECT_EQ(controller.selectedTrack(), 0);
}

TEST_F(ControllerEdits, UndoPrunesTheSelectionAndTheFiftyFirstEditDropsTheOldestEntry)
{
    load(editsProject({mediaClip("a", 0, 1000000)}));
    QSignalSpy selection(&controller, &AppController::selectionChanged);
    controller.setPlayheadSeconds(5.0);
    controller.addClipFromAsset(0);
    EXPECT_EQ(controller.selectedClip(), 1);
    EXPECT_TRUE(controller.hasUnsavedChanges());
    selection.clear();
    controller.undo();
    EXPECT_EQ(doc().tracks[0].clips.size(), 1);
    EXPECT_EQ(controller.selectedClip(), -1);
    EXPECT_TRUE(controller.selectedClips().isEmpty());
    EXPECT_GE(selection.count(), 1);
    controller.redo();
    EXPECT_EQ(doc().tracks[0].clips.size(), 2);
    controller.undo();

    controller.selectClip(0, 0);
    for (int i = 0; i < 51; ++i)
        controller.nudgeSelection(0.1);
    EXPECT_EQ(clip(0, 0).timelineStartUs, 5100000);
    EXPECT_EQ(entries(), 50);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Selection nudged"));
    while (controller.undoAvailable())
        controller.undo();
    EXPECT_EQ(clip(0, 0).timelineStartUs, 100000); // the first nudge can no longer be undone
    controller.nudgeSelection(1e-13);
    EXPECT_EQ(controller.undoStack()->index(), 0);
}

TEST_F(ControllerEdits, ACancelledDragRestoresTheExactDocument)
{
    load(editsProject({mediaClip("a", 0, 2000000), mediaClip("b", 1900000, 1000000)}));
    controller.moveClip(0, 1, usToSeconds(1900000)); // normalises: a 100 ms crossfade appears
    ASSERT_EQ(doc().tracks[0].transitions.size(), 1);
    const QByteArray before = documentJson();
    const int count = entries();

    controller.beginPreviewDrag(QStringLiteral("Move clip"));
    controller.previewSetClipPosition(0, 1, 300, 200);
    controller.previewSetClipFade(0, 1, 0.5, 0.25);
    controller.previewSetClipSpeed(0, 1, 2.0);
    EXPECT_EQ(clip(0, 1).fadeInUs, 500000);
    controller.cancelPreviewDrag();
    EXPECT_EQ(documentJson(), before);
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(entries(), count);

    // A slot outside a transaction opens one with its own undo text; commit pushes one entry.
    controller.previewSetClipFade(0, 1, 0.3, 0.0);
    controller.previewSetClipFade(0, 1, 0.4, 0.0);
    EXPECT_TRUE(controller.dragActive());
    controller.commitPreviewDrag();
    EXPECT_EQ(entries(), count + 1);
    EXPECT_EQ(undoText(), QStringLiteral("Adjust fade"));
    controller.undo();
    EXPECT_EQ(documentJson(), before);

    // Begin and commit with no change still records an entry; commit without a drag does nothing.
    controller.beginPreviewDrag();
    controller.commitPreviewDrag();
    EXPECT_EQ(undoText(), QStringLiteral("Edit clip"));
    const int after = entries();
    controller.commitPreviewDrag();
    EXPECT_EQ(entries(), after);
}

TEST_F(ControllerEdits, AddingFromAssetsPlacesOnTheHomeTrack)
{
    load(editsProject({mediaClip("a", 0, 2000000)}));
    controller.setPlayheadSeconds(1.0);
    EXPECT_EQ(controller.trackTypeForAsset(1), QStringLiteral("shape"));
    EXPECT_FALSE(controller.trackAcceptsAsset(0, 1));
    EXPECT_TRUE(controller.trackAcceptsAsset(0, 0));

    controller.addClipFromAsset(0); // the playhead is inside "a": slides to its end
    ASSERT_EQ(starts(0), (QList<TimeUs>{0, 2000000}));
    EXPECT_EQ(clip(0, 1).srcOutUs, 20000000);
    EXPECT_DOUBLE_EQ(clip(0, 1).width.keyframes.first().value, 1920.0);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip added"));

    controller.addClipFromAsset(1); // an image and no shape track: one is appended
    ASSERT_EQ(doc().tracks.size(), 3);
    EXPECT_EQ(doc().tracks[2].type, TrackType::shape);
    EXPECT_EQ(clip(2, 0).timelineDurationUs, 5000000);
    controller.undo();
    EXPECT_EQ(doc().tracks.size(), 2);
    EXPECT_EQ(doc().assetOrder.size(), 2);

    const int count = entries();
    controller.addClipFromAssetAt(1, 0, 3.0); // a video track does not take an image
    EXPECT_EQ(entries(), count);
    controller.addClipFromAssetOnNewTrack(0, 7.0);
    EXPECT_EQ(doc().tracks[0].type, TrackType::video);
    EXPECT_EQ(clip(0, 0).timelineStartUs, 7000000);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip added on new track"));
}

TEST_F(ControllerEdits, GeneratedClipsTextEmojiAndShapes)
{
    load(editsProject({}));
    controller.setPlayheadSeconds(20.0);
    QSignalSpy inlineEdit(&controller, &AppController::inlineTextEditRequested);
    controller.addTextClip(QString(), 2.0);
    ASSERT_EQ(doc().tracks[0].type, TrackType::text);
    EXPECT_EQ(clip(0, 0).textContent, QStringLiteral("Your text here"));
    EXPECT_EQ(clip(0, 0).timelineStartUs, 2000000);
    EXPECT_DOUBLE_EQ(controller.playheadSeconds(), 2.0); // it was outside the new clip
    ASSERT_EQ(inlineEdit.count(), 1);
    EXPECT_EQ(inlineEdit.at(0).at(0).toInt(), 0);

    controller.addSubtitleClip(-1);
    ASSERT_EQ(doc().tracks[0].type, TrackType::subtitle);
    EXPECT_EQ(clip(0, 0).name, QStringLiteral("Subtitles"));
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 30000000);

    const int count = entries();
    controller.addEmojiClip(QStringLiteral("\U0001F600"), QStringLiteral("grin"), 0);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Install the emoji sticker pack to add emoji"));
    EXPECT_EQ(entries(), count);

    controller.setShapeAspectResolver([](int) { return 4.0; });
    controller.addShapeClipAt(QStringLiteral("rectangle"), 1, 1.0); // track 1 takes no shapes
    ASSERT_EQ(doc().tracks[0].type, TrackType::shape);
    EXPECT_DOUBLE_EQ(clip(0, 0).width.keyframes.first().value, 1920 * 0.6);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Shape added"));
}

TEST_F(ControllerEdits, FreezeFrameCapturesThroughTheStillSource)
{
    load(editsProject({mediaClip("a", 0, 4000000)}));
    controller.setPlayheadSeconds(9.0);
    controller.freezeFrameAtPlayhead();
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("No video at the current time"));

    QString askedPath;
    TimeUs askedUs = -1;
    controller.setStillFrameSource([&](const QString &path, TimeUs sourceUs) {
        askedPath = path;
        askedUs = sourceUs;
        return QStringLiteral("/tmp/still.png");
    });
    controller.setPlayheadSeconds(1.5);
    QSignalSpy tracks(&controller, &AppController::tracksChanged);
    controller.freezeFrameAtPlayhead();
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Capturing freeze frame"));
    ASSERT_TRUE(tracks.wait(5000));
    EXPECT_EQ(askedPath, QStringLiteral("/media/vid.mp4"));
    EXPECT_EQ(askedUs, 2500000);
    ASSERT_EQ(doc().tracks.size(), 3);
    const Clip &still = clip(2, 0);
    EXPECT_EQ(still.type, ClipType::image);
    EXPECT_EQ(still.name, QStringLiteral("Freeze frame"));
    EXPECT_EQ(still.path, QStringLiteral("/tmp/still.png"));
    EXPECT_EQ(still.timelineStartUs, 1500000);
    EXPECT_EQ(still.srcOutUs, 5000000);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Freeze frame added"));

    controller.setStillFrameSource([](const QString &, TimeUs) { return QString(); });
    QSignalSpy message(&controller, &AppController::lastMessageChanged);
    controller.freezeFrameAtPlayhead();
    ASSERT_TRUE(message.wait(5000));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Couldn’t capture a still frame"));
}

TEST_F(ControllerEdits, DeleteDuplicateSeparateAndUnlink)
{
    load(editsProject({mediaClip("a", 0, 2000000), mediaClip("b", 5000000, 1000000)}));
    controller.selectClip(0, 0);
    ASSERT_TRUE(controller.canSeparateAudioSelection());
    controller.separateAudioFromSelection();
    ASSERT_EQ(doc().tracks[1].clips.size(), 1);
    EXPECT_EQ(clip(1, 0).type, ClipType::audio);
    EXPECT_FALSE(clip(0, 0).linkId.isEmpty());
    EXPECT_EQ(clip(1, 0).linkId, clip(0, 0).linkId);
    EXPECT_TRUE(clip(0, 0).suppressEmbeddedAudio);
    EXPECT_EQ(clip(1, 0).srcInUs, clip(0, 0).srcInUs);
    controller.selectClip(0, 0);
    EXPECT_FALSE(controller.canSeparateAudioSelection());
    EXPECT_EQ(controller.selectedClips().size(), 2); // selecting takes the partner too

    controller.selectClip(0, 1);
    controller.duplicateSelectedClip();
    EXPECT_EQ(starts(0), (QList<TimeUs>{0, 5000000, 6000000}));
    EXPECT_EQ(controller.selectedClip(), 2);

    controller.selectClip(0, 0);
    ASSERT_TRUE(controller.canUnlinkSelection());
    controller.unlinkSelectedClips();
    EXPECT_TRUE(clip(0, 0).linkId.isEmpty());
    EXPECT_TRUE(clip(1, 0).linkId.isEmpty());
    expectWords("Clips unlinked", "Audio unlinked");
    controller.undo();

    controller.selectClip(0, 0);
    controller.deleteSelectedClip(); // the linked audio goes with it
    EXPECT_EQ(doc().tracks[0].clips.size(), 2);
    EXPECT_TRUE(doc().tracks[1].clips.isEmpty());
    EXPECT_EQ(controller.selectedClip(), -1);
}

TEST_F(ControllerEdits, FieldSettersAndRippleStart)
{
    load(editsProject(
        {mediaClip("a", 0, 1000000), mediaClip("b", 2000000, 1000000), mediaClip("c", 4000000, 1000000)}));
    controller.setRippleEnabled(true);
    controller.setClipStart(0, 1, 1.5);
    EXPECT_EQ(starts(0), (QList<TimeUs>{0, 1500000, 3500000}));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Start updated"));

    controller.setClipFade(0, 0, 0.8, 0.8);
    EXPECT_EQ(clip(0, 0).fadeInUs, 800000);
    EXPECT_EQ(clip(0, 0).fadeOutUs, 200000);
    controller.setClipBlendMode(0, 0, QStringLiteral("screen"));
    EXPECT_EQ(clip(0, 0).blendMode, BlendMode::screen);
    expectWords("Blend mode changed", "Blend mode updated");
    controller.setShapeStyle(0, 0, {{"strokeWidth", 9.0}});
    EXPECT_DOUBLE_EQ(clip(0, 0).shapeStyle.strokeWidth, 9.0);
    EXPECT_DOUBLE_EQ(clip(0, 0).shapeStyle.innerRatio, 0.5); // absent keys keep their value
    controller.setClipMask(0, 0, {{"shape", "ellipse"}, {"feather", 12.0}});
    EXPECT_EQ(clip(0, 0).mask.shape, MaskShape::ellipse);
    EXPECT_DOUBLE_EQ(clip(0, 0).mask.w, 0.6);
    controller.setClipDuration(0, 2, 60.0);
    EXPECT_EQ(clip(0, 2).timelineDurationUs, 19000000);
    controller.setClipTrim(0, 2, 2.0, 4.0);
    EXPECT_EQ(clip(0, 2).timelineDurationUs, 2000000);
    controller.setClipRotationSnap(0, 2, 90);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Rotation set to 90"));
    controller.resetClipTransform(0, 2);
    EXPECT_TRUE(clip(0, 2).rotation.isEmpty());
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Transform reset"));
}

TEST_F(ControllerEdits, CopiesAreLinkedOnlyToEachOther)
{
    const Clip video = linkedVideo("v", 0, 2000000);
    load(editsProject({video}, {linkedAudioOf(video)}));
    controller.selectClip(0, 0); // the audio partner comes along
    controller.copySelection();
    controller.setPlayheadSeconds(10.0);
    controller.pasteAtPlayhead();
    ASSERT_EQ(ids(0).size(), 2);
    ASSERT_EQ(ids(1).size(), 2);
    EXPECT_FALSE(clip(0, 1).linkId.isEmpty());
    EXPECT_EQ(clip(0, 1).linkId, clip(1, 1).linkId);
    EXPECT_NE(clip(0, 1).linkId, QStringLiteral("link"));
    controller.moveClip(0, 1, 15.0); // the pasted pair moves together, the originals stay
    EXPECT_EQ(starts(0), (QList<TimeUs>{0, 15000000}));
    EXPECT_EQ(starts(1), (QList<TimeUs>{0, 15000000}));

    controller.selectClip(0, 0);
    controller.duplicateSelectedClip(); // its partner is not duplicated: the copy is unlinked
    ASSERT_EQ(ids(0).size(), 3);
    EXPECT_TRUE(clip(0, 2).linkId.isEmpty());
    controller.moveClip(0, 2, 30.0);
    EXPECT_EQ(starts(0), (QList<TimeUs>{0, 15000000, 30000000}));
    EXPECT_EQ(starts(1), (QList<TimeUs>{0, 15000000}));
}

TEST_F(ControllerEdits, CancellingADragDropsSelectedClipsItTookAway)
{
    const Clip video = linkedVideo("v", 0, 2000000);
    load(editsProject({video}, {linkedAudioOf(video)}));
    controller.selectClip(0, 0);
    controller.copySelection();
    controller.setPlayheadSeconds(10.0);
    for (const auto &addDuringDrag : std::initializer_list<std::function<void()>>{
             [&] { controller.pasteAtPlayhead(); }, [&] { controller.duplicateSelectedClip(); },
             [&] { controller.addClipFromAsset(0); }}) {
        controller.selectClip(0, 0);
        controller.beginPreviewDrag();
        addDuringDrag();
        ASSERT_GE(controller.selectedClip(), 1);
        controller.cancelPreviewDrag();
        ASSERT_EQ(ids(0).size(), 1);
        EXPECT_TRUE(controller.selectedClips().isEmpty());
        EXPECT_EQ(controller.selectedClip(), -1);
        // QML re-reads these at once; they must stay within the restored document.
        EXPECT_FALSE(controller.canSeparateAudioSelection());
        EXPECT_FALSE(controller.canUnlinkSelection());
        EXPECT_FALSE(controller.canMergeSelection());
        controller.deleteSelectedClip();
        EXPECT_EQ(ids(0).size(), 1);
    }
}
