#include "media/assets/MediaProbe.h"

#include "TestMedia.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace orvel;

TEST(RotationFromDisplayAngle, NegatesRoundsAndWrapsIntoOneTurn)
{
    const std::pair<double, int> cases[] = {{-90.0, 90}, {90.0, 270},  {180.0, 180}, {-180.0, 180}, {0.0, 0},
                                            {-360.0, 0}, {-450.0, 90}, {-89.6, 90},  {0.4, 0},      {NAN, 0}};
    for (const auto &[angle, degrees] : cases)
        EXPECT_EQ(rotationFromDisplayAngle(angle), degrees) << angle;
}

TEST(MediaProbe, FillsContainerAndStreamsRotationAndCoverArt)
{
    const QString path = testmedia::path("av.mp4");
    const MediaProbeResult probe = probeMedia(path);
    ASSERT_TRUE(probe.ok) << probe.error.toStdString();
    EXPECT_TRUE(probe.error.isEmpty());
    EXPECT_EQ(probe.path, path);
    EXPECT_NEAR(double(probe.durationUs), 1.0e6, 0.1e6);
    ASSERT_EQ(probe.streams.size(), 2);

    const MediaStreamInfo &video = probe.streams.at(0);
    EXPECT_EQ(video.kind, MediaStreamKind::video);
    EXPECT_TRUE(video.codecLongName.contains("H.264")) << video.codecLongName.toStdString();
    EXPECT_EQ(QSize(video.width, video.height), QSize(160, 90));
    EXPECT_DOUBLE_EQ(video.fps, 25.0);
    EXPECT_EQ(video.rotationDegrees, 0);
    EXPECT_FALSE(video.isAttachedPicture);
    EXPECT_NEAR(double(video.durationUs), 1.0e6, 0.1e6);
    EXPECT_EQ(video.sampleRate, 0);

    const MediaStreamInfo &audio = probe.streams.at(1);
    EXPECT_EQ(audio.kind, MediaStreamKind::audio);
    EXPECT_TRUE(audio.codecLongName.contains("AAC")) << audio.codecLongName.toStdString();
    EXPECT_EQ(audio.sampleRate, 44100);
    EXPECT_EQ(audio.channels, 2);
    EXPECT_EQ(audio.width, 0);

    // A display matrix becomes a clockwise rotation, the stored size kept.
    for (const auto &[name, degrees] : {std::pair{"rotated.mp4", 90}, std::pair{"rotated90.mp4", 270}}) {
        const MediaProbeResult turned = probeMedia(testmedia::path(name));
        ASSERT_TRUE(turned.ok && !turned.streams.isEmpty()) << name;
        EXPECT_EQ(turned.streams.at(0).rotationDegrees, degrees) << name;
        EXPECT_EQ(QSize(turned.streams.at(0).width, turned.streams.at(0).height), QSize(160, 90)) << name;
    }

    // Cover art is a video stream marked as an attached picture.
    const MediaProbeResult song = probeMedia(testmedia::path("cover.mp3"));
    ASSERT_TRUE(song.ok);
    ASSERT_EQ(song.streams.size(), 2);
    EXPECT_EQ(song.streams.at(0).kind, MediaStreamKind::audio);
    EXPECT_FALSE(song.streams.at(0).isAttachedPicture);
    EXPECT_EQ(song.streams.at(1).kind, MediaStreamKind::video);
    EXPECT_TRUE(song.streams.at(1).isAttachedPicture);
    EXPECT_EQ(song.streams.at(1).width, 64);
}

TEST(MediaProbe, UnreadableFilesReportTheDemuxerError)
{
    for (const QString &path : {testmedia::path("fake.mp4"), testmedia::missingFile()}) {
        const MediaProbeResult probe = probeMedia(path);
        EXPECT_FALSE(probe.ok) << path.toStdString();
        EXPECT_FALSE(probe.error.isEmpty()) << path.toStdString();
        EXPECT_TRUE(probe.streams.isEmpty());
        EXPECT_EQ(probe.durationUs, 0);
        EXPECT_EQ(probe.path, path);
    }
}
