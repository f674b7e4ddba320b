// orvel-render as a script sees it: the dumped scene of a generated project against values
// worked out by hand, and one clear line on stderr for every kind of bad input.
#include "../media/TestMedia.h"
#include "SceneTestSupport.h"

#include "core/document/json/ProjectJson.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace scenetest;

namespace clitest {

struct CliResult
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

CliResult runCli(const QStringList &arguments)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.remove("DISPLAY");
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(ORVEL_RENDER_CLI), arguments);
    EXPECT_TRUE(process.waitForFinished(60000));
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

// A crossfade between two video clips under an image that fades in.
Project crossfadeProject()
{
    const QString video = testmedia::path("pattern.mp4");
    Clip b = clipOf(ClipType::video, "b", video, 1'500'000, 2'000'000, 2'000'000);
    b.fadeInUs = 500'000;
    b.fadeCurve = FadeCurve::linear;
    Clip logo = clipOf(ClipType::image, "logo", testmedia::path("small.png"), 0, 3'000'000);
    place(logo, QRectF(40, 20, 200, 100));
    logo.fadeInUs = 2'000'000;
    logo.fadeCurve = FadeCurve::smooth;
    return projectOf(640, 360,
                     {trackOf({logo}), trackOf({clipOf(ClipType::video, "a", video, 0, 2'000'000), b},
                                               {crossfade("a", "b", 500'000)})});
}

class RenderCliTest : public ::testing::Test
{
protected:
    QString write(const QString &name, const QByteArray &bytes)
    {
        const QString path = QDir(dir.path()).filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path;
    }

    QString projectFile()
    {
        return write("project.json", QJsonDocument(projectToJson(crossfadeProject())).toJson());
    }

    QTemporaryDir dir;
};
} // namespace clitest

using namespace clitest;

TEST_F(RenderCliTest, DumpedSceneMatchesHandComputedValues)
{
    const CliResult result = runCli({projectFile(), "--dump-scene", "1.75", "--scale", "0.5"});
    ASSERT_EQ(result.exitCode, 0) << result.err.constData();
    const QJsonObject scene = QJsonDocument::fromJson(result.out).object();
    EXPECT_EQ(scene["size"].toArray(), (QJsonArray{320, 180}));
    const QJsonArray entries = scene["entries"].toArray();
    ASSERT_EQ(entries.size(), 2);

    // The overlap is [1.5 s, 2 s): at 1.75 s half way through.
    const QJsonObject transition = entries[0].toObject();
    EXPECT_EQ(transition["kind"].toString(), "transition");
    EXPECT_DOUBLE_EQ(transition["transitionProgress"].toDouble(), 0.5);
    EXPECT_EQ(transition["transitionTimeUs"].toInteger(), 250'000);
    const QJsonObject from = transition["fromLayer"].toObject();
    const QJsonObject to = transition["toLayer"].toObject();
    EXPECT_EQ(from["rect"].toArray(), (QJsonArray{0, 0, 320, 180}));
    EXPECT_EQ(from["localTimeUs"].toInteger(), 1'750'000);
    EXPECT_EQ(from["nv12Size"].toArray(), (QJsonArray{testmedia::kPatternWidth, testmedia::kPatternHeight}));
    EXPECT_DOUBLE_EQ(from["opacity"].toDouble(), 1.0);
    EXPECT_EQ(to["localTimeUs"].toInteger(), 250'000);
    EXPECT_DOUBLE_EQ(to["opacity"].toDouble(), 0.5); // linear fade-in, half of 500 ms

    // The image on top: its rectangle at half scale, 7/8 of a smooth 2 s fade-in.
    const QJsonObject logo = entries[1].toObject()["layer"].toObject();
    EXPECT_EQ(logo["rect"].toArray(), (QJsonArray{20, 10, 100, 50}));
    const double v = 1.75 / 2.0;
    EXPECT_NEAR(logo["opacity"].toDouble(), v * v * (3 - 2 * v), 1e-12);
    EXPECT_EQ(entries[1].toObject()["blendMode"].toInt(), 0);
}

TEST_F(RenderCliTest, BadInputGivesOneLineAndFailureAndHelpListsEveryOption)
{
    const QString project = projectFile();
    const QString png = QDir(dir.path()).filePath("frame.png");
    const QList<QStringList> cases = {
        {QDir(dir.path()).filePath("missing.json"), "--dump-scene", "1"},
        {write("broken.json", "{ \"tracks\": ["), "--dump-scene", "1"},
        {write("array.json", "[1, 2]"), "--dump-scene", "1"},
        {project, "--dump-scene", "-1"},
        {project, "--dump-scene", "soon"},
        {project, "--dump-scene", "1", "--scale", "2"},
        {project, "--dump-scene", "1", "--frobnicate"},
        {project},
        {project, "--frame", "1"},
        // No GPU compositor here, so no frame: refused rather than a made-up picture.
        {project, "--frame", "1", "--out", png},
    };
    for (const QStringList &arguments : cases) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const CliResult result = runCli(arguments);
        EXPECT_NE(result.exitCode, 0);
        EXPECT_TRUE(result.out.isEmpty());
        const QList<QByteArray> lines = result.err.trimmed().split('\n');
        EXPECT_EQ(lines.size(), 1) << result.err.constData();
        EXPECT_TRUE(lines.first().startsWith("orvel-render: ")) << result.err.constData();
    }
    EXPECT_FALSE(QFile::exists(png));

    const CliResult help = runCli({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char *option : {"--dump-scene", "--frame", "--out", "--scale", "--verbose", "--help"})
        EXPECT_TRUE(help.out.contains(option)) << option;
}
