// The pipeline runner and the GPU executor against pictures computed here on the CPU.
#include "../catalog/EffectPackageTestSupport.h"
#include "CompositorTestSupport.h"
#include "catalog/EffectCatalog.h"
#include "render/effects/CatalogEffectHooks.h"
#include "render/effects/EffectPipelineRunner.h"
#include "render/effects/GpuEffectExecutor.h"
#include "render/effects/GpuEffectHooks.h"

#include <QTemporaryDir>

namespace {

using namespace orvel;
using namespace orvel::test;

QByteArray shader(const char *body, const char *declarations = "")
{
    return QByteArray("#version 330 core\nin vec2 v_texCoord;\nout vec4 fragColor;\n"
                      "uniform sampler2D u_currentTexture;\nuniform sampler2D u_texture1;\n"
                      "uniform vec2 u_resolution;\nuniform int u_frameIndex;\n") +
           declarations + "\nvoid main() {\n" + body + "\n}\n";
}

EffectPipeline loadPipeline(const QString &dir, const QMap<QString, QByteArray> &files)
{
    writePackage(dir, files);
    QString error;
    const EffectDescriptor d = parseEffectPackage(dir, &error);
    EXPECT_TRUE(d.pipeline.valid) << qPrintable(error);
    return d.pipeline;
}

QImage runSteps(const QImage &image, const QList<GpuEffectExecutor::ChainStep> &steps, TimeUs timeUs = 0)
{
    return GpuEffectExecutor::instance().applyChain(image, steps, timeUs);
}

} // namespace

class EffectPipelineTest : public GlRuntimeTest
{
protected:
    QTemporaryDir dir;
};

TEST_F(EffectPipelineTest, PassesReadParametersFrameIndexAndHalfScaleBuffers)
{
    const EffectPipeline pipeline = loadPipeline(
        dir.path() + "/gain",
        {{"effect.json", R"({"backend":"gpu","id":"gain",
                       "pipeline":{"passes":[{"fragmentShader":"gain.glsl"}]}})"},
         {"gain.glsl", shader("vec4 c = texture(u_currentTexture, v_texCoord);\n"
                              "fragColor = vec4(c.r * u_gain, u_tint.g, float(u_frameIndex) / 255.0,"
                              " on > 0.5 ? 1.0 : 0.0);",
                              "uniform float u_gain; uniform vec3 u_tint; uniform float on;")}});
    const QImage input = splitImage(16, 8, QColor(100, 0, 0), QColor(200, 0, 0));
    // 1.05 s is frame 31 at thirty a second, whatever the project's rate.
    const QImage out = runSteps(
        input, {{"gain", &pipeline, {{"u_gain", 0.5}, {"u_tint", "#00ff00"}, {"on", true}}}}, 1'050'000);
    ASSERT_EQ(out.size(), input.size());
    EXPECT_TRUE(pixelNear(out, 2, 3, {50 / 255.0, 1.0, 31 / 255.0}, 1));
    EXPECT_TRUE(pixelNear(out, 13, 3, {100 / 255.0, 1.0, 31 / 255.0}, 1));

    // Two passes through a half-scale buffer.
    const EffectPipeline twoPass =
        loadPipeline(dir.path() + "/two",
                     {{"effect.json", R"({"backend":"gpu","id":"two","pipeline":{
            "intermediateBuffers":[{"id":"half","scale":0.5}],
            "passes":[{"fragmentShader":"down.glsl","output":{"type":"buffer","id":"half"}},
                      {"fragmentShader":"up.glsl","inputs":[{"type":"buffer","id":"half"},{"type":"source_texture"}]}]}})"},
                      {"down.glsl", shader("vec4 c = texture(u_currentTexture, v_texCoord);"
                                           "fragColor = vec4(c.rgb * 0.5, 1.0);")},
                      {"up.glsl", shader("vec4 half_ = texture(u_currentTexture, v_texCoord);"
                                         "vec4 src = texture(u_texture1, v_texCoord);"
                                         "fragColor = vec4(half_.r, u_resolution.x / 255.0, src.b, 1.0);")}});
    const QImage twoPassOut = runSteps(solidImage(64, 40, QColor(180, 0, 90)), {{"two", &twoPass, {}}});
    // The second pass reads the buffer first, so its resolution is the buffer's: 32 wide.
    for (QPoint p : {QPoint(0, 0), QPoint(31, 17), QPoint(63, 39)})
        EXPECT_TRUE(pixelNear(twoPassOut, p.x(), p.y(), {90 / 255.0, 32 / 255.0, 90 / 255.0}, 1));
}

TEST_F(EffectPipelineTest, AMissingTextureSamplesBlackAndABrokenShaderIsPassedOver)
{
    const EffectPipeline pipeline = loadPipeline(
        dir.path() + "/tex", {{"effect.json", R"({"backend":"gpu","id":"tex","pipeline":{
                       "textures":[{"id":"grain","file":"grain.png"}],
                       "passes":[{"fragmentShader":"t.glsl","inputs":[{"type":"source_texture"},
                                                                      {"type":"texture","id":"grain"}]}]}})"},
                              {"grain.png", "this is no picture"},
                              {"t.glsl", shader("vec4 c = texture(u_currentTexture, v_texCoord);"
                                                "vec4 t = texture(u_texture1, v_texCoord);"
                                                "fragColor = vec4(1.0 - c.r + t.r, c.g + t.g, t.a, 1.0);")}});
    WarningCapture warnings;
    const QImage out = runSteps(solidImage(8, 8, QColor(40, 60, 0)), {{"tex", &pipeline, {}}});
    // Texture 0 is incomplete, and GL samples an incomplete texture as opaque black.
    EXPECT_TRUE(pixelNear(out, 4, 4, {215 / 255.0, 60 / 255.0, 1.0}, 1));
    EXPECT_EQ(
        warnings.countStartingWith("GlRuntime: failed to load texture '" + dir.path() + "/tex/grain.png'"),
        1);

    // A shader that does not compile leaves the layer as it was, and the next effect still runs.
    writePackage(dir.path() + "/catalog/broken",
                 {{"effect.json",
                   R"({"backend":"gpu","id":"broken","pipeline":{"passes":[{"fragmentShader":"b.glsl"}]}})"},
                  {"b.glsl", shader("fragColor = vec4(undefinedThing, 1.0);")}});
    writePackage(dir.path() + "/catalog/invert",
                 {{"effect.json",
                   R"({"backend":"gpu","id":"invert","pipeline":{"passes":[{"fragmentShader":"i.glsl"}]}})"},
                  {"i.glsl", shader("vec4 c = texture(u_currentTexture, v_texCoord);"
                                    "fragColor = vec4(1.0 - c.rgb, c.a);")}});
    EffectCatalog::instance().reload({dir.path() + "/catalog"});
    installCatalogEffectHooks();
    GpuSceneEntry entry =
        layerEntry(splitImage(20, 10, QColor(10, 20, 30), QColor(200, 100, 0)), QRectF(0, 0, 20, 10));
    EffectInstance broken;
    broken.catalogId = "broken";
    EffectInstance invert;
    invert.catalogId = "invert";
    entry.layer.effects = {broken, invert, broken};
    const QImage frame = GpuCompositor::render(sceneOf({20, 10}, Qt::black, {entry}));
    setGpuEffectHooks({});
    EffectCatalog::instance().reload();
    EXPECT_TRUE(pixelIs(frame, 3, 5, QColor(245, 235, 225)));
    EXPECT_TRUE(pixelIs(frame, 16, 5, QColor(55, 155, 255)));
    EXPECT_GE(warnings.countStartingWith("GlRuntime: fragment compile failed for broken"), 1);
}
