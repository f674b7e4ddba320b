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

TEST_F(CompositorMaskTest, MaskKeepsItsSideFlipsWithThePictureInvertsAndTakesAMatteFrame)
{
    GpuSceneEntry entry = layerEntry(splitImage(40, 10, Qt::red, Qt::green), {0, 0, 40, 10});
    entry.layer.mask.shape = MaskShape::rectangle; // the left half of the picture
    entry.layer.mask.x = 0.25;
    entry.layer.mask.w = 0.5;
    entry.layer.mask.h = 1.0;
    // Flip, invert, then what shows at x = 10 and at x = 30.
    const std::tuple<bool, bool, QColor, QColor> states[] = {{false, false, Qt::red, Qt::black},
                                                             {true, false, Qt::black, Qt::red},
                                                             {false, true, Qt::black, Qt::green}};
    for (int mode : {0, 2}) { // drawn directly and through the blend shader
        for (const auto &[flip, invert, left, right] : states) {
            SCOPED_TRACE(testing::Message() << "mode " << mode << " flip " << flip << " invert " << invert);
            entry.blendMode = mode;
            entry.layer.flipH = flip;
            entry.layer.mask.invert = invert;
            const QImage frame = renderMasked(entry);
            EXPECT_TRUE(pixelIs(frame, 10, 5, left));
            EXPECT_TRUE(pixelIs(frame, 30, 5, right));
        }
    }

    // A matte frame stands in for the raster; with none at this time the layer is drawn whole.
    entry = layerEntry(solidImage(40, 10, Qt::green), {0, 0, 40, 10});
    entry.layer.mask.shape = MaskShape::matte;
    EXPECT_TRUE(pixelIs(renderMasked(entry), 30, 5, Qt::green));
    // A matte of another size is sampled at the layer's coordinates, and inverts in the shader.
    entry.layer.maskImage = splitImage(8, 4, Qt::white, Qt::black);
    for (const bool invert : {false, true}) {
        entry.layer.mask.invert = invert;
        const QImage frame = renderMasked(entry);
        EXPECT_TRUE(pixelIs(frame, 5, 5, invert ? Qt::black : Qt::green)) << invert;
        EXPECT_TRUE(pixelIs(frame, 35, 5, invert ? Qt::green : Qt::black)) << invert;
    }
}

} // namespace
} // namespace orvel::test
