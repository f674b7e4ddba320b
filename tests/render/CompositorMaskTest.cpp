// Masks on the GPU: they follow the layer's own quad and invert, and a matte frame stands in
// for the raster. Which pixels each kind covers is the CPU suite's business.
#include "CompositorTestSupport.h"

namespace orvel::test {
namespace {

using CompositorMaskTest = GlRuntimeTest;

QImage renderMasked(const GpuSceneEntry &entry)
{
    return GpuCompositor::render(sceneOf({40, 10}, Qt::black, {entry}));
}

TEST_F(CompositorMaskTest, MaskKeepsItsSideFlipsWithThePictureAndInverts)
{
    GpuSceneEntry entry = layerEntry(splitImage(40, 10, Qt::red, Qt::green), {0, 0, 40, 10}, 1.0, 1);
    entry.layer.mask.shape = MaskShape::rectangle; // the left half of the picture
    entry.layer.mask.x = 0.25;
    entry.layer.mask.w = 0.5;
    entry.layer.mask.h = 1.0;
    for (int mode : {0, 2}) { // drawn directly and through the blend shader
        SCOPED_TRACE(mode);
        entry.blendMode = mode;
        entry.layer.flipH = false;
        entry.layer.mask.invert = false;
        EXPECT_TRUE(pixelIs(renderMasked(entry), 10, 5, Qt::red));
        EXPECT_TRUE(pixelIs(renderMasked(entry), 30, 5, Qt::black));
        entry.layer.flipH = true;
        EXPECT_TRUE(pixelIs(renderMasked(entry), 10, 5, Qt::black));
        EXPECT_TRUE(pixelIs(renderMasked(entry), 30, 5, Qt::red));
        entry.layer.flipH = false;
        entry.layer.mask.invert = true;
        EXPECT_TRUE(pixelIs(renderMasked(entry), 10, 5, Qt::black));
        EXPECT_TRUE(pixelIs(renderMasked(entry), 30, 5, Qt::green));
    }
}

TEST_F(CompositorMaskTest, MatteFrameReplacesTheRasterAndInvertsInTheShader)
{
    GpuSceneEntry entry = layerEntry(solidImage(40, 10, Qt::green), {0, 0, 40, 10});
    entry.layer.mask.shape = MaskShape::matte;
    // No matte frame at this time: the layer is drawn whole.
    EXPECT_TRUE(pixelIs(renderMasked(entry), 30, 5, Qt::green));
    // A matte of another size is sampled at the layer's coordinates.
    entry.layer.maskImage = splitImage(8, 4, Qt::white, Qt::black);
    EXPECT_TRUE(pixelIs(renderMasked(entry), 5, 5, Qt::green));
    EXPECT_TRUE(pixelIs(renderMasked(entry), 35, 5, Qt::black));
    entry.layer.mask.invert = true;
    EXPECT_TRUE(pixelIs(renderMasked(entry), 5, 5, Qt::black));
    EXPECT_TRUE(pixelIs(renderMasked(entry), 35, 5, Qt::green));
}

} // namespace
} // namespace orvel::test
