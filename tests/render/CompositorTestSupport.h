#pragma once

#include "GlRuntimeTestSupport.h"
#include "render/compositor/GpuCompositor.h"

#include <QImage>

#include <algorithm>
#include <cmath>

namespace orvel::test {

// Straight RGBA8888, which keeps its cache key on upload: one colour, or `right` on the right half.
inline QImage solidImage(int width, int height, QColor colour)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    image.fill(colour);
    return image;
}

inline QImage splitImage(int width, int height, QColor left, QColor right)
{
    QImage image = solidImage(width, height, left);
    for (int y = 0; y < height; ++y)
        for (int x = width / 2; x < width; ++x)
            image.setPixelColor(x, y, right);
    return image;
}

inline GpuSceneEntry layerEntry(const QImage &image, QRectF rect, double opacity = 1.0, int blendMode = 0)
{
    GpuSceneEntry entry;
    entry.layer.image = image;
    entry.layer.rect = rect;
    entry.layer.opacity = opacity;
    entry.layer.valid = true;
    entry.blendMode = blendMode;
    return entry;
}

inline GpuScene sceneOf(QSize size, QColor background, const QList<GpuSceneEntry> &entries = {})
{
    GpuScene scene;
    scene.size = size;
    scene.backgroundColor = background;
    scene.entries = entries;
    return scene;
}

struct Rgb
{
    double r, g, b; // 0..1
};

inline Rgb rgbOf(QColor c)
{
    return {c.redF(), c.greenF(), c.blueF()};
}

// The stored pixel against an expected opaque colour, allowing for 8-bit rounding on the way.
inline ::testing::AssertionResult pixelNear(const QImage &image, int x, int y, Rgb want, int tolerance = 2)
{
    const std::array<int, 4> got = storedRgba(image, x, y);
    const std::array<double, 4> expected = {want.r, want.g, want.b, 1.0};
    for (size_t i = 0; i < 4; ++i) {
        if (std::abs(got[i] - expected[i] * 255) > tolerance + 0.5)
            return ::testing::AssertionFailure()
                   << "(" << x << ", " << y << ") is " << got[0] << " " << got[1] << " " << got[2] << " "
                   << got[3] << ", want " << want.r * 255 << " " << want.g * 255 << " " << want.b * 255;
    }
    return ::testing::AssertionSuccess();
}

// The largest channel difference between two pictures of one size, over every `step`th pixel
// each way.
inline int worstDifference(const QImage &got, const QImage &want, int step = 1)
{
    const QImage a = got.convertToFormat(QImage::Format_RGBA8888);
    const QImage b = want.convertToFormat(QImage::Format_RGBA8888);
    if (a.size() != b.size())
        return 256;
    int worst = 0;
    for (int y = step / 2; y < b.height(); y += step)
        for (int x = step / 2; x < b.width(); x += step)
            for (int c = 0; c < 4; ++c)
                worst =
                    std::max(worst, std::abs(a.constScanLine(y)[4 * x + c] - b.constScanLine(y)[4 * x + c]));
    return worst;
}

inline ::testing::AssertionResult pixelIs(const QImage &image, int x, int y, QColor expected)
{
    return pixelNear(image, x, y, rgbOf(expected));
}

} // namespace orvel::test
