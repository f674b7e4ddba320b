// orvel-render --frame end to end: a generated project of two solid-colour videos that overlap,
// rendered to PNG files whose pixels must show the right clip, in the right place, with the
// crossfade's weights. The expected colours come from ffmpeg's own decode of the same files,
// turned to RGB by the BT.709 matrix on unexpanded values.
#include "CompositorTestSupport.h"
#include "SceneTestSupport.h"

#include "core/document/json/ProjectJson.h"

#include <QDir>
#include <QImage>
#include <QJsonDocument>
#include <QProcess>
#include <QSaveFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using orvel::test::Rgb;

QByteArray runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(120000);
    EXPECT_EQ(process.exitCode(), 0) << qPrintable(program) << ": "
                                     << process.readAllStandardError().constData();
    return process.readAllStandardOutput();
}

// A 3 s video of one colour at `path`, and that colour as the compositor will see it.
Rgb solidVideo(const QString &path, const QString &colour)
{
    runTool("ffmpeg", {"-v", "error", "-y", "-f", "lavfi", "-i", "color=c=" + colour + ":s=160x96:r=25:d=3",
                       "-pix_fmt", "yuv420p", "-c:v", "libx264", path});
    const QByteArray nv12 = runTool(
        "ffmpeg", {"-v", "error", "-i", path, "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "nv12", "-"});
    if (nv12.size() != 160 * 96 * 3 / 2)
        return {-1, -1, -1};
    // An untagged picture of 96 lines is read as BT.601 limited range.
    const auto at = [&nv12](int i) { return double(uchar(nv12[i])); };
    const double y = (at(48 * 160 + 80) - 16) / 219, u = (at(160 * 96 + 24 * 160 + 80) - 128) / 224,
                 v = (at(160 * 96 + 24 * 160 + 81) - 128) / 224;
    const auto unit = [](double c) { return std::clamp(c, 0.0, 1.0); };
    return {unit(y + 1.402 * v), unit(y - 0.344136 * u - 0.714136 * v), unit(y + 1.772 * u)};
}

// A written frame's pixel against an expected colour, with room for the codec's rounding.
::testing::AssertionResult pngPixelNear(const QImage &png, int x, int y, Rgb want)
{
    return orvel::test::pixelNear(png.convertToFormat(QImage::Format_RGBA8888), x, y, want, 3);
}

TEST(RenderFrames, OverlappingClipsCrossfadeInTheRightPlaces)
{
    QTemporaryDir dir;
    const auto file = [&dir](const QString &name) { return QDir(dir.path()).filePath(name); };
    const Rgb red = solidVideo(file("a.mp4"), "0xC83C28");
    const Rgb blue = solidVideo(file("b.mp4"), "0x3050D0");
    // Clip a fills the canvas from 0 to 2 s; clip b starts at 1.5 s in the bottom-right quarter.
    // They overlap for [1.5 s, 2 s), and the crossfade runs over that window.
    orvel::Clip a = scenetest::clipOf(orvel::ClipType::video, "a", file("a.mp4"), 0, 2'000'000);
    orvel::Clip b = scenetest::clipOf(orvel::ClipType::video, "b", file("b.mp4"), 1'500'000, 1'500'000);
    scenetest::place(b, QRectF(160, 90, 160, 90));
    const orvel::Track track = scenetest::trackOf({a, b}, {scenetest::crossfade("a", "b", 500'000)});
    QSaveFile project(file("project.json"));
    ASSERT_TRUE(project.open(QIODevice::WriteOnly));
    project.write(QJsonDocument(orvel::projectToJson(scenetest::projectOf(320, 180, {track}))).toJson());
    ASSERT_TRUE(project.commit());
    const auto frameAt = [&](const char *seconds) {
        runTool(ORVEL_RENDER_CLI, {file("project.json"), "--frame", seconds, "--out", file("f.png")});
        return QImage(file("f.png"));
    };

    // Half way: a at half opacity over black, then b at half over that, in b's quarter only.
    const QImage halfway = frameAt("1.75");
    ASSERT_EQ(halfway.size(), QSize(320, 180));
    EXPECT_TRUE(pngPixelNear(halfway, 10, 10, {red.r / 2, red.g / 2, red.b / 2}));
    EXPECT_TRUE(pngPixelNear(halfway, 250, 140,
                             {red.r / 4 + blue.r / 2, red.g / 4 + blue.g / 2, red.b / 4 + blue.b / 2}));
    const QImage after = frameAt("2.5");
    EXPECT_TRUE(pngPixelNear(after, 158, 88, {0, 0, 0}));
    EXPECT_TRUE(pngPixelNear(after, 162, 92, blue));
    EXPECT_TRUE(pngPixelNear(after, 317, 177, blue));
}

} // namespace
