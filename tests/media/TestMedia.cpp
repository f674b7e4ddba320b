#include "TestMedia.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace testmedia {

namespace {

QTemporaryDir &mediaTempDir()
{
    static QTemporaryDir dir;
    return dir;
}

// The thumbnail folder is fixed for the process on first use, so it must move before main runs.
const bool kCacheMoved = qputenv("XDG_CACHE_HOME", QDir(mediaTempDir().path()).filePath("cache").toUtf8());

// ffmpeg arguments written as one line; none of them contains a space.
QStringList words(const QString &line)
{
    return line.split(' ', Qt::SkipEmptyParts);
}

QString pattern(double seconds)
{
    return QStringLiteral("-f lavfi -i color=c=black:s=%1x%2:r=25:d=%3,format=gray,"
                          "geq=lum='if(bitand(N\\,pow(2\\,floor(X*8/W)))\\,235\\,16)' ")
        .arg(kPatternWidth)
        .arg(kPatternHeight)
        .arg(seconds);
}

// The ffmpeg arguments, before the output path, that make a sample; empty for an unknown name.
QStringList recipe(const QString &name)
{
    const QString testsrc = "-f lavfi -i testsrc=rate=25:duration=1:size=";
    const QString sine = " -f lavfi -i sine=frequency=440:duration=1:sample_rate=";
    // A key frame every 5 frames, so that seeks inside one second land on different pictures.
    const QString h264 = " -c:v libx264 -preset ultrafast -g 5 -pix_fmt yuv420p";
    const QString sharpH264 = " -c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p";
    // The mp4 "rotate" tag is a clockwise turn; the display matrix holds the opposite angle.
    if (name == "rotated.mp4" || name == "rotated90.mp4")
        return QStringList{"-i", path("av.mp4")} + words(name == "rotated.mp4"
                                                             ? "-c copy -metadata:s:v:0 rotate=270"
                                                             : "-c copy -metadata:s:v:0 rotate=90");
    if (name == "rotated-pattern.mp4")
        return QStringList{"-i", path("pattern-gop5.mp4")} + words("-c copy -metadata:s:v:0 rotate=270");
    if (name == "cover.mp3")
        return words(sine + "44100") + QStringList{"-i", path("small.png")} +
               words("-map 0:a -map 1:v -c:a libmp3lame -c:v png -disposition:v:0 attached_pic "
                     "-id3v2_version 3");
    const QString chirp =
        " -f lavfi -i aevalsrc=0.5*sin(2*PI*(100*t+400*t*t))|0.5*sin(2*PI*(100*t+400*t*t)):s=48000:d=";
    const QString gop = " -g 50" + sharpH264;
    const QHash<QString, QString> lines = {
        {"offset.ts", pattern(3) + chirp + "3" + gop + " -c:a mp2"},
        {"hour.ts", pattern(3) + chirp + "3" + gop + " -c:a mp2 -output_ts_offset 3600"},
        {"late-audio.mov", pattern(3) + "-itsoffset 1" + chirp + "3" + gop + " -c:a pcm_s16le"},
        {"short-video.mov", pattern(1) + chirp + "4" + gop + " -c:a pcm_s16le"},
        {"pattern-gop5.mp4", pattern(1) + h264},
        {"av.mp4", testsrc + "160x90" + sine + "44100 -ac 2 -c:a aac -shortest" + h264},
        {"anamorphic.mp4", testsrc + "160x90 -vf setsar=2" + h264},
        {"silent.mp4", testsrc + "64x64" + h264},
        {"two_audio.mp4", testsrc + "64x64" + sine + "44100" + sine + "22050" +
                              " -map 0 -map 1 -map 2 -c:a aac -ac:a:0 2 -ac:a:1 1" + h264},
        {"still.png", "-f lavfi -i testsrc=size=640x360 -frames:v 1"},
        {"small.png", "-f lavfi -i testsrc=size=64x64 -frames:v 1"},
        {"pattern.mp4",
         pattern(8) + "-f lavfi -i sine=f=440:r=48000:d=8 -g 50 -c:a aac -shortest" + sharpH264},
        {"vfr.mkv", pattern(3) +
                        "-vf settb=1/1000,setpts='if(lt(N,25),N/25,1+(N-25)/10)/TB' -fps_mode passthrough"
                        " -enc_time_base 1/1000 -frames:v 45" +
                        sharpH264},
        {"nofps.nut", "-f lavfi -i color=c=gray:s=64x48:r=2:d=1" + sharpH264},
        {"raw-nv12.nut", pattern(1) + "-c:v rawvideo -pix_fmt nv12"},
        {"odd.mp4", "-f lavfi -i color=c=red:s=160x96:r=25:d=1,format=yuv444p,scale=161:97 -c:v libx264 "
                    "-preset veryfast"},
        {"ramp.wav", "-f lavfi -i aevalsrc='t/10|t/10':s=48000:d=6 -c:a pcm_f32le"}};
    return words(lines.value(name));
}

bool generate(const QString &name, const QString &target)
{
    if (name == "fake.png" || name == "fake.mp4") {
        QFile file(target);
        return file.open(QIODevice::WriteOnly) && file.write("this is plain text, not media\n") > 0;
    }
    const QStringList arguments = recipe(name);
    if (arguments.isEmpty())
        return false;
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    ffmpeg.start("ffmpeg",
                 QStringList{"-hide_banner", "-loglevel", "error", "-y"} + arguments + QStringList{target});
    return ffmpeg.waitForFinished(60000) && ffmpeg.exitStatus() == QProcess::NormalExit &&
           ffmpeg.exitCode() == 0;
}

QByteArray runTool(const QString &program, const QStringList &arguments)
{
    QProcess tool;
    tool.start(program, arguments);
    if (!tool.waitForFinished(60000) || tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0) {
        ADD_FAILURE() << program.toStdString() << " failed: " << tool.readAllStandardError().toStdString();
        return {};
    }
    return tool.readAllStandardOutput();
}

double probeContainerStartSeconds(const QString &file)
{
    const QByteArray out = runTool(
        "ffprobe", {"-v", "error", "-show_entries", "format=start_time", "-of", "default=nw=1:nk=1", file});
    return out.trimmed().toDouble();
}

int readBars(int width, int height, const auto &lumaAt)
{
    if (width < 16 || height < 2)
        return -1;
    int index = 0;
    for (int bit = 0; bit < 8; ++bit) {
        const int luma = lumaAt(int((bit + 0.5) * width / 8.0), height / 2);
        if (luma > 96 && luma < 160)
            return -1; // neither black nor white: not a pattern picture
        if (luma >= 160)
            index |= 1 << bit;
    }
    return index;
}

} // namespace

QString dir()
{
    return mediaTempDir().path();
}

QString missingFile()
{
    return QDir(dir()).filePath("does-not-exist.mp4");
}

QString path(const QString &name)
{
    const QString target = QDir(dir()).filePath(name);
    if (QFileInfo::exists(target) || generate(name, target))
        return target;
    ADD_FAILURE() << "could not generate " << name.toStdString();
    return {};
}

QStringList copies(const QString &name, int count)
{
    const QString source = path(name);
    const QFileInfo info(source);
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString copy = QDir(dir()).filePath(
            QStringLiteral("%1_copy%2.%3").arg(info.completeBaseName()).arg(i).arg(info.suffix()));
        if (!QFileInfo::exists(copy))
            QFile::copy(source, copy);
        paths << copy;
    }
    return paths;
}

QList<qint64> ffprobeFrameTimesUs(const QString &file)
{
    const double startSeconds = probeContainerStartSeconds(file);
    const QByteArray out = runTool("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries",
                                               "frame=best_effort_timestamp_time", "-of", "csv=p=0", file});
    QList<qint64> times;
    for (const QByteArray &line : out.split('\n')) {
        bool ok = false;
        // ffprobe ends the first row with an empty side-data field: "0.000000,".
        const double seconds = line.split(',').first().trimmed().toDouble(&ok);
        if (ok)
            times.append(qRound64((seconds - startSeconds) * 1e6));
    }
    return times;
}

int frameShownAt(const QList<qint64> &frameTimesUs, qint64 sourceUs)
{
    int shown = 0;
    for (int i = 0; i < frameTimesUs.size(); ++i) {
        if (frameTimesUs[i] <= sourceUs)
            shown = i;
    }
    return shown;
}

std::vector<float> ffmpegAudio(const QString &file)
{
    const QByteArray out = runTool("ffmpeg", {"-v", "error", "-i", file, "-map", "0:a:0", "-ac", "2", "-ar",
                                              "48000", "-f", "f32le", "-"});
    std::vector<float> samples(size_t(out.size()) / sizeof(float));
    std::memcpy(samples.data(), out.constData(), samples.size() * sizeof(float));
    return samples;
}

qint64 bestLag(const std::vector<float> &window, const std::vector<float> &reference, qint64 fromFrame,
               qint64 toFrame)
{
    const qint64 length = qint64(window.size() / 2);
    const qint64 referenceFrames = qint64(reference.size() / 2);
    qint64 best = -1;
    double bestScore = -2.0;
    for (qint64 lag = std::max<qint64>(fromFrame, 0); lag < toFrame && lag + length <= referenceFrames;
         ++lag) {
        double dot = 0.0, windowEnergy = 0.0, referenceEnergy = 0.0;
        for (qint64 i = 0; i < length; ++i) {
            const double a = window[size_t(i) * 2];
            const double b = reference[size_t(lag + i) * 2];
            dot += a * b;
            windowEnergy += a * a;
            referenceEnergy += b * b;
        }
        const double score = dot / std::sqrt(windowEnergy * referenceEnergy + 1e-12);
        if (score > bestScore) {
            bestScore = score;
            best = lag;
        }
    }
    return best;
}

int patternIndex(const orvel::Nv12Frame &frame)
{
    if (!frame.isValid())
        return -1;
    const auto *luma = reinterpret_cast<const unsigned char *>(frame.data.constData());
    return readBars(frame.width, frame.height, [&](int x, int y) { return int(luma[y * frame.width + x]); });
}

int patternIndex(const QImage &image)
{
    if (image.isNull())
        return -1;
    return readBars(image.width(), image.height(), [&](int x, int y) { return qGreen(image.pixel(x, y)); });
}

} // namespace testmedia
