// Colour through the whole chain: a generated source is decoded, composited on the GPU, encoded
// and decoded again, and must come back as it went in; the small pictures must agree with it.
#include "ExportTestSupport.h"
#include "media/decode/ClipReaderPool.h"
#include "media/assets/Thumbnails.h"
#include "media/frames/VideoFrameGrabber.h"
#include "output/ExportJob.h"
#include "render/scene/FrameCompositor.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <tuple>

using namespace orvel;

// A 5 s source at 2 fps, coded losslessly so the export is measured against exactly what was
// decoded. Patterns drawn in RGB are turned into YUV by -vf: inside the input graph the
// conversion would fall back to the BT.601 matrix, and the source would not be what it says.
struct ColourCase
{
    const char *name, *input, *videoCodecId, *exportFormat, *tags;
    int width, height;
};

static const char *const kHdTags = "tv,bt709,bt709,bt709"; // range, space, transfer, primaries

class ExportColourRoundTrip : public ::testing::TestWithParam<ColourCase>
{};

namespace {

// One frame as YUV 4:2:0 planes in the given format.
QByteArray rawFrame(const QString &path, int index, const char *pixelFormat)
{
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-v", "error", "-i", path, "-vf", QString("select=eq(n\\,%1)").arg(index),
                            "-frames:v", "1", "-pix_fmt", pixelFormat, "-f", "rawvideo", "-"});
    ffmpeg.waitForFinished(120000);
    return ffmpeg.readAllStandardOutput();
}

// Limited-range code values to R'G'B' in code values, with each matrix's luma weights written
// out here rather than taken from the program.
std::array<double, 3> toRgb(bool hd, double y8, double u8, double v8)
{
    const double kr = hd ? 0.2126 : 0.299, kb = hd ? 0.0722 : 0.114;
    const double y = (y8 - 16) / 219.0, u = (u8 - 128) / 224.0, v = (v8 - 128) / 224.0;
    const double r = y + 2 * (1 - kr) * v, b = y + 2 * (1 - kb) * u;
    return {r * 255, (y - kr * r - kb * b) / (1 - kr - kb) * 255, b * 255};
}

} // namespace

TEST_P(ExportColourRoundTrip, ComesBackAsItWentIn)
{
    const ColourCase &c = GetParam();
    QTemporaryDir dir;
    const QString source = dir.filePath("source.mkv"), out = dir.filePath("export.mkv");
    exporttest::runTool(
        "ffmpeg",
        QString("-v error -f lavfi -i %1 -c:v libx264 -preset ultrafast -qp 0").arg(c.input).split(' ') +
            QStringList{source});
    Project project = exporttest::clipProject(5'000'000);
    project.tracks[0].clips[0].path = source;
    project.width = c.width;
    project.height = c.height;
    project.fps = 2;
    ExportSettings settings;
    settings.videoCodecId = c.videoCodecId;
    settings.audioCodecId = "flac";
    settings.crf = 12;
    settings.videoPreset = "veryfast";
    ASSERT_TRUE(runExport(project, settings, out, {}).success);

    const exporttest::PlanePsnr psnr = exporttest::planePsnr(out, source, c.exportFormat);
    std::printf("[ colour ] %s: PSNR y %.2f u %.2f v %.2f dB\n", c.name, psnr.y, psnr.u, psnr.v);
    EXPECT_GE(psnr.y, 40.0);
    EXPECT_GE(psnr.u, 38.0);
    EXPECT_GE(psnr.v, 38.0);
    EXPECT_EQ(exporttest::runTool("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries",
                                              "stream=color_range,color_space,color_transfer,color_primaries",
                                              "-of", "csv=p=0", out})
                  .trimmed(),
              c.tags);

    // Single pixels in the middle of flat fields (black, white, bars) keep their code values.
    // Below black, above white (the pluge) and the -I and +Q fields lie outside RGB: skipped.
    // Saturated primaries may lie a code or two outside after rounding; they are kept.
    // 10-bit samples are compared in 8-bit code values.
    const QByteArray before = rawFrame(source, 5, c.exportFormat), after = rawFrame(out, 5, c.exportFormat);
    const int bytes = QString(c.exportFormat).contains("10") ? 2 : 1;
    ASSERT_EQ(after.size(), c.width * c.height * 3 / 2 * bytes);
    const auto at = [&c, bytes](const QByteArray &f, int plane, int x, int y) {
        const int luma = c.width * c.height, offset = plane == 0 ? 0 : luma + (plane - 1) * luma / 4;
        const int w = plane == 0 ? c.width : c.width / 2;
        const int i = (offset + (plane == 0 ? y * w + x : y / 2 * w + x / 2)) * bytes;
        return bytes == 1 ? double(uchar(f[i])) : (uchar(f[i]) | uchar(f[i + 1]) << 8) / 4.0;
    };
    const auto flat = [&](int x, int y, int r) {
        for (int plane = 0; plane < 3; ++plane)
            for (int dy = -r; dy <= r; ++dy)
                for (int dx = -r; dx <= r; ++dx)
                    if (at(before, plane, x + dx, y + dy) != at(before, plane, x, y))
                        return false;
        return true;
    };
    int checked = 0;
    constexpr int kLevels[3] = {16, 180, 235}; // black, 75 % white, white
    bool seen[3] = {};
    for (int y = 5; y < c.height - 8; y += 16) {
        for (int x = 5; x < c.width - 8; x += 16) {
            const auto rgb =
                toRgb(c.height >= 720, at(before, 0, x, y), at(before, 1, x, y), at(before, 2, x, y));
            if (!flat(x, y, 4) || *std::min_element(rgb.begin(), rgb.end()) < -2.0 ||
                *std::max_element(rgb.begin(), rgb.end()) > 257.0)
                continue;
            ++checked;
            for (int plane = 0; plane < 3; ++plane)
                ASSERT_NEAR(at(after, plane, x, y), at(before, plane, x, y), 2)
                    << plane << " at " << x << "," << y;
            for (int i = 0; i < 3; ++i)
                seen[i] = seen[i] || at(before, 0, x, y) == kLevels[i];
        }
    }
    std::printf("[ colour ] %s: %d flat points within 2 code values\n", c.name, checked);
    EXPECT_GT(checked, 100);
    if (QString(c.input).contains("bars")) {
        EXPECT_TRUE(seen[0] && seen[1] && seen[2]);
    }
    if (QString(c.name) != "hdbars")
        return;

    // The preview, a still, and the pictures of the poster and the strip show the bars' centres
    // as the export decodes them. The poster file is JPEG at quality 85 with halved chroma, which
    // rings across a bar of its width: it gets room for that.
    const QImage preview = FrameCompositor(&project).render(2'500'000);
    const QImage still = ClipReaderPool::instance().captureStillFrame(source, 2'500'000);
    VideoFrameGrabber grabber;
    ASSERT_TRUE(grabber.open(source));
    const QImage poster = grabber.nextFrame({320, 180}), posterFile(ensureThumbnail(source, "video"));
    ASSERT_TRUE(grabber.seekUs(0));
    const QImage cell = grabber.nextFrame({120, 68});
    ASSERT_FALSE(preview.isNull() || still.isNull() || poster.isNull() || posterFile.isNull() ||
                 cell.isNull());
    int centres = 0;
    for (int y = 100; y < c.height - 100; y += 40) {
        for (int x = 100; x < c.width - 100; x += 40) {
            if (!flat(x, y, 60))
                continue;
            ++centres;
            const auto want = toRgb(true, at(after, 0, x, y), at(after, 1, x, y), at(after, 2, x, y));
            for (const auto &[name, got, tolerance] :
                 std::initializer_list<std::tuple<const char *, QColor, double>>{
                     {"preview", preview.pixelColor(x, y), 2.0},
                     {"still", still.pixelColor(x, y), 2.0},
                     {"poster", poster.pixelColor(x / 6, y / 6), 2.0},
                     {"strip", cell.pixelColor(x / 16, y * 68 / 1080), 2.0},
                     {"poster file", posterFile.pixelColor(x / 6, y / 6), 6.0}}) {
                const int rgb[3] = {got.red(), got.green(), got.blue()};
                for (int i = 0; i < 3; ++i)
                    EXPECT_NEAR(rgb[i], std::clamp(want[size_t(i)], 0.0, 255.0), tolerance)
                        << name << " channel " << i << " at " << x << "," << y;
            }
        }
    }
    EXPECT_GT(centres, 20);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, ExportColourRoundTrip,
    ::testing::Values(
        ColourCase{
            "hdbars",
            "smptehdbars=s=1920x1080:r=2:d=5 -pix_fmt yuv420p -colorspace bt709 -color_primaries bt709 "
            "-color_trc bt709 -color_range tv",
            "h264", "yuv420p", kHdTags, 1920, 1080},
        ColourCase{
            "hdtestsrc",
            "testsrc2=s=1920x1080:r=2:d=5,format=gbrp -vf scale=out_color_matrix=bt709 -pix_fmt yuv420p",
            "h264", "yuv420p", kHdTags, 1920, 1080},
        ColourCase{"pal", "smptebars=s=720x576:r=2:d=5 -pix_fmt yuv420p", "h264", "yuv420p",
                   "tv,bt470bg,smpte170m,bt470bg", 720, 576},
        ColourCase{"jpeg",
                   "testsrc2=s=1280x720:r=2:d=5,format=gbrp -vf scale=out_color_matrix=bt709:out_range=pc "
                   "-pix_fmt yuvj420p",
                   "h264", "yuv420p", kHdTags, 1280, 720},
        ColourCase{"hd10bit",
                   "testsrc2=s=1920x1080:r=2:d=5,format=gbrp -vf scale=out_color_matrix=bt709 -pix_fmt "
                   "yuv420p10le -colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv",
                   "h264_10", "yuv420p10le", kHdTags, 1920, 1080}),
    [](const ::testing::TestParamInfo<ColourCase> &info) { return std::string(info.param.name); });
