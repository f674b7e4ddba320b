#include "media/assets/Thumbnails.h"
#include "media/assets/AssetBuild.h"
#include "media/assets/MediaProbe.h"

#include "TestMedia.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QSet>
#include <QTransform>

#include <gtest/gtest.h>

using namespace orvel;

TEST(VideoPosterSize, FitsTheSarCorrectedSizeIntoTheBoxWithoutEnlarging)
{
    EXPECT_EQ(videoPosterSize(1920, 1080, 1, 1), QSize(320, 180));
    EXPECT_EQ(videoPosterSize(1080, 1920, 0, 1), QSize(180, 320));
    EXPECT_EQ(videoPosterSize(160, 90, 0, 0), QSize(160, 90));
    EXPECT_EQ(videoPosterSize(720, 576, 16, 15), QSize(320, 240));
    EXPECT_EQ(videoPosterSize(160, 90, 2, 1), QSize(320, 90));
    EXPECT_EQ(videoPosterSize(100, 100, -1, 1), QSize(100, 100)); // invalid ratio ignored
    EXPECT_EQ(videoPosterSize(3000, 4, 1, 1), QSize(320, 2));     // never thinner than 2
    EXPECT_EQ(videoPosterSize(1, 1, 1, 1), QSize(2, 2));
    EXPECT_EQ(videoPosterSize(0, 1080, 1, 1), QSize(320, 180));
    EXPECT_EQ(videoPosterSize(1920, 0, 1, 1), QSize(320, 180));
}

TEST(Thumbnails, EveryPictureOfAFileHasItsOwnNameInTheCacheFolder)
{
    EXPECT_TRUE(QFileInfo(thumbnailCacheDir()).isDir());
    const QString source = "/media/clip.mp4";
    const QStringList names = {posterPath(source),       stripPath(source),
                               posterAtPath(source, 0),  posterAtPath(source, 1500),
                               tilePath(source, -3, 12), tilePath(source, 3, 12),
                               tilePath(source, -31, 2), posterPath("/media/clip2.mp4")};
    for (const QString &name : names)
        EXPECT_TRUE(name.startsWith(thumbnailCacheDir() + "/")) << name.toStdString();
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()).size(), names.size());
    // A relative path is named after its absolute form.
    EXPECT_EQ(posterPath("clip.mp4"), posterPath(QFileInfo("clip.mp4").absoluteFilePath()));
}

TEST(Thumbnails, TinyFilesCountAsMissingAndAReplacedFileGetsANewPoster)
{
    const QString still = testmedia::path("still.png");
    const QString poster = posterPath(still);
    {
        QFile stub(poster);
        ASSERT_TRUE(stub.open(QIODevice::WriteOnly));
        stub.write(QByteArray(128, 'x'));
    }
    EXPECT_FALSE(isCachedFilePresent(poster));
    EXPECT_FALSE(isCachedFilePresent(poster + ".missing"));
    EXPECT_EQ(ensureThumbnail(still, "image"), poster);
    EXPECT_TRUE(isCachedFilePresent(poster));
    EXPECT_EQ(QImage(poster).size(), QSize(320, 180));

    // A present file is trusted as it is, not regenerated.
    QFile::resize(poster, 129);
    EXPECT_EQ(ensureThumbnail(still, "image"), poster);
    EXPECT_EQ(QFileInfo(poster).size(), 129);

    // A file replaced under the same name gets a new poster.
    const QString file = QDir(testmedia::dir()).filePath("replaced.mp4");
    ASSERT_TRUE(QFile::copy(testmedia::path("av.mp4"), file));
    const QString first = ensureThumbnail(file, "video");
    ASSERT_FALSE(first.isEmpty());
    EXPECT_EQ(QImage(first).size(), QSize(160, 90));

    ASSERT_TRUE(QFile::remove(file));
    ASSERT_TRUE(QFile::copy(testmedia::path("silent.mp4"), file));
    const QString second = ensureThumbnail(file, "video");
    EXPECT_NE(second, first);
    EXPECT_EQ(QImage(second).size(), QSize(64, 64));
}

TEST(Thumbnails, ImagePostersShrinkIntoTheBoxAndHonourOrientation)
{
    const QString small = testmedia::path("small.png");
    EXPECT_EQ(QImage(ensureThumbnail(small, "image")).size(), QSize(64, 64));
    EXPECT_EQ(ensureStrip(small, "image"), posterPath(small));

    // A JPEG whose orientation tag turns it a quarter: poster and record see it upright.
    const QString turned = QDir(testmedia::dir()).filePath("turned.jpg");
    QImage wide(400, 200, QImage::Format_RGB32);
    wide.fill(Qt::red);
    QImageWriter writer(turned, "jpeg");
    writer.setTransformation(QImageIOHandler::TransformationRotate90);
    ASSERT_TRUE(writer.write(wide));
    EXPECT_EQ(orientedImageSize(turned), QSize(200, 400));
    EXPECT_EQ(QImage(ensureThumbnail(turned, "image")).size(), QSize(160, 320));

    EXPECT_TRUE(ensureThumbnail(testmedia::path("fake.png"), "image").isEmpty());
}

TEST(Thumbnails, VideoPostersAreSarAwareUprightAndComeFromCoverArtToo)
{
    EXPECT_EQ(QImage(ensureThumbnail(testmedia::path("av.mp4"), "video")).size(), QSize(160, 90));
    EXPECT_EQ(QImage(ensureThumbnail(testmedia::path("anamorphic.mp4"), "video")).size(), QSize(320, 90));
    EXPECT_EQ(QImage(ensureThumbnail(testmedia::path("cover.mp3"), "audio")).size(), QSize(64, 64));
    const QString fake = testmedia::path("fake.mp4");
    EXPECT_TRUE(ensureThumbnail(fake, "video").isEmpty());
    EXPECT_FALSE(QFileInfo::exists(posterPath(fake)));
    EXPECT_TRUE(ensureStrip(fake, "video").isEmpty());
    EXPECT_TRUE(posterAt(fake, 1.0).isEmpty());

    // The pattern's bars run left to right; turned a quarter clockwise they run top to bottom,
    // bit 0 at the top. Turning the poster back must give the frame number again.
    const QString file = testmedia::path("rotated-pattern.mp4");
    ASSERT_EQ(probeMedia(file).streams.value(0).rotationDegrees, 90);
    const QImage poster(posterAt(file, 0.2));
    ASSERT_EQ(poster.size(), QSize(testmedia::kPatternHeight, testmedia::kPatternWidth));
    EXPECT_EQ(testmedia::patternIndex(poster.transformed(QTransform().rotate(-90))), 5);
    EXPECT_EQ(QImage(ensureThumbnail(file, "video")).size(),
              QSize(testmedia::kPatternHeight, testmedia::kPatternWidth));
}

TEST(Thumbnails, StripsAndPostersAtATimeComeFromAcrossTheClip)
{
    const QString av = testmedia::path("av.mp4");
    const QString strip = ensureStrip(av, "video");
    ASSERT_EQ(strip, stripPath(av));
    const QImage image(strip);
    ASSERT_EQ(image.size(), QSize(960, 68));
    // testsrc draws a moving pattern and a counter, so cells taken at different times differ,
    // and none of them is left black.
    for (int cell = 0; cell < 8; ++cell) {
        const QImage piece = image.copy(cell * 120, 0, 120, 68);
        int bright = 0;
        for (int y = 0; y < piece.height(); y += 4)
            for (int x = 0; x < piece.width(); x += 4)
                bright += qGray(piece.pixel(x, y)) > 40 ? 1 : 0;
        EXPECT_GT(bright, 100) << "cell " << cell;
    }
    EXPECT_NE(image.copy(0, 0, 120, 68), image.copy(840, 0, 120, 68));

    // A poster at a time is named by its milliseconds and differs from the start.
    const QString late = posterAt(av, 0.8);
    EXPECT_EQ(late, posterAtPath(av, 800));
    EXPECT_EQ(QImage(late).size(), QSize(160, 90));
    const QString early = posterAt(av, 0.0);
    EXPECT_EQ(early, posterAtPath(av, 0));
    EXPECT_NE(QImage(late), QImage(early));
}
