#include "media/AssetBuild.h"
#include "media/Thumbnails.h"

#include "TestMedia.h"

#include <QImage>

#include <gtest/gtest.h>

using namespace orvel;

namespace {

MediaStreamInfo videoStream(int width, int height, double fps, int rotation, const QString &codec)
{
    MediaStreamInfo stream;
    stream.kind = MediaStreamKind::video;
    stream.width = width;
    stream.height = height;
    stream.fps = fps;
    stream.rotationDegrees = rotation;
    stream.codecLongName = codec;
    return stream;
}

MediaStreamInfo audioStream(int sampleRate, int channels, const QString &codec)
{
    MediaStreamInfo stream;
    stream.kind = MediaStreamKind::audio;
    stream.sampleRate = sampleRate;
    stream.channels = channels;
    stream.codecLongName = codec;
    return stream;
}

MediaProbeResult probeOf(TimeUs durationUs, const QList<MediaStreamInfo> &streams)
{
    MediaProbeResult probe;
    probe.ok = true;
    probe.durationUs = durationUs;
    probe.streams = streams;
    return probe;
}

} // namespace

TEST(AssetDurationText, TruncatesToWholeSecondsAndAddsHoursOnlyWhenNeeded)
{
    EXPECT_EQ(formatDurationText(0), "");
    EXPECT_EQ(formatDurationText(-5000000), "");
    EXPECT_EQ(formatDurationText(999999), "00:00");
    EXPECT_EQ(formatDurationText(59900000), "00:59");
    EXPECT_EQ(formatDurationText(61000000), "01:01");
    EXPECT_EQ(formatDurationText(3599999999), "59:59");
    EXPECT_EQ(formatDurationText(3600000000), "1:00:00");
    EXPECT_EQ(formatDurationText(TimeUs(36005) * 1000000 + 999999), "10:00:05");
}

TEST(AssetKindRules, SuffixGuessAndKindText)
{
    EXPECT_EQ(assetKindForSuffix("/a/b.PNG"), AssetKind::image);
    EXPECT_EQ(assetKindForSuffix("/a/b.Mp3"), AssetKind::audio);
    EXPECT_EQ(assetKindForSuffix("/a/b.txt"), AssetKind::video);
    EXPECT_EQ(assetKindForSuffix("/a/noext"), AssetKind::video);
    EXPECT_EQ(assetKindText(AssetKind::audio), "audio");
    EXPECT_EQ(assetKindText(AssetKind(7)), "other");
}

TEST(BuildAssetFromProbe, KindFollowsStreamsAndLastStreamOfEachTypeWins)
{
    MediaStreamInfo cover = videoStream(500, 500, 0.0, 0, "PNG");
    cover.isAttachedPicture = true;

    const Asset twoVideos = buildAsset(
        "/m/clip.mov", "clip.mov",
        probeOf(90500000, {videoStream(1920, 1080, 30.0, 0, "first"), audioStream(48000, 2, "aac"),
                           videoStream(640, 480, 25.0, 90, "second"), audioStream(22050, 1, "mp3")}),
        false);
    EXPECT_EQ(twoVideos.kind, AssetKind::video);
    EXPECT_EQ(twoVideos.path, "/m/clip.mov");
    EXPECT_EQ(twoVideos.name, "clip.mov");
    EXPECT_TRUE(twoVideos.id.isEmpty());
    EXPECT_EQ(twoVideos.durationUs, 90500000);
    EXPECT_EQ(twoVideos.durationText, "01:30");
    EXPECT_EQ(twoVideos.width, 640);
    EXPECT_EQ(twoVideos.height, 480);
    EXPECT_DOUBLE_EQ(twoVideos.fps, 25.0);
    EXPECT_EQ(twoVideos.rotationDegrees, 90);
    EXPECT_EQ(twoVideos.codecName, "second");
    EXPECT_TRUE(twoVideos.hasAudio);
    EXPECT_TRUE(twoVideos.hasAudioKnown);
    EXPECT_EQ(twoVideos.sampleRate, 22050);
    EXPECT_EQ(twoVideos.channels, 1);
    EXPECT_TRUE(twoVideos.thumbnailPath.isEmpty());

    const Asset song =
        buildAsset("/m/song.mp3", "song.mp3", probeOf(3000000, {audioStream(44100, 2, "MP3"), cover}), false);
    EXPECT_EQ(song.kind, AssetKind::audio);
    EXPECT_EQ(song.codecName, "MP3");
    EXPECT_EQ(song.width, 0);
    EXPECT_EQ(song.durationText, "00:03");

    const Asset picture =
        buildAsset("/m/frame.PNG", "frame.PNG", probeOf(40000, {videoStream(32, 16, 25.0, 0, "PNG")}), false);
    EXPECT_EQ(picture.kind, AssetKind::image);
    EXPECT_TRUE(picture.durationText.isEmpty());
    EXPECT_EQ(picture.width, 32);

    const Asset data = buildAsset("/m/data.bin", "data.bin", probeOf(0, {MediaStreamInfo{}}), false);
    EXPECT_EQ(data.kind, AssetKind::other);
    EXPECT_FALSE(data.hasAudio);
    EXPECT_TRUE(data.hasAudioKnown);
    EXPECT_TRUE(data.codecName.isEmpty());
}

class BuildAssetFromFileTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { TestMedia::instance(); }
};

TEST_F(BuildAssetFromFileTest, VideoGetsPosterAndStripAudioSharesItsPoster)
{
    const QString video = TestMedia::instance().path("av.mp4");
    const Asset clip = buildAsset(video, "av.mp4", probeMedia(video));
    EXPECT_EQ(clip.kind, AssetKind::video);
    EXPECT_EQ(clip.width, 160);
    EXPECT_EQ(clip.sampleRate, 44100);
    EXPECT_EQ(clip.channels, 2);
    EXPECT_EQ(clip.durationText, "00:01");
    EXPECT_EQ(clip.thumbnailPath, posterPath(video));
    EXPECT_EQ(clip.filmstripPath, stripPath(video));
    EXPECT_EQ(QImage(clip.filmstripPath).size(), QSize(960, 68));

    const QString mp3 = TestMedia::instance().path("cover.mp3");
    const Asset song = buildAsset(mp3, "cover.mp3", probeMedia(mp3));
    EXPECT_EQ(song.kind, AssetKind::audio);
    EXPECT_TRUE(song.hasAudio);
    EXPECT_EQ(song.thumbnailPath, posterPath(mp3));
    EXPECT_EQ(song.filmstripPath, song.thumbnailPath);
    EXPECT_EQ(QImage(song.thumbnailPath).size(), QSize(64, 64));
}

TEST_F(BuildAssetFromFileTest, SecondAudioStreamAndSilentVideo)
{
    const QString twoAudio = TestMedia::instance().path("two_audio.mp4");
    const Asset both = buildAsset(twoAudio, "two_audio.mp4", probeMedia(twoAudio), false);
    EXPECT_TRUE(both.hasAudio);
    EXPECT_EQ(both.sampleRate, 22050);
    EXPECT_EQ(both.channels, 1);

    const QString silent = TestMedia::instance().path("silent.mp4");
    const Asset quiet = buildAsset(silent, "silent.mp4", probeMedia(silent), false);
    EXPECT_EQ(quiet.kind, AssetKind::video);
    EXPECT_FALSE(quiet.hasAudio);
    EXPECT_TRUE(quiet.hasAudioKnown);
    EXPECT_EQ(quiet.sampleRate, 0);
    EXPECT_TRUE(quiet.codecName.contains("H.264"));
}

TEST_F(BuildAssetFromFileTest, ImageRecordsTakeTheReaderSizeEvenWhenThereIsNone)
{
    const QString still = TestMedia::instance().path("still.png");
    const Asset picture = buildImageAsset(still, "still.png");
    EXPECT_EQ(picture.kind, AssetKind::image);
    EXPECT_EQ(picture.width, 640);
    EXPECT_EQ(picture.height, 360);
    EXPECT_FALSE(picture.hasAudio);
    EXPECT_TRUE(picture.hasAudioKnown);
    EXPECT_EQ(picture.thumbnailPath, posterPath(still));
    EXPECT_EQ(picture.filmstripPath, picture.thumbnailPath);
    EXPECT_TRUE(picture.durationText.isEmpty());

    const Asset fake = buildImageAsset(TestMedia::instance().path("fake.png"), "fake.png");
    EXPECT_EQ(fake.kind, AssetKind::image);
    EXPECT_EQ(fake.width, 0);
    EXPECT_EQ(fake.height, 0);
    EXPECT_TRUE(fake.thumbnailPath.isEmpty());
    EXPECT_TRUE(fake.filmstripPath.isEmpty());
}
