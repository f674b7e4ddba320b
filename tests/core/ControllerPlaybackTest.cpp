// The controller and its playback engine. No GL is started here, so the engine draws nothing and
// each composite finishes at once.
#include "ControllerFixture.h"

#include "playback/PlaybackEngine.h"
#include "render/compositor/CompositorService.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTest>

using namespace fixture;

class ControllerPlaybackTest : public ControllerTest
{
protected:
    ControllerPlaybackTest()
    {
        qputenv("PULSE_SERVER", "unix:/nonexistent/orvel-no-server");
        load(makeProject({makeTrack(TrackType::video, {mediaClip("a", 0, 2'000'000)})}));
    }
    ~ControllerPlaybackTest() override { QSettings().remove("preview/playbackMode"); }
    PlaybackEngine &engine() { return *controller.playback(); }
};

TEST_F(ControllerPlaybackTest, PlayheadAndPlayingFollowEachOtherAndPlayAtTheEndRestarts)
{
    controller.setPlayheadSeconds(2.0);
    EXPECT_EQ(engine().playheadUs(), 2'000'000);
    controller.togglePlayback();
    EXPECT_TRUE(controller.playing() && engine().isPlaying());
    EXPECT_EQ(engine().playheadUs(), 0);
    EXPECT_EQ(controller.playheadUs(), 0);
    controller.togglePlayback();
    EXPECT_FALSE(controller.playing() || engine().isPlaying());

    // Quality mode steps a frame per finished composite, which is at once without GL.
    engine().setPlaybackMode("quality");
    controller.setPlayheadSeconds(1.8);
    controller.setPlaying(true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !controller.playing(); }, 5000));
    EXPECT_EQ(controller.playheadUs(), 2'000'000);
}

TEST_F(ControllerPlaybackTest, EditsUndoLoadsAndScrubsRedrawTheStoppedPreview)
{
    QSignalSpy finished(engine().compositor(), &CompositorService::compositeFinished);
    const auto redrawnAfter = [&](const std::function<void()> &action) {
        if (!QTest::qWaitFor([&] { return !engine().compositor()->isBusy(); }, 2000))
            return false;
        const qsizetype before = finished.count();
        action();
        return QTest::qWaitFor([&] { return finished.count() > before; }, 2000);
    };
    EXPECT_TRUE(redrawnAfter([&] { controller.moveClip(0, 0, 0.5); }));
    EXPECT_TRUE(redrawnAfter([&] { controller.undo(); }));
    EXPECT_TRUE(redrawnAfter(
        [&] { load(makeProject({makeTrack(TrackType::video, {mediaClip("b", 0, 1'000'000)})})); }));
    EXPECT_TRUE(redrawnAfter([&] { controller.setPlayheadSeconds(0.5); }));
}
