// Masks on the GPU: they follow the layer's own quad, invert, feather, and a matte frame stands
// in for the raster.
#include "CompositorTestSupport.h"

namespace orvel::test {
namespace {

using CompositorMaskTest = GlRuntimeTest;

ClipMask leftHalfMask()
{
    ClipMask mask;
    mask.shape = MaskShape::rectangle;
    mask.x = 0.25;
    mask.w = 0.5;
    mask.h = 1.0;
    return mask;
}

QImage renderMasked(const GpuLayer &layer)
{
    GpuScene scene = sceneOf({40, 10}, Qt::black);
    scene.entries.append(layerEntry(layer));
    return GpuCompositor::render(scene);
}

TEST_F(CompositorMaskTest, MaskKeepsItsSideAndFlipMirrorsItWithThePicture)
{
    GpuLayer layer = imageLayer(splitImage(40, 10, Qt::red, Qt::green), {0, 0, 40, 10});
    layer.mask = leftHalfMask();
    QImage frame = renderMasked(layer);
    EXPECT_TRUE(pixelIs(frame, 10, 5, Qt::red));
    EXPECT_TRUE(pixelIs(frame, 30, 5, Qt::black));

    layer.flipH = true;
    frame = renderMasked(layer);
    EXPECT_TRUE(pixelIs(frame, 10, 5, Qt::black));
    EXPECT_TRUE(pixelIs(frame, 30, 5, Qt::red));

    layer.flipH = false;
    layer.mask.invert = true;
    frame = renderMasked(layer);
    EXPECT_TRUE(pixelIs(frame, 10, 5, Qt::black));
    EXPECT_TRUE(pixelIs(frame, 30, 5, Qt::green));
}

TEST_F(CompositorMaskTest, FeatherSoftensOnlyTheEdge)
{
    GpuLayer layer = imageLayer(solidImage(40, 10, Qt::white), {0, 0, 40, 10});
    layer.mask = leftHalfMask();
    layer.mask.feather = 3.0;
    const QImage frame = renderMasked(layer);
    EXPECT_TRUE(pixelIs(frame, 5, 5, Qt::white));
    EXPECT_TRUE(pixelIs(frame, 35, 5, Qt::black));
    const int edge = storedRgba(frame, 20, 5)[0];
    EXPECT_GT(edge, 40);
    EXPECT_LT(edge, 215);
}

TEST_F(CompositorMaskTest, MatteFrameReplacesTheRasterAndInvertsInTheShader)
{
    GpuLayer layer = imageLayer(solidImage(40, 10, Qt::green), {0, 0, 40, 10});
    layer.mask.shape = MaskShape::matte;
    QImage frame = renderMasked(layer); // no matte frame at this time: the layer is whole
    EXPECT_TRUE(pixelIs(frame, 10, 5, Qt::green));
    EXPECT_TRUE(pixelIs(frame, 30, 5, Qt::green));

    // A matte of another size is sampled at the layer's coordinates.
    layer.maskImage = splitImage(8, 4, Qt::white, Qt::black);
    frame = renderMasked(layer);
    EXPECT_TRUE(pixelIs(frame, 5, 5, Qt::green));
    EXPECT_TRUE(pixelIs(frame, 35, 5, Qt::black));

    layer.mask.invert = true;
    frame = renderMasked(layer);
    EXPECT_TRUE(pixelIs(frame, 5, 5, Qt::black));
    EXPECT_TRUE(pixelIs(frame, 35, 5, Qt::green));
}

TEST_F(CompositorMaskTest, MaskWorksInBlendModesToo)
{
    GpuLayer layer = imageLayer(solidImage(40, 10, QColor(128, 128, 128)), {0, 0, 40, 10});
    layer.mask = leftHalfMask();
    GpuScene scene = sceneOf({40, 10}, QColor(200, 100, 50));
    scene.entries.append(layerEntry(layer, 1));
    const QImage frame = GpuCompositor::render(scene);
    const double g = 128.0 / 255.0;
    EXPECT_TRUE(pixelNear(frame, 10, 5, {200 / 255.0 * g, 100 / 255.0 * g, 50 / 255.0 * g}));
    EXPECT_TRUE(pixelIs(frame, 30, 5, QColor(200, 100, 50)));
}

} // namespace
} // namespace orvel::test
