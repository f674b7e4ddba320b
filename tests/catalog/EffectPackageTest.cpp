#include "catalog/EffectPackage.h"
#include "EffectPackageTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using orvel::test::kPlainShader;
using orvel::test::writePackage;

struct FailureCase
{
    const char *json;
    const char *expected; // %D is replaced by the package directory
};

QString parseFailure(const QByteArray &json, const QMap<QString, QByteArray> &extraFiles = {})
{
    QTemporaryDir dir;
    QMap<QString, QByteArray> files = extraFiles;
    files.insert("effect.json", json);
    files.insert("a.glsl", kPlainShader);
    files.insert("empty.glsl", "");
    files.insert("tex.png", "not really a picture");
    writePackage(dir.path(), files);
    QString error;
    const orvel::EffectDescriptor d = orvel::parseEffectPackage(dir.path(), &error);
    EXPECT_TRUE(d.id.isEmpty()) << json.constData();
    return error.replace(dir.path(), "%D");
}

QByteArray gpuWith(const char *pipeline)
{
    return QByteArray(R"({"backend":"gpu","id":"x","pipeline":)") + pipeline + "}";
}

} // namespace

TEST(EffectPackageTest, EveryFailureOfThePackageAndItsPipelineHasItsMessage)
{
    const FailureCase cases[] = {
        {"", "empty effect.json"},
        {"{\"backend\":", "invalid JSON: unterminated object"},
        {R"({"id":"x"})", "effect.json missing backend"},
        {R"({"backend":"metal","id":"x"})", "unsupported backend 'metal'"},
        {R"({"backend":"libav","id":"x","requires":"hands","filterName":"hue"})",
         "unsupported requires 'hands'"},
        {R"({"backend":"libav","filterName":"hue"})", "effect.json missing id"},
        {R"({"backend":"libav","id":"x","parameters":[{"label":"L"}],"filterName":"hue"})",
         "parameter missing identifier"},
        {R"({"backend":"gpu","id":"x","parameters":[{"identifier":"u_time"}]})",
         "parameter 'u_time' collides with reserved uniform"},
        {R"({"backend":"gpu","id":"x","parameters":[{"key":"u_texture7"}]})",
         "parameter 'u_texture7' collides with reserved uniform"},
        {R"({"backend":"gpu","id":"x","parameters":[{"key":"u_faceSize"}]})",
         "parameter 'u_faceSize' collides with reserved uniform"},
        {R"({"backend":"libav","id":"x"})", "libav effect needs filterName or graphTemplate"},
    };
    for (const FailureCase &c : cases)
        EXPECT_EQ(parseFailure(c.json), QString::fromUtf8(c.expected)) << c.json;

    QTemporaryDir missing;
    QString error;
    orvel::parseEffectPackage(missing.path(), &error);
    EXPECT_EQ(error, "cannot open " + missing.path() + "/effect.json");

    // The pipeline's own failures, inside an otherwise good GPU package.
    const FailureCase pipelineCases[] = {
        {R"({"intermediateBuffers":[{"scale":0.5}],"passes":[{"fragmentShader":"a.glsl"}]})",
         "intermediate buffer missing id"},
        {R"({"intermediateBuffers":[{"id":"b","scale":0}],"passes":[{"fragmentShader":"a.glsl"}]})",
         "intermediate buffer scale must be > 0"},
        {R"({"textures":[{"id":"t"}],"passes":[{"fragmentShader":"a.glsl"}]})",
         "texture needs both id and file"},
        {R"({"textures":[{"id":"t","file":"no.png"}],"passes":[{"fragmentShader":"a.glsl"}]})",
         "missing texture file '%D/no.png'"},
        {R"({"passes":[]})", "pipeline has no passes"},
        {R"({"passes":[{"fragmentShader":"a.glsl","output":{"type":"canvas"}},{}]})",
         "pass 1 missing fragmentShader"},
        {R"({"passes":[{"fragmentShader":"gone.glsl"}]})", "missing shader file '%D/gone.glsl'"},
        {R"({"passes":[{"fragmentShader":"empty.glsl"}]})", "empty shader 'empty.glsl'"},
        {R"({"passes":[{"fragmentShader":"a.glsl","inputs":[{"type":"source_texture","index":1}]}]})",
         "source_texture index 1 out of range (0..0)"},
        {R"({"passes":[{"fragmentShader":"a.glsl","inputs":[{"type":"buffer"}]}]})",
         "buffer input missing id"},
        {R"({"passes":[{"fragmentShader":"a.glsl","inputs":[{"type":"texture"}]}]})",
         "texture input missing id"},
        {R"({"passes":[{"fragmentShader":"a.glsl","inputs":[{"type":"noise"}]}]})",
         "unknown pass input type 'noise'"},
        {R"({"passes":[{"fragmentShader":"a.glsl","inputs":[{"type":"buffer","id":"b"}]}]})",
         "pass references unknown buffer 'b'"},
        {R"({"passes":[{"fragmentShader":"a.glsl","inputs":[{"type":"texture","id":"t"}]}]})",
         "pass references unknown texture 't'"},
        {R"({"passes":[{"fragmentShader":"a.glsl"},{"fragmentShader":"a.glsl"}]})", "pass 0 missing output"},
        {R"({"passes":[{"fragmentShader":"a.glsl","output":{"type":"buffer"}}]})",
         "buffer output missing id"},
        {R"({"passes":[{"fragmentShader":"a.glsl","output":{"type":"screen"}}]})",
         "unknown pass output type 'screen'"},
        {R"({"passes":[{"fragmentShader":"a.glsl","output":{"type":"buffer","id":"q"}}]})",
         "pass output references unknown buffer 'q'"},
    };
    for (const FailureCase &c : pipelineCases)
        EXPECT_EQ(parseFailure(gpuWith(c.json)), QString::fromUtf8(c.expected)) << c.json;
}

TEST(EffectPackageTest, ReadsAFullGpuPackageWithDefaultsAndAlternativeKeys)
{
    QTemporaryDir dir;
    writePackage(dir.path(), {{"effect.json", R"({
        "backend": "gpu", "id": "glow", "category": "  Blurs & Distortions!! ", "order": 7,
        "parameters": [
            {"key": "amount", "label": "Amount", "min": -2, "max": 3, "default": 0.25},
            {"identifier": "on", "type": "boolean", "defaultValue": 1},
            {"identifier": "bare"}],
        "fixedParams": {"flag": true, "n": 2, "s": "top", "list": [1, 2]},
        "textures": [{"id": "noise", "file": "img/noise.png"}],
        "pipeline": {
            "intermediateBuffers": [{"id": "small", "scale": 0.5}, {"id": "full"}],
            "textures": [{"id": "noise", "file": "img/noise.png"}],
            "passes": [
                {"fragmentShader": "a.glsl", "output": {"type": "buffer", "id": "small"}},
                {"passIndex": 9, "fragmentShader": "a.glsl",
                 "inputs": [{"type": "buffer", "id": "small"}, {"type": "source_texture"},
                            {"type": "texture", "id": "noise"}]}]}})"},
                              {"a.glsl", kPlainShader},
                              {"img/noise.png", "x"}});
    QString error;
    const orvel::EffectDescriptor d = orvel::parseEffectPackage(dir.path(), &error);
    ASSERT_EQ(d.id, "glow") << qPrintable(error);
    EXPECT_EQ(d.displayName, "glow");
    EXPECT_EQ(d.category, "blurs_distortions");
    EXPECT_EQ(d.order, 7);
    EXPECT_TRUE(d.isGpu);
    EXPECT_EQ(d.filterName, "gpu");
    EXPECT_TRUE(d.thumbnailPath.isEmpty()); // no thumbnail.png: loads all the same

    ASSERT_EQ(d.parameters.size(), 3);
    EXPECT_EQ(d.parameters[0].id, "amount");
    EXPECT_EQ(d.parameters[0].displayName, "Amount");
    EXPECT_DOUBLE_EQ(d.parameters[0].minValue, -2.0);
    EXPECT_DOUBLE_EQ(d.parameters[0].maxValue, 3.0);
    EXPECT_DOUBLE_EQ(d.parameters[0].defaultValue, 0.25);
    EXPECT_TRUE(d.parameters[1].isBool);
    EXPECT_EQ(d.parameters[2].displayName, "bare");
    EXPECT_DOUBLE_EQ(d.parameters[2].maxValue, 1.0);

    EXPECT_EQ(d.fixedParams.value("flag").typeId(), QMetaType::Bool);
    EXPECT_EQ(d.fixedParams.value("n").typeId(), QMetaType::Double);
    EXPECT_EQ(d.fixedParams.value("s").toString(), "top");
    EXPECT_EQ(d.fixedParams.value("list").toList().size(), 2);

    const orvel::EffectPipeline &p = d.pipeline;
    ASSERT_TRUE(p.valid);
    ASSERT_EQ(p.buffers.size(), 2);
    EXPECT_DOUBLE_EQ(p.buffers[1].scale, 1.0);
    EXPECT_EQ(p.textures[0].path, dir.path() + "/img/noise.png");
    ASSERT_EQ(p.passes.size(), 2);
    EXPECT_EQ(p.passes[0].passIndex, 0);
    EXPECT_EQ(p.passes[1].passIndex, 9);
    ASSERT_EQ(p.passes[0].inputs.size(), 1); // no inputs: the run's own picture
    EXPECT_EQ(p.passes[0].inputs[0].type, orvel::PassInput::sourceTexture);
    EXPECT_EQ(p.passes[0].output.type, orvel::PassOutput::buffer);
    EXPECT_EQ(p.passes[1].output.type, orvel::PassOutput::canvas);
    ASSERT_EQ(p.passes[1].inputs.size(), 3);
    EXPECT_EQ(p.passes[1].inputs[0].bufferId, "small");
    EXPECT_EQ(p.passes[1].inputs[2].textureId, "noise");
    EXPECT_EQ(p.passes[1].source, kPlainShader);
}

TEST(EffectPackageTest, BackendRulesForReservedNamesSourcesAndThumbnails)
{
    QTemporaryDir dir;
    writePackage(dir.path(), {{"effect.json", R"({"backend":"libav","id":"h","graphTemplate":"hue=h={{a}}",
        "parameters":[{"identifier":"u_time"}],"thumbnail":"pics/t.png","requires":"face"})"},
                              {"pics/t.png", "x"}});
    QString error;
    const orvel::EffectDescriptor libav = orvel::parseEffectPackage(dir.path(), &error);
    ASSERT_EQ(libav.id, "h") << qPrintable(error);
    EXPECT_EQ(libav.graphTemplate, "hue=h={{a}}");
    EXPECT_EQ(libav.thumbnailPath, dir.path() + "/pics/t.png");
    EXPECT_TRUE(libav.requiresFace);
    EXPECT_EQ(libav.category, "dreamy");

    writePackage(dir.path(), {{"effect.json", R"({"backend":"compositor","id":"time_echo","filterName":"x",
        "category":"&&&","thumbnail":")" + dir.path().toUtf8() +
                                                  R"(/pics/../pics/t.png"})"}});
    const orvel::EffectDescriptor echo = orvel::parseEffectPackage(dir.path(), &error);
    EXPECT_TRUE(echo.compositorOnly);
    EXPECT_TRUE(echo.filterName.isEmpty());
    EXPECT_EQ(echo.category, "misc");
    EXPECT_EQ(echo.thumbnailPath, dir.path() + "/pics/t.png");

    // A transition may read its second clip; an effect may not.
    writePackage(dir.path(), {{"a.glsl", kPlainShader}});
    const QJsonObject twoSources{
        {"passes", QJsonArray{QJsonObject{
                       {"fragmentShader", "a.glsl"},
                       {"inputs", QJsonArray{QJsonObject{{"type", "source_texture"}, {"index", 1}}}}}}}};
    orvel::EffectPipeline pipeline;
    EXPECT_TRUE(orvel::parsePipeline(twoSources, dir.path(), 1, pipeline, &error)) << qPrintable(error);
    EXPECT_EQ(pipeline.passes[0].inputs[0].index, 1);
    EXPECT_FALSE(orvel::parsePipeline(twoSources, dir.path(), 0, pipeline, &error));
    EXPECT_FALSE(pipeline.valid);
}
