#include "media/assets/AssetBuild.h"
#include "media/assets/Thumbnails.h"

#include "TestMedia.h"

#include <QFileInfo>

#include <gtest/gtest.h>

#include <tuple>

using namespace orvel;

namespace {

MediaStreamInfo stream(MediaStreamKind kind, int widthOrRate, int heightOrChannels, const QString &codec)
{
    MediaStreamInfo info;
    info.kind = kind;
    info.codecLongName = codec;
    if (kind == MediaStreamKind::audio) {
        info.sampleRate = widthOrRate;
        info.channels = heightOrChannels;
    } else {
        info.width = widthOrRate;
        info.height = heightOrChannels;
        info.fps = 25.0;
    }
    return info;
}

Asset assetFromProbe(const QString &path, TimeUs durationUs, const QList<MediaStreamInfo> &streams)
{
    MediaProbeResult probe;
    probe.ok = true;
    probe.durationUs = durationUs;
    probe.streams = streams;
    return buildAsset(path, path.section('/', -1), probe, false);
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
    EXPECT_EQ(assetKindText(AssetKind(7)), "other");
}

TEST(BuildAssetFromProbe, KindFollowsStreamsAndLastStreamOfEachTypeWins)
{
    MediaStreamInfo second = stream(MediaStreamKind::video, 640, 480, "second");
    second.rotationDegrees = 90;
    second.fps = 50.0;
    const Asset clip = assetFromProbe("/m/clip.mov", 90500000,
                                      {stream(MediaStreamKind::video, 1920, 1080, "first"),
                                       stream(MediaStreamKind::audio, 48000, 2, "aac"), second,
                                       stream(MediaStreamKind::audio, 22050, 1, "mp3")});
    EXPECT_EQ(clip.kind, AssetKind::video);
    EXPECT_EQ(clip.path, "/m/clip.mov");
    EXPECT_EQ(clip.name, "clip.mov");
    EXPECT_TRUE(clip.id.isEmpty());
    EXPECT_EQ(clip.durationUs, 90500000);
    EXPECT_EQ(clip.durationText, "01:30");
    EXPECT_EQ(QSize(clip.width, clip.height), QSize(640, 480));
    EXPECT_DOUBLE_EQ(clip.fps, 50.0);
    EXPECT_EQ(clip.rotationDegrees, 90);
    EXPECT_EQ(clip.codecName, "second");
    EXPECT_TRUE(clip.hasAudio && clip.hasAudioKnown);
    EXPECT_EQ(clip.sampleRate, 22050);
    EXPECT_EQ(clip.channels, 1);
    EXPECT_TRUE(clip.thumbnailPath.isEmpty()); // no cache files were asked for

    MediaStreamInfo cover = stream(MediaStreamKind::video, 500, 500, "PNG");
    cover.isAttachedPicture = true;
    const Asset song =
        assetFromProbe("/m/song.mp3", 3000000, {stream(MediaStreamKind::audio, 44100, 2, "MP3"), cover});
    EXPECT_EQ(song.kind, AssetKind::audio);
    EXPECT_EQ(song.codecName, "MP3");
    EXPECT_TRUE(song.hasAudio);
    EXPECT_EQ(song.width, 0);

    const Asset picture =
        assetFromProbe("/m/frame.PNG", 40000, {stream(MediaStreamKind::video, 32, 16, "PNG")});
    EXPECT_EQ(picture.kind, AssetKind::image);
    EXPECT_TRUE(picture.durationText.isEmpty());
    EXPECT_EQ(picture.width, 32);

    const Asset data = assetFromProbe("/m/data.bin", 0, {MediaStreamInfo{}});
    EXPECT_EQ(data.kind, AssetKind::other);
    EXPECT_FALSE(data.hasAudio);
    EXPECT_TRUE(data.hasAudioKnown);
    EXPECT_TRUE(data.codecName.isEmpty());
}

TEST(BuildAssetFromFile, VideoGetsPosterAndStripOthersShareThePosterAndAudioIsKnown)
{
    const QString video = testmedia::path("av.mp4");
    const Asset clip = buildAsset(video, "av.mp4", probeMedia(video));
    EXPECT_EQ(clip.durationText, "00:01");
    EXPECT_EQ(clip.thumbnailPath, posterPath(video));
    EXPECT_EQ(clip.filmstripPath, stripPath(video));
    EXPECT_TRUE(QFileInfo::exists(clip.filmstripPath));

    const QString mp3 = testmedia::path("cover.mp3");
    const Asset song = buildAsset(mp3, "cover.mp3", probeMedia(mp3));
    EXPECT_EQ(song.kind, AssetKind::audio);
    EXPECT_EQ(song.thumbnailPath, posterPath(mp3));
    EXPECT_EQ(song.filmstripPath, song.thumbnailPath);

    // Images take the reader's size, even when there is none; an unreadable one gets no poster.
    const QString still = testmedia::path("still.png");
    const Asset picture = buildImageAsset(still, "still.png");
    EXPECT_EQ(QSize(picture.width, picture.height), QSize(640, 360));
    EXPECT_TRUE(picture.hasAudioKnown && !picture.hasAudio);
    EXPECT_EQ(picture.thumbnailPath, posterPath(still));
    EXPECT_EQ(picture.filmstripPath, picture.thumbnailPath);
    const Asset fake = buildImageAsset(testmedia::path("fake.png"), "fake.png");
    EXPECT_EQ(fake.kind, AssetKind::image);
    EXPECT_EQ(QSize(fake.width, fake.height), QSize(0, 0));
    EXPECT_TRUE(fake.thumbnailPath.isEmpty() && fake.filmstripPath.isEmpty());

    // The second audio stream wins, and a silent video knows it has no audio.
    const QString twoAudio = testmedia::path("two_audio.mp4");
    const Asset both = buildAsset(twoAudio, "two_audio.mp4", probeMedia(twoAudio), false);
    EXPECT_EQ(std::tuple(both.hasAudio, both.sampleRate, both.channels), std::tuple(true, 22050, 1));
    const QString silent = testmedia::path("silent.mp4");
    const Asset quiet = buildAsset(silent, "silent.mp4", probeMedia(silent), false);
    EXPECT_EQ(quiet.kind, AssetKind::video);
    EXPECT_TRUE(quiet.hasAudioKnown && !quiet.hasAudio);
    EXPECT_TRUE(quiet.codecName.contains("H.264"));
}
