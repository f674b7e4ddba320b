// Whole exports of a small generated project, read back with ffprobe and ffmpeg.
#include "output/ExportJob.h"
#include "ExportTestSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvel;
using exporttest::Probe;

namespace {

QString outputFor(const QTemporaryDir &dir, const QString &name, const ExportSettings &s)
{
    return dir.filePath(name + "." +
                        exportDefaultSuffix(exportPreferredContainer(s.videoCodecId, s.audioCodecId)));
}

ExportSettings settingsOf(const QString &video, const QString &audio)
{
    ExportSettings s;
    s.videoCodecId = video;
    s.audioCodecId = audio;
    const VideoCodecRow *row = findVideoCodecRow(video);
    s.crf = row ? row->defaultCrf : 23;
    s.videoPreset = row ? row->defaultPreset : QString();
    // The fastest presets keep the test short; quality is not what this test is about.
    if (row && row->presets.contains("ultrafast"))
        s.videoPreset = "ultrafast";
    else if (row && !row->presets.isEmpty())
        s.videoPreset = row->presets.last();
    s.videoBitrateKbps = 2000;
    return s;
}

// A tmpfs of its own, for a folder that refuses writes or a disk that fills; needs root.
struct ScratchMount
{
    explicit ScratchMount(const QString &options)
    {
        mounted = QProcess::execute("mount", {"-t", "tmpfs", "-o", options, "tmpfs", dir.path()}) == 0;
    }
    ~ScratchMount()
    {
        if (mounted)
            QProcess::execute("umount", {dir.path()});
    }
    QTemporaryDir dir;
    bool mounted = false;
};

} // namespace

// Every installed video encoder, each paired with AAC: codec, pixel format, size, frames, duration.
TEST(ExportRows, EveryInstalledVideoRowReadsBack)
{
    const struct
    {
        const char *id, *codec, *pixelFormat;
    } expected[] = {{"av1_svt", "av1", "yuv420p"},
                    {"av1_svt_10", "av1", "yuv420p10le"},
                    {"ffv1", "ffv1", "yuv420p"},
                    {"h264", "h264", "yuv420p"},
                    {"h264_10", "h264", "yuv420p10le"},
                    {"h265", "hevc", "yuv420p"},
                    {"h265_10", "hevc", "yuv420p10le"},
                    {"h265_12", "hevc", "yuv420p12le"},
                    {"mpeg4", "mpeg4", "yuv420p"},
                    {"mpeg2", "mpeg2video", "yuv420p"},
                    {"vp8", "vp8", "yuv420p"},
                    {"vp9", "vp9", "yuv420p"},
                    {"vp9_10", "vp9", "yuv420p10le"},
                    {"dnxhr", "dnxhd", "yuv422p"},
                    {"dnxhr_10", "dnxhd", "yuv422p10le"},
                    {"prores", "prores", "yuv422p10le"},
                    {"theora", "theora", "yuv420p"}};
    QTemporaryDir dir;
    const Project project = exporttest::clipProject();
    for (const auto &row : expected) {
        SCOPED_TRACE(row.id);
        const ExportSettings s = settingsOf(row.id, "aac");
        const QString out = outputFor(dir, row.id, s);
        const ExportResult result = runExport(project, s, out, {});
        if (firstInstalledEncoder(findVideoCodecRow(row.id)->encoderNames).isEmpty()) {
            EXPECT_EQ(result.message, "Selected encoder is not available");
            continue;
        }
        ASSERT_TRUE(result.success) << qPrintable(result.message);
        const Probe p = exporttest::probe(out);
        EXPECT_EQ(p.videoCodec, row.codec);
        EXPECT_EQ(p.pixelFormat, row.pixelFormat);
        EXPECT_EQ(p.width, 320);
        EXPECT_EQ(p.height, 180);
        EXPECT_EQ(p.videoFrames, 50);
        EXPECT_NEAR(p.durationSeconds, 2.0, 0.04);
        EXPECT_EQ(p.audioCodec, "aac");
        EXPECT_NEAR(p.audioSamples, 96000, 2048);
        EXPECT_FALSE(QFile::exists(out + ".part"));
    }
}

// Every installed audio encoder under H.264; FLAC must come back sample-exact.
TEST(ExportRows, EveryInstalledAudioRowReadsBack)
{
    QTemporaryDir dir;
    const Project project = exporttest::clipProject();
    for (const char *id : {"aac", "opus", "mp3", "ac3", "flac"}) {
        SCOPED_TRACE(id);
        const ExportSettings s = settingsOf("h264", id);
        const QString out = outputFor(dir, id, s);
        const ExportResult result = runExport(project, s, out, {});
        ASSERT_TRUE(result.success) << qPrintable(result.message);
        const Probe p = exporttest::probe(out);
        EXPECT_EQ(p.audioCodec, id);
        EXPECT_EQ(p.videoFrames, 50);
        if (QLatin1String(id) == QLatin1String("flac"))
            EXPECT_EQ(p.audioSamples, 96000);
        else
            EXPECT_NEAR(p.audioSamples, 96000, 2048);
    }
}

TEST(ExportPicture, MatchesTheSourceAndScalesToEvenSizes)
{
    QTemporaryDir dir;
    const QString out = dir.filePath("picture.mkv");
    ExportSettings s = settingsOf("h264", "flac");
    s.crf = 18;
    ASSERT_TRUE(runExport(exporttest::clipProject(), s, out, {}).success);
    // Frame 25 was looked at by eye and matches the source; the score (about 48 dB) falls far
    // below the floor with shifted or wrong frames, or with a wrong matrix or range.
    EXPECT_GT(exporttest::psnr(out, exporttest::sourceClip()), 40.0);

    Project wide = exporttest::clipProject(200'000);
    wide.width = 1920;
    wide.height = 1080;
    s.targetHeight = 720;
    ASSERT_TRUE(runExport(wide, s, dir.filePath("720.mkv"), {}).success);
    EXPECT_EQ(exporttest::probe(dir.filePath("720.mkv")).width, 1280);
    Project odd = exporttest::clipProject(200'000);
    odd.width = 1000;
    odd.height = 563;
    s.targetHeight = 0;
    ASSERT_TRUE(runExport(odd, s, dir.filePath("odd.mkv"), {}).success);
    const Probe p = exporttest::probe(dir.filePath("odd.mkv"));
    EXPECT_EQ(QSize(p.width, p.height), QSize(1000, 562));
    EXPECT_EQ(p.videoFrames, 5);
}

// Audio follows the frames: never past the timeline's samples, never padded to a whole frame.
TEST(ExportAudio, EndsAtTheLastFrameWithoutPadding)
{
    QTemporaryDir dir;
    const ExportSettings s = settingsOf("h264", "flac");
    // 1.01 s at 25 fps is 25 frames; their audio (48000) is shorter than 1.01 s (48480).
    ASSERT_TRUE(runExport(exporttest::clipProject(1'010'000), s, dir.filePath("short.mkv"), {}).success);
    EXPECT_EQ(exporttest::probe(dir.filePath("short.mkv")).audioSamples, 48000);
    // 1.03 s is 26 frames, whose 49920 samples pass the timeline's 49440: it stops at 49440.
    ASSERT_TRUE(runExport(exporttest::clipProject(1'030'000), s, dir.filePath("long.mkv"), {}).success);
    const Probe p = exporttest::probe(dir.filePath("long.mkv"));
    EXPECT_EQ(p.audioSamples, 49440);
    EXPECT_EQ(p.videoFrames, 26);
}

TEST(ExportFailures, RefusalsLeaveNothingBehind)
{
    QTemporaryDir dir;
    const QString out = dir.filePath("out.mp4");
    Project empty = exporttest::clipProject();
    empty.tracks = {Track{}};
    EXPECT_EQ(runExport(empty, ExportSettings{}, out, {}).message, "Timeline is empty");
    EXPECT_EQ(runExport(exporttest::clipProject(), settingsOf("h263", "aac"), out, {}).message,
              "Unknown codec selection");
    Project flat = exporttest::clipProject();
    flat.height = 0;
    EXPECT_EQ(runExport(flat, ExportSettings{}, out, {}).message, "Invalid project resolution");
    EXPECT_FALSE(QFile::exists(out));
    EXPECT_FALSE(QFile::exists(out + ".part"));
}

TEST(ExportFailures, CancelKeepsTheOlderFile)
{
    QTemporaryDir dir;
    const QString out = dir.filePath("out.mp4");
    ASSERT_TRUE(exporttest::writeFileBytes(out, "older export"));
    bool partSeen = false;
    const ExportResult result =
        runExport(exporttest::clipProject(), settingsOf("h264", "aac"), out, [&](double fraction) {
            partSeen = partSeen || QFile::exists(out + ".part");
            return fraction < 0.5;
        });
    EXPECT_TRUE(result.cancelled);
    EXPECT_FALSE(result.success);
    EXPECT_TRUE(partSeen);
    EXPECT_FALSE(QFile::exists(out + ".part"));
    EXPECT_EQ(exporttest::fileContents(out), "older export");
}

TEST(ExportFailures, ReadOnlyFolderAndFullDisk)
{
    ScratchMount readOnly("ro,size=1m");
    if (!readOnly.mounted)
        GTEST_SKIP() << "mounting a tmpfs needs root";
    const QString roOut = readOnly.dir.filePath("out.mkv");
    EXPECT_EQ(runExport(exporttest::clipProject(), settingsOf("ffv1", "flac"), roOut, {}).message,
              "Could not open the output file");
    EXPECT_FALSE(QFile::exists(roOut + ".part"));

    ScratchMount small("size=256k");
    ASSERT_TRUE(small.mounted);
    const QString out = small.dir.filePath("out.mkv");
    ASSERT_TRUE(exporttest::writeFileBytes(out, "older export"));
    // Lossless video of the 2 s clip is several megabytes, far more than the disk holds.
    const ExportResult result = runExport(exporttest::clipProject(), settingsOf("ffv1", "flac"), out, {});
    EXPECT_FALSE(result.success);
    EXPECT_TRUE(result.message == "Failed to write a packet" ||
                result.message == "Could not finalize the file")
        << qPrintable(result.message);
    EXPECT_FALSE(QFile::exists(out + ".part"));
    EXPECT_EQ(exporttest::fileContents(out), "older export");
}
