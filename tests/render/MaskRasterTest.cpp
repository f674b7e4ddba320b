// Mask rasters on the CPU: which pixels each kind covers, inversion, rotation and the feather,
// against naive references written out here.
#include "render/compositor/GpuCompositor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace orvel {
namespace {

ClipMask maskOf(MaskShape shape, double w = 0.5, double h = 0.5, double rotation = 0.0)
{
    ClipMask mask;
    mask.shape = shape;
    mask.w = w;
    mask.h = h;
    mask.rotation = rotation;
    return mask;
}

int maskValue(const QImage &raster, QPoint p)
{
    return raster.constScanLine(p.y())[p.x()];
}

TEST(MaskRaster, EveryKindCoversItsInsideAndInvertSwapsThem)
{
    ClipMask triangle = maskOf(MaskShape::freeform);
    triangle.points = {{0.1, 0.1}, {0.9, 0.1}, {0.1, 0.9}};
    const struct
    {
        const char *name;
        ClipMask mask;
        QSize size;
        QPoint inside, outside;
    } cases[] = {
        // 25..75 by 20..60 on 100 x 80
        {"rectangle", maskOf(MaskShape::rectangle), {100, 80}, {50, 40}, {20, 40}},
        // the corner of the ellipse's box lies outside it
        {"ellipse", maskOf(MaskShape::ellipse), {100, 80}, {50, 40}, {27, 22}},
        // pentagon in the square 20..80, first vertex at the top
        {"star", maskOf(MaskShape::star, 0.6, 0.6), {100, 100}, {50, 23}, {22, 22}},
        // the dip at the top centre is outside, the body below it inside
        {"heart", maskOf(MaskShape::heart, 0.6, 0.6), {100, 100}, {50, 60}, {50, 22}},
        // strips of height 10 at top and bottom; rotation does not turn them
        {"bars", maskOf(MaskShape::bars, 0.5, 0.2, 90.0), {100, 100}, {50, 95}, {50, 50}},
        {"freeform", triangle, {100, 100}, {20, 20}, {80, 80}},
        // turned a quarter, a wide rectangle stands upright
        {"rotated", maskOf(MaskShape::rectangle, 0.8, 0.2, 90.0), {100, 100}, {50, 15}, {15, 50}},
        // the star's rotation counts twice: 36 + 36 degrees brings a vertex back to the top,
        // where a single turn would leave an edge 24 pixels from the centre
        {"star turned", maskOf(MaskShape::star, 0.6, 0.6, 36.0), {100, 100}, {50, 23}, {22, 22}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ClipMask mask = c.mask;
        const QImage plain = rasterMask(mask, c.size.width(), c.size.height());
        ASSERT_EQ(plain.format(), QImage::Format_Grayscale8);
        EXPECT_EQ(maskValue(plain, c.inside), 255);
        EXPECT_EQ(maskValue(plain, c.outside), 0);
        mask.invert = true;
        const QImage inverted = rasterMask(mask, c.size.width(), c.size.height());
        EXPECT_EQ(maskValue(inverted, c.inside), 0);
        EXPECT_EQ(maskValue(inverted, c.outside), 255);
    }
    EXPECT_TRUE(rasterMask(maskOf(MaskShape::matte), 10, 10).isNull());
}

// The feather done the slow way: every window summed pixel by pixel.
QImage naiveFeather(const QImage &source, int radius)
{
    QImage current = source;
    const int passes = std::clamp(radius / 2, 1, 8);
    const int window = (2 * radius + 1) * (2 * radius + 1);
    for (int pass = 0; pass < passes; ++pass) {
        QImage next(current.size(), QImage::Format_Grayscale8);
        for (int y = 0; y < current.height(); ++y)
            for (int x = 0; x < current.width(); ++x) {
                int sum = 0;
                for (int dy = -radius; dy <= radius; ++dy)
                    for (int dx = -radius; dx <= radius; ++dx)
                        sum += current.constScanLine(std::clamp(
                            y + dy, 0, current.height() - 1))[std::clamp(x + dx, 0, current.width() - 1)];
                next.scanLine(y)[x] = uchar((sum + window / 2) / window);
            }
        current = next;
    }
    return current;
}

TEST(MaskRaster, FeatherIsTheRepeatedClampedBoxAverage)
{
    QImage noise(23, 17, QImage::Format_Grayscale8);
    for (int y = 0; y < noise.height(); ++y)
        for (int x = 0; x < noise.width(); ++x)
            noise.scanLine(y)[x] = uchar((x * 37 + y * 91 + x * y * 13) % 256);
    for (int radius : {1, 5, 12}) {
        SCOPED_TRACE(radius);
        EXPECT_EQ(featherMask(noise, radius), naiveFeather(noise, radius));
    }
    // A mask's feather truncates to whole pixels.
    ClipMask mask = maskOf(MaskShape::ellipse);
    const QImage sharp = rasterMask(mask, 40, 30);
    mask.feather = 4.7;
    EXPECT_EQ(rasterMask(mask, 40, 30), naiveFeather(sharp, 4));
}

} // namespace
} // namespace orvel
