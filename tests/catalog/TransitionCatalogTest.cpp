#include "catalog/TransitionCatalog.h"
#include "EffectPackageTestSupport.h"

#include <QBuffer>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using orvel::test::kPlainShader;
using orvel::test::writePackage;

QByteArray pngOf(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::gray);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// One transition package in a fresh directory: `keys` is spliced into the JSON object.
orvel::TransitionDescriptor parse(QTemporaryDir &dir, const QByteArray &keys, QString *error,
                                  const QMap<QString, QByteArray> &extra = {})
{
    QMap<QString, QByteArray> files = extra;
    files.insert("transition.json", "{" + keys + R"(,"pipeline":{"passes":[{"fragmentShader":"a.glsl"}]}})");
    files.insert("a.glsl", kPlainShader);
    writePackage(dir.path(), files);
    return orvel::parseTransitionPackage(dir.path(), error);
}

QString failure(const QByteArray &keys)
{
    QTemporaryDir dir;
    QString error;
    EXPECT_TRUE(parse(dir, keys, &error).id.isEmpty()) << keys.constData();
    return error;
}

} // namespace

TEST(TransitionPackageTest, DefaultsStripFramesAndAudioCurves)
{
    QTemporaryDir plain;
    QString error;
    const orvel::TransitionDescriptor d = parse(plain, R"("id":"t")", &error);
    ASSERT_EQ(d.id, "t") << qPrintable(error);
    EXPECT_EQ(d.displayName, "t");
    EXPECT_EQ(d.category, "basic");
    EXPECT_EQ(d.audioCurve, "crossfade");
    EXPECT_TRUE(d.previewStripPath.isEmpty());
    EXPECT_TRUE(d.pipeline.valid);

    // The frame count comes from the strip's proportions unless the package gives a positive one.
    const QMap<QString, QByteArray> strip{{"preview_strip.png", pngOf(1280, 160)}};
    for (const char *frames : {"", R"(,"previewFrames":0)", R"(,"previewFrames":-4)"}) {
        QTemporaryDir dir;
        const orvel::TransitionDescriptor s = parse(dir, QByteArray(R"("id":"s")") + frames, &error, strip);
        EXPECT_EQ(s.previewStripPath, dir.filePath("preview_strip.png"));
        EXPECT_EQ(s.previewFrames, 8) << frames;
    }
    QTemporaryDir declared;
    EXPECT_EQ(parse(declared, R"("id":"s","previewFrames":5)", &error, strip).previewFrames, 5);
    QTemporaryDir unreadable;
    EXPECT_EQ(
        parse(unreadable, R"("id":"s","previewStrip":"x.png")", &error, {{"x.png", "junk"}}).previewFrames,
        1);

    QTemporaryDir dip;
    const orvel::TransitionDescriptor named = parse(
        dip, R"("id":"d","displayName":"Dip","category":"Stylized & Cinematic","audioCurve":"dip")", &error);
    EXPECT_EQ(named.displayName, "Dip");
    EXPECT_EQ(named.category, "stylized_cinematic");
    EXPECT_EQ(named.audioCurve, "dip");
}

TEST(TransitionPackageTest, FailuresHaveTheirMessages)
{
    EXPECT_EQ(failure(R"("displayName":"x")"), "transition.json missing id");
    // The mixer compares the word exactly, so another case is an error here and not a silent crossfade.
    EXPECT_EQ(failure(R"("id":"x","audioCurve":"Hold")"), "unknown audioCurve 'Hold'");
    EXPECT_EQ(failure(R"("id":"x","parameters":[{"key":"u_progress"}])"),
              "parameter 'u_progress' collides with reserved uniform");
    EXPECT_EQ(failure(R"("id":"x","parameters":[{"key":"u_faceX"}])"),
              "parameter 'u_faceX' collides with reserved uniform");

    QTemporaryDir empty;
    writePackage(empty.path(), {{"transition.json", " \n"}});
    QString error;
    orvel::parseTransitionPackage(empty.path(), &error);
    EXPECT_EQ(error, "empty transition.json");

    // Two source inputs: index 1 is the incoming clip, 2 is out of range.
    const auto withInput = [](int index) {
        return QStringLiteral(R"({"id":"x","pipeline":{"passes":[{"fragmentShader":"a.glsl",
                "inputs":[{"type":"source_texture","index":%1}]}]}})")
            .arg(index)
            .toUtf8();
    };
    QTemporaryDir one;
    writePackage(one.path(), {{"transition.json", withInput(1)}, {"a.glsl", kPlainShader}});
    EXPECT_EQ(
        orvel::parseTransitionPackage(one.path(), &error).pipeline.passes.value(0).inputs.value(0).index, 1);
    QTemporaryDir two;
    writePackage(two.path(), {{"transition.json", withInput(2)}, {"a.glsl", kPlainShader}});
    EXPECT_TRUE(orvel::parseTransitionPackage(two.path(), &error).id.isEmpty());
    EXPECT_EQ(error, "source_texture index 2 out of range (0..1)");
}

TEST(TransitionCatalogTest, ScanOrderCategoriesMergedParamsAndAudioCurve)
{
    QTemporaryDir first;
    QTemporaryDir second;
    const auto write = [](const QString &root, const QString &dir, const QString &json) {
        writePackage(QDir(root).filePath(dir),
                     {{"transition.json", json.toUtf8()}, {"a.glsl", kPlainShader}});
    };
    const QString pipeline = R"("pipeline":{"passes":[{"fragmentShader":"a.glsl"}]})";
    write(first.path(), "wipe", R"({"id":"wipe","order":2,"category":"Geometric",)" + pipeline + "}");
    write(second.path(), "b",
          R"({"id":"b","order":1,"category":"Zappy","audioCurve":"hold",)" + pipeline + "}");
    write(second.path(), "a",
          R"({"id":"a","order":1,"fixedParams":{"u_dir":-1,"u_on":true},
        "parameters":[{"key":"u_soft","default":0.25},{"key":"u_edge","type":"bool","default":1}],)" +
              pipeline + "}");

    orvel::TransitionCatalog &catalog = orvel::TransitionCatalog::instance();
    catalog.reload({first.path(), second.path()});
    QStringList ids;
    for (const orvel::TransitionDescriptor &d : catalog.all())
        ids.append(d.id);
    EXPECT_EQ(ids, (QStringList{"a", "b", "wipe"}));
    EXPECT_EQ(catalog.categories(),
              (QList<QPair<QString, QString>>{
                  {"basic", "Basic"}, {"zappy", "Zappy"}, {"geometric", "Grid & Geometric"}}));

    orvel::Transition transition;
    transition.kind = "a";
    transition.parameters = {{"u_soft", 0.5}, {"extra", "x"}};
    const QVariantMap merged = orvel::TransitionCatalog::mergedParams(transition, *catalog.find("a"));
    EXPECT_EQ(merged.value("u_dir").toDouble(), -1.0);
    EXPECT_EQ(merged.value("u_soft").toDouble(), 0.5);
    EXPECT_EQ(merged.value("u_edge"), QVariant(true));
    EXPECT_EQ(merged.value("extra").toString(), "x");

    EXPECT_EQ(orvel::transitionAudioCurve("b"), "hold");
    EXPECT_EQ(orvel::transitionAudioCurve("a"), "crossfade");
    EXPECT_EQ(orvel::transitionAudioCurve("no_such_kind"), "crossfade");
    catalog.reload();
}
