// orvel-render's exports as a script or a render farm runs them: segments joined against the
// one-piece file, Ctrl-C, and a file size limit standing in for a disk that fills.
#include "ExportTestSupport.h"

#include "core/document/json/ProjectJson.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileSystemWatcher>
#include <QJsonDocument>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>

using namespace orvel;

namespace {

// Several copies of the 2 s source in a row. At 10 fps 7 s is 70 frames: three whole groups of
// 20 frames and a short one, so the segments are not all alike.
Project longProject(int width, int height, TimeUs durationUs, int fps = 25)
{
    Project project = exporttest::clipProject(2'000'000);
    const Clip first = project.tracks[0].clips[0];
    project.tracks[0].clips.clear();
    for (TimeUs start = 0; start < durationUs; start += 2'000'000) {
        Clip clip = first;
        clip.id = QStringLiteral("clip%1").arg(start);
        clip.timelineStartUs = start;
        clip.timelineDurationUs = std::min<TimeUs>(2'000'000, durationUs - start);
        clip.srcOutUs = clip.timelineDurationUs;
        project.tracks[0].clips.append(clip);
    }
    project.width = width;
    project.height = height;
    project.fps = fps;
    return project;
}

QString writeProject(const QTemporaryDir &dir, const Project &project)
{
    const QString path = dir.filePath("project.json");
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(QJsonDocument(projectToJson(project)).toJson());
    return path;
}

int runCli(const QStringList &arguments, QString *errors = nullptr)
{
    QProcess process;
    process.start(QStringLiteral(ORVEL_RENDER_CLI), arguments);
    process.waitForFinished(120000);
    if (errors)
        *errors = QString::fromUtf8(process.readAllStandardError());
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

QByteArray decodedAudioHash(const QString &path)
{
    QProcess decode;
    decode.start(QStringLiteral("ffmpeg"), {"-v", "error", "-i", path, "-map", "0:a:0", "-f", "f32le", "-"});
    decode.waitForFinished(120000);
    return QCryptographicHash::hash(decode.readAllStandardOutput(), QCryptographicHash::Sha1);
}

} // namespace

TEST(ExportCli, FourSegmentsJoinedEqualTheOnePieceFile)
{
    QTemporaryDir dir;
    const QString project = writeProject(dir, longProject(320, 180, 7'000'000, 10));
    const QStringList quality = {"--crf", "18", "--preset", "veryfast", "--quiet"};
    const QString whole = dir.filePath("whole.mp4");
    QString errors;
    ASSERT_EQ(runCli(QStringList{project, "--export", whole} + quality, &errors), 0) << qPrintable(errors);

    QStringList segments;
    for (int i = 1; i <= 4; ++i) {
        segments << dir.filePath(QStringLiteral("seg%1.mkv").arg(i));
        ASSERT_EQ(runCli(QStringList{project, "--export", segments.last(), "--segment",
                                     QStringLiteral("%1/4").arg(i)} +
                             quality,
                         &errors),
                  0)
            << qPrintable(errors);
        EXPECT_TRUE(exporttest::probe(segments.last()).audioCodec.isEmpty()) << "segments carry no sound";
    }
    const QString audio = dir.filePath("audio.mka");
    ASSERT_EQ(runCli({project, "--export-audio", audio, "--quiet"}, &errors), 0) << qPrintable(errors);
    const QString joined = dir.filePath("joined.mp4");
    ASSERT_EQ(runCli(QStringList{"--join", joined} + segments + QStringList{"--audio", audio}, &errors), 0)
        << qPrintable(errors);

    const exporttest::Probe a = exporttest::probe(whole);
    const exporttest::Probe b = exporttest::probe(joined);
    EXPECT_EQ(a.videoFrames, 70);
    EXPECT_EQ(b.videoFrames, 70);
    EXPECT_NEAR(b.durationSeconds, a.durationSeconds, 0.04);
    EXPECT_EQ(b.audioSamples, a.audioSamples);
    EXPECT_EQ(decodedAudioHash(joined), decodedAudioHash(whole));
    EXPECT_GE(exporttest::minFramePsnr(joined, whole), 40.0);
    EXPECT_FALSE(QFile::exists(joined + ".part"));
}

TEST(ExportCli, BadSegmentsAndJoinsAreRefused)
{
    QTemporaryDir dir;
    const QString project = writeProject(dir, longProject(320, 180, 2'000'000));
    const QString out = dir.filePath("seg.mkv");
    QString errors;
    // 2 s is one group of pictures: a second segment would be empty.
    EXPECT_EQ(runCli({project, "--export", out, "--segment", "2/2"}, &errors), 1);
    EXPECT_TRUE(errors.contains("holds no frames")) << qPrintable(errors);
    EXPECT_EQ(runCli({project, "--export", out, "--segment", "0/2"}, &errors), 1);
    EXPECT_EQ(runCli({project, "--export", out, "--crf", "20", "--bitrate", "900"}, &errors), 1);
    EXPECT_EQ(runCli({"--join", dir.filePath("j.mp4"), dir.filePath("missing.mkv")}, &errors), 1);
    EXPECT_TRUE(errors.startsWith("orvel-render: cannot open")) << qPrintable(errors);
    EXPECT_FALSE(QFile::exists(out));
    EXPECT_FALSE(QFile::exists(dir.filePath("j.mp4.part")));
}

// Ctrl-C in the middle: exit 130, no ".part", the file from an earlier run untouched.
TEST(ExportCli, InterruptCancelsCleanly)
{
    QTemporaryDir dir;
    const QString project = writeProject(dir, longProject(1920, 1080, 20'000'000));
    const QString out = dir.filePath("out.mp4");
    ASSERT_TRUE(exporttest::writeFileBytes(out, "older export"));
    QFileSystemWatcher watcher({dir.path()});
    QSignalSpy changed(&watcher, &QFileSystemWatcher::directoryChanged);
    QProcess process;
    process.start(QStringLiteral(ORVEL_RENDER_CLI), {project, "--export", out, "--quiet"});
    ASSERT_TRUE(process.waitForStarted());
    while (!QFile::exists(out + ".part") && changed.wait(30000)) {
    }
    ASSERT_TRUE(QFile::exists(out + ".part"));
    ::kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_TRUE(process.readAllStandardError().contains("export cancelled"));
    EXPECT_FALSE(QFile::exists(out + ".part"));
    EXPECT_EQ(exporttest::fileContents(out), "older export");
}

// A file size limit makes writes fail the way a full disk does, without needing root.
TEST(ExportCli, FullDiskEndsWithTheMessage)
{
    QTemporaryDir dir;
    const QString project = writeProject(dir, longProject(320, 180, 2'000'000));
    const QString out = dir.filePath("out.mkv");
    ASSERT_TRUE(exporttest::writeFileBytes(out, "older export"));
    QProcess process;
    process.start("bash", {"-c", "trap '' XFSZ; ulimit -f 64; exec \"$0\" \"$@\"", ORVEL_RENDER_CLI, project,
                           "--export", out, "--video-codec", "ffv1", "--audio-codec", "flac", "--quiet"});
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 1);
    const QString errors = QString::fromUtf8(process.readAllStandardError());
    EXPECT_TRUE(errors.contains("Failed to write a packet") || errors.contains("Could not finalize the file"))
        << qPrintable(errors);
    EXPECT_FALSE(QFile::exists(out + ".part"));
    EXPECT_EQ(exporttest::fileContents(out), "older export");
}
