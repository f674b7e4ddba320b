#include "ToneFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tonefiles {

namespace {

QTemporaryDir &folder()
{
    static QTemporaryDir dir;
    return dir;
}

} // namespace

QString expressionFile(const QString &key, const QString &expression, double seconds)
{
    const QString path = QDir(folder().path()).filePath(key + QStringLiteral(".wav"));
    if (QFileInfo::exists(path))
        return path;
    // One expression per side: ffmpeg would spread a mono source over two channels at -3 dB.
    const QString source = QStringLiteral("aevalsrc='%1|%1':s=48000:d=%2").arg(expression).arg(seconds);
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {"-v", "error", "-y", "-f", "lavfi", "-i", source, "-c:a", "pcm_f32le", path});
    const bool finished = ffmpeg.waitForFinished(60000);
    EXPECT_TRUE(finished && ffmpeg.exitCode() == 0)
        << "ffmpeg failed for " << key.toStdString() << ": " << ffmpeg.readAllStandardError().toStdString();
    return path;
}

QString constantFile(double level, double seconds)
{
    return expressionFile(QStringLiteral("level-%1-%2").arg(level).arg(seconds),
                          QString::number(level, 'g', 17), seconds);
}

QString rampFile(double seconds)
{
    return expressionFile(QStringLiteral("ramp-%1").arg(seconds), QStringLiteral("t/10"), seconds);
}

QString sineFile(double frequencyHz, double seconds)
{
    return expressionFile(QStringLiteral("sine-%1-%2").arg(frequencyHz).arg(seconds),
                          QStringLiteral("0.5*sin(2*PI*%1*t)").arg(frequencyHz), seconds);
}

} // namespace tonefiles
