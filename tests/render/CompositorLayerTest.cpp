// Layers over a known canvas, read back and compared with the composition worked out here on
// the CPU from the colours alone.
#include "CompositorTestSupport.h"

#include <functional>

namespace orvel::test {
namespace {

using CompositorLayerTest = GlRuntimeTest;

// Straight-colour blend of base (canvas) and source (layer), then source-over with the layer's
// effective alpha, as a designer's "multiply", "screen" and so on are defined.
Rgb composeOverOpaque(Rgb dst, Rgb src, double sa, const std::function<double(double, double)> &blend)
{
    const auto channel = [&](double b, double s) {
        return std::clamp(blend(b, s), 0.0, 1.0) * sa + b * (1 - sa);
    };
    return {channel(dst.r, src.r), channel(dst.g, src.g), channel(dst.b, src.b)};
}

TEST_F(CompositorLayerTest, EveryBlendModeOverAKnownCanvas)
{
    const QColor background(200, 100, 50);
    const QColor layerColour(60, 180, 240, 204);
    const double sa = 204.0 / 255.0 * 0.75;
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
        GpuScene scene = sceneOf({8, 8}, background);
        // The layer covers the left half only: the right half must keep the canvas.
        scene.entries.append(layerEntry(imageLayer(solidImage(2, 2, layerColour), {0, 0, 4, 8}, 0.75), mode));
        const QImage frame = GpuCompositor::render(scene);
        ASSERT_EQ(frame.format(), QImage::Format_RGBA8888);
        EXPECT_TRUE(
            pixelNear(frame, 1, 4, composeOverOpaque(rgbOf(background), rgbOf(layerColour), sa, blend)));
        EXPECT_TRUE(pixelIs(frame, 6, 4, background));
    }
}

TEST_F(CompositorLayerTest, AddSumsThePremultipliedLayerAndSaturates)
{
    const QColor background(200, 100, 50);
    GpuScene scene = sceneOf({8, 8}, background);
    // Half-transparent grey adds half its colour; a transparent pixel adds nothing even though
    // its colour channels are white; opaque white drives every channel to 1.
    scene.entries.append(
        layerEntry(imageLayer(solidImage(2, 2, QColor(100, 100, 100, 128)), {0, 0, 3, 8}), 4));
    scene.entries.append(layerEntry(imageLayer(solidImage(2, 2, QColor(255, 255, 255, 0)), {3, 0, 2, 8}), 4));
    scene.entries.append(layerEntry(imageLayer(solidImage(2, 2, Qt::white), {5, 0, 3, 8}), 4));
    const QImage frame = GpuCompositor::render(scene);
    const double added = 100.0 / 255.0 * 128.0 / 255.0;
    EXPECT_TRUE(pixelNear(frame, 1, 4, {200 / 255.0 + added, 100 / 255.0 + added, 50 / 255.0 + added}));
    EXPECT_TRUE(pixelIs(frame, 4, 4, background));
    EXPECT_TRUE(pixelIs(frame, 6, 4, Qt::white));
}

TEST_F(CompositorLayerTest, OpacityMultipliesStraightAlphaOnce)
{
    // A premultiplied source picture is straightened at upload and multiplied again only by the
    // layer shader: premultiplied red 100 at alpha 128 is straight red 199.
    QImage premultiplied(2, 2, QImage::Format_ARGB32_Premultiplied);
    premultiplied.fill(qRgba(100, 0, 0, 128));
    GpuScene scene = sceneOf({4, 4}, QColor(0, 0, 255));
    scene.entries.append(layerEntry(imageLayer(premultiplied, {0, 0, 4, 4}, 0.5)));
    const QImage frame = GpuCompositor::render(scene);
    const double a = 128.0 / 255.0 * 0.5;
    EXPECT_TRUE(pixelNear(frame, 2, 2, {199.0 / 255.0 * a, 0.0, 1.0 - a}));
}

TEST_F(CompositorLayerTest, AnInvisibleLayerIsNeverUploaded)
{
    const QImage hidden = solidImage(3, 3, Qt::red);
    const QImage shown = solidImage(3, 3, Qt::green);
    GpuScene scene = sceneOf({6, 6}, Qt::black);
    scene.entries.append(layerEntry(imageLayer(hidden, {0, 0, 6, 6}, 0.0)));
    scene.entries.append(layerEntry(imageLayer(shown, {0, 0, 3, 6})));
    const QImage frame = GpuCompositor::render(scene);
    EXPECT_TRUE(pixelIs(frame, 4, 3, Qt::black));
    EXPECT_TRUE(pixelIs(frame, 1, 3, Qt::green));
    onGl([&] {
        EXPECT_FALSE(gl().hasCachedImageTexture(hidden.cacheKey()));
        EXPECT_TRUE(gl().hasCachedImageTexture(shown.cacheKey()));
    });
}

TEST_F(CompositorLayerTest, RectanglePlacesTheLayerTopLeftFirst)
{
    GpuScene scene = sceneOf({20, 10}, Qt::black);
    scene.entries.append(layerEntry(imageLayer(splitImage(2, 1, Qt::red, Qt::green), {4, 2, 10, 6})));
    const QImage frame = GpuCompositor::render(scene);
    EXPECT_TRUE(pixelIs(frame, 4, 2, Qt::red));
    EXPECT_TRUE(pixelIs(frame, 13, 7, Qt::green));
    for (const QPoint outside : {QPoint(3, 4), QPoint(14, 4), QPoint(8, 1), QPoint(8, 8)})
        EXPECT_TRUE(pixelIs(frame, outside.x(), outside.y(), Qt::black)) << outside.x() << "," << outside.y();
}

TEST_F(CompositorLayerTest, RotationTurnsInsideTheLayersOwnSquare)
{
    // Turned by 90 degrees, the picture's left edge maps to clip-space y = -1, the top row. The
    // turn happens inside the non-uniform scale: a layer of 10 x 10 pixels on a 20 x 10 canvas
    // is 0.5 x 1 in clip space, and turned it still fills exactly its own rectangle.
    GpuScene scene = sceneOf({20, 10}, Qt::black);
    GpuLayer layer = imageLayer(splitImage(2, 1, Qt::red, Qt::green), {0, 0, 10, 10});
    layer.rotationDegrees = 90.0;
    scene.entries.append(layerEntry(layer));
    const QImage frame = GpuCompositor::render(scene);
    EXPECT_TRUE(pixelIs(frame, 0, 0, Qt::red));
    EXPECT_TRUE(pixelIs(frame, 9, 1, Qt::red));
    EXPECT_TRUE(pixelIs(frame, 0, 9, Qt::green));
    EXPECT_TRUE(pixelIs(frame, 9, 8, Qt::green));
    EXPECT_TRUE(pixelIs(frame, 15, 5, Qt::black));
}

TEST_F(CompositorLayerTest, EmptySizeGivesNoImage)
{
    EXPECT_TRUE(GpuCompositor::render(sceneOf({0, 10}, Qt::black)).isNull());
    EXPECT_TRUE(GpuCompositor::renderToTexture(sceneOf({10, 0}, Qt::black)).isNull());
}

} // namespace
} // namespace orvel::test
