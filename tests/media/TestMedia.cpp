#include "TestMedia.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QTemporaryDir &mediaTempDir()
{
    static QTemporaryDir dir;
    return dir;
}

QStringList lavfiVideo(const QString &size, const QString &seconds = QStringLiteral("1"))
{
    return {"-f", "lavfi", "-i", QStringLiteral("testsrc=size=%1:rate=25:duration=%2").arg(size, seconds)};
}

QStringList lavfiSine(int sampleRate)
{
    return {"-f", "lavfi", "-i",
            QStringLiteral("sine=frequency=440:sample_rate=%1:duration=1").arg(sampleRate)};
}

// A key frame every 5 frames, so that seeks inside one second land on different pictures.
const QStringList kH264 = {"-c:v", "libx264", "-preset", "ultrafast", "-g", "5", "-pix_fmt", "yuv420p"};

} // namespace

bool runFfmpeg(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{"-hide_banner", "-loglevel", "error", "-y"} + arguments);
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

TestMedia &TestMedia::instance()
{
    static TestMedia media;
    return media;
}

TestMedia::TestMedia()
{
    // Must happen before anything asks for the thumbnail folder, which is fixed for the process.
    qputenv("XDG_CACHE_HOME", QDir(mediaTempDir().path()).filePath("cache").toUtf8());
}

QString TestMedia::dir() const
{
    return mediaTempDir().path();
}

QString TestMedia::path(const QString &name)
{
    const QString target = QDir(dir()).filePath(name);
    if (QFileInfo::exists(target) || generate(name, target))
        return target;
    ADD_FAILURE() << "could not generate " << name.toStdString();
    return {};
}

QStringList TestMedia::copies(const QString &name, int count)
{
    const QString source = path(name);
    const QString base = QFileInfo(source).completeBaseName();
    const QString suffix = QFileInfo(source).suffix();
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString copy =
            QDir(dir()).filePath(QStringLiteral("%1_copy%2.%3").arg(base).arg(i).arg(suffix));
        if (!QFileInfo::exists(copy))
            QFile::copy(source, copy);
        paths << copy;
    }
    return paths;
}

bool TestMedia::generate(const QString &name, const QString &target)
{
    if (name == "fake.png" || name == "fake.mp4") {
        QFile file(target);
        return file.open(QIODevice::WriteOnly) && file.write("this is plain text, not media\n") > 0;
    }
    if (name == "av.mp4")
        return runFfmpeg(lavfiVideo("160x90") + lavfiSine(44100) +
                         QStringList{"-ac", "2", "-c:a", "aac", "-shortest"} + kH264 + QStringList{target});
    // The mp4 "rotate" tag is a clockwise turn; the display matrix holds the opposite angle.
    if (name == "rotated.mp4")
        return runFfmpeg({"-i", path("av.mp4"), "-c", "copy", "-metadata:s:v:0", "rotate=270", target});
    if (name == "rotated90.mp4")
        return runFfmpeg({"-i", path("av.mp4"), "-c", "copy", "-metadata:s:v:0", "rotate=90", target});
    if (name == "anamorphic.mp4")
        return runFfmpeg(lavfiVideo("160x90") + QStringList{"-vf", "setsar=2"} + kH264 + QStringList{target});
    if (name == "silent.mp4")
        return runFfmpeg(lavfiVideo("64x64") + kH264 + QStringList{target});
    if (name == "cover.mp3")
        return runFfmpeg(lavfiSine(44100) + QStringList{"-i", path("small.png"), "-map", "0:a", "-map", "1:v",
                                                        "-c:a", "libmp3lame", "-c:v", "png",
                                                        "-disposition:v:0", "attached_pic", "-id3v2_version",
                                                        "3", target});
    if (name == "two_audio.mp4")
        return runFfmpeg(lavfiVideo("64x64") + lavfiSine(44100) + lavfiSine(22050) +
                         QStringList{"-map", "0", "-map", "1", "-map", "2", "-c:a", "aac", "-ac:a:0", "2",
                                     "-ac:a:1", "1"} +
                         kH264 + QStringList{target});
    if (name == "still.png" || name == "small.png") {
        const QString size = name == "still.png" ? "640x360" : "64x64";
        return runFfmpeg({"-f", "lavfi", "-i", "testsrc=size=" + size, "-frames:v", "1", target});
    }
    return false;
}
