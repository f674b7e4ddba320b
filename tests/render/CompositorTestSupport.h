#pragma once

#include "GlRuntimeTestSupport.h"
#include "render/GpuCompositor.h"

#include <QColor>
#include <QImage>

#include <algorithm>
#include <cmath>

namespace orvel::test {

// A straight-alpha RGBA8888 picture of one colour; the format keeps its cache key on upload.
inline QImage solidImage(int width, int height, QColor colour)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    image.fill(colour);
    return image;
}

// Left half one colour, right half another.
inline QImage splitImage(int width, int height, QColor left, QColor right)
{
    QImage image = solidImage(width, height, left);
    for (int y = 0; y < height; ++y)
        for (int x = width / 2; x < width; ++x)
            image.setPixelColor(x, y, right);
    return image;
}

inline GpuLayer imageLayer(const QImage &image, QRectF rect, double opacity = 1.0)
{
    GpuLayer layer;
    layer.image = image;
    layer.rect = rect;
    layer.opacity = opacity;
    layer.valid = true;
    return layer;
}

inline GpuSceneEntry layerEntry(const GpuLayer &layer, int blendMode = 0)
{
    GpuSceneEntry entry;
    entry.layer = layer;
    entry.blendMode = blendMode;
    return entry;
}

inline GpuScene sceneOf(QSize size, QColor background)
{
    GpuScene scene;
    scene.size = size;
    scene.backgroundColor = background;
    return scene;
}

// Expected 8-bit channels in [0, 1] floats.
struct Rgb
{
    double r, g, b;
};

inline Rgb rgbOf(QColor c)
{
    return {c.red() / 255.0, c.green() / 255.0, c.blue() / 255.0};
}

// Compares the stored pixel with an expected opaque colour, allowing for 8-bit rounding.
inline ::testing::AssertionResult pixelNear(const QImage &image, int x, int y, Rgb expected,
                                            int tolerance = 2)
{
    const std::array<int, 4> got = storedRgba(image, x, y);
    const int want[4] = {int(std::lround(expected.r * 255)), int(std::lround(expected.g * 255)),
                         int(std::lround(expected.b * 255)), 255};
    for (int i = 0; i < 4; ++i) {
        if (std::abs(got[size_t(i)] - want[i]) > tolerance)
            return ::testing::AssertionFailure()
                   << "pixel (" << x << ", " << y << ") is (" << got[0] << ", " << got[1] << ", " << got[2]
                   << ", " << got[3] << "), expected (" << want[0] << ", " << want[1] << ", " << want[2]
                   << ", " << want[3] << ")";
    }
    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult pixelIs(const QImage &image, int x, int y, QColor expected)
{
    return pixelNear(image, x, y, rgbOf(expected));
}

} // namespace orvel::test
