// Layers over a known canvas, read back and compared with the composition worked out here on
// the CPU from the colours alone.
#include "CompositorTestSupport.h"

#include <functional>

namespace orvel::test {
namespace {

using CompositorLayerTest = GlRuntimeTest;

TEST_F(CompositorLayerTest, EveryBlendModeOverAKnownCanvas)
{
    const Rgb dst = rgbOf(QColor(200, 100, 50));
    const Rgb src = rgbOf(QColor(60, 180, 240));
    const double sa = 204.0 / 255.0 * 0.75; // picture alpha times layer opacity
    // The straight-colour blend, then source-over with the layer's alpha.
    const std::pair<int, std::function<double(double, double)>> modes[] = {
        {0, [](double, double s) { return s; }},
        {1, [](double b, double s) { return b * s; }},
        {2, [](double b, double s) { return 1 - (1 - b) * (1 - s); }},
        {3, [](double b, double s) { return b < 0.5 ? 2 * b * s : 1 - 2 * (1 - b) * (1 - s); }},
        {5, [](double b, double s) { return std::min(b, s); }},
        {6, [](double b, double s) { return std::max(b, s); }},
        {9, [](double, double s) { return s; }}, // unknown modes are normal
    };
    for (const auto &[mode, blend] : modes) {
        SCOPED_TRACE(mode);
        const auto over = [&](double b, double s) { return blend(b, s) * sa + b * (1 - sa); };
        // The layer covers the left half only: the right half must keep the canvas.
        const QImage frame = GpuCompositor::render(
            sceneOf({8, 8}, QColor(200, 100, 50),
                    {layerEntry(solidImage(2, 2, QColor(60, 180, 240, 204)), {0, 0, 4, 8}, 0.75, mode)}));
        ASSERT_EQ(frame.format(), QImage::Format_RGBA8888);
        EXPECT_TRUE(pixelNear(frame, 1, 4, {over(dst.r, src.r), over(dst.g, src.g), over(dst.b, src.b)}));
        EXPECT_TRUE(pixelNear(frame, 6, 4, dst));
    }
}

TEST_F(CompositorLayerTest, OpacityPremultipliesOnceAddSaturatesAndInvisibleLayersAreSkipped)
{
    // A premultiplied picture is straightened at upload and multiplied again only by the layer
    // shader: premultiplied red 100 at alpha 128 is straight red 199, here at opacity 0.5.
    QImage premultiplied(2, 2, QImage::Format_ARGB32_Premultiplied);
    premultiplied.fill(qRgba(100, 0, 0, 128));
    // Added: half-transparent grey adds half its colour; a transparent pixel adds nothing although
    // its colour is white; opaque white drives every channel to 1.
    const QImage frame = GpuCompositor::render(
        sceneOf({8, 8}, QColor(0, 100, 250),
                {layerEntry(premultiplied, {0, 0, 2, 8}, 0.5),
                 layerEntry(solidImage(2, 2, QColor(100, 100, 100, 128)), {2, 0, 2, 8}, 1.0, 4),
                 layerEntry(solidImage(2, 2, QColor(255, 255, 255, 0)), {4, 0, 2, 8}, 1.0, 4),
                 layerEntry(solidImage(2, 2, Qt::white), {6, 0, 2, 8}, 1.0, 4)}));
    const double a = 128.0 / 255.0 * 0.5;
    EXPECT_TRUE(pixelNear(frame, 1, 4, {199.0 / 255.0 * a, 100 / 255.0 * (1 - a), 250 / 255.0 * (1 - a)}));
    const double added = 100.0 / 255.0 * 128.0 / 255.0;
    EXPECT_TRUE(pixelNear(frame, 3, 4, {added, 100 / 255.0 + added, 1.0}));
    EXPECT_TRUE(pixelIs(frame, 5, 4, QColor(0, 100, 250)));
    EXPECT_TRUE(pixelIs(frame, 7, 4, Qt::white));

    // A layer at opacity 0 is never even uploaded.
    const QImage hidden = solidImage(3, 3, Qt::red);
    const QImage shown = solidImage(3, 3, Qt::green);
    const QImage shownOnly = GpuCompositor::render(
        sceneOf({6, 6}, Qt::black, {layerEntry(hidden, {0, 0, 6, 6}, 0.0), layerEntry(shown, {0, 0, 3, 6})}));
    EXPECT_TRUE(pixelIs(shownOnly, 4, 3, Qt::black));
    EXPECT_TRUE(pixelIs(shownOnly, 1, 3, Qt::green));
    onGl([&] {
        EXPECT_FALSE(gl().hasCachedImageTexture(hidden.cacheKey()));
        EXPECT_TRUE(gl().hasCachedImageTexture(shown.cacheKey()));
    });
}

TEST_F(CompositorLayerTest, RotationTurnsInsideTheLayersOwnSquare)
{
    // Turned by 90 degrees, the picture's left edge maps to clip-space y = -1, the top row. The
    // turn happens inside the non-uniform scale: a layer of 10 x 10 pixels on a 20 x 10 canvas
    // is 0.5 x 1 in clip space, and turned it still fills exactly its own rectangle.
    GpuSceneEntry entry = layerEntry(splitImage(2, 1, Qt::red, Qt::green), {0, 0, 10, 10});
    entry.layer.rotationDegrees = 90.0;
    const QImage frame = GpuCompositor::render(sceneOf({20, 10}, Qt::black, {entry}));
    EXPECT_TRUE(pixelIs(frame, 0, 0, Qt::red));
    EXPECT_TRUE(pixelIs(frame, 9, 1, Qt::red));
    EXPECT_TRUE(pixelIs(frame, 0, 9, Qt::green));
    EXPECT_TRUE(pixelIs(frame, 9, 8, Qt::green));
    EXPECT_TRUE(pixelIs(frame, 15, 5, Qt::black));
}

TEST_F(CompositorLayerTest, Nv12LayerShowsItsOwnBytesEvenWhenTheyRepeat)
{
    // A 4 x 2 frame: luma 120, then interleaved chroma u 140, v 110, read as BT.709 limited
    // range, which a frame says unless it says otherwise.
    const auto rgb = [](double y, double u, double v) {
        y = (y - 16) / 219, u = (u - 128) / 224, v = (v - 128) / 224;
        return Rgb{y + 1.5748 * v, y - 0.187324 * u - 0.468124 * v, y + 1.8556 * u};
    };
    GpuSceneEntry entry = layerEntry(QImage(), {0, 0, 4, 2});
    entry.layer.nv12 = QByteArray(8, char(120)) + QByteArray("\x8c\x6e\x8c\x6e", 4);
    entry.layer.nv12Width = 4;
    entry.layer.nv12Height = 2;
    const GpuScene scene = sceneOf({4, 2}, Qt::black, {entry});
    for (int pass = 0; pass < 2; ++pass) // the second draw may reuse the first conversion
        EXPECT_TRUE(pixelNear(GpuCompositor::render(scene), 1, 1, rgb(120, 140, 110)));
    // Changed bytes are a new buffer (the write detaches), never the old picture.
    entry.layer.nv12.replace(0, 8, QByteArray(8, char(60)));
    EXPECT_TRUE(
        pixelNear(GpuCompositor::render(sceneOf({4, 2}, Qt::black, {entry})), 1, 1, rgb(60, 140, 110)));
}

} // namespace
} // namespace orvel::test
