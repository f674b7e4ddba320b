// Timeline edits driven through the controller's slots the way QML calls them: seconds in,
// signals and the resulting document out.
#include "core/AppController.h"
#include "core/ProjectSnapshotCommand.h"
#include "core/document/ProjectJson.h"
#include "media/AssetLibrary.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QUndoStack>

#include <gtest/gtest.h>

using namespace orvel;

namespace {

Clip mediaClip(const QString &id, TimeUs startUs, TimeUs durationUs, ClipType type = ClipType::video)
{
    Clip clip;
    clip.id = id;
    clip.type = type;
    clip.assetId = QStringLiteral("vid");
    clip.path = QStringLiteral("/media/vid.mp4");
    clip.name = id;
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = durationUs;
    clip.srcInUs = 1000000;
    clip.srcOutUs = 1000000 + durationUs;
    return clip;
}

Asset asset(const QString &id, AssetKind kind)
{
    Asset record;
    record.id = id;
    record.kind = kind;
    record.path = QStringLiteral("/media/%1").arg(id);
    record.name = id;
    record.durationUs = 20000000;
    record.width = 1280;
    record.height = 720;
    record.hasAudio = kind == AssetKind::video;
    record.hasAudioKnown = true;
    return record;
}

// A video track and an audio track; the asset table holds a video ("vid") and an image ("img").
Project baseProject(const QList<Clip> &videoClips, const QList<Clip> &audioClips = {})
{
    Project project;
    project.insertAsset(asset(QStringLiteral("vid"), AssetKind::video));
    project.insertAsset(asset(QStringLiteral("img"), AssetKind::image));
    project.tracks[0].clips = videoClips;
    Track audio;
    audio.type = TrackType::audio;
    audio.clips = audioClips;
    project.tracks.append(audio);
    return project;
}

// Seconds as QML sends them for an exact microsecond: the slots truncate, so a value like 1.94,
// which doubles store as 1.93999..., would land one microsecond early.
double at(TimeUs us)
{
    return (double(us) + 0.5) / 1e6;
}

Clip linkedAudioOf(const Clip &video)
{
    Clip audio = video;
    audio.id = video.id + QStringLiteral("-audio");
    audio.type = ClipType::audio;
    return audio;
}

} // namespace

class ControllerEdits : public testing::Test
{
protected:
    void load(const Project &project)
    {
        ASSERT_TRUE(controller.loadProjectJson(QJsonDocument(projectToJson(project)).toJson()));
    }
    const Project &doc() const { return controller.project(); }
    const Clip &clip(int track, int index) const { return doc().tracks[track].clips[index]; }
    QByteArray documentJson() const { return QJsonDocument(projectToJson(doc())).toJson(); }

    AssetLibrary library;
    AppController controller{&library};
};

TEST_F(ControllerEdits, MoveTakesLinkedPartnersAndTheSelectionAlong)
{
    Clip video = mediaClip("v", 1000000, 2000000);
    video.linkId = QStringLiteral("link");
    Clip audio = linkedAudioOf(video);
    load(baseProject({video, mediaClip("w", 6000000, 1000000)}, {audio}));
    QSignalSpy tracks(&controller, &AppController::tracksChanged);
    QSignalSpy message(&controller, &AppController::lastMessageChanged);

    controller.moveClip(0, 0, 3.5);
    EXPECT_EQ(clip(0, 0).timelineStartUs, 3500000);
    EXPECT_EQ(clip(1, 0).timelineStartUs, 3500000); // the partner follows
    EXPECT_EQ(clip(0, 1).timelineStartUs, 6000000); // an unselected neighbour does not
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip moved"));
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Clip moved"));
    EXPECT_GE(tracks.count(), 1);
    EXPECT_EQ(message.count(), 1);

    // With both video clips selected, moving one moves the other by the same delta, floored at 0.
    controller.setSelection({QVariantMap{{"track", 0}, {"clip", 0}}, QVariantMap{{"track", 0}, {"clip", 1}}});
    controller.moveClip(0, 1, 1.0);
    EXPECT_EQ(clip(0, 1).timelineStartUs, 1000000);
    EXPECT_EQ(clip(0, 0).timelineStartUs, 0);
    EXPECT_EQ(clip(1, 0).timelineStartUs, 0);
    EXPECT_EQ(message.count(), 1); // same text again: no new toast from the refresh

    controller.moveClip(7, 0, 1.0); // bad indices are ignored
    controller.moveClip(0, 9, 1.0);
    EXPECT_EQ(controller.undoStack()->count(), 2);
}

TEST_F(ControllerEdits, OverlapsCrossfadeFrom50MsAndPartedClipsLoseTheirTransition)
{
    load(baseProject({mediaClip("a", 0, 2000000), mediaClip("b", 3000000, 1000000)}));
    controller.moveClip(0, 1, at(1940000));
    QList<Transition> transitions = doc().tracks[0].transitions;
    ASSERT_EQ(transitions.size(), 1);
    EXPECT_EQ(transitions[0].kind, QStringLiteral("crossfade"));
    EXPECT_EQ(transitions[0].durationUs, 60000);
    EXPECT_EQ(transitions[0].fromClipId, QStringLiteral("a"));

    controller.moveClip(0, 1, at(2001000)); // a 1 ms gap still touches
    EXPECT_EQ(doc().tracks[0].transitions.size(), 1);
    controller.moveClip(0, 1, 2.5);
    EXPECT_TRUE(doc().tracks[0].transitions.isEmpty());
    controller.moveClip(0, 1, at(1960000));
    EXPECT_TRUE(doc().tracks[0].transitions.isEmpty());

    // The entry holds the state before normalising; undo restores it exactly.
    controller.undo();
    EXPECT_EQ(clip(0, 1).timelineStartUs, 2500000);
    EXPECT_TRUE(doc().tracks[0].transitions.isEmpty());
}

TEST_F(ControllerEdits, SplitAtPlayheadCutsALinkedPairOnceWithAFreshSharedLink)
{
    Clip video = mediaClip("v", 0, 4000000);
    video.linkId = QStringLiteral("old-link");
    load(baseProject({video}, {linkedAudioOf(video)}));
    controller.setPlayheadSeconds(1.5);
    controller.splitAtPlayhead();

    ASSERT_EQ(doc().tracks[0].clips.size(), 2);
    ASSERT_EQ(doc().tracks[1].clips.size(), 2);
    EXPECT_EQ(clip(0, 0).linkId, QStringLiteral("old-link"));
    EXPECT_EQ(clip(1, 0).linkId, QStringLiteral("old-link"));
    EXPECT_FALSE(clip(0, 1).linkId.isEmpty());
    EXPECT_NE(clip(0, 1).linkId, QStringLiteral("old-link"));
    EXPECT_EQ(clip(0, 1).linkId, clip(1, 1).linkId);
    EXPECT_EQ(clip(0, 1).timelineStartUs, 1500000);
    EXPECT_EQ(clip(1, 1).srcInUs, 2500000);
    EXPECT_EQ(controller.undoStack()->count(), 1);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Split at current time"));

    controller.setPlayheadSeconds(10.0);
    controller.splitAtPlayhead();
    EXPECT_EQ(controller.undoStack()->count(), 1);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Nothing to split here — move to a clip first"));
}

TEST_F(ControllerEdits, SplitsRefuseNearTheEdgesAndKeepOneSideOnRequest)
{
    load(baseProject({mediaClip("a", 1000000, 2000000)}));
    controller.splitClipAt(0, 0, at(2950000)); // 50 ms from the end
    controller.splitClipAt(0, 0, 1.0);         // the start itself
    controller.splitClipAt(0, 0, 3.0);         // the end is outside
    EXPECT_EQ(controller.undoStack()->count(), 0);
    EXPECT_EQ(doc().tracks[0].clips.size(), 1);

    controller.splitClipLeftAt(0, 0, 2.0);
    ASSERT_EQ(doc().tracks[0].clips.size(), 1);
    EXPECT_EQ(clip(0, 0).timelineStartUs, 2000000);
    EXPECT_EQ(clip(0, 0).srcInUs, 2000000);
    EXPECT_NE(clip(0, 0).id, QStringLiteral("a"));
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Split left"));

    controller.selectClip(0, 0);
    controller.setPlayheadSeconds(2.5);
    controller.alignSelectedClipRight();
    EXPECT_EQ(clip(0, 0).timelineEndUs(), 2500000);
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Split right"));
}

TEST_F(ControllerEdits, SnapTimeTiesAndFloor)
{
    load(baseProject({mediaClip("a", 1000000, 1000000)}));
    controller.setPlayheadSeconds(0.1);
    EXPECT_DOUBLE_EQ(controller.snapTime(0.05), 0.0); // 0 and the playhead tie: 0 is first
    EXPECT_DOUBLE_EQ(controller.snapTime(1.9), 2.0);
    EXPECT_NEAR(controller.snapTime(1.7), 1.7, 1e-6);
    controller.setSnapEnabled(false);
    EXPECT_DOUBLE_EQ(controller.snapTime(-0.4), 0.0);
    EXPECT_NEAR(controller.snapTime(1.9), 1.9, 1e-6);
    controller.setSnapEnabled(true);
    controller.setBeatSnapTimes({5000000});
    EXPECT_DOUBLE_EQ(controller.snapTime(4.9), 5.0);
}

TEST_F(ControllerEdits, TrimsWriteLiveWithoutUndoAndStopAtTheirLimits)
{
    Clip video = mediaClip("v", 1000000, 2000000); // source 1..3 s of a 20 s file
    video.linkId = QStringLiteral("link");
    Clip text;
    text.id = QStringLiteral("t");
    text.type = ClipType::text;
    text.timelineStartUs = 0;
    text.timelineDurationUs = 5000000;
    text.srcOutUs = 5000000;
    Project project = baseProject({video}, {linkedAudioOf(video)});
    Track textTrack;
    textTrack.type = TrackType::text;
    textTrack.clips = {text};
    project.tracks.append(textTrack);
    load(project);
    QSignalSpy tracks(&controller, &AppController::tracksChanged);
    QSignalSpy dirty(&controller, &AppController::dirtyChanged);

    controller.trimClipRight(0, 0, 3.1); // under 150 ms: snaps back to its own end
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 2000000);
    EXPECT_EQ(tracks.count(), 0);

    controller.trimClipRight(0, 0, 60.0);
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 19000000);
    EXPECT_EQ(clip(0, 0).srcOutUs, 20000000);
    EXPECT_EQ(clip(1, 0).timelineDurationUs, 19000000); // the partner follows
    controller.trimClipLeft(0, 0, 0.0);                 // 1 s earlier needs the 1 s before the in point
    EXPECT_EQ(clip(0, 0).timelineStartUs, 0);
    EXPECT_EQ(clip(0, 0).srcInUs, 0);
    controller.trimClipLeft(0, 0, 19.95); // would leave 50 ms
    EXPECT_EQ(clip(0, 0).timelineStartUs, 0);

    controller.trimClipRight(2, 0, 400.0);
    EXPECT_EQ(clip(2, 0).timelineDurationUs, kGeneratedClipMaxUs);
    controller.trimClipRight(2, 0, 0.01);
    EXPECT_EQ(clip(2, 0).timelineDurationUs, kMinClipLengthUs);

    EXPECT_EQ(tracks.count(), 4);
    EXPECT_EQ(controller.undoStack()->count(), 0);
    EXPECT_EQ(dirty.count(), 0);
    EXPECT_FALSE(controller.hasUnsavedChanges());
}

TEST_F(ControllerEdits, PasteCanOverlapAndNormalisationCrossfadesIt)
{
    load(baseProject({mediaClip("a", 0, 2000000)}));
    controller.selectClip(0, 0);
    controller.copySelection();
    controller.setPlayheadSeconds(1.5);
    controller.pasteAtPlayhead();

    ASSERT_EQ(doc().tracks[0].clips.size(), 2);
    EXPECT_EQ(clip(0, 1).timelineStartUs, 1500000);
    EXPECT_NE(clip(0, 1).id, QStringLiteral("a"));
    ASSERT_EQ(doc().tracks[0].transitions.size(), 1);
    EXPECT_EQ(doc().tracks[0].transitions[0].durationUs, 500000);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Pasted 1 clip(s)"));
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Paste"));
    EXPECT_EQ(controller.selectedTrack(), 0);
    EXPECT_EQ(controller.selectedClip(), 1);

    // Cutting removes the clip, and the crossfade that named it goes with it.
    controller.selectClip(0, 0);
    controller.cutSelection();
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip deleted"));
    EXPECT_TRUE(doc().tracks[0].transitions.isEmpty()); // it named the deleted clip
}

TEST_F(ControllerEdits, MergeJoinsSeamlessHalvesForwardAndReversed)
{
    Clip reversed = mediaClip("r", 5000000, 2000000);
    reversed.reverse = true;
    load(baseProject({mediaClip("a", 0, 2000000), reversed}));
    controller.splitClipAt(0, 0, 0.8);
    controller.splitClipAt(0, 1, 6.0);
    ASSERT_EQ(doc().tracks[0].clips.size(), 4);

    controller.setSelection({QVariantMap{{"track", 0}, {"clip", 2}}, QVariantMap{{"track", 0}, {"clip", 0}}});
    ASSERT_TRUE(controller.canMergeSelection());
    controller.mergeSelectedClips();
    ASSERT_EQ(doc().tracks[0].clips.size(), 3);
    EXPECT_EQ(clip(0, 0).id, QStringLiteral("a"));
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 2000000);
    EXPECT_EQ(clip(0, 0).srcOutUs, 3000000);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clips merged"));

    // One selected clip merges with whichever clip continues it.
    controller.selectClip(0, 1);
    ASSERT_TRUE(controller.canMergeSelection());
    controller.mergeSelectedClips();
    ASSERT_EQ(doc().tracks[0].clips.size(), 2);
    EXPECT_EQ(clip(0, 1).srcInUs, 1000000);
    EXPECT_EQ(clip(0, 1).srcOutUs, 3000000);

    // Clips that do not continue each other do not merge.
    controller.setSelection({QVariantMap{{"track", 0}, {"clip", 0}}, QVariantMap{{"track", 0}, {"clip", 1}}});
    EXPECT_FALSE(controller.canMergeSelection());
}

TEST_F(ControllerEdits, UndoPrunesTheSelectionAndMarksTheDocumentDirty)
{
    load(baseProject({mediaClip("a", 0, 1000000)}));
    QSignalSpy selection(&controller, &AppController::selectionChanged);
    controller.setPlayheadSeconds(5.0);
    controller.addClipFromAsset(0);
    EXPECT_EQ(controller.selectedTrack(), 0);
    EXPECT_EQ(controller.selectedClip(), 1);
    EXPECT_TRUE(controller.hasUnsavedChanges());

    selection.clear();
    controller.undo();
    EXPECT_EQ(doc().tracks[0].clips.size(), 1);
    EXPECT_EQ(controller.selectedClip(), -1);
    EXPECT_TRUE(controller.selectedClips().isEmpty());
    EXPECT_GE(selection.count(), 1);
    EXPECT_TRUE(controller.redoAvailable());
    controller.redo();
    EXPECT_EQ(doc().tracks[0].clips.size(), 2);
}

TEST_F(ControllerEdits, TheFiftyFirstEditDropsTheOldestEntry)
{
    load(baseProject({mediaClip("a", 0, 1000000)}));
    controller.selectClip(0, 0);
    for (int i = 0; i < 51; ++i)
        controller.nudgeSelection(0.1);
    EXPECT_EQ(clip(0, 0).timelineStartUs, 5100000);
    EXPECT_EQ(controller.undoStack()->count(), 50);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Selection nudged"));
    while (controller.undoAvailable())
        controller.undo();
    EXPECT_EQ(clip(0, 0).timelineStartUs, 100000); // the first nudge can no longer be undone
    controller.nudgeSelection(1e-13);
    EXPECT_EQ(controller.undoStack()->index(), 0);
}

TEST_F(ControllerEdits, ACancelledDragRestoresTheExactDocument)
{
    load(baseProject({mediaClip("a", 0, 2000000), mediaClip("b", 1900000, 1000000)}));
    controller.moveClip(0, 1, at(1900000)); // normalises: a 100 ms crossfade appears
    ASSERT_EQ(doc().tracks[0].transitions.size(), 1);
    const QByteArray before = documentJson();
    const int entries = controller.undoStack()->count();

    controller.beginPreviewDrag(QStringLiteral("Move clip"));
    controller.previewSetClipPosition(0, 1, 300, 200);
    controller.previewSetClipFade(0, 1, 0.5, 0.25);
    controller.previewSetClipSpeed(0, 1, 2.0);
    EXPECT_EQ(clip(0, 1).fadeInUs, 500000);
    controller.cancelPreviewDrag();
    EXPECT_EQ(documentJson(), before);
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(controller.undoStack()->count(), entries);

    // A slot outside a transaction opens one with its own undo text; commit pushes one entry.
    controller.previewSetClipFade(0, 1, 0.3, 0.0);
    controller.previewSetClipFade(0, 1, 0.4, 0.0);
    EXPECT_TRUE(controller.dragActive());
    controller.commitPreviewDrag();
    EXPECT_EQ(controller.undoStack()->count(), entries + 1);
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Adjust fade"));
    controller.undo();
    EXPECT_EQ(documentJson(), before);

    // Begin and commit with no change still records an entry; commit without a drag does nothing.
    controller.beginPreviewDrag();
    controller.commitPreviewDrag();
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Edit clip"));
    const int after = controller.undoStack()->count();
    controller.commitPreviewDrag();
    EXPECT_EQ(controller.undoStack()->count(), after);
}

TEST_F(ControllerEdits, AnimatedTransformsRefuseWritesBetweenKeysWithoutAutoKey)
{
    Clip animated = mediaClip("a", 0, 4000000);
    animated.x.keyframes.insert(0, Keyframe{10.0});
    animated.x.keyframes.insert(2000000, Keyframe{90.0});
    load(baseProject({animated}));
    controller.setAutoKeyEnabled(false);
    QSignalSpy blocked(&controller, &AppController::transformBlocked);

    controller.setPlayheadSeconds(1.0);
    const QByteArray before = documentJson();
    controller.previewSetClipPosition(0, 0, 50, 60);
    ASSERT_EQ(blocked.count(), 1);
    EXPECT_EQ(blocked.at(0).at(0).toString(), QStringLiteral("Turn on Auto keyframes to move this"));
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(documentJson(), before); // y was not written either

    controller.previewSetClipRotation(0, 0, 45); // rotation is static: it just changes
    EXPECT_DOUBLE_EQ(clip(0, 0).rotation.keyframes.value(0).value, 45.0);
    controller.setPlayheadSeconds(2.02); // within 33 ms of the second key: edits that key
    controller.previewSetClipPosition(0, 0, 70, 80);
    EXPECT_DOUBLE_EQ(clip(0, 0).x.keyframes.value(2000000).value, 70.0);
    controller.previewSetClipSize(0, 0, 0.2, 300);
    EXPECT_DOUBLE_EQ(clip(0, 0).width.keyframes.first().value, 1.0);
    controller.commitPreviewDrag();
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Rotate clip"));

    controller.setAutoKeyEnabled(true);
    controller.setPlayheadSeconds(1.0);
    controller.previewSetClipPosition(0, 0, 50, 60);
    EXPECT_EQ(blocked.count(), 1);
    EXPECT_EQ(clip(0, 0).x.keyframes.size(), 3);
    controller.cancelPreviewDrag();
}

TEST(ProjectSnapshotCommand, UndoAndRedoRestoreTheAssetTable)
{
    Project live;
    const Project before = live;
    Asset added = asset(QStringLiteral("new"), AssetKind::audio);
    live.insertAsset(added);
    QUndoStack stack;
    stack.push(new ProjectSnapshotCommand(&live, before, live, QStringLiteral("Import")));
    stack.undo();
    EXPECT_TRUE(live.assets.isEmpty());
    EXPECT_TRUE(live.assetOrder.isEmpty());
    stack.redo();
    EXPECT_TRUE(live.assets.contains(QStringLiteral("new")));
}

TEST_F(ControllerEdits, AddingFromAssetsPlacesOnTheHomeTrack)
{
    load(baseProject({mediaClip("a", 0, 2000000)}));
    controller.setPlayheadSeconds(1.0);
    EXPECT_EQ(controller.trackTypeForAsset(1), QStringLiteral("shape"));
    EXPECT_FALSE(controller.trackAcceptsAsset(0, 1));
    EXPECT_TRUE(controller.trackAcceptsAsset(0, 0));

    controller.addClipFromAsset(0); // the playhead is inside "a": slides to its end
    ASSERT_EQ(doc().tracks[0].clips.size(), 2);
    EXPECT_EQ(clip(0, 1).timelineStartUs, 2000000);
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

    const int entries = controller.undoStack()->count();
    controller.addClipFromAssetAt(1, 0, 3.0); // a video track does not take an image
    EXPECT_EQ(controller.undoStack()->count(), entries);
    controller.addClipFromAssetOnNewTrack(0, 7.0);
    EXPECT_EQ(doc().tracks[0].type, TrackType::video);
    EXPECT_EQ(clip(0, 0).timelineStartUs, 7000000);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip added on new track"));
}

TEST_F(ControllerEdits, GeneratedClipsTextEmojiAndShapes)
{
    load(baseProject({}));
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

    const int entries = controller.undoStack()->count();
    controller.addEmojiClip(QStringLiteral("\U0001F600"), QStringLiteral("grin"), 0);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Install the emoji sticker pack to add emoji"));
    EXPECT_EQ(controller.undoStack()->count(), entries);

    controller.setShapeAspectResolver([](int) { return 4.0; });
    controller.addShapeClipAt(QStringLiteral("rectangle"), 1, 1.0); // track 1 takes no shapes
    ASSERT_EQ(doc().tracks[0].type, TrackType::shape);
    EXPECT_DOUBLE_EQ(clip(0, 0).width.keyframes.first().value, 1920 * 0.6);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Shape added"));
}

TEST_F(ControllerEdits, FreezeFrameCapturesThroughTheStillSource)
{
    load(baseProject({mediaClip("a", 0, 4000000)}));
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
    load(baseProject({mediaClip("a", 0, 2000000), mediaClip("b", 5000000, 1000000)}, {}));
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
    ASSERT_EQ(doc().tracks[0].clips.size(), 3);
    EXPECT_EQ(clip(0, 2).timelineStartUs, 6000000);
    EXPECT_EQ(controller.selectedClip(), 2);

    controller.selectClip(0, 0);
    ASSERT_TRUE(controller.canUnlinkSelection());
    controller.unlinkSelectedClips();
    EXPECT_TRUE(clip(0, 0).linkId.isEmpty());
    EXPECT_TRUE(clip(1, 0).linkId.isEmpty());
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Audio unlinked"));
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Clips unlinked"));
    controller.undo();

    controller.selectClip(0, 0);
    controller.deleteSelectedClip(); // the linked audio goes with it
    EXPECT_EQ(doc().tracks[0].clips.size(), 2);
    EXPECT_TRUE(doc().tracks[1].clips.isEmpty());
    EXPECT_EQ(controller.selectedClip(), -1);
}

TEST_F(ControllerEdits, FieldSettersAndRippleStart)
{
    load(baseProject(
        {mediaClip("a", 0, 1000000), mediaClip("b", 2000000, 1000000), mediaClip("c", 4000000, 1000000)}));
    controller.setRippleEnabled(true);
    controller.setClipStart(0, 1, 1.5);
    EXPECT_EQ(clip(0, 1).timelineStartUs, 1500000);
    EXPECT_EQ(clip(0, 2).timelineStartUs, 3500000);
    EXPECT_EQ(clip(0, 0).timelineStartUs, 0);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Start updated"));

    controller.setClipFade(0, 0, 0.8, 0.8);
    EXPECT_EQ(clip(0, 0).fadeInUs, 800000);
    EXPECT_EQ(clip(0, 0).fadeOutUs, 200000);
    controller.setClipBlendMode(0, 0, QStringLiteral("screen"));
    EXPECT_EQ(clip(0, 0).blendMode, BlendMode::screen);
    EXPECT_EQ(controller.undoStack()->undoText(), QStringLiteral("Blend mode changed"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Blend mode updated"));
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
