// Whole scenes: the blurred background, the crossfade, the effect chain's skip rules and the
// preview's texture path.
#include "CompositorTestSupport.h"
#include "render/gl/GlShaders.h"
#include "render/effects/GpuEffectHooks.h"

#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>

namespace orvel::test {
namespace {

class CompositorSceneTest : public GlRuntimeTest
{
protected:
    void TearDown() override { setGpuEffectHooks({}); }
};

GpuScene blurScene(QSize size, const QImage &picture, double strength)
{
    GpuScene scene = sceneOf(size, Qt::red); // the blurred picture replaces the colour
    scene.backgroundBlur = true;
    scene.blurStrength = strength;
    scene.backgroundImage = picture;
    return scene;
}

TEST_F(CompositorSceneTest, BlurTakesSeventeenGaussianTapsAndKeepsUniformPicturesUniform)
{
    // Black left, white right. At radius 16 the taps fall two whole pixels apart, so each column
    // is a weighted sum of exact source columns, edges clamped; the vertical pass changes nothing.
    const QImage frame =
        GpuCompositor::render(blurScene({64, 4}, splitImage(64, 4, Qt::black, Qt::white), 16.0));
    for (int x = 24; x < 40; ++x) {
        double sum = 0, weights = 0;
        for (int i = -8; i <= 8; ++i) {
            const double w = std::exp(-(i * i) / (2.0 * 16 * 16 / 9.0));
            sum += std::clamp(x + 2 * i, 0, 63) >= 32 ? w : 0.0;
            weights += w;
        }
        EXPECT_TRUE(pixelNear(frame, x, 2, {sum / weights, sum / weights, sum / weights})) << x;
    }
    // Strengths clamp to 1..64, and a uniform picture stays uniform whatever the strength.
    for (double strength : {0.0, 200.0}) {
        const QImage uniform =
            GpuCompositor::render(blurScene({32, 18}, solidImage(16, 9, Qt::darkCyan), strength));
        for (int i = 0; i < 32 * 18; i += 7)
            ASSERT_TRUE(pixelIs(uniform, i % 32, i / 32, Qt::darkCyan)) << strength;
    }
}

TEST_F(CompositorSceneTest, CrossfadeIsTwoSourceOverDraws)
{
    GpuSceneEntry entry;
    entry.isTransition = true;
    entry.fromLayer = layerEntry(solidImage(4, 4, Qt::green), {0, 0, 8, 8}).layer;
    entry.toLayer = layerEntry(solidImage(4, 4, Qt::blue), {0, 0, 8, 8}).layer;
    entry.transitionProgress = 0.5;
    // Half way, the background still shows by a quarter.
    EXPECT_TRUE(pixelNear(GpuCompositor::render(sceneOf({8, 8}, QColor(200, 0, 0), {entry})), 3, 3,
                          {200 / 255.0 * 0.25, 0.25, 0.5}));
    // Without a from picture the to side is revealed against transparency.
    entry.fromLayer.valid = false;
    entry.transitionProgress = 0.25;
    EXPECT_TRUE(pixelNear(GpuCompositor::render(sceneOf({8, 8}, QColor(200, 0, 0), {entry})), 3, 3,
                          {200 / 255.0 * 0.75, 0.0, 0.25}));
}

// A stand-in for an effect pipeline: inverts the colour of its input into a pooled framebuffer.
GlFbo invertOnGpu(GLuint input, QSize size)
{
    GlRuntime &gl = GlRuntime::instance();
    QOpenGLShaderProgram *program =
        gl.builtinProgram("test_invert", kFullScreenVertexShader, R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_input;
void main() { vec4 c = texture(u_input, v_texCoord); fragColor = vec4(1.0 - c.rgb, c.a); })");
    GlFbo out = gl.acquireFbo(size.width(), size.height());
    out.fbo->bind();
    gl.extraFunctions()->glViewport(0, 0, size.width(), size.height());
    program->bind();
    gl.extraFunctions()->glBindTexture(GL_TEXTURE_2D, input);
    gl.drawQuad();
    out.fbo->release();
    return out;
}

TEST_F(CompositorSceneTest, EffectChainSkipsWhatCannotRunAndPassesFailuresThrough)
{
    const QColor colour(40, 100, 220);
    GpuSceneEntry entry = layerEntry(solidImage(4, 4, colour), {0, 0, 4, 4});
    for (const char *id : {"fails", "", "cpu", "echo", "unknown", "broken", "invert"}) {
        entry.layer.effects.append(EffectInstance{});
        entry.layer.effects.last().catalogId = id;
    }
    const GpuScene scene = sceneOf({4, 4}, Qt::black, {entry});
    // With no catalog installed every effect is skipped.
    EXPECT_TRUE(pixelIs(GpuCompositor::render(scene), 1, 1, colour));

    QStringList ran;
    GpuEffectHooks hooks;
    hooks.describe = [](const QString &id) {
        return GpuEffectInfo{id != "unknown", id == "echo" ? "time_echo" : id, id == "cpu" ? "cpu" : "gpu",
                             id != "broken"};
    };
    hooks.runEffect = [&ran](const EffectInstance &effect, const GpuLayer &, GLuint input, QSize size) {
        ran.append(effect.catalogId);
        return effect.catalogId == "invert" ? invertOnGpu(input, size) : GlFbo{};
    };
    setGpuEffectHooks(hooks);
    const QImage frame = GpuCompositor::render(scene);
    EXPECT_EQ(ran, QStringList({"fails", "invert"}));
    EXPECT_TRUE(pixelIs(frame, 1, 1, QColor(255 - 40, 255 - 100, 255 - 220)));
}

TEST_F(CompositorSceneTest, PreviewTextureHoldsTheSameFrameAsTheReadBack)
{
    const GpuScene scene =
        sceneOf({16, 8}, QColor(10, 20, 30),
                {layerEntry(splitImage(2, 2, Qt::red, Qt::yellow), {2, 1, 12, 6}, 1.0, 2)});
    const QImage expected = GpuCompositor::render(scene);
    const GpuFrameTexture frame = GpuCompositor::renderToTexture(scene);
    ASSERT_EQ(frame.size, QSize(16, 8));
    onGl([&] {
        GlFbo copy = gl().acquireFbo(16, 8);
        ASSERT_TRUE(gl().copyTextureToFbo(frame.textureId, copy));
        EXPECT_EQ(readBack(copy), expected);
        gl().releaseFbo(copy);
    });
    EXPECT_TRUE(GpuCompositor::render(sceneOf({0, 10}, Qt::black)).isNull());
    EXPECT_TRUE(GpuCompositor::renderToTexture(sceneOf({10, 0}, Qt::black)).isNull());
}

} // namespace
} // namespace orvel::test
