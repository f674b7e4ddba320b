// Whole scenes: the blurred background, transitions, the effect chain's skip rules and the
// preview's texture path.
#include "CompositorTestSupport.h"
#include "render/GlShaders.h"
#include "render/GpuEffectHooks.h"

#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>

namespace orvel::test {
namespace {

class CompositorSceneTest : public GlRuntimeTest
{
protected:
    void TearDown() override { setGpuEffectHooks({}); }
};

TEST_F(CompositorSceneTest, BlurOfAUniformPictureStaysUniformAtAnyStrength)
{
    for (double strength : {0.0, 20.0, 200.0}) {
        SCOPED_TRACE(strength);
        GpuScene scene = sceneOf({32, 18}, Qt::red);
        scene.backgroundBlur = true;
        scene.blurStrength = strength;
        scene.backgroundImage = solidImage(16, 9, QColor(90, 140, 30));
        const QImage frame = GpuCompositor::render(scene);
        for (int y = 0; y < 18; y += 3)
            for (int x = 0; x < 32; x += 3)
                ASSERT_TRUE(pixelNear(frame, x, y, rgbOf(QColor(90, 140, 30)), 1));
    }
}

TEST_F(CompositorSceneTest, BlurTakesSeventeenGaussianTapsAcrossTheRadius)
{
    // Columns 0..31 black, 32..63 white. At radius 16 the taps fall two whole pixels apart, so
    // each output column is a weighted sum of exact source columns, edges clamped.
    GpuScene scene = sceneOf({64, 4}, Qt::red);
    scene.backgroundBlur = true;
    scene.blurStrength = 16.0;
    scene.backgroundImage = splitImage(64, 4, Qt::black, Qt::white);
    const QImage frame = GpuCompositor::render(scene);
    for (int x = 24; x < 40; ++x) {
        double sum = 0, weights = 0;
        for (int i = -8; i <= 8; ++i) {
            const double w = std::exp(-(i * i) / (2.0 * 16 * 16 / 9.0));
            sum += w * (std::clamp(x + 2 * i, 0, 63) >= 32 ? 1.0 : 0.0);
            weights += w;
        }
        const double v = sum / weights;
        EXPECT_TRUE(pixelNear(frame, x, 2, {v, v, v})) << "column " << x;
    }
}

GpuSceneEntry crossfadeEntry(const GpuLayer &from, const GpuLayer &to, double progress)
{
    GpuSceneEntry entry;
    entry.isTransition = true;
    entry.fromLayer = from;
    entry.toLayer = to;
    entry.transitionProgress = progress;
    return entry;
}

TEST_F(CompositorSceneTest, CrossfadeIsTwoSourceOverDraws)
{
    const QColor background(200, 0, 0);
    const GpuLayer green = imageLayer(solidImage(4, 4, Qt::green), {0, 0, 8, 8});
    const GpuLayer blue = imageLayer(solidImage(4, 4, Qt::blue), {0, 0, 8, 8});
    GpuScene scene = sceneOf({8, 8}, background);
    scene.entries.append(crossfadeEntry(green, blue, 0.5));
    QImage frame = GpuCompositor::render(scene);
    // Halfway, the background still shows by a quarter.
    EXPECT_TRUE(pixelNear(frame, 3, 3, {200 / 255.0 * 0.25, 0.5 * 0.5, 0.5}));

    // Without a from picture the to side is revealed against transparency.
    GpuLayer missing;
    scene.entries = {crossfadeEntry(missing, blue, 0.25)};
    frame = GpuCompositor::render(scene);
    EXPECT_TRUE(pixelNear(frame, 3, 3, {200 / 255.0 * 0.75, 0.0, 0.25}));
}

// A stand-in effect: inverts the colour of its input into a pooled framebuffer.
GlFbo invertOnGpu(GLuint input, QSize size)
{
    static const char *const kInvert = R"(#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_input;
void main() { vec4 c = texture(u_input, v_texCoord); fragColor = vec4(1.0 - c.rgb, c.a); })";
    GlRuntime &gl = GlRuntime::instance();
    QOpenGLShaderProgram *program = gl.builtinProgram("test_invert", kFullScreenVertexShader, kInvert);
    GlFbo out = gl.acquireFbo(size.width(), size.height());
    out.fbo->bind();
    gl.extraFunctions()->glViewport(0, 0, size.width(), size.height());
    program->bind();
    program->setUniformValue("u_input", 0);
    gl.extraFunctions()->glBindTexture(GL_TEXTURE_2D, input);
    gl.drawQuad();
    out.fbo->release();
    return out;
}

TEST_F(CompositorSceneTest, EffectChainSkipsWhatCannotRunAndPassesFailuresThrough)
{
    const QColor colour(40, 100, 220);
    GpuScene scene = sceneOf({4, 4}, Qt::black);
    GpuLayer layer = imageLayer(solidImage(4, 4, colour), {0, 0, 4, 4});
    for (const char *id : {"fails", "", "cpu", "echo", "unknown", "broken", "invert"}) {
        EffectInstance effect;
        effect.catalogId = QString::fromLatin1(id);
        layer.effects.append(effect);
    }
    scene.entries.append(layerEntry(layer));
    // With no catalog installed every effect is skipped.
    EXPECT_TRUE(pixelIs(GpuCompositor::render(scene), 1, 1, colour));

    QStringList ran;
    GpuEffectHooks hooks;
    hooks.describe = [](const QString &id) {
        GpuEffectInfo info{id != "unknown", id == "echo" ? "time_echo" : id, id == "cpu" ? "cpu" : "gpu",
                           true};
        info.pipelineValid = id != "broken";
        return info;
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

TEST_F(CompositorSceneTest, TransitionPipelineResultIsDrawnAndItsFailureCrossfades)
{
    GpuScene scene = sceneOf({8, 8}, Qt::black);
    GpuSceneEntry entry = crossfadeEntry(imageLayer(solidImage(4, 4, Qt::white), {0, 0, 8, 8}),
                                         imageLayer(solidImage(4, 4, Qt::white), {0, 0, 8, 8}), 0.5);
    // The pipeline itself belongs to the transition catalog; the compositor only checks it is there.
    static int pipelineStandIn = 0;
    entry.transitionPipeline = std::shared_ptr<const EffectPipeline>(
        std::shared_ptr<int>(), reinterpret_cast<const EffectPipeline *>(&pipelineStandIn));
    scene.entries.append(entry);
    bool succeed = true;
    GpuEffectHooks hooks;
    hooks.runTransition = [&succeed](const GpuSceneEntry &, GLuint from, GLuint, QSize size) {
        return succeed ? invertOnGpu(from, size) : GlFbo{};
    };
    setGpuEffectHooks(hooks);
    EXPECT_TRUE(pixelIs(GpuCompositor::render(scene), 2, 2, Qt::black));
    succeed = false;
    EXPECT_TRUE(pixelNear(GpuCompositor::render(scene), 2, 2, {0.75, 0.75, 0.75}));
}

TEST_F(CompositorSceneTest, PreviewTextureHoldsTheSameFrameAsTheReadBack)
{
    GpuScene scene = sceneOf({16, 8}, QColor(10, 20, 30));
    scene.entries.append(layerEntry(imageLayer(splitImage(2, 2, Qt::red, Qt::yellow), {2, 1, 12, 6}), 2));
    const QImage expected = GpuCompositor::render(scene);
    const GpuFrameTexture frame = GpuCompositor::renderToTexture(scene);
    ASSERT_FALSE(frame.isNull());
    EXPECT_EQ(frame.size, QSize(16, 8));
    QImage shown;
    onGl([&] {
        GlFbo copy = gl().acquireFbo(16, 8);
        ASSERT_TRUE(gl().copyTextureToFbo(frame.textureId, copy));
        shown = readBack(copy);
        gl().releaseFbo(copy);
    });
    EXPECT_EQ(shown, expected);
}

} // namespace
} // namespace orvel::test
