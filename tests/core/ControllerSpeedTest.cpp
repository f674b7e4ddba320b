// Speed slots and the custom speed session, driven as QML drives them, with a fake preview
// player standing in for the decoding one.
#include "ControllerFixture.h"
#include "core/SpeedCurveSession.h"
#include "core/document/timing/ClipTiming.h"

#include <QSignalSpy>

#include <cmath>
#include <limits>

using namespace fixture;

namespace {

// A clip of the 20 s file "vid" playing source 1..5 s from timeline 0.
Clip speedClip(const QString &id, ClipType type = ClipType::video)
{
    return mediaClip(id, 0, 4000000, type);
}

QVariantList flatPoints(double speed)
{
    return {QVariantMap{{"pos", 0.0}, {"speed", speed}}, QVariantMap{{"pos", 1.0}, {"speed", speed}}};
}

} // namespace

// Records what it is told; its clock moves only when the test ticks it.
class FakePreviewPlayer : public AbstractClipPreviewPlayer
{
public:
    void setClip(const Clip &clip, int, int) override { loaded = clip; }
    void updateSpeed(const SpeedCurve &curve) override { loaded.speedCurve = curve; }
    void clear() override { loaded = Clip(); }
    void play() override { setPlaying(true); }
    void pause() override { setPlaying(false); }
    void seek(TimeUs positionUs) override { position = positionUs; }
    TimeUs positionUs() const override { return position; }
    bool isPlaying() const override { return playing; }
    QSize frameSize() const override { return QSize(640, 360); }
    void tick(TimeUs positionUs)
    {
        position = positionUs;
        emit positionChanged();
        emit frameChanged();
    }
    void setPlaying(bool value)
    {
        playing = value;
        emit playingChanged();
    }

    Clip loaded;
    TimeUs position = 0;
    bool playing = false;
};

class ControllerSpeed : public ControllerTest
{
protected:
    // Tracks: video, text, then audio when audio clips are given.
    void loadClips(const QList<Clip> &clips, const QList<Clip> &audioClips = {})
    {
        Project project =
            makeProject({makeTrack(TrackType::video, clips),
                         makeTrack(TrackType::text, {makeClip("t", 0, 1000000, ClipType::text)})},
                        {makeAsset("vid", AssetKind::video)});
        if (!audioClips.isEmpty())
            project.tracks.append(makeTrack(TrackType::audio, audioClips));
        load(project);
        controller.setClipPreviewPlayer(&player);
    }
    QByteArray clipJson(int track, int index) const
    {
        return QJsonDocument(clipToJson(clip(track, index))).toJson();
    }

    FakePreviewPlayer player;
};

// The length rule and the file's end have their own suite; the slot clamps the speed and skips
// clips without speed controls.
TEST_F(ControllerSpeed, SpeedChangeClampsAndKeepsTheLength)
{
    loadClips({speedClip(QStringLiteral("a"))});
    controller.setClipSpeed(0, 0, 2.0);
    expectWords("Speed changed", "Clip speed updated");
    EXPECT_EQ(clip(0, 0).srcOutUs, 9000000);
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 4000000);
    controller.setClipSpeed(0, 0, 10.0); // clamped to 4
    EXPECT_EQ(clip(0, 0).speed, 4.0);

    controller.previewSetClipSpeed(0, 0, 0.1); // clamped to 0.25
    controller.commitPreviewDrag();
    EXPECT_EQ(undoText(), QStringLiteral("Speed changed"));
    EXPECT_EQ(clip(0, 0).srcOutUs, 2000000);

    const int count = entries();
    controller.setClipSpeed(1, 0, 2.0); // text has no speed
    controller.setClipSpeed(0, 0, std::nan(""));
    EXPECT_EQ(entries(), count);
}

// Reverse flips only the flag; clearing a curve and the source readout read a speed of 0 from
// an old file as 1.
TEST_F(ControllerSpeed, ReverseClearCurveAndSourceTimes)
{
    Clip curved = speedClip(QStringLiteral("c"));
    curved.srcOutUs = 7000000;
    curved.speedCurve = normaliseSpeedCurve({SpeedCurvePoint{0.0, 3.0}, SpeedCurvePoint{1.0, 3.0}});
    curved.timelineStartUs = curved.timelineDurationUs = 2000000;
    curved.speed = 0.0;
    loadClips({curved});

    controller.setClipReverse(0, 0, true);
    expectWords("Reverse on", "Clip reversed");
    controller.setClipReverse(0, 0, true); // unchanged
    controller.setClipReverse(1, 0, true); // text
    EXPECT_EQ(entries(), 1);
    controller.setClipReverse(0, 0, false);
    expectWords("Reverse off", "Clip forward");

    controller.selectClip(0, 0);
    controller.setPlayheadSeconds(3.5);
    EXPECT_DOUBLE_EQ(controller.sourceTimeAtPlayhead(), 2.5); // the constant speed, though curved
    QVariantMap map{{"start", 2.0}, {"inPoint", 1.0}, {"outPoint", 5.0}, {"speed", 2.0}, {"reverse", true}};
    EXPECT_DOUBLE_EQ(controller.sourceTimeForClip(map), 2.0);
    map.insert(QStringLiteral("speed"), -1.0);
    EXPECT_DOUBLE_EQ(controller.sourceTimeForClip(map), 3.5);

    controller.clearClipSpeedCurve(0, 0);
    EXPECT_EQ(undoText(), QStringLiteral("Speed curve removed"));
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 6000000); // the whole span at speed 1
    controller.clearClipSpeedCurve(0, 0);
    EXPECT_EQ(entries(), 3);
    EXPECT_EQ(clip(0, 0).srcInUs, curved.srcInUs);
}

TEST_F(ControllerSpeed, SessionRefusesClipsWithoutMedia)
{
    Clip noPath = speedClip(QStringLiteral("p"));
    noPath.path.clear();
    Clip noSpan = speedClip(QStringLiteral("s"));
    noSpan.srcOutUs = noSpan.srcInUs;
    loadClips({noPath, noSpan});

    controller.beginSpeedCurveSession(1, 0);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Custom speed works on video and audio clips"));
    for (int clipIndex : {0, 1}) {
        controller.beginSpeedCurveSession(0, clipIndex);
        EXPECT_EQ(controller.lastMessage(),
                  QStringLiteral("This clip has no media to speed up or slow down"));
    }
    EXPECT_FALSE(controller.speedCurveSessionActive());
    EXPECT_TRUE(player.loaded.id.isEmpty());
    controller.setSpeedCurvePoints(flatPoints(2.0));
    EXPECT_TRUE(controller.speedCurvePoints().isEmpty());
}

// Positions come from the working curve; the player hears of every change.
TEST_F(ControllerSpeed, SessionDrivesThePlayerInRetimedTime)
{
    Clip slow = speedClip(QStringLiteral("a"));
    slow.speed = 0.5;
    slow.timelineDurationUs = 8000000;
    loadClips({slow});
    controller.setPlaying(true);
    QSignalSpy session(&controller, &AppController::speedCurveSessionChanged);

    controller.beginSpeedCurveSession(0, 0);
    ASSERT_TRUE(controller.speedCurveSessionActive());
    EXPECT_FALSE(controller.playing());
    EXPECT_EQ(player.loaded.id, QStringLiteral("a"));
    expectFields(controller.speedCurvePoints()[1].toMap(), {{"speed", 0.5}});
    EXPECT_EQ(controller.speedCurveSourceDuration(), 4.0);
    EXPECT_NEAR(controller.speedCurveRetimedDuration(), 8.0, 1e-6);

    controller.setSpeedCurvePoints(flatPoints(2.0));
    EXPECT_NEAR(controller.speedCurveRetimedDuration(), 2.0, 1e-6);
    EXPECT_EQ(player.loaded.speedCurve.points.size(), 2);
    EXPECT_EQ(player.loaded.speedCurve.points[0].speed, 2.0);

    controller.seekSpeedCurvePreviewAtSource(0.5);
    EXPECT_EQ(player.position, 1000000); // half the source at 2x is one second in
    EXPECT_NEAR(controller.speedCurveSourcePosition(), 0.5, 1e-6);
    controller.seekSpeedCurvePreview(60.0);
    EXPECT_EQ(player.position, 2000000); // the retimed end

    QSignalSpy frames(&controller, &AppController::speedCurveFrameChanged);
    controller.playSpeedCurvePreview();
    EXPECT_TRUE(controller.speedCurvePlaying());
    player.tick(500000);
    player.tick(1500000);
    EXPECT_NEAR(controller.speedCurvePosition(), 1.5, 1e-9);
    EXPECT_NEAR(controller.speedCurveSourcePosition(), 0.75, 1e-6);
    EXPECT_EQ(controller.speedCurveRevision(), 2);
    EXPECT_EQ(frames.count(), 2);

    controller.setSpeedCurvePoints(flatPoints(8.0)); // a shorter clip pulls the position inside
    EXPECT_NEAR(controller.speedCurvePosition(), 0.5, 1e-6);

    controller.endSpeedCurveSession();
    EXPECT_FALSE(controller.speedCurveSessionActive());
    EXPECT_TRUE(player.loaded.id.isEmpty());
    EXPECT_EQ(session.count(), 2);
    EXPECT_EQ(entries(), 0); // nothing was written to the document
}

// The curve goes on a copy on a new track in the clip's place; keys keep their source frames.
TEST_F(ControllerSpeed, ApplyPutsARetimedCopyOnANewTrackAndLeavesTheOriginal)
{
    Clip original = speedClip(QStringLiteral("a"));
    original.timelineStartUs = 3000000;
    original.linkId = QStringLiteral("link");
    original.opacity = keys({{1000000, 0.5}, {3000000, 1.0}});
    loadClips({original}, {linkedAudioOf(original)});
    const QByteArray originalJson = clipJson(0, 0);
    QSignalSpy applied(&controller, &AppController::speedCurveApplied);

    controller.beginSpeedCurveSession(0, 0);
    controller.setSpeedCurvePoints(flatPoints(2.0));
    controller.playSpeedCurvePreview();
    controller.applySpeedCurve();

    ASSERT_EQ(applied.count(), 1);
    EXPECT_FALSE(player.playing);
    expectWords("Custom speed applied", "Custom speed applied");
    ASSERT_EQ(doc().tracks.size(), 4);
    ASSERT_EQ(doc().tracks[0].clips.size(), 1);
    const Clip &retimed = clip(0, 0);
    EXPECT_NE(retimed.id, original.id);
    EXPECT_TRUE(retimed.linkId.isEmpty());
    EXPECT_EQ(retimed.name, QStringLiteral("a (retimed)"));
    EXPECT_EQ(retimed.timelineDurationUs, 2000000);
    EXPECT_EQ(retimed.opacity.keyframes.keys(), (QList<TimeUs>{500000, 1500000}));
    EXPECT_EQ(clipJson(1, 0), originalJson);
    EXPECT_EQ(controller.selectedTrack(), 0);
    EXPECT_EQ(controller.selectedClip(), 0);

    // A second apply compares the session's clip with the copy now at its indices.
    controller.applySpeedCurve();
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("That clip moved — open Custom speed again"));
    EXPECT_EQ(applied.count(), 1);
    controller.undo();
    EXPECT_EQ(doc().tracks.size(), 3);
    EXPECT_EQ(clipJson(0, 0), originalJson);
}

TEST(RetimedClipCopy, AnUnnamedClipIsCalledClip)
{
    Clip unnamed;
    unnamed.srcOutUs = unnamed.timelineDurationUs = 3000000;
    EXPECT_EQ(retimedClipCopy(unnamed, sessionStartCurve(unnamed)).name, QStringLiteral("Clip (retimed)"));
}

// A session on one half of a split curved clip auditions exactly that half, and refuses points
// that are no numbers.
TEST_F(ControllerSpeed, SessionsOnSplitCurvesKeepTheirPartAndRefuseNonNumbers)
{
    Clip curved = speedClip(QStringLiteral("c"));
    curved.speedCurve = normaliseSpeedCurve({SpeedCurvePoint{0.0, 0.5}, SpeedCurvePoint{1.0, 4.0}});
    curved.timelineDurationUs = retimedDuration(curved.speedCurve, 4000000);
    loadClips({curved});
    controller.splitClipAt(0, 0, 1.0);
    controller.beginSpeedCurveSession(0, 1);
    const double halfSeconds = usToSeconds(clip(0, 1).timelineDurationUs);
    EXPECT_NEAR(controller.speedCurveRetimedDuration(), halfSeconds, 2e-6);

    const QVariantList shown = controller.speedCurvePoints();
    controller.setSpeedCurvePoints(
        {QVariantMap{{"pos", 0.0}, {"speed", std::nan("")}}, QVariantMap{{"pos", 1.0}, {"speed", 2.0}}});
    controller.setSpeedCurvePoints(
        {QVariantMap{{"pos", 0.0}, {"speed", 1.0}},
         QVariantMap{{"pos", 1.0}, {"speed", std::numeric_limits<double>::infinity()}}});
    EXPECT_EQ(controller.speedCurvePoints(), shown);
    EXPECT_NEAR(controller.speedCurveRetimedDuration(), halfSeconds, 2e-6);
}
