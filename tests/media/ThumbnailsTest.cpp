#include "media/Thumbnails.h"
#include "media/AssetBuild.h"

#include "TestMedia.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace orvel;

class ThumbnailsTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { TestMedia::instance(); }
};

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

TEST_F(ThumbnailsTest, NamesHashTheAbsolutePathAndCarryTheFormatVersion)
{
    const QString expectedDir =
        QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/thumbnails");
    EXPECT_EQ(thumbnailCacheDir(), expectedDir);
    EXPECT_TRUE(QFileInfo(expectedDir).isDir());

    const QString source = "/media/clip.mp4";
    const QString base = QString::number(qHash(source, 0)) + "_v2";
    EXPECT_EQ(thumbnailBaseName(source), base);
    EXPECT_EQ(posterPath(source), expectedDir + "/" + base + ".jpg");
    EXPECT_EQ(stripPath(source), expectedDir + "/" + base + "_strip.jpg");
    EXPECT_EQ(posterAtPath(source, 1500), expectedDir + "/" + base + "_1500.jpg");
    EXPECT_EQ(tilePath(source, -3, 12), expectedDir + "/" + base + "_t-3_12.jpg");
    EXPECT_NE(thumbnailBaseName("/media/clip2.mp4"), base);

    // A relative path is named after its absolute form.
    const QString relative = "clip.mp4";
    EXPECT_EQ(posterPath(relative), posterPath(QFileInfo(relative).absoluteFilePath()));
}

TEST_F(ThumbnailsTest, FilesOfAtMost128BytesCountAsMissingAndAreRemade)
{
    const QString still = TestMedia::instance().path("still.png");
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
}

TEST_F(ThumbnailsTest, ImagePostersShrinkIntoTheBoxAndHonourOrientation)
{
    const QString small = TestMedia::instance().path("small.png");
    EXPECT_EQ(QImage(ensureThumbnail(small, "image")).size(), QSize(64, 64));
    EXPECT_EQ(ensureStrip(small, "image"), posterPath(small));

    // A JPEG whose orientation tag turns it a quarter: poster and record see it upright.
    const QString turned = QDir(TestMedia::instance().dir()).filePath("turned.jpg");
    QImage wide(400, 200, QImage::Format_RGB32);
    wide.fill(Qt::red);
    QImageWriter writer(turned, "jpeg");
    writer.setTransformation(QImageIOHandler::TransformationRotate90);
    ASSERT_TRUE(writer.write(wide));
    EXPECT_EQ(orientedImageSize(turned), QSize(200, 400));
    EXPECT_EQ(QImage(ensureThumbnail(turned, "image")).size(), QSize(160, 320));

    EXPECT_TRUE(ensureThumbnail(TestMedia::instance().path("fake.png"), "image").isEmpty());
}

TEST_F(ThumbnailsTest, VideoPostersAreSarAwareAndComeFromCoverArtToo)
{
    const QString av = TestMedia::instance().path("av.mp4");
    EXPECT_EQ(QImage(ensureThumbnail(av, "video")).size(), QSize(160, 90));
    const QString anamorphic = TestMedia::instance().path("anamorphic.mp4");
    EXPECT_EQ(QImage(ensureThumbnail(anamorphic, "video")).size(), QSize(320, 90));
    const QString mp3 = TestMedia::instance().path("cover.mp3");
    EXPECT_EQ(QImage(ensureThumbnail(mp3, "audio")).size(), QSize(64, 64));
    EXPECT_TRUE(ensureThumbnail(TestMedia::instance().path("fake.mp4"), "video").isEmpty());
    EXPECT_FALSE(QFileInfo::exists(posterPath(TestMedia::instance().path("fake.mp4"))));
}

TEST_F(ThumbnailsTest, StripsHoldEightCellsFromAcrossTheClip)
{
    const QString av = TestMedia::instance().path("av.mp4");
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
    EXPECT_TRUE(ensureStrip(TestMedia::instance().path("fake.mp4"), "video").isEmpty());
}

TEST_F(ThumbnailsTest, PosterAtATimeIsNamedByMillisecondsAndDiffersFromTheStart)
{
    const QString av = TestMedia::instance().path("av.mp4");
    const QString late = posterAt(av, 0.8);
    EXPECT_EQ(late, posterAtPath(av, 800));
    EXPECT_EQ(QImage(late).size(), QSize(160, 90));
    const QString early = posterAt(av, 0.0);
    EXPECT_EQ(early, posterAtPath(av, 0));
    EXPECT_NE(QImage(late), QImage(early));
    EXPECT_TRUE(posterAt(TestMedia::instance().path("fake.mp4"), 1.0).isEmpty());
}
