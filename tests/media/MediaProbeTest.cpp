#include "media/MediaProbe.h"

#include "TestMedia.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace orvel;

class MediaProbeTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { TestMedia::instance(); }
};

TEST(RotationFromDisplayAngle, NegatesRoundsAndWrapsIntoOneTurn)
{
    EXPECT_EQ(rotationFromDisplayAngle(-90.0), 90);
    EXPECT_EQ(rotationFromDisplayAngle(90.0), 270);
    EXPECT_EQ(rotationFromDisplayAngle(180.0), 180);
    EXPECT_EQ(rotationFromDisplayAngle(-180.0), 180);
    EXPECT_EQ(rotationFromDisplayAngle(0.0), 0);
    EXPECT_EQ(rotationFromDisplayAngle(-360.0), 0);
    EXPECT_EQ(rotationFromDisplayAngle(-450.0), 90);
    EXPECT_EQ(rotationFromDisplayAngle(-89.6), 90);
    EXPECT_EQ(rotationFromDisplayAngle(0.4), 0);
    EXPECT_EQ(rotationFromDisplayAngle(std::nan("")), 0);
}

TEST_F(MediaProbeTest, VideoWithAudioFillsContainerAndBothStreams)
{
    const QString path = TestMedia::instance().path("av.mp4");
    const MediaProbeResult probe = probeMedia(path);
    ASSERT_TRUE(probe.ok) << probe.error.toStdString();
    EXPECT_TRUE(probe.error.isEmpty());
    EXPECT_EQ(probe.path, path);
    EXPECT_NEAR(double(probe.durationUs), 1.0e6, 0.1e6);
    ASSERT_EQ(probe.streams.size(), 2);

    const MediaStreamInfo &video = probe.streams.at(0);
    EXPECT_EQ(video.kind, MediaStreamKind::video);
    EXPECT_TRUE(video.codecLongName.contains("H.264")) << video.codecLongName.toStdString();
    EXPECT_EQ(video.width, 160);
    EXPECT_EQ(video.height, 90);
    EXPECT_DOUBLE_EQ(video.fps, 25.0);
    EXPECT_EQ(video.rotationDegrees, 0);
    EXPECT_FALSE(video.isAttachedPicture);
    EXPECT_NEAR(double(video.durationUs), 1.0e6, 0.1e6);
    EXPECT_EQ(video.sampleRate, 0);
    EXPECT_EQ(video.channels, 0);

    const MediaStreamInfo &audio = probe.streams.at(1);
    EXPECT_EQ(audio.kind, MediaStreamKind::audio);
    EXPECT_TRUE(audio.codecLongName.contains("AAC")) << audio.codecLongName.toStdString();
    EXPECT_EQ(audio.sampleRate, 44100);
    EXPECT_EQ(audio.channels, 2);
    EXPECT_EQ(audio.width, 0);
    EXPECT_DOUBLE_EQ(audio.fps, 0.0);
}

TEST_F(MediaProbeTest, DisplayMatrixBecomesClockwiseRotationWithStoredSizeKept)
{
    const MediaProbeResult minus90 = probeMedia(TestMedia::instance().path("rotated.mp4"));
    ASSERT_TRUE(minus90.ok);
    ASSERT_FALSE(minus90.streams.isEmpty());
    EXPECT_EQ(minus90.streams.at(0).rotationDegrees, 90);
    EXPECT_EQ(minus90.streams.at(0).width, 160);
    EXPECT_EQ(minus90.streams.at(0).height, 90);

    const MediaProbeResult plus90 = probeMedia(TestMedia::instance().path("rotated90.mp4"));
    ASSERT_TRUE(plus90.ok);
    EXPECT_EQ(plus90.streams.at(0).rotationDegrees, 270);
}

TEST_F(MediaProbeTest, CoverArtIsAVideoStreamMarkedAsAttachedPicture)
{
    const MediaProbeResult probe = probeMedia(TestMedia::instance().path("cover.mp3"));
    ASSERT_TRUE(probe.ok);
    ASSERT_EQ(probe.streams.size(), 2);
    EXPECT_EQ(probe.streams.at(0).kind, MediaStreamKind::audio);
    EXPECT_FALSE(probe.streams.at(0).isAttachedPicture);
    EXPECT_EQ(probe.streams.at(1).kind, MediaStreamKind::video);
    EXPECT_TRUE(probe.streams.at(1).isAttachedPicture);
    EXPECT_EQ(probe.streams.at(1).width, 64);
}

TEST_F(MediaProbeTest, UnreadableFilesReportTheDemuxerError)
{
    for (const QString &name : {QStringLiteral("fake.mp4"), QStringLiteral("does-not-exist.mp4")}) {
        const QString path = name == "fake.mp4" ? TestMedia::instance().path(name) : "/nonexistent/" + name;
        const MediaProbeResult probe = probeMedia(path);
        EXPECT_FALSE(probe.ok) << name.toStdString();
        EXPECT_FALSE(probe.error.isEmpty()) << name.toStdString();
        EXPECT_TRUE(probe.streams.isEmpty());
        EXPECT_EQ(probe.durationUs, 0);
        EXPECT_EQ(probe.path, path);
    }
}
