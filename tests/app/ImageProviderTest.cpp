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

TEST(StripCells, ClampsTheFrameAndKeepsTheWholeImageWhenNoCutApplies)
{
    const QImage strip = makeStrip(20, 8, 8);
    // Frame number and the grey of the cell it gives: past the end the last, before the start the first.
    for (const auto &[frame, grey] : {std::pair{2, 30}, {8, 80}, {500, 80}, {0, 10}, {-1, 10}, {-500, 10}}) {
        SCOPED_TRACE(frame);
        const QImage cell = cutStripCell(strip, frame, 8);
        EXPECT_EQ(cell.size(), QSize(20, 8));
        EXPECT_EQ(cellGrey(cell), grey);
    }
    EXPECT_EQ(cutStripCell(strip, 3, 0).size(), strip.size());             // frame without count
    EXPECT_EQ(cutStripCell(makeStrip(1, 4, 5), 1, 6).size(), QSize(5, 4)); // narrower than count
    // Integer division: a 163 px strip of 8 cells gives 20 px cells.
    EXPECT_EQ(cutStripCell(QImage(163, 4, QImage::Format_RGB32), 7, 8).width(), 20);
}

TEST(OrvelImages, LoadsCutsScalesAndPremultipliesFilesAndResources)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("strip with space.png"));
    ASSERT_TRUE(makeStrip(40, 20, 4).save(path));
    OrvelImageProvider provider;
    const auto request = [&](const QString &id, QSize *size, QSize requested = QSize()) {
        return provider.requestImage(id, size, requested);
    };

    QSize size;
    EXPECT_EQ(request(encodedId(path), &size).size(), QSize(160, 20));
    EXPECT_EQ(size, QSize(160, 20));
    EXPECT_EQ(cellGrey(request(encodedId(path, QStringLiteral("?frame=1&count=4")), &size)), 20);
    EXPECT_EQ(size, QSize(40, 20));
    // A count without a frame is the whole image; a negative frame is the first cell, not the strip.
    EXPECT_EQ(request(encodedId(path, QStringLiteral("?count=4")), &size).size(), QSize(160, 20));
    EXPECT_EQ(cellGrey(request(encodedId(path, QStringLiteral("?frame=-3&count=4")), &size)), 10);

    // Expanding keeps the aspect and covers the requested box; one side zero is no scale request.
    EXPECT_EQ(cellGrey(request(encodedId(path, QStringLiteral("?frame=3&count=4")), &size, QSize(20, 20))),
              40);
    EXPECT_EQ(size, QSize(40, 20));
    EXPECT_EQ(request(encodedId(path), &size, QSize(0, 50)).size(), QSize(160, 20));

    const QString alphaPath = dir.filePath(QStringLiteral("alpha.png"));
    QImage alpha(8, 8, QImage::Format_ARGB32);
    alpha.fill(QColor(255, 0, 0, 128));
    ASSERT_TRUE(alpha.save(alphaPath));
    EXPECT_EQ(request(encodedId(alphaPath), &size).format(), QImage::Format_ARGB32_Premultiplied);

    // Resources load both as "qrc:" and ":/" paths (the application icon is compiled in).
    EXPECT_FALSE(request(encodedId(QStringLiteral(":/app/orvel.png")), &size).isNull());
    EXPECT_FALSE(request(encodedId(QStringLiteral("qrc:/app/orvel.png")), &size).isNull());
    size = QSize(-5, -5);
    EXPECT_TRUE(request(QString(), &size).isNull());
    EXPECT_TRUE(request(encodedId(QStringLiteral("/no/such/file.png")), &size).isNull());
    EXPECT_TRUE(size.isEmpty());
}

TEST(SharedImageProviders, SegmentClipPreviewAndTextPresetAnswers)
{
    QImage frame(64, 32, QImage::Format_RGB32);
    frame.fill(Qt::blue);
    QImage mask(64, 32, QImage::Format_Grayscale8);
    mask.fill(200);
    orvel::setSegmentFrameImage(frame);
    orvel::setSegmentMaskImage(mask);
    SegmentImageProvider segment;
    QSize size;
    EXPECT_EQ(segment.requestImage(QStringLiteral("frame?rev=3"), &size, QSize()).pixelColor(1, 1),
              QColor(Qt::blue));
    EXPECT_EQ(segment.requestImage(QStringLiteral("mask?rev=4"), &size, QSize()).format(),
              QImage::Format_Grayscale8);
    EXPECT_TRUE(segment.requestImage(QStringLiteral("other"), &size, QSize()).isNull());
    // Scaling keeps the aspect inside the requested box.
    segment.requestImage(QStringLiteral("frame"), &size, QSize(32, 32));
    EXPECT_EQ(size, QSize(32, 16));

    // The clip preview answers any id, and nothing once reset.
    QImage picture(100, 50, QImage::Format_RGB32);
    picture.fill(Qt::green);
    orvel::setClipPreviewImage(picture);
    ClipPreviewImageProvider preview;
    EXPECT_EQ(preview.requestImage(QStringLiteral("frame?rev=9"), &size, QSize(50, 50)).size(),
              QSize(50, 25));
    EXPECT_EQ(preview.requestImage(QStringLiteral("anything"), &size, QSize()).size(), QSize(100, 50));
    orvel::resetClipPreviewImage();
    EXPECT_TRUE(preview.requestImage(QStringLiteral("frame"), &size, QSize()).isNull());

    TextStylePreviewImageProvider text;
    size = QSize(10, 10);
    EXPECT_TRUE(text.requestImage(QStringLiteral("unknown"), &size, QSize(240, 108)).isNull());
    EXPECT_FALSE(size.isValid());
}
