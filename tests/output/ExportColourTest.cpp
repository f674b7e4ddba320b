// Colour through the whole chain: a generated source is decoded, composited on the GPU, encoded
// and decoded again, and must come back as it went in. The small pictures of the same source
// must show the colours the export shows.
#include "ExportTestSupport.h"
#include "media/ClipReaderPool.h"
#include "media/Thumbnails.h"
#include "media/VideoFrameGrabber.h"
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

struct ColourCase
{
    const char *name;
    const char *pattern; // lavfi source
    // Empty, or the filter that turns the pattern, drawn in RGB, into YUV with the matrix and
    // range the case stands for, so that the source really is what its name says.
    const char *conversion;
    int width;
    int height;
    const char *sourceFormat;
    QStringList sourceTags; // colour options for the source's encoder; none leaves it untagged
    const char *videoCodecId;
    const char *exportFormat;
    QStringList expectedTags; // ffprobe's color_range, color_space, color_transfer, color_primaries
};

// The bars generators draw in YUV with their standard's own levels; the other patterns are drawn
// in RGB and converted here.
static const char *const kRgbTo709Limited = "scale=out_color_matrix=bt709:out_range=tv";
static const char *const kRgbTo709Full = "scale=out_color_matrix=bt709:out_range=pc";
static const QStringList kHdTags = {"tv", "bt709", "bt709", "bt709"};
static const QStringList kBt709Source = {"-colorspace", "bt709", "-color_primaries", "bt709",
                                         "-color_trc",  "bt709", "-color_range",     "tv"};

namespace {

// Short clips at a low rate keep the exports fast; every frame still goes the whole way.
constexpr int kFps = 2;
constexpr int kSeconds = 5;

// A losslessly coded source, so that the export is measured against exactly what was decoded.
QString makeSource(const QTemporaryDir &dir, const ColourCase &c, int seconds)
{
    const QString path = dir.filePath(QStringLiteral("%1-source.mkv").arg(c.name));
    const bool rgb = *c.conversion != '\0';
    const QString input = QStringLiteral("%1=size=%2x%3:rate=%4:duration=%5%6")
                              .arg(c.pattern)
                              .arg(c.width)
                              .arg(c.height)
                              .arg(kFps)
                              .arg(seconds)
                              .arg(rgb ? ",format=gbrp" : "");
    QStringList args = {"-v", "error", "-y", "-f", "lavfi", "-i", input, "-pix_fmt", c.sourceFormat};
    if (rgb) // a conversion inside the input graph would be left to the default BT.601 matrix
        args << "-vf" << c.conversion;
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

struct LumaWeights
{
    double kr, kb;
};
constexpr LumaWeights kBt709Weights{0.2126, 0.0722}, kBt601Weights{0.299, 0.114};

// Whether limited-range code values stand for a colour that RGB can hold, within half a code.
bool inRgbGamut(LumaWeights w, double y8, double u8, double v8)
{
    const double y = (y8 - 16.0) / 219.0, u = (u8 - 128.0) / 224.0, v = (v8 - 128.0) / 224.0;
    const double r = y + 2 * (1 - w.kr) * v, b = y + 2 * (1 - w.kb) * u;
    const double g = (y - w.kr * r - w.kb * b) / (1 - w.kr - w.kb);
    const double margin = 0.5 / 255.0;
    return std::min({r, g, b}) >= -margin && std::max({r, g, b}) <= 1.0 + margin;
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
        // Below black and above white (the bars' pluge), and the -I and +Q fields, lie outside
        // what RGB can hold: they come back clipped and are not checked.
        const double y0 = before.at(0, p.x(), p.y()), u0 = before.at(1, p.x() / 2, p.y() / 2),
                     v0 = before.at(2, p.x() / 2, p.y() / 2);
        if (!inRgbGamut(c.height >= 720 ? kBt709Weights : kBt601Weights, y0, u0, v0))
            continue;
        const double dy = std::abs(after.at(0, p.x(), p.y()) - before.at(0, p.x(), p.y()));
        const double du = std::abs(after.at(1, p.x() / 2, p.y() / 2) - before.at(1, p.x() / 2, p.y() / 2));
        const double dv = std::abs(after.at(2, p.x() / 2, p.y() / 2) - before.at(2, p.x() / 2, p.y() / 2));
        worst = std::max({worst, dy, du, dv});
        ASSERT_LE(std::max({dy, du, dv}), 2.0) << "at " << p.x() << "," << p.y() << " (" << y0 << "," << u0
                                               << "," << v0 << "): " << dy << " " << du << " " << dv;
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
        ColourCase{"hdbars", "smptehdbars", "", 1920, 1080, "yuv420p", kBt709Source, "h264", "yuv420p",
                   kHdTags},
        ColourCase{
            "hdtestsrc", "testsrc2", kRgbTo709Limited, 1920, 1080, "yuv420p", {}, "h264", "yuv420p", kHdTags},
        ColourCase{"pal",
                   "smptebars",
                   "",
                   720,
                   576,
                   "yuv420p",
                   {},
                   "h264",
                   "yuv420p",
                   {"tv", "bt470bg", "smpte170m", "bt470bg"}},
        ColourCase{"jpeg", "testsrc2", kRgbTo709Full, 1280, 720, "yuvj420p", {}, "h264", "yuv420p", kHdTags},
        ColourCase{"hd10bit", "testsrc2", kRgbTo709Limited, 1920, 1080, "yuv420p10le", kBt709Source,
                   "h264_10", "yuv420p10le", kHdTags}),
    [](const ::testing::TestParamInfo<ColourCase> &info) { return std::string(info.param.name); });

// The preview, a still, the poster and the filmstrip of a bars source all show the bars in the
// colours the exported file decodes to.
TEST(ExportColour, SmallPicturesAgreeWithTheExport)
{
    const ColourCase c{"bars",    "smptehdbars", "",     1920,      1080,
                       "yuv420p", kBt709Source,  "h264", "yuv420p", kHdTags};
    QTemporaryDir dir;
    const QString source = makeSource(dir, c, 1);
    const Project project = projectOf(source, c.width, c.height, 1);
    const YuvFrame exported = decodeFrame(exportClip(dir, c, project), 0, c.exportFormat, c.width, c.height);
    ASSERT_EQ(exported.width, c.width);

    const QImage preview = FrameCompositor(&project).render(0);
    const QImage still = ClipReaderPool::instance().captureStillFrame(source, 0);
    VideoFrameGrabber grabber;
    ASSERT_TRUE(grabber.open(source));
    const QImage posterPicture = grabber.nextFrame({320, 180});
    ASSERT_TRUE(grabber.seekUs(0));
    const QImage cellPicture = grabber.nextFrame({120, 68});
    const QImage posterFile(ensureThumbnail(source, "video"));
    const QImage stripFile(ensureStrip(source, "video"));
    ASSERT_EQ(preview.size(), QSize(1920, 1080));
    ASSERT_EQ(still.size(), QSize(1920, 1080));
    ASSERT_EQ(posterFile.size(), QSize(320, 180));
    ASSERT_EQ(stripFile.size(), QSize(960, 68));

    // Bar centres: wide enough that the scaling of the small pictures does not reach them.
    const std::vector<QPoint> centres = flatPoints(exported, 60, 40);
    ASSERT_GT(centres.size(), 20u);
    double worstJpeg = 0.0;
    for (const QPoint &p : centres) {
        const auto want =
            bt709LimitedToRgb(exported.at(0, p.x(), p.y()), exported.at(1, p.x() / 2, p.y() / 2),
                              exported.at(2, p.x() / 2, p.y() / 2));
        const QPoint inPoster(p.x() / 6, p.y() / 6), inCell(p.x() / 16, p.y() * 68 / 1080);
        // The poster file is JPEG at quality 85 with halved chroma, whose blocks ring across a bar
        // of its width: it gets room for that. The strip's cells are too small for JPEG to keep
        // the narrow fields at all, so only the picture that goes into it is checked.
        const struct
        {
            const char *name;
            QColor got;
            double tolerance;
        } pictures[] = {{"preview", preview.pixelColor(p), 2.0},
                        {"still", still.pixelColor(p), 2.0},
                        {"poster", posterPicture.pixelColor(inPoster), 2.0},
                        {"strip cell", cellPicture.pixelColor(inCell), 2.0},
                        {"poster file", posterFile.pixelColor(inPoster), 6.0}};
        for (const auto &picture : pictures) {
            const int got[3] = {picture.got.red(), picture.got.green(), picture.got.blue()};
            for (int i = 0; i < 3; ++i) {
                EXPECT_NEAR(got[i], want[size_t(i)], picture.tolerance)
                    << picture.name << " channel " << i << " at " << p.x() << "," << p.y();
                if (picture.tolerance > 2.0)
                    worstJpeg = std::max(worstJpeg, std::abs(got[i] - want[size_t(i)]));
            }
        }
    }
    std::printf("[ colour ] %zu bar centres; the poster file is off by %.2f at most\n", centres.size(),
                worstJpeg);
}
