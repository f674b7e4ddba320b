#include "TextRasterTestSupport.h"

#include "render/text/PathCoverage.h"
#include "render/text/TextLayout.h"
#include "render/text/TextPaint.h"
#include "render/text/TextRaster.h"

#include <QFontDatabase>
#include <QPainter>
#include <QPainterPathStroker>

#include <tuple>

#include <gtest/gtest.h>

using namespace orvel;
using namespace textprobe;

namespace textrastertest {

const PixelTest kWhite = colour(255, 255, 255);
constexpr double kTolerancePx = 1.5;

void expectNear(const QRect &actual, double left, double top, double right, double bottom, double tolerance)
{
    EXPECT_NEAR(actual.left(), left, tolerance);
    EXPECT_NEAR(actual.top(), top, tolerance);
    EXPECT_NEAR(actual.right() + 1, right, tolerance);
    EXPECT_NEAR(actual.bottom() + 1, bottom, tolerance);
}

bool hasFamilyFor(QFontDatabase::WritingSystem system)
{
    return !QFontDatabase::families(system).isEmpty();
}

} // namespace textrastertest

using namespace textrastertest;

TEST(TextRaster, ImageIsTheBoxGrownByTheStyleMargin)
{
    Clip clip = textClip("Hello");
    EXPECT_TRUE(rasterText(clip, "", QRectF(0, 0, 100, 100), 1.0).image.isNull());
    EXPECT_TRUE(rasterText(clip, "Hello", QRectF(0, 0, 0.5, 100), 1.0).image.isNull());
    EXPECT_TRUE(rasterText(clip, " \n ", QRectF(0, 0, 100, 100), 1.0).image.isNull());

    // Outline 3, shadow offset 6 and blur 5: 3 + 6 + 10 = 19 unscaled, 9.5 at half scale,
    // rounded up and 2 more = 12.
    clip.textStyle.outlineWidth = 3;
    clip.textStyle.shadowEnabled = true;
    clip.textStyle.shadowOffsetX = 4;
    clip.textStyle.shadowOffsetY = -6;
    clip.textStyle.shadowBlur = 5;
    const TextRaster raster = rasterText(clip, "Hello", QRectF(10.25, 20, 300.4, 100), 0.5);
    EXPECT_EQ(raster.image.size(), QSize(324, 124));
    EXPECT_EQ(raster.rect, QRectF(-1.75, 8, 324, 124));

    // A large accent word and the blur animation need room of their own.
    TextStyle accent = clip.textStyle;
    accent.accent.rule = TextAccentRule::firstWord;
    accent.accent.sizeScale = 2.0;
    EXPECT_DOUBLE_EQ(textStyleMarginPx(accent) - textStyleMarginPx(clip.textStyle), 60.0);
    accent.animOut.kind = TextAnimKind::blur;
    EXPECT_DOUBLE_EQ(textStyleMarginPx(accent) - textStyleMarginPx(clip.textStyle), 84.0);
}

TEST(TextRaster, InkSitsWhereAlignmentAndPaddingPutIt)
{
    Clip clip = textClip("HHH");
    const QFontMetricsF metrics = metricsOf(clip.textStyle);
    const double lineWidth = metrics.horizontalAdvance("HHH");
    const double pitch = 1.2 * metrics.lineSpacing();
    const double leftInk = metrics.leftBearing('H');
    const double rightInk = lineWidth - metrics.rightBearing('H');
    const QSizeF box(600, 300);
    const double margin = 2; // a plain style paints nothing outside its glyphs
    const struct
    {
        TextAlign align;
        TextVAlign valign;
        double lineX;
        double pitchY;
    } placements[] = {
        {TextAlign::left, TextVAlign::top, 0, 0},
        {TextAlign::center, TextVAlign::middle, (box.width() - lineWidth) / 2, (box.height() - pitch) / 2},
        {TextAlign::right, TextVAlign::bottom, box.width() - lineWidth, box.height() - pitch},
    };
    for (const auto &placement : placements) {
        clip.textStyle.align = placement.align;
        clip.textStyle.valign = placement.valign;
        const TextRaster raster = rasterClipText(clip, QRectF(QPointF(40, 30), box), 1.0);
        // The line is centred in its pitch; H stands on the baseline and is cap-height tall.
        const double baseline =
            margin + placement.pitchY + (pitch - metrics.ascent() - metrics.descent()) / 2 + metrics.ascent();
        const double x = margin + placement.lineX;
        expectNear(inkBox(raster.image, kWhite), x + leftInk, baseline - metrics.capHeight(), x + rightInk,
                   baseline, kTolerancePx);
    }

    // The background box is the ink grown by the padding.
    clip.textStyle.boxEnabled = true;
    clip.textStyle.boxPadding = 10;
    clip.textStyle.boxColor = QColor(0, 0, 255);
    const TextRaster boxed = rasterClipText(clip, QRectF(QPointF(0, 0), box), 1.0);
    const QRect ink = inkBox(boxed.image, kWhite);
    expectNear(inkBox(boxed.image, colour(0, 0, 255)), ink.left() - 10, ink.top() - 10, ink.right() + 11,
               ink.bottom() + 11, kTolerancePx);
}

TEST(TextRaster, OutlineShadowGlowAndUnderlineMeasuredOnTheRaster)
{
    Clip clip = textClip("HHH");
    clip.textStyle.outlineWidth = 5;
    clip.textStyle.outlineColor = QColor(255, 0, 0);
    for (const double scale : {1.0, 0.5}) {
        const TextRaster raster = rasterClipText(clip, QRectF(0, 0, 600, 200), scale);
        const QRect ink = inkBox(raster.image, kWhite);
        const double w = 5 * scale;
        expectNear(inkBox(raster.image, colour(255, 0, 0)), ink.left() - w, ink.top() - w,
                   ink.right() + 1 + w, ink.bottom() + 1 + w, kTolerancePx);
    }

    clip.textStyle.outlineWidth = 0;
    clip.textStyle.shadowEnabled = true;
    clip.textStyle.shadowBlur = 0;
    clip.textStyle.shadowOpacity = 1.0;
    clip.textStyle.shadowColor = QColor(0, 255, 0);
    clip.textStyle.shadowOffsetX = 12;
    clip.textStyle.shadowOffsetY = 9;
    TextRaster raster = rasterClipText(clip, QRectF(0, 0, 600, 200), 1.0);
    QRect ink = inkBox(raster.image, kWhite);
    expectNear(inkBox(raster.image, colour(0, 255, 0)), ink.left() + 12, ink.top() + 9, ink.right() + 13,
               ink.bottom() + 10, kTolerancePx);

    // Three rounds of a box blur of radius r spread the silhouette by up to 3r pixels; the faint
    // tail rounds away, but the spread is well past r.
    const auto expectSpread = [](const QRect &spread, const QRect &ink, int r) {
        for (const int beyond : {ink.left() - spread.left(), ink.top() - spread.top(),
                                 spread.right() - ink.right(), spread.bottom() - ink.bottom()}) {
            EXPECT_GT(beyond, r + 1);
            EXPECT_LE(beyond, 3 * r + 1);
        }
    };
    clip.textStyle.shadowOffsetX = 0;
    clip.textStyle.shadowOffsetY = 0;
    clip.textStyle.shadowBlur = 4;
    raster = rasterClipText(clip, QRectF(0, 0, 600, 200), 1.0);
    ink = inkBox(raster.image, kWhite);
    expectSpread(inkBox(raster.image, anyInk()), ink, 4);
    clip.textStyle.shadowEnabled = false;
    clip.textStyle.glowEnabled = true;
    clip.textStyle.glowRadius = 5;
    raster = rasterClipText(clip, QRectF(0, 0, 600, 200), 1.0);
    expectSpread(inkBox(raster.image, anyInk()), ink, 5);

    // The underline: a bar from the first to the last ink, offset below the baseline.
    clip.textStyle.glowEnabled = false;
    clip.textStyle.underlineEnabled = true;
    clip.textStyle.underlineColor = QColor(255, 0, 0);
    clip.textStyle.underlineOffset = 4;
    clip.textStyle.underlineWidth = 6;
    raster = rasterClipText(clip, QRectF(0, 0, 600, 200), 1.0);
    ink = inkBox(raster.image, kWhite);
    const double baseline = ink.bottom() + 1;
    expectNear(inkBox(raster.image, colour(255, 0, 0)), ink.left(), baseline + 4, ink.right() + 1,
               baseline + 10, kTolerancePx);
}

TEST(TextRaster, WrapBreaksAtTheBoxWidth)
{
    Clip clip = textClip("xxxx xxxx xxxx xxxx xxxx", 40);
    clip.textStyle.align = TextAlign::left;
    const QFontMetricsF metrics = metricsOf(clip.textStyle);
    // Two words to a line; the box's edge falls inside the third word.
    const double width = metrics.horizontalAdvance("xxxx xxxx xx");
    TextRaster raster = rasterClipText(clip, QRectF(0, 0, width, 400), 1.0);
    EXPECT_EQ(inkBands(raster.image), 3);
    EXPECT_LE(inkBox(raster.image, anyInk()).right() + 1, 2 + width);

    // Without wrapping the line runs on and is cut at the image's edge.
    clip.textStyle.wordWrap = false;
    raster = rasterClipText(clip, QRectF(0, 0, width, 400), 1.0);
    EXPECT_EQ(inkBands(raster.image), 1);
    EXPECT_EQ(inkBox(raster.image, anyInk()).right(), raster.image.width() - 1);

    // A line height of 0 acts as 0.1: the second line sits a tenth of a line below the first.
    Clip stacked = textClip("HH\nHH");
    stacked.textStyle.lineHeight = 0.0;
    const QFontMetricsF stackedMetrics = metricsOf(stacked.textStyle);
    raster = rasterClipText(stacked, QRectF(0, 0, 400, 300), 1.0);
    EXPECT_NEAR(inkBox(raster.image, kWhite).height(),
                stackedMetrics.capHeight() + 0.1 * stackedMetrics.lineSpacing(), kTolerancePx);
}

TEST(TextRaster, RightToLeftAndCjkUseAFontWithTheGlyphs)
{
    if (!hasFamilyFor(QFontDatabase::Hebrew) || !hasFamilyFor(QFontDatabase::SimplifiedChinese))
        GTEST_SKIP() << "no font with Hebrew and Chinese glyphs on this machine";
    Clip clip; // the default style names a font this machine lacks: glyphs come from fallbacks
    clip.textStyle.pixelSize = 48;
    const QRectF box(0, 0, 800, 200);
    // Missing glyphs would all be the same box: different words must paint differently.
    for (const auto &[first, second] : {std::pair<QString, QString>{"שלום", "עולם"}, {"你好", "世界"}}) {
        const QImage a = rasterText(clip, first, box, 1.0).image;
        const QImage b = rasterText(clip, second, box, 1.0).image;
        EXPECT_GT(countPixels(a, kWhite), 100);
        EXPECT_NE(a, b) << first.toStdString();
    }
    // Right to left: the first word of the text lies right of the second.
    clip.textContent = "שלום עולם";
    const QList<TextUnitPiece> words = rasterUnits(clip, box, 1.0, TextAnimUnit::word);
    ASSERT_EQ(words.size(), 2);
    EXPECT_GT(words[0].rect.left(), words[1].rect.right() - 1);
}

TEST(TextRaster, EmojiPaintInColour)
{
    if (QFontDatabase::families().filter("Emoji").isEmpty())
        GTEST_SKIP() << "no emoji font on this machine";
    Clip clip;
    clip.textStyle.pixelSize = 64;
    const QImage image = rasterText(clip, "ok 😀", QRectF(0, 0, 400, 120), 1.0).image;
    // White text, yet yellow pixels: the face came from a colour font.
    const int yellow = countPixels(
        image, [](QRgb p) { return qAlpha(p) > 200 && qRed(p) > 200 && qGreen(p) > 140 && qBlue(p) < 100; });
    EXPECT_GT(yellow, 400);
}

TEST(TextRaster, AccentRulesPickTheirWords)
{
    // Every n-th word with n of 0 takes every word from the phase on.
    TextAccent accent;
    accent.rule = TextAccentRule::everyNth;
    accent.n = 0;
    accent.phase = 1;
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(textWordIsAccent(accent, i, 4, 0, -1), i >= 1) << i;
    accent.rule = TextAccentRule::randomStable; // about one word in three
    int hits = 0;
    for (int i = 0; i < 3000; ++i)
        hits += textWordIsAccent(accent, i, 3000, 0, -1) ? 1 : 0;
    EXPECT_NEAR(hits / 3000.0, 1.0 / 3.0, 0.04);

    // The karaoke word is painted in the accent colour, and only it.
    Clip clip = textClip("ooo ooo ooo");
    clip.textStyle.accent.rule = TextAccentRule::karaoke;
    clip.textStyle.accent.colorEnabled = true;
    clip.textStyle.accent.color = QColor(255, 214, 64);
    const PixelTest yellow = colour(255, 214, 64);
    EXPECT_EQ(countPixels(rasterClipText(clip, QRectF(0, 0, 600, 100), 1.0, -1).image, yellow), 0);
    const QImage middle = rasterClipText(clip, QRectF(0, 0, 600, 100), 1.0, 1).image;
    const QRect all = inkBox(middle, anyInk());
    const QRect word = inkBox(middle, yellow);
    EXPECT_NEAR(word.center().x(), all.center().x(), 3);
    EXPECT_LT(word.width(), all.width() / 2);
}

TEST(TextRaster, CacheHitsMissesAndDropsWhenFull)
{
    clearTextRasterCache();
    Clip clip = textClip("cached");
    const TextRaster first = rasterClipText(clip, QRectF(0, 0, 300, 100), 1.0);
    const TextRaster moved = rasterClipText(clip, QRectF(100, 50, 300, 100), 1.0);
    EXPECT_EQ(moved.image.cacheKey(), first.image.cacheKey());
    EXPECT_EQ(moved.rect, first.rect.translated(100, 50));
    EXPECT_NE(rasterClipText(clip, QRectF(0, 0, 300, 100), 1.0, 0).image.cacheKey(), first.image.cacheKey());
    clip.textStyle.outlineWidth = 2;
    EXPECT_NE(rasterClipText(clip, QRectF(0, 0, 300, 100), 1.0).image.cacheKey(), first.image.cacheKey());

    clearTextRasterCache();
    for (int i = 0; i < 256; ++i)
        rasterText(clip, QString::number(i), QRectF(0, 0, 40, 20), 1.0);
    EXPECT_EQ(textRasterCacheSize(), 256);
    rasterText(clip, "one more", QRectF(0, 0, 40, 20), 1.0);
    EXPECT_EQ(textRasterCacheSize(), 1);
}

TEST(TextRaster, UnitPiecesLandWhereTheirUnitsLieInTheWholeText)
{
    Clip clip = textClip("Big word\nsoup");
    clip.textStyle.outlineWidth = 3;
    clip.textStyle.boxEnabled = true;
    const QRectF box(20, 10, 500, 300);
    const TextRaster whole = rasterClipText(clip, box, 1.0);
    const struct
    {
        TextAnimUnit unit;
        int count;
    } cuts[] = {{TextAnimUnit::word, 3}, {TextAnimUnit::character, 11}, {TextAnimUnit::line, 2}};
    for (const auto &cut : cuts) {
        const QList<TextUnitPiece> pieces = rasterUnits(clip, box, 1.0, cut.unit);
        ASSERT_EQ(pieces.size(), cut.count + 1);
        EXPECT_EQ(pieces[0].unitIndex, -1); // the box, which stays put
        QImage composed(whole.image.size(), QImage::Format_ARGB32_Premultiplied);
        composed.fill(Qt::transparent);
        QPainter painter(&composed);
        for (int i = 0; i < pieces.size(); ++i) {
            if (i > 0) {
                EXPECT_EQ(pieces[i].unitIndex, i - 1);
                EXPECT_EQ(pieces[i].unitCount, cut.count);
            }
            painter.drawImage(pieces[i].rect.topLeft() - whole.rect.topLeft(), pieces[i].image);
        }
        painter.end();
        int differing = 0;
        for (int y = 0; y < composed.height(); ++y) {
            for (int x = 0; x < composed.width(); ++x)
                differing += std::abs(qAlpha(composed.pixel(x, y)) - qAlpha(whole.image.pixel(x, y))) > 24;
        }
        EXPECT_LT(differing, 40) << "unit " << int(cut.unit);
    }
}

// Coverage masks take a vector path of their own; a grey premultiplied picture, whose four bytes
// all equal the coverage, takes the per-byte path. Both must give the same bytes, at sizes that
// are not whole blocks of sixteen and radii on both sides of the vector path's limit.
TEST(TextRaster, CoverageBlurMatchesThePictureBlurByteForByte)
{
    const QSize sizes[] = {{1, 1}, {17, 33}, {70, 5}, {129, 40}};
    for (const QSize size : sizes) {
        QImage mask(size, QImage::Format_Alpha8);
        QImage grey(size, QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x) {
                const int v = (x * 37 + y * 91 + x * y) % 256;
                mask.scanLine(y)[x] = uchar(v);
                reinterpret_cast<QRgb *>(grey.scanLine(y))[x] = qRgba(v, v, v, v);
            }
        for (const int radius : {1, 4, 18, 128, 129}) {
            QImage blurredMask = mask;
            QImage blurredGrey = grey;
            orvel::boxBlurPremultiplied(blurredMask, radius);
            orvel::boxBlurPremultiplied(blurredGrey, radius);
            int differing = 0;
            for (int y = 0; y < size.height(); ++y)
                for (int x = 0; x < size.width(); ++x)
                    differing += blurredMask.constScanLine(y)[x] !=
                                 qAlpha(reinterpret_cast<const QRgb *>(blurredGrey.constScanLine(y))[x]);
            EXPECT_EQ(differing, 0) << size.width() << "x" << size.height() << " radius " << radius;
        }
    }
}

namespace textrastertest {

// The largest and the mean difference of any channel between two images of one size and format.
std::pair<int, double> imageDifference(const QImage &a, const QImage &b)
{
    const QImage x = a.convertToFormat(QImage::Format_ARGB32);
    const QImage y = b.convertToFormat(QImage::Format_ARGB32);
    int worst = 0;
    double total = 0.0;
    for (int row = 0; row < x.height(); ++row)
        for (int col = 0; col < x.width(); ++col) {
            const QRgb p = x.pixel(col, row), q = y.pixel(col, row);
            for (const int d :
                 {qRed(p) - qRed(q), qGreen(p) - qGreen(q), qBlue(p) - qBlue(q), qAlpha(p) - qAlpha(q)}) {
                worst = std::max(worst, std::abs(d));
                total += std::abs(d);
            }
        }
    return {worst, total / (4.0 * x.width() * x.height())};
}

} // namespace textrastertest

// Outlines and glyphs are filled through coverage masks of our own: they must match what Qt
// paints for the same paths, with holes, overlapping strokes, a path that runs past the mask's
// edges, a translucent colour over a background, and a mask that lies partly off the image.
TEST(TextRaster, CoverageMasksPaintLikeQPainter)
{
    QFont font("DejaVu Sans");
    font.setPixelSize(60);
    QPainterPath glyphs;
    glyphs.addText(QPointF(-20, 70), font, "Og@");
    glyphs.setFillRule(Qt::WindingFill);
    QPainterPathStroker stroker;
    stroker.setWidth(10);
    stroker.setJoinStyle(Qt::RoundJoin);
    const QPainterPath stroke = stroker.createStroke(glyphs);
    const QSize size(150, 80);
    const QPointF offset(0.3, -5.6);

    QImage painted(size, QImage::Format_Alpha8);
    painted.fill(0);
    QPainter painter(&painted);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(offset);
    painter.fillPath(stroke, Qt::white);
    painter.fillPath(glyphs, Qt::white);
    painter.end();
    QImage ours = pathCoverage(stroke, offset, size);
    uniteCoverage(ours, QPoint(), pathCoverage(glyphs, offset, size));
    auto [worst, mean] = imageDifference(painted, ours);
    EXPECT_LE(worst, 48); // edge pixels only; a missing hole or a shift costs 255s
    EXPECT_LT(mean, 0.5);

    const QColor colour(255, 128, 0, 200);
    const QPoint at(-7, 5);
    QImage expected(size, QImage::Format_ARGB32_Premultiplied);
    expected.fill(QColor(0, 0, 255, 128));
    QImage actual = expected;
    painter.begin(&expected);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QPointF(at) + offset);
    painter.fillPath(glyphs, colour);
    painter.end();
    paintCoverage(actual, at, pathCoverage(glyphs, offset, size), qPremultiply(colour.rgba()));
    std::tie(worst, mean) = imageDifference(expected, actual);
    EXPECT_LE(worst, 48);
    EXPECT_LT(mean, 0.5);
}

// Wide blurs run at half size: they must spread like the whole-size blur and stay where it is.
TEST(TextRaster, HalfSizeBlurMatchesTheWholeSizeBlur)
{
    QImage mask(161, 97, QImage::Format_Alpha8);
    mask.fill(0);
    QPainter painter(&mask);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(QRectF(60.5, 30, 23, 17), Qt::white);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(90, 50, 15, 30));
    painter.end();
    const auto centroid = [](const QImage &image) {
        double sum = 0.0, x = 0.0, y = 0.0;
        for (int row = 0; row < image.height(); ++row)
            for (int col = 0; col < image.width(); ++col) {
                const double v = image.constScanLine(row)[col];
                sum += v, x += v * col, y += v * row;
            }
        return std::tuple{sum, x / sum, y / sum};
    };
    for (const int radius : {8, 13, 18}) {
        QImage whole = mask;
        boxBlurPremultiplied(whole, radius);
        QImage half = mask;
        blurCoverage(half, radius);
        const auto [worst, mean] = imageDifference(whole, half);
        // The half-size radius is whole, so its spread may differ by a tenth in variance: on so
        // small a shape that moves the peak by up to 10 code values at radius 8.
        EXPECT_LE(worst, 12) << radius;
        EXPECT_LT(mean, 1.0) << radius;
        const auto [wholeSum, wholeX, wholeY] = centroid(whole);
        const auto [halfSum, halfX, halfY] = centroid(half);
        EXPECT_NEAR(halfSum / wholeSum, 1.0, 0.02) << radius;
        EXPECT_NEAR(halfX, wholeX, 0.1) << radius;
        EXPECT_NEAR(halfY, wholeY, 0.1) << radius;
    }
}
