#include "catalog/AudioEffectCatalog.h"
#include "EffectPackageTestSupport.h"
#include "audiofx/AudioEffectRegistry.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvel;
using orvel::test::writePackage;

namespace {

QString packageWith(const QTemporaryDir &dir, const QString &name, const QByteArray &json)
{
    return writePackage(dir.filePath(name), {{QStringLiteral("audio-effect.json"), json}});
}

QString parseError(const QByteArray &json)
{
    QTemporaryDir dir;
    QString error;
    const AudioEffectDescriptor d = parseAudioEffectPackage(packageWith(dir, "p", json), &error);
    EXPECT_TRUE(d.id.isEmpty());
    return error;
}

} // namespace

TEST(AudioEffectPackage, RefusesEachMissingOrWrongKeyWithItsMessage)
{
    EXPECT_EQ(parseError(" \n"), "empty audio-effect.json");
    EXPECT_TRUE(parseError("{").startsWith("invalid JSON: "));
    EXPECT_EQ(parseError("[1]"), "invalid JSON: root is not an object");
    EXPECT_EQ(parseError(R"({"id":"a","processor":"echo"})"), "audio-effect.json missing backend");
    EXPECT_EQ(parseError(R"({"backend":"avfilter","id":"a","processor":"echo"})"),
              "backend 'avfilter' is no longer supported; audio effects are JUCE processors");
    EXPECT_EQ(parseError(R"({"backend":"vst","id":"a","processor":"echo"})"), "unsupported backend 'vst'");
    EXPECT_EQ(parseError(R"({"backend":"juce","processor":"echo"})"), "audio-effect.json missing id");
    EXPECT_EQ(parseError(R"({"backend":"juce","id":"a"})"), "audio-effect.json missing processor");
    EXPECT_EQ(parseError(R"({"backend":"juce","id":"a","processor":"reverb"})"),
              "unknown processor 'reverb'");
    EXPECT_EQ(parseError(R"({"backend":"juce","id":"a","processor":"echo","parameters":[{"min":0}]})"),
              "parameter missing identifier");
}

TEST(AudioEffectPackage, FillsDefaultsAndNormalisesTheCategory)
{
    QTemporaryDir dir;
    const QString directory = packageWith(dir, "room", R"({"backend":"juce","id":"room","processor":"echo",
        "category":"Sound & Voice","prerollMs":750,"order":3,
        "parameters":[{"identifier":"delay","minValue":1,"maxValue":900,"defaultValue":80},
                      {"key":"invert","type":"bool","default":1}]})");
    QString error;
    const AudioEffectDescriptor d = parseAudioEffectPackage(directory, &error);
    ASSERT_EQ(d.id, "room") << qPrintable(error);
    EXPECT_EQ(d.displayName, "room");
    EXPECT_EQ(d.category, "sound_voice");
    EXPECT_EQ(AudioEffectCatalog::categoryLabel(d.category), "Other");
    EXPECT_EQ(d.prerollMs, 750);
    EXPECT_EQ(d.order, 3);
    // The thumbnail path is kept whether or not the file is there.
    EXPECT_EQ(d.thumbnailPath, QDir(directory).filePath("thumbnail.png"));
    EXPECT_EQ(d.packageDir, QDir(directory).absolutePath());
    ASSERT_EQ(d.parameters.size(), 2);
    EXPECT_EQ(d.parameters[0].id, "delay");
    EXPECT_EQ(d.parameters[0].maxValue, 900.0);
    EXPECT_TRUE(d.parameters[1].isBool);

    const AudioEffectDescriptor plain = parseAudioEffectPackage(
        packageWith(dir, "plain", R"({"backend":"juce","id":"plain","processor":"gate","category":""})"),
        &error);
    EXPECT_EQ(plain.category, "space");
    EXPECT_EQ(AudioEffectCatalog::categoryLabel(plain.category), "Space");
}

TEST(AudioEffectCatalog, FirstRootWinsAndBadPackagesAreSkipped)
{
    QTemporaryDir first, second;
    packageWith(first, "echo",
                R"({"backend":"juce","id":"echo","displayName":"Mine","processor":"echo","order":2})");
    packageWith(second, "echo",
                R"({"backend":"juce","id":"echo","displayName":"Theirs","processor":"echo"})");
    packageWith(second, "gate",
                R"({"backend":"juce","id":"gate","processor":"gate","order":1,"category":"Voice"})");
    packageWith(second, "broken", R"({"backend":"juce","id":"broken","processor":"reverb"})");
    QDir(second.path()).mkdir("empty");

    const AudioEffectCatalog catalog(scanAudioEffectPackages({first.path(), second.path()}));
    ASSERT_EQ(catalog.all().size(), 2);
    EXPECT_EQ(catalog.all()[0].id, "gate"); // by order
    ASSERT_NE(catalog.find("echo"), nullptr);
    EXPECT_EQ(catalog.find("echo")->displayName, "Mine");
    EXPECT_EQ(catalog.find("broken"), nullptr);
    const QList<QPair<QString, QString>> categories = catalog.categories();
    ASSERT_EQ(categories.size(), 2);
    EXPECT_EQ(categories[0], qMakePair(QStringLiteral("voice"), QStringLiteral("Voice")));
    EXPECT_EQ(categories[1], qMakePair(QStringLiteral("space"), QStringLiteral("Space")));
}

TEST(AudioEffectCatalog, SpecsTakeDeclaredParametersInstanceValuesFirst)
{
    AudioEffectDescriptor echo;
    echo.id = "slapback";
    echo.processor = "echo";
    echo.prerollMs = 300;
    echo.parameters = {{"delay", "Delay", 1, 1000, 90, false}, {"decay", "Level", 0, 1, 0.25, false}};
    AudioEffectDescriptor flanger;
    flanger.id = "jet";
    flanger.processor = "flanger";
    flanger.parameters = {{"invert", "Invert", 0, 1, 0, true}};
    const AudioEffectCatalog catalog({echo, flanger});

    Clip clip;
    EffectInstance known;
    known.catalogId = "slapback";
    known.parameters = {{"decay", 0.75}, {"undeclared", 3.0}};
    EffectInstance unknown;
    unknown.catalogId = "not-installed";
    EffectInstance boolean;
    boolean.catalogId = "jet";
    boolean.parameters = {{"invert", true}};
    clip.audioEffects = {unknown, known, boolean};

    const QList<AudioEffectSpec> specs = catalog.specsFor(clip);
    ASSERT_EQ(specs.size(), 2);
    EXPECT_EQ(specs[0].processorId, "echo");
    EXPECT_EQ(specs[0].prerollMs, 300);
    EXPECT_EQ(specs[0].parameters, (QMap<QString, float>{{"delay", 90.0f}, {"decay", 0.75f}}));
    EXPECT_EQ(specs[1].parameters.value("invert"), 1.0f);
}

// The shipped library, as the editor finds it beside the executable with no setting.
TEST(AudioEffectLibrary, EveryProcessorHasAPackageWhoseParametersReachSetters)
{
    const QString shipped = QDir(QCoreApplication::applicationDirPath()).filePath("audio-effects");
    ASSERT_TRUE(audioEffectPackageRoots().contains(QDir::cleanPath(shipped)));
    QStringList dirs = QDir(shipped).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    const QList<AudioEffectDescriptor> library = scanAudioEffectPackages({shipped});
    ASSERT_EQ(library.size(), dirs.size()) << "a shipped package failed to parse";

    QStringList processors;
    for (const AudioEffectDescriptor &d : library) {
        processors.append(d.processor);
        EXPECT_NE(AudioEffectCatalog::categoryLabel(d.category), "Other") << qPrintable(d.id);
        const std::unique_ptr<ChainProcessor> chain = makeChain(d.processor);
        ASSERT_TRUE(chain) << qPrintable(d.id);
        const QStringList bound = chain->parameterNames();
        EXPECT_FALSE(d.parameters.isEmpty()) << qPrintable(d.id);
        for (const EffectParameter &p : d.parameters) {
            EXPECT_TRUE(bound.contains(p.id)) << qPrintable(d.id + "." + p.id);
            EXPECT_LT(p.minValue, p.maxValue) << qPrintable(d.id + "." + p.id);
            EXPECT_GE(p.defaultValue, p.minValue) << qPrintable(d.id + "." + p.id);
            EXPECT_LE(p.defaultValue, p.maxValue) << qPrintable(d.id + "." + p.id);
            EXPECT_NE(p.displayName, p.id) << qPrintable(d.id + "." + p.id);
        }
    }
    processors.sort();
    EXPECT_EQ(processors, knownProcessorIds());
}
