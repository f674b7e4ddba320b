// The custom speed window's player: the picture it publishes for each retimed time is the source
// frame the clip's timing maps that time to, late pictures never replace newer ones, and its two
// threads go away with it.
#include "playback/preview/ClipPreviewPlayer.h"
#include "../media/TestMedia.h"
#include "core/document/timing/SpeedCurve.h"
#include "media/decode/ClipReaderPool.h"
#include "playback/preview/ClipPreviewFrameStore.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QSet>
#include <QSignalSpy>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>

using namespace orvel;

namespace {

// One second of the numbered pattern at 25 fps: frame n covers n * 40 ms.
Clip patternClip(TimeUs inUs, TimeUs outUs, double speed)
{
    Clip clip;
    clip.id = QStringLiteral("preview-clip");
    clip.type = ClipType::video;
    clip.path = testmedia::path(QStringLiteral("pattern-gop5.mp4"));
    clip.srcInUs = inUs;
    clip.srcOutUs = outUs;
    clip.speed = speed;
    clip.timelineStartUs = 5'000'000; // the player counts from the clip's start regardless
    clip.timelineDurationUs = TimeUs((outUs - inUs) / speed);
    return clip;
}

int frameAt(TimeUs sourceUs)
{
    return int(sourceUs / testmedia::kFrameUs);
}

// Waits until the newest request has been decoded and shown.
bool settle(ClipPreviewPlayer &player)
{
    QSignalSpy frames(&player, &ClipPreviewPlayer::frameChanged);
    QElapsedTimer waited;
    waited.start();
    while (player.shownToken() != player.latestToken()) {
        if (waited.elapsed() > 10'000)
            return false;
        frames.wait(200);
    }
    return true;
}

int shownFrameAfterSeek(ClipPreviewPlayer &player, TimeUs positionUs)
{
    player.seek(positionUs);
    if (!settle(player))
        return -2;
    return testmedia::patternIndex(clipPreviewImage());
}

QSet<QString> threadIds()
{
    const QStringList tasks =
        QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    return QSet<QString>(tasks.begin(), tasks.end());
}

// Plays a moment, pauses and seeks, so that a decode may still be on its way as the player goes.
void playPauseAndSeek(ClipPreviewPlayer &player)
{
    player.setClip(patternClip(0, 1'000'000, 1.0), 48000, 25);
    player.play();
    player.pause();
    player.seek(300'000);
}

} // namespace

TEST(ClipPreviewPlayer, ShowsTheSourceFrameEachRetimedTimeMapsTo)
{
    ClipPreviewPlayer player;
    player.setClip(patternClip(200'000, 1'000'000, 2.0), 48000, 25);
    EXPECT_EQ(player.durationUs(), 400'000);
    ASSERT_TRUE(settle(player));
    EXPECT_EQ(testmedia::patternIndex(clipPreviewImage()), frameAt(200'000));
    EXPECT_EQ(player.frameSize(), QSize(testmedia::kPatternWidth, testmedia::kPatternHeight));

    // Constant speed 2: 100 ms in is 200 ms into the source; the picture is the decoder's own.
    EXPECT_EQ(shownFrameAfterSeek(player, 100'000), frameAt(400'000));
    EXPECT_EQ(clipPreviewImage(), ClipReaderPool::instance().decodeVideo(patternClip(0, 0, 1).path, 400'000,
                                                                         ClipPreviewPlayer::kMaxFrameWidth,
                                                                         ClipPreviewPlayer::kMaxFrameHeight));
    // Past the end is held at the last moment.
    EXPECT_EQ(shownFrameAfterSeek(player, 9'000'000), frameAt(999'999));
    EXPECT_EQ(player.positionUs(), 400'000);

    // A flat curve at half speed doubles the length; 600 ms in is 300 ms into the source.
    SpeedCurvePoint start;
    start.speed = 0.5;
    SpeedCurvePoint end = start;
    end.pos = 1.0;
    const SpeedCurve curve = normaliseSpeedCurve({start, end});
    player.updateSpeed(curve);
    EXPECT_EQ(player.durationUs(), 1'600'000);
    EXPECT_EQ(shownFrameAfterSeek(player, 600'000), frameAt(500'000));

    // Reversed, the source is read backward from the out point.
    Clip reversed = patternClip(200'000, 1'000'000, 1.0);
    reversed.reverse = true;
    player.setClip(reversed, 48000, 25);
    ASSERT_TRUE(settle(player));
    EXPECT_EQ(shownFrameAfterSeek(player, 300'000), frameAt(700'000));
}

TEST(ClipPreviewPlayer, BurstsOfSeeksShowRisingTokensAndEndOnTheLast)
{
    ClipPreviewPlayer player;
    player.setClip(patternClip(0, 1'000'000, 1.0), 48000, 25);
    ASSERT_TRUE(settle(player));
    QList<quint64> shown;
    QObject::connect(&player, &ClipPreviewPlayer::frameChanged, [&] { shown.append(player.shownToken()); });
    for (TimeUs t = 40'000; t <= 800'000; t += 40'000)
        player.seek(t);
    ASSERT_TRUE(settle(player));
    ASSERT_FALSE(shown.isEmpty());
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()) &&
                std::adjacent_find(shown.begin(), shown.end()) == shown.end());
    EXPECT_EQ(testmedia::patternIndex(clipPreviewImage()), frameAt(800'000));

    // Changing the clip cancels what is on its way and clears the picture until the new one.
    player.seek(200'000);
    player.clear();
    ASSERT_TRUE(settle(player));
    EXPECT_TRUE(clipPreviewImage().isNull());
    EXPECT_TRUE(player.frameSize().isEmpty());
    EXPECT_EQ(player.durationUs(), 0);

    // Sound alone makes no picture.
    Clip audio = patternClip(0, 1'000'000, 1.0);
    audio.type = ClipType::audio;
    player.setClip(audio, 48000, 25);
    EXPECT_EQ(player.shownToken(), player.latestToken());
    EXPECT_TRUE(clipPreviewImage().isNull());
}

TEST(ClipPreviewPlayer, PlaysFromTheStartWhenAtTheEndAndLeavesNoThreadBehind)
{
    // No test talks to a real sound server: the sink fails and the clock runs on its own.
    if (qEnvironmentVariableIsEmpty("PULSE_SERVER"))
        qputenv("PULSE_SERVER", QByteArrayLiteral("unix:/nonexistent/orvel-test-pulse"));
    {
        // The sound system and the reader pool keep threads of their own for the whole process.
        ClipPreviewPlayer first;
        playPauseAndSeek(first);
    }
    const QSet<QString> before = threadIds();
    {
        ClipPreviewPlayer player;
        player.setClip(patternClip(0, 1'000'000, 1.0), 48000, 25);
        player.seek(1'000'000);
        QSignalSpy playing(&player, &ClipPreviewPlayer::playingChanged);
        player.play();
        EXPECT_TRUE(player.isPlaying());
        EXPECT_EQ(player.positionUs(), 0);
        EXPECT_EQ(playing.count(), 1);
        player.pause();
        EXPECT_FALSE(player.isPlaying());
        EXPECT_LT(player.positionUs(), 1'000'000);
        playPauseAndSeek(player);
    }
    // A finished thread's system entry goes a moment after the wait for it returns.
    QSet<QString> after = threadIds();
    for (QDeadlineTimer deadline(5000); !before.contains(after) && !deadline.hasExpired();
         after = threadIds())
        QThread::yieldCurrentThread();
    EXPECT_TRUE(before.contains(after)) << (after - before).size() << " threads left";
}
