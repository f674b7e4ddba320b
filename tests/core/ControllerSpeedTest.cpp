// Speed slots and the custom speed session, driven as QML drives them, with a fake preview
// player standing in for the decoding one.
#include "core/AppController.h"
#include "core/SpeedCurveSession.h"
#include "core/document/ClipTiming.h"
#include "core/document/ProjectJson.h"
#include "media/AssetLibrary.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QUndoStack>

#include <gtest/gtest.h>

using namespace orvel;

namespace {

constexpr TimeUs kFileUs = 20000000;

// The file is 20 s long; the clip plays source 1..5 s from timeline 0.
Clip mediaClip(const QString &id, ClipType type = ClipType::video)
{
    Clip clip;
    clip.id = id;
    clip.name = id;
    clip.type = type;
    clip.assetId = QStringLiteral("vid");
    clip.path = QStringLiteral("/media/vid.mp4");
    clip.timelineDurationUs = 4000000;
    clip.srcInUs = 1000000;
    clip.srcOutUs = 5000000;
    return clip;
}

Clip textClip()
{
    Clip clip;
    clip.id = QStringLiteral("t");
    clip.type = ClipType::text;
    clip.textContent = QStringLiteral("Title");
    clip.timelineDurationUs = 1000000;
    clip.srcOutUs = 1000000;
    return clip;
}

SpeedCurve flatCurve(double speed)
{
    return normaliseSpeedCurve({SpeedCurvePoint{0.0, speed}, SpeedCurvePoint{1.0, speed}});
}

QVariantMap pointMap(double pos, double speed)
{
    return QVariantMap{{QStringLiteral("pos"), pos}, {QStringLiteral("speed"), speed}};
}

} // namespace

// Stands in for the decoding player: it records what it is told and moves only when told to.
class FakePreviewPlayer : public AbstractClipPreviewPlayer
{
public:
    void setClip(const Clip &clip, int sampleRate, int fps) override
    {
        loaded = clip;
        loadedSampleRate = sampleRate;
        loadedFps = fps;
        position = 0;
        setPlaying(false);
    }
    void updateSpeed(const SpeedCurve &curve) override { loaded.speedCurve = curve; }
    void clear() override
    {
        ++clears;
        loaded = Clip();
        setPlaying(false);
    }
    void play() override { setPlaying(true); }
    void pause() override { setPlaying(false); }
    void seek(TimeUs positionUs) override
    {
        seeks.append(positionUs);
        position = positionUs;
    }
    TimeUs positionUs() const override { return position; }
    bool isPlaying() const override { return playing; }
    QSize frameSize() const override { return QSize(640, 360); }

    // What the real player does on its own: the clock moves and frames arrive.
    void tick(TimeUs positionUs)
    {
        position = positionUs;
        emit positionChanged();
        emit frameChanged();
    }

    Clip loaded;
    int loadedSampleRate = 0;
    int loadedFps = 0;
    int clears = 0;
    QList<TimeUs> seeks;
    TimeUs position = 0;
    bool playing = false;

private:
    void setPlaying(bool value)
    {
        if (playing == value)
            return;
        playing = value;
        emit playingChanged();
    }
};

class ControllerSpeed : public testing::Test
{
protected:
    // Tracks: video, text, and audio when audio clips are given.
    void load(const QList<Clip> &clips, const QList<Clip> &textClips = {}, const QList<Clip> &audioClips = {})
    {
        Project project;
        Asset video;
        video.id = QStringLiteral("vid");
        video.kind = AssetKind::video;
        video.path = QStringLiteral("/media/vid.mp4");
        video.durationUs = kFileUs;
        project.insertAsset(video);
        project.tracks[0].clips = clips;
        Track text;
        text.type = TrackType::text;
        text.clips = textClips;
        project.tracks.append(text);
        if (!audioClips.isEmpty()) {
            Track audio;
            audio.type = TrackType::audio;
            audio.clips = audioClips;
            project.tracks.append(audio);
        }
        ASSERT_TRUE(controller.loadProjectJson(QJsonDocument(projectToJson(project)).toJson()));
    }
    const Project &doc() const { return controller.project(); }
    const Clip &clip(int track, int index) const { return doc().tracks[track].clips[index]; }
    QString undoText() { return controller.undoStack()->undoText(); }
    int entries() { return controller.undoStack()->count(); }

    AssetLibrary library;
    AppController controller{&library};
    FakePreviewPlayer player;
};

// The timeline length stays and the source span follows, until the file's end cuts it.
TEST_F(ControllerSpeed, SpeedChangeKeepsTheLengthUntilTheFileEnds)
{
    Clip nearEnd = mediaClip(QStringLiteral("end"));
    nearEnd.timelineStartUs = 5000000;
    nearEnd.srcInUs = 12000000;
    nearEnd.srcOutUs = 16000000;
    load({mediaClip(QStringLiteral("a")), nearEnd}, {textClip()});

    controller.setClipSpeed(0, 0, 2.0);
    EXPECT_EQ(undoText(), QStringLiteral("Speed changed"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip speed updated"));
    EXPECT_EQ(clip(0, 0).srcOutUs, 9000000);
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 4000000);

    controller.setClipSpeed(0, 1, 10.0); // clamped to 4: 16 s of source wanted, 8 s left in the file
    EXPECT_DOUBLE_EQ(clip(0, 1).speed, 4.0);
    EXPECT_EQ(clip(0, 1).srcOutUs, kFileUs);
    EXPECT_EQ(clip(0, 1).timelineDurationUs, 2000000);

    controller.beginPreviewDrag();
    controller.previewSetClipSpeed(0, 0, 0.1); // clamped to 0.25: the span shrinks to a quarter
    controller.commitPreviewDrag();
    EXPECT_EQ(clip(0, 0).srcOutUs, 2000000);
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 4000000);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Edit clip"));

    const int before = entries();
    controller.setClipSpeed(1, 0, 2.0); // a text clip has no speed
    controller.setClipSpeed(0, 0, std::nan(""));
    EXPECT_EQ(entries(), before);
}

TEST_F(ControllerSpeed, ReverseOnlyFlipsTheFlag)
{
    load({mediaClip(QStringLiteral("a")), mediaClip(QStringLiteral("b"), ClipType::audio)}, {textClip()});
    const Clip original = clip(0, 0);

    controller.setClipReverse(0, 0, true);
    EXPECT_EQ(undoText(), QStringLiteral("Reverse on"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip reversed"));
    EXPECT_TRUE(clip(0, 0).reverse);
    EXPECT_EQ(clip(0, 0).srcInUs, original.srcInUs);
    EXPECT_EQ(clip(0, 0).srcOutUs, original.srcOutUs);
    EXPECT_EQ(clip(0, 0).timelineDurationUs, original.timelineDurationUs);

    const int before = entries();
    controller.setClipReverse(0, 0, true); // unchanged
    controller.setClipReverse(1, 0, true); // text
    EXPECT_EQ(entries(), before);

    controller.setClipReverse(0, 1, true);
    EXPECT_TRUE(clip(0, 1).reverse);
    controller.setClipReverse(0, 0, false);
    EXPECT_EQ(undoText(), QStringLiteral("Reverse off"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Clip forward"));
}

// Old files may hold a non-positive speed: it reads as 1 when a curve is cleared and in source
// times.
TEST_F(ControllerSpeed, ClearingACurveAndSourceTimesReadBadSpeedsAsOne)
{
    Clip curved = mediaClip(QStringLiteral("c"));
    curved.srcOutUs = 7000000; // 6 s of source
    curved.speedCurve = flatCurve(3.0);
    curved.timelineDurationUs = 2000000;
    curved.speed = 0.0;
    curved.timelineStartUs = 2000000;
    load({curved});

    controller.selectClip(0, 0);
    controller.setPlayheadSeconds(3.5);
    EXPECT_DOUBLE_EQ(controller.sourceTimeAtPlayhead(), 2.5); // constant speed, even when curved

    controller.clearClipSpeedCurve(0, 0);
    EXPECT_EQ(undoText(), QStringLiteral("Speed curve removed"));
    EXPECT_FALSE(clip(0, 0).speedCurve.isActive());
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 6000000);
    const int before = entries();
    controller.clearClipSpeedCurve(0, 0);
    EXPECT_EQ(entries(), before);

    QVariantMap map{{QStringLiteral("start"), 2.0},
                    {QStringLiteral("inPoint"), 1.0},
                    {QStringLiteral("outPoint"), 5.0},
                    {QStringLiteral("speed"), 2.0}};
    controller.setPlayheadSeconds(2.5);
    EXPECT_DOUBLE_EQ(controller.sourceTimeForClip(map), 2.0);
    map.insert(QStringLiteral("reverse"), true);
    EXPECT_DOUBLE_EQ(controller.sourceTimeForClip(map), 4.0);
    map.insert(QStringLiteral("speed"), -1.0);
    EXPECT_DOUBLE_EQ(controller.sourceTimeForClip(map), 4.5);
}

TEST_F(ControllerSpeed, SessionRefusesClipsWithoutMedia)
{
    Clip noPath = mediaClip(QStringLiteral("p"));
    noPath.path.clear();
    Clip noSpan = mediaClip(QStringLiteral("s"));
    noSpan.timelineStartUs = 5000000;
    noSpan.srcOutUs = noSpan.srcInUs;
    load({noPath, noSpan}, {textClip()});
    controller.setClipPreviewPlayer(&player);
    QSignalSpy messages(&controller, &AppController::lastMessageChanged);

    controller.beginSpeedCurveSession(1, 0);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Custom speed works on video and audio clips"));
    controller.beginSpeedCurveSession(0, 0);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("This clip has no media to speed up or slow down"));
    controller.beginSpeedCurveSession(0, 1);
    EXPECT_EQ(messages.count(), 3); // the same refusal twice still toasts twice
    EXPECT_FALSE(controller.speedCurveSessionActive());
    EXPECT_TRUE(player.loaded.id.isEmpty());

    controller.setSpeedCurvePoints({pointMap(0, 2), pointMap(1, 2)}); // outside a session
    EXPECT_TRUE(controller.speedCurvePoints().isEmpty());
}

// The session's positions come from the working curve; the player is told every change.
TEST_F(ControllerSpeed, SessionDrivesThePlayerInRetimedTime)
{
    Clip slow = mediaClip(QStringLiteral("a"));
    slow.speed = 0.5;
    slow.timelineDurationUs = 8000000;
    slow.filmstripPath = QStringLiteral("/cache/strip.jpg");
    load({slow});
    controller.setClipPreviewPlayer(&player);
    controller.setPlaying(true);
    QSignalSpy session(&controller, &AppController::speedCurveSessionChanged);
    QSignalSpy curve(&controller, &AppController::speedCurveChanged);

    controller.beginSpeedCurveSession(0, 0);
    ASSERT_TRUE(controller.speedCurveSessionActive());
    EXPECT_FALSE(controller.playing());
    EXPECT_EQ(session.count(), 1);
    EXPECT_EQ(curve.count(), 1);
    EXPECT_EQ(player.loaded.id, QStringLiteral("a"));
    EXPECT_EQ(player.loadedSampleRate, 48000);
    EXPECT_EQ(player.loaded.speedCurve.points.size(), 2); // flat at the clip's own speed
    EXPECT_DOUBLE_EQ(controller.speedCurvePoints()[1].toMap().value(QStringLiteral("speed")).toDouble(), 0.5);
    EXPECT_DOUBLE_EQ(controller.speedCurveSourceDuration(), 4.0);
    EXPECT_NEAR(controller.speedCurveRetimedDuration(), 8.0, 1e-6);
    EXPECT_EQ(controller.speedCurveFilmstripPath(), QStringLiteral("/cache/strip.jpg"));
    EXPECT_EQ(controller.speedCurveFrameSize(), QSize(640, 360));

    controller.setSpeedCurvePoints({pointMap(1, 2), pointMap(0.3, 9)}); // unsorted, out of range
    EXPECT_EQ(curve.count(), 2);
    const QVariantMap first = controller.speedCurvePoints()[0].toMap();
    EXPECT_EQ(first.value(QStringLiteral("pos")).toDouble(), 0.0);
    EXPECT_EQ(first.value(QStringLiteral("speed")).toDouble(), 8.0);
    EXPECT_GT(controller.speedCurveRetimedDuration(), 0.5); // 4 s of source between 8x and 2x
    EXPECT_LT(controller.speedCurveRetimedDuration(), 2.0);
    controller.setSpeedCurvePoints({pointMap(0, 2), pointMap(1, 2)});
    EXPECT_NEAR(controller.speedCurveRetimedDuration(), 2.0, 1e-6);
    EXPECT_EQ(player.loaded.speedCurve.timeTable, flatCurve(2.0).timeTable);

    controller.seekSpeedCurvePreviewAtSource(0.5);
    EXPECT_EQ(player.seeks.last(), 1000000); // half the source at 2x is one second in
    EXPECT_NEAR(controller.speedCurvePosition(), 1.0, 1e-6);
    EXPECT_NEAR(controller.speedCurveSourcePosition(), 0.5, 1e-6);
    controller.seekSpeedCurvePreview(60.0);
    EXPECT_EQ(player.seeks.last(), 2000000); // clamped to the retimed end
    controller.seekSpeedCurvePreviewAtSource(-3.0);
    EXPECT_EQ(player.seeks.last(), 0);

    QSignalSpy playing(&controller, &AppController::speedCurvePlayingChanged);
    QSignalSpy frames(&controller, &AppController::speedCurveFrameChanged);
    controller.playSpeedCurvePreview();
    EXPECT_TRUE(controller.speedCurvePlaying());
    player.tick(500000);
    player.tick(1500000);
    EXPECT_NEAR(controller.speedCurvePosition(), 1.5, 1e-9);
    EXPECT_NEAR(controller.speedCurveSourcePosition(), 0.75, 1e-6);
    EXPECT_EQ(controller.speedCurveRevision(), 2);
    EXPECT_EQ(frames.count(), 2);
    controller.pauseSpeedCurvePreview();
    EXPECT_EQ(playing.count(), 2);

    // A curve that shortens the clip pulls the position back inside it.
    controller.setSpeedCurvePoints({pointMap(0, 8), pointMap(1, 8)});
    EXPECT_NEAR(controller.speedCurvePosition(), 0.5, 1e-6);

    controller.endSpeedCurveSession();
    EXPECT_FALSE(controller.speedCurveSessionActive());
    EXPECT_EQ(player.clears, 1);
    EXPECT_EQ(session.count(), 2);
    EXPECT_EQ(controller.speedCurveRevision(), 2); // image URLs are never reused
    EXPECT_EQ(entries(), 0);                       // nothing was written to the document
    EXPECT_FALSE(clip(0, 0).speedCurve.isActive());
}

// The curve goes on a copy on a new track in the clip's place; keys keep their source frames.
TEST_F(ControllerSpeed, ApplyPutsARetimedCopyOnANewTrackAndLeavesTheOriginal)
{
    Clip original = mediaClip(QStringLiteral("a"));
    original.timelineStartUs = 3000000;
    original.linkId = QStringLiteral("link");
    original.opacity.keyframes.insert(1000000, Keyframe{0.5});
    original.opacity.keyframes.insert(3000000, Keyframe{1.0});
    Clip partner = mediaClip(QStringLiteral("a-audio"), ClipType::audio);
    partner.timelineStartUs = 3000000;
    partner.linkId = QStringLiteral("link");
    load({original}, {}, {partner});
    const QByteArray originalJson = QJsonDocument(clipToJson(clip(0, 0))).toJson();
    controller.setClipPreviewPlayer(&player);
    QSignalSpy applied(&controller, &AppController::speedCurveApplied);

    controller.beginSpeedCurveSession(0, 0);
    controller.setSpeedCurvePoints({pointMap(0, 2), pointMap(1, 2)});
    controller.playSpeedCurvePreview();
    controller.applySpeedCurve();

    ASSERT_EQ(applied.count(), 1);
    EXPECT_FALSE(player.playing);
    EXPECT_EQ(undoText(), QStringLiteral("Custom speed applied"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Custom speed applied"));
    ASSERT_EQ(doc().tracks.size(), 4);
    EXPECT_EQ(doc().tracks[0].type, TrackType::video);
    ASSERT_EQ(doc().tracks[0].clips.size(), 1);
    const Clip &retimed = clip(0, 0);
    EXPECT_NE(retimed.id, original.id);
    EXPECT_TRUE(retimed.linkId.isEmpty());
    EXPECT_EQ(retimed.name, QStringLiteral("a (retimed)"));
    EXPECT_EQ(retimed.timelineStartUs, 3000000);
    EXPECT_EQ(retimed.timelineDurationUs, 2000000);
    EXPECT_EQ(retimed.opacity.keyframes.keys(), (QList<TimeUs>{500000, 1500000}));
    EXPECT_EQ(QJsonDocument(clipToJson(clip(1, 0))).toJson(), originalJson);
    EXPECT_EQ(controller.selectedTrack(), 0);
    EXPECT_EQ(controller.selectedClip(), 0);

    controller.undo();
    EXPECT_EQ(doc().tracks.size(), 3);
    EXPECT_EQ(QJsonDocument(clipToJson(clip(0, 0))).toJson(), originalJson);
}

TEST_F(ControllerSpeed, ApplyRefusesWhenTheClipHasMoved)
{
    Clip second = mediaClip(QStringLiteral("b"));
    second.timelineStartUs = 6000000;
    load({mediaClip(QStringLiteral("a")), second});
    controller.beginSpeedCurveSession(0, 0);
    controller.selectClip(0, 0);
    controller.deleteSelectedClip(); // clip b now sits at the session's indices
    const int before = entries();

    controller.applySpeedCurve();
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("That clip moved — open Custom speed again"));
    EXPECT_EQ(entries(), before);
    EXPECT_EQ(doc().tracks.size(), 2);
}

TEST(RetimedClipCopy, UnnamedClipsAndNoCurve)
{
    Clip unnamed;
    unnamed.srcOutUs = 3000000;
    unnamed.timelineDurationUs = 3000000;
    unnamed.x.keyframes.insert(1500000, Keyframe{2.0});
    const Clip copy = retimedClipCopy(unnamed, SpeedCurve{});
    EXPECT_EQ(copy.name, QStringLiteral("Clip (retimed)"));
    EXPECT_EQ(copy.timelineDurationUs, 3000000); // an empty curve maps as the identity
    EXPECT_EQ(copy.x.keyframes.keys(), (QList<TimeUs>{1500000}));

    Clip empty;
    empty.speed = -2.0; // read as 1 by the session's starting curve
    const SpeedCurve start = sessionStartCurve(empty);
    ASSERT_EQ(start.points.size(), 2);
    EXPECT_DOUBLE_EQ(start.points[0].speed, 1.0);
    EXPECT_EQ(retimedClipCopy(empty, start).timelineDurationUs, 1); // no source: at least 1 us
}

// Splitting a curved clip gives each half a 33-point polyline of its part of the curve.
TEST_F(ControllerSpeed, SplittingACurvedClipGivesTwoPolylineCurves)
{
    Clip curved = mediaClip(QStringLiteral("c"));
    curved.srcOutUs = 9000000; // 8 s of source
    curved.speedCurve = normaliseSpeedCurve(
        {SpeedCurvePoint{0.0, 0.5}, SpeedCurvePoint{0.5, 4.0}, SpeedCurvePoint{1.0, 1.0}});
    curved.timelineDurationUs = retimedDuration(curved.speedCurve, 8000000);
    load({curved});
    const TimeUs wholeUs = clip(0, 0).timelineDurationUs;

    controller.splitClipAt(0, 0, 2.5);
    EXPECT_EQ(undoText(), QStringLiteral("Split clip"));
    ASSERT_EQ(doc().tracks[0].clips.size(), 2);
    const Clip &left = clip(0, 0);
    const Clip &right = clip(0, 1);
    EXPECT_EQ(left.speedCurve.points.size(), 33);
    EXPECT_EQ(right.speedCurve.points.size(), 33);
    EXPECT_EQ(left.srcOutUs, right.srcInUs);
    EXPECT_EQ(left.srcOutUs - left.srcInUs, sourceOffsetFromTimeline(curved.speedCurve, 2500000, 8000000));
    const TimeUs leftUs = retimedDuration(left.speedCurve, clipSourceSpanUs(left));
    const TimeUs rightUs = retimedDuration(right.speedCurve, clipSourceSpanUs(right));
    EXPECT_NEAR(double(leftUs + rightUs), double(wholeUs), 0.002 * double(wholeUs));
    EXPECT_NEAR(double(leftUs), 2500000.0, 0.002 * double(wholeUs));
}
