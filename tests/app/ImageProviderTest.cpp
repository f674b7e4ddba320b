#include "app/ImageProviders.h"
#include "ml/SegmentFrameStore.h"
#include "playback/preview/ClipPreviewFrameStore.h"

#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

using orvel::cutStripCell;

namespace {

// A strip of `count` cells, cell i filled with grey level 10 * (i + 1), so a cell is
// recognisable by its colour.
QImage makeStrip(int cellWidth, int height, int count)
{
    QImage strip(cellWidth * count, height, QImage::Format_RGB32);
    for (int i = 0; i < count; ++i)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < cellWidth; ++x)
                strip.setPixel(i * cellWidth + x, y, qRgb(10 * (i + 1), 10 * (i + 1), 10 * (i + 1)));
    return strip;
}

int cellGrey(const QImage &image)
{
    return qRed(image.pixel(image.width() / 2, image.height() / 2));
}

QString encodedId(const QString &path, const QString &query = QString())
{
    return QString::fromUtf8(QUrl::toPercentEncoding(path)) + query;
}

} // namespace

TEST(StripCells, CutsTheRequestedCellAndClampsPastTheEnd)
{
    const QImage strip = makeStrip(20, 8, 8);
    const QImage third = cutStripCell(strip, 2, 8);
    EXPECT_EQ(third.size(), QSize(20, 8));
    EXPECT_EQ(cellGrey(third), 30);
    EXPECT_EQ(cellGrey(cutStripCell(strip, 8, 8)), 80);   // frame == count: last cell
    EXPECT_EQ(cellGrey(cutStripCell(strip, 500, 8)), 80); // far beyond: still the last
    EXPECT_EQ(cellGrey(cutStripCell(strip, 0, 8)), 10);
    EXPECT_EQ(cellGrey(cutStripCell(strip, -1, 8)), 10); // before the start: the first
    EXPECT_EQ(cellGrey(cutStripCell(strip, -500, 8)), 10);
}

TEST(StripCells, ReturnsWholeImageWhenNoCutApplies)
{
    const QImage strip = makeStrip(20, 8, 8);
    EXPECT_EQ(cutStripCell(strip, 3, 0).size(), strip.size());   // frame without count
    const QImage narrow = makeStrip(1, 4, 5);                    // 5 px wide
    EXPECT_EQ(cutStripCell(narrow, 1, 6).size(), narrow.size()); // narrower than count
    // Integer division: a 163 px strip of 8 cells gives 20 px cells.
    EXPECT_EQ(cutStripCell(QImage(163, 4, QImage::Format_RGB32), 7, 8).width(), 20);
}

TEST(OrvelImages, LoadsFilesCutsStripsAndScalesByExpanding)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("strip with space.png"));
    ASSERT_TRUE(makeStrip(40, 20, 4).save(path));
    OrvelImageProvider provider;

    QSize size;
    QImage whole = provider.requestImage(encodedId(path), &size, QSize());
    EXPECT_EQ(size, QSize(160, 20));
    EXPECT_EQ(whole.size(), QSize(160, 20));

    QImage cell = provider.requestImage(encodedId(path, QStringLiteral("?frame=1&count=4")), &size, QSize());
    EXPECT_EQ(size, QSize(40, 20));
    EXPECT_EQ(cellGrey(cell), 20);

    // frame without count, or count without frame: the whole image
    EXPECT_EQ(provider.requestImage(encodedId(path, QStringLiteral("?frame=2")), &size, QSize()).size(),
              QSize(160, 20));
    EXPECT_EQ(provider.requestImage(encodedId(path, QStringLiteral("?count=4")), &size, QSize()).size(),
              QSize(160, 20));
    // A negative frame is the first cell, not the whole strip.
    EXPECT_EQ(
        cellGrey(provider.requestImage(encodedId(path, QStringLiteral("?frame=-3&count=4")), &size, QSize())),
        10);

    // Expanding keeps the aspect and covers the requested box.
    cell = provider.requestImage(encodedId(path, QStringLiteral("?frame=3&count=4")), &size, QSize(20, 20));
    EXPECT_EQ(size, QSize(40, 20));
    EXPECT_EQ(cellGrey(cell), 40);
    // A request with one side zero is not a valid scale request.
    EXPECT_EQ(provider.requestImage(encodedId(path), &size, QSize(0, 50)).size(), QSize(160, 20));
}

TEST(OrvelImages, MissingEmptyAndResourcePaths)
{
    OrvelImageProvider provider;
    QSize size(-5, -5);
    EXPECT_TRUE(provider.requestImage(QString(), &size, QSize()).isNull());
    EXPECT_TRUE(
        provider.requestImage(encodedId(QStringLiteral("/no/such/file.png")), &size, QSize()).isNull());
    EXPECT_TRUE(size.isEmpty());

    QTemporaryDir dir;
    const QString notAnImage = dir.filePath(QStringLiteral("text.png"));
    QFile file(notAnImage);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not an image");
    file.close();
    EXPECT_TRUE(provider.requestImage(encodedId(notAnImage), &size, QSize()).isNull());

    // Resources load both as "qrc:" and ":/" paths (the application icon is compiled in).
    EXPECT_FALSE(
        provider.requestImage(encodedId(QStringLiteral(":/app/orvel.png")), &size, QSize()).isNull());
    EXPECT_FALSE(
        provider.requestImage(encodedId(QStringLiteral("qrc:/app/orvel.png")), &size, QSize()).isNull());
}

TEST(OrvelImages, AlphaImagesArePremultiplied)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("alpha.png"));
    QImage alpha(8, 8, QImage::Format_ARGB32);
    alpha.fill(QColor(255, 0, 0, 128));
    ASSERT_TRUE(alpha.save(path));
    OrvelImageProvider provider;
    QSize size;
    EXPECT_EQ(provider.requestImage(encodedId(path), &size, QSize()).format(),
              QImage::Format_ARGB32_Premultiplied);
}

TEST(SharedImageProviders, SegmentAnswersFrameAndMaskOnly)
{
    QImage frame(64, 32, QImage::Format_RGB32);
    frame.fill(Qt::blue);
    QImage mask(64, 32, QImage::Format_Grayscale8);
    mask.fill(200);
    orvel::setSegmentFrameImage(frame);
    orvel::setSegmentMaskImage(mask);
    SegmentImageProvider provider;
    QSize size;
    EXPECT_EQ(provider.requestImage(QStringLiteral("frame?rev=3"), &size, QSize()).pixelColor(1, 1),
              QColor(Qt::blue));
    EXPECT_EQ(provider.requestImage(QStringLiteral("mask?rev=4"), &size, QSize()).format(),
              QImage::Format_Grayscale8);
    EXPECT_TRUE(provider.requestImage(QStringLiteral("other"), &size, QSize()).isNull());
    // Scaling keeps the aspect inside the requested box.
    provider.requestImage(QStringLiteral("frame"), &size, QSize(32, 32));
    EXPECT_EQ(size, QSize(32, 16));
}

TEST(SharedImageProviders, ClipPreviewAnswersAnyIdAndResets)
{
    QImage frame(100, 50, QImage::Format_RGB32);
    frame.fill(Qt::green);
    orvel::setClipPreviewImage(frame);
    ClipPreviewImageProvider provider;
    QSize size;
    EXPECT_EQ(provider.requestImage(QStringLiteral("frame?rev=9"), &size, QSize(50, 50)).size(),
              QSize(50, 25));
    EXPECT_EQ(provider.requestImage(QStringLiteral("anything"), &size, QSize()).size(), QSize(100, 50));
    orvel::resetClipPreviewImage();
    EXPECT_TRUE(provider.requestImage(QStringLiteral("frame"), &size, QSize()).isNull());
}

TEST(SharedImageProviders, UnknownTextPresetGivesNullImageAndInvalidSize)
{
    TextStylePreviewImageProvider provider;
    QSize size(10, 10);
    EXPECT_TRUE(provider.requestImage(QStringLiteral("unknown"), &size, QSize(240, 108)).isNull());
    EXPECT_FALSE(size.isValid());
}
