// Colour through the whole chain: a generated source is decoded, composited on the GPU, encoded
// and decoded again, and must come back as it went in. The small pictures of the same source
// must show the colours the export shows.
#include "ExportTestSupport.h"
#include "media/ClipReaderPool.h"
#include "media/Thumbnails.h"
#include "output/ExportJob.h"
#include "render/FrameCompositor.h"

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using namespace orvel;

namespace {

// Short clips at a low rate keep the exports fast; every frame still goes the whole way.
constexpr int kFps = 4;
constexpr int kSeconds = 5;

struct ColourCase
{
    const char *name;
    const char *pattern; // lavfi source
    int width;
    int height;
    const char *sourceFormat;
    QStringList sourceTags; // colour options for the source's encoder; none leaves it untagged
    const char *videoCodecId;
    const char *exportFormat;
    QStringList expectedTags; // ffprobe's color_range, color_space, color_transfer, color_primaries
};

const QStringList kHdTags = {"tv", "bt709", "bt709", "bt709"};
const QStringList kBt709Source = {"-colorspace", "bt709", "-color_primaries", "bt709",
                                  "-color_trc",  "bt709", "-color_range",     "tv"};

// A losslessly coded source, so that the export is measured against exactly what was decoded.
QString makeSource(const QTemporaryDir &dir, const ColourCase &c, int seconds)
{
    const QString path = dir.filePath(QStringLiteral("%1-source.mkv").arg(c.name));
    const QString input = QStringLiteral("%1=size=%2x%3:rate=%4:duration=%5")
                              .arg(c.pattern)
                              .arg(c.width)
                              .arg(c.height)
                              .arg(kFps)
                              .arg(seconds);
    QStringList args = {"-v", "error", "-y", "-f", "lavfi", "-i", input, "-pix_fmt", c.sourceFormat};
    args << c.sourceTags << QStringList{"-c:v", "libx264", "-preset", "ultrafast", "-qp", "0", path};
    QString error;
    exporttest::runTool("ffmpeg", args, &error);
    EXPECT_TRUE(QFile::exists(path)) << qPrintable(error);
    return path;
}

Project projectOf(const QString &source, int width, int height, int seconds)
{
    Project project = exporttest::clipProject(TimeUs(seconds) * 1'000'000);
    project.tracks[0].clips[0].path = source;
    project.width = width;
    project.height = height;
    project.fps = kFps;
    return project;
}

QString exportClip(const QTemporaryDir &dir, const ColourCase &c, const Project &project)
{
    ExportSettings settings;
    settings.videoCodecId = c.videoCodecId;
    settings.audioCodecId = "flac";
    settings.crf = 12;
    settings.videoPreset = "veryfast";
    const QString out = dir.filePath(QStringLiteral("%1-export.mkv").arg(c.name));
    const ExportResult result = runExport(project, settings, out, {});
    EXPECT_TRUE(result.success) << qPrintable(result.message);
    return out;
}

// One decoded frame, in 8-bit code values whatever its depth.
struct YuvFrame
{
    int width = 0;
    int height = 0;
    std::vector<double> planes[3];

    double at(int plane, int x, int y) const
    {
        const int w = plane == 0 ? width : width / 2;
        return planes[plane][size_t(y) * size_t(w) + size_t(x)];
    }
};

YuvFrame decodeFrame(const QString &path, int index, const QString &pixelFormat, int width, int height)
{
    const bool deep = pixelFormat.contains("10");
    const QString select = QStringLiteral("select=eq(n\\,%1)").arg(index);
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-v", "error", "-i", path, "-vf", select, "-frames:v", "1", "-pix_fmt",
                            pixelFormat, "-f", "rawvideo", "-"});
    ffmpeg.waitForFinished(120000);
    const QByteArray raw = ffmpeg.readAllStandardOutput();
    YuvFrame frame;
    const size_t luma = size_t(width) * size_t(height);
    const size_t bytes = (luma + luma / 2) * (deep ? 2 : 1);
    if (size_t(raw.size()) != bytes)
        return frame;
    frame.width = width;
    frame.height = height;
    const auto *data = reinterpret_cast<const uchar *>(raw.constData());
    size_t offset = 0;
    for (int p = 0; p < 3; ++p) {
        const size_t count = p == 0 ? luma : luma / 4;
        for (size_t i = 0; i < count; ++i, ++offset)
            frame.planes[p].push_back(deep ? (data[2 * offset] | data[2 * offset + 1] << 8) / 4.0
                                           : data[offset]);
    }
    return frame;
}

// Luma positions where the picture is one flat colour for `radius` pixels around: bar centres,
// black and white fields. Chroma is checked over the matching window.
std::vector<QPoint> flatPoints(const YuvFrame &f, int radius, int step)
{
    std::vector<QPoint> points;
    const auto flat = [&f](int plane, int cx, int cy, int r) {
        const double first = f.at(plane, cx, cy);
        for (int y = cy - r; y <= cy + r; ++y)
            for (int x = cx - r; x <= cx + r; ++x)
                if (f.at(plane, x, y) != first)
                    return false;
        return true;
    };
    for (int y = radius + 1; y < f.height - radius - 1; y += step)
        for (int x = radius + 1; x < f.width - radius - 1; x += step)
            if (flat(0, x, y, radius) && flat(1, x / 2, y / 2, radius / 2) &&
                flat(2, x / 2, y / 2, radius / 2))
                points.push_back({x, y});
    return points;
}

// BT.709 limited range to R'G'B' in code values, written out here rather than taken from the
// program, so that a wrong matrix in the program cannot agree with itself.
std::array<double, 3> bt709LimitedToRgb(double y, double u, double v)
{
    const double yn = (y - 16.0) / 219.0, un = (u - 128.0) / 224.0, vn = (v - 128.0) / 224.0;
    const auto code = [](double c) { return std::clamp(c, 0.0, 1.0) * 255.0; };
    return {code(yn + 1.5748 * vn), code(yn - 0.187324 * un - 0.468124 * vn), code(yn + 1.8556 * un)};
}

QStringList colourTags(const QString &path)
{
    const QString text = exporttest::runTool(
        "ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries",
                    "stream=color_range,color_space,color_primaries,color_transfer", "-of", "csv=p=0", path});
    return text.trimmed().split(',');
}

class ExportColourRoundTrip : public ::testing::TestWithParam<ColourCase>
{};

} // namespace

TEST_P(ExportColourRoundTrip, ComesBackAsItWentIn)
{
    const ColourCase &c = GetParam();
    QTemporaryDir dir;
    dir.setAutoRemove(false); // DEBUG
    const QString source = makeSource(dir, c, kSeconds);
    const QString out = exportClip(dir, c, projectOf(source, c.width, c.height, kSeconds));

    const exporttest::PlanePsnr psnr = exporttest::planePsnr(out, source, c.exportFormat);
    std::printf("[ colour ] %s: PSNR y %.2f u %.2f v %.2f dB\n", c.name, psnr.y, psnr.u, psnr.v);
    EXPECT_GE(psnr.y, 40.0);
    EXPECT_GE(psnr.u, 38.0);
    EXPECT_GE(psnr.v, 38.0);
    EXPECT_EQ(colourTags(out), c.expectedTags);

    // Single pixels of flat fields: black, white and the bars keep their code values.
    const int middle = kFps * kSeconds / 2;
    const YuvFrame before = decodeFrame(source, middle, c.exportFormat, c.width, c.height);
    const YuvFrame after = decodeFrame(out, middle, c.exportFormat, c.width, c.height);
    ASSERT_EQ(after.width, c.width);
    const std::vector<QPoint> points = flatPoints(before, 4, 16);
    ASSERT_FALSE(points.empty());
    double worst = 0.0;
    for (const QPoint &p : points) {
        const double dy = std::abs(after.at(0, p.x(), p.y()) - before.at(0, p.x(), p.y()));
        const double du = std::abs(after.at(1, p.x() / 2, p.y() / 2) - before.at(1, p.x() / 2, p.y() / 2));
        const double dv = std::abs(after.at(2, p.x() / 2, p.y() / 2) - before.at(2, p.x() / 2, p.y() / 2));
        worst = std::max({worst, dy, du, dv});
        ASSERT_LE(std::max({dy, du, dv}), 2.0)
            << "at " << p.x() << "," << p.y() << ": " << dy << " " << du << " " << dv;
    }
    std::printf("[ colour ] %s: %zu flat points, worst %.2f code values\n", c.name, points.size(), worst);
    if (QString::fromLatin1(c.pattern).contains("bars")) {
        // The check covered the fields that matter: black, 75 % white and full white.
        for (const double level : {16.0, 180.0, 235.0})
            EXPECT_TRUE(std::any_of(
                points.begin(), points.end(),
                [&](const QPoint &p) { return std::abs(before.at(0, p.x(), p.y()) - level) < 1.0; }))
                << "no flat field at Y " << level;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sources, ExportColourRoundTrip,
    ::testing::Values(
        ColourCase{"hdbars", "smptehdbars", 1920, 1080, "yuv420p", kBt709Source, "h264", "yuv420p", kHdTags},
        ColourCase{"hdtestsrc", "testsrc2", 1920, 1080, "yuv420p", {}, "h264", "yuv420p", kHdTags},
        ColourCase{"pal",
                   "smptebars",
                   720,
                   576,
                   "yuv420p",
                   {},
                   "h264",
                   "yuv420p",
                   {"tv", "bt470bg", "smpte170m", "bt470bg"}},
        ColourCase{"jpeg", "testsrc2", 1280, 720, "yuvj420p", {}, "h264", "yuv420p", kHdTags},
        ColourCase{"hd10bit", "testsrc2", 1920, 1080, "yuv420p10le", kBt709Source, "h264_10", "yuv420p10le",
                   kHdTags}),
    [](const ::testing::TestParamInfo<ColourCase> &info) { return std::string(info.param.name); });

// The preview, a still, the poster and the filmstrip of a bars source all show the bars in the
// colours the exported file decodes to.
TEST(ExportColour, SmallPicturesAgreeWithTheExport)
{
    const ColourCase c{"bars",       "smptehdbars", 1920,      1080,   "yuv420p",
                       kBt709Source, "h264",        "yuv420p", kHdTags};
    QTemporaryDir dir;
    const QString source = makeSource(dir, c, 1);
    const Project project = projectOf(source, c.width, c.height, 1);
    const YuvFrame exported = decodeFrame(exportClip(dir, c, project), 0, c.exportFormat, c.width, c.height);
    ASSERT_EQ(exported.width, c.width);

    const QImage preview = FrameCompositor(&project).render(0);
    const QImage still = ClipReaderPool::instance().captureStillFrame(source, 0);
    const QImage poster(ensureThumbnail(source, "video"));
    const QImage strip(ensureStrip(source, "video"));
    ASSERT_EQ(preview.size(), QSize(1920, 1080));
    ASSERT_EQ(still.size(), QSize(1920, 1080));
    ASSERT_EQ(poster.size(), QSize(320, 180));
    ASSERT_EQ(strip.size(), QSize(960, 68));

    // Bar centres: wide enough that the poster's and the strip's scaling and JPEG blocks do not
    // reach them.
    const std::vector<QPoint> centres = flatPoints(exported, 60, 40);
    ASSERT_GT(centres.size(), 20u);
    for (const QPoint &p : centres) {
        const auto want =
            bt709LimitedToRgb(exported.at(0, p.x(), p.y()), exported.at(1, p.x() / 2, p.y() / 2),
                              exported.at(2, p.x() / 2, p.y() / 2));
        const struct
        {
            const char *name;
            QColor got;
        } pictures[] = {{"preview", preview.pixelColor(p)},
                        {"still", still.pixelColor(p)},
                        {"poster", poster.pixelColor(p.x() / 6, p.y() / 6)},
                        {"strip", strip.pixelColor(p.x() / 16, p.y() * 68 / 1080)}};
        for (const auto &picture : pictures) {
            const int got[3] = {picture.got.red(), picture.got.green(), picture.got.blue()};
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(got[i], want[size_t(i)], 2.0)
                    << picture.name << " channel " << i << " at " << p.x() << "," << p.y();
        }
    }
}
