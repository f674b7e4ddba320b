// orvel-render --frame end to end: a generated project of two solid-colour videos that overlap,
// rendered to PNG files whose pixels must show the right clip, in the right place, with the
// crossfade's weights. The expected colours come from ffmpeg's own decode of the same files,
// turned to RGB by the BT.709 matrix on unexpanded values.
#include "SceneTestSupport.h"

#include "core/document/ProjectJson.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

struct Rgb
{
    double r, g, b;
};

class RenderFramesTest : public ::testing::Test
{
protected:
    QString file(const QString &name) const { return QDir(dir.path()).filePath(name); }

    static bool runTool(const QString &program, const QStringList &arguments, QByteArray *out = nullptr)
    {
        QProcess process;
        process.start(program, arguments);
        const bool finished = process.waitForFinished(120000);
        if (out)
            *out = process.readAllStandardOutput();
        if (!finished || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
            ADD_FAILURE() << qPrintable(program) << " failed: " << process.readAllStandardError().constData();
            return false;
        }
        return true;
    }

    // A 3 s video of one colour, and that colour as the compositor will see it.
    Rgb solidVideo(const QString &name, const QString &colour)
    {
        const QString path = file(name);
        if (!runTool("ffmpeg",
                     {"-v", "error", "-y", "-f", "lavfi", "-i", "color=c=" + colour + ":s=160x96:r=25:d=3",
                      "-pix_fmt", "yuv420p", "-c:v", "libx264", path}))
            return {};
        QByteArray nv12;
        if (!runTool("ffmpeg",
                     {"-v", "error", "-i", path, "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "nv12", "-"},
                     &nv12) ||
            nv12.size() != 160 * 96 * 3 / 2)
            return {};
        const auto byte = [&nv12](int i) { return uchar(nv12[i]) / 255.0; };
        const double y = byte(48 * 160 + 80);
        const double u = byte(160 * 96 + 24 * 160 + 80) - 0.5;
        const double v = byte(160 * 96 + 24 * 160 + 81) - 0.5;
        const auto unit = [](double c) { return std::clamp(c, 0.0, 1.0); };
        return {unit(y + 1.5748 * v), unit(y - 0.1873 * u - 0.4681 * v), unit(y + 1.8556 * u)};
    }

    QImage renderFrame(const QString &project, double seconds)
    {
        const QString png = file(QString("frame-%1.png").arg(seconds));
        if (!runTool(ORVEL_RENDER_CLI, {project, "--frame", QString::number(seconds), "--out", png}))
            return {};
        return QImage(png).convertToFormat(QImage::Format_RGBA8888);
    }

    QTemporaryDir dir;
};

::testing::AssertionResult pixelNear(const QImage &image, int x, int y, Rgb want)
{
    const QColor got = image.pixelColor(x, y);
    const std::array<double, 3> g = {got.redF(), got.greenF(), got.blueF()};
    const std::array<double, 3> w = {want.r, want.g, want.b};
    for (size_t i = 0; i < 3; ++i) {
        if (std::abs(g[i] - w[i]) > 3.5 / 255.0)
            return ::testing::AssertionFailure()
                   << "pixel (" << x << ", " << y << ") is " << got.red() << ", " << got.green() << ", "
                   << got.blue() << "; expected " << w[0] * 255 << ", " << w[1] * 255 << ", " << w[2] * 255;
    }
    return ::testing::AssertionSuccess();
}

Rgb mix(Rgb a, double wa, Rgb b, double wb)
{
    return {a.r * wa + b.r * wb, a.g * wa + b.g * wb, a.b * wa + b.b * wb};
}

TEST_F(RenderFramesTest, OverlappingClipsCrossfadeInTheRightPlaces)
{
    // Clip a fills the canvas from 0 to 2 s; clip b starts at 1.5 s in the bottom-right quarter.
    // They overlap for [1.5 s, 2 s), and the crossfade runs over that window.
    const Rgb red = solidVideo("a.mp4", "0xC83C28");
    const Rgb blue = solidVideo("b.mp4", "0x3050D0");
    orvel::Clip a = scenetest::clipOf(orvel::ClipType::video, "a", file("a.mp4"), 0, 2'000'000);
    orvel::Clip b = scenetest::clipOf(orvel::ClipType::video, "b", file("b.mp4"), 1'500'000, 1'500'000);
    scenetest::place(b, QRectF(160, 90, 160, 90));
    orvel::Track track = scenetest::trackOf({a, b});
    track.transitions = {scenetest::crossfade("a", "b", 500'000)};
    const QString project = file("project.json");
    QFile out(project);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(QJsonDocument(orvel::projectToJson(scenetest::projectOf(320, 180, {track}))).toJson());
    out.close();

    const QImage before = renderFrame(project, 1.0);
    ASSERT_EQ(before.size(), QSize(320, 180));
    EXPECT_TRUE(pixelNear(before, 10, 10, red));
    EXPECT_TRUE(pixelNear(before, 250, 140, red));

    // Half way: a at half opacity over black, then b at half over that, in b's quarter only.
    const QImage halfway = renderFrame(project, 1.75);
    ASSERT_FALSE(halfway.isNull());
    EXPECT_TRUE(pixelNear(halfway, 10, 10, mix(red, 0.5, red, 0.0)));
    EXPECT_TRUE(pixelNear(halfway, 250, 140, mix(red, 0.25, blue, 0.5)));

    const QImage after = renderFrame(project, 2.5);
    ASSERT_FALSE(after.isNull());
    EXPECT_TRUE(pixelNear(after, 10, 10, {0, 0, 0}));
    EXPECT_TRUE(pixelNear(after, 158, 88, {0, 0, 0}));
    EXPECT_TRUE(pixelNear(after, 162, 92, blue));
    EXPECT_TRUE(pixelNear(after, 317, 177, blue));
}

} // namespace
