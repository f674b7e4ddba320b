#include "DecodeTestMedia.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace decodetest {

namespace {
QTemporaryDir &mediaDir()
{
    static QTemporaryDir dir;
    return dir;
}

// Runs ffmpeg once per output name; a failure fails the calling test.
QString generate(const QString &name, const QStringList &args)
{
    const QString path = mediaDir().filePath(name);
    if (QFile::exists(path))
        return path;
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), QStringList{"-v", "error", "-y"} + args + QStringList{path});
    const bool finished = ffmpeg.waitForFinished(60'000);
    EXPECT_TRUE(finished && ffmpeg.exitCode() == 0)
        << "ffmpeg failed for " << name.toStdString() << ": " << ffmpeg.readAllStandardError().toStdString();
    return path;
}

QString patternSource(double seconds)
{
    return QStringLiteral("color=c=black:s=%1x%2:r=25:d=%3,format=gray,"
                          "geq=lum='if(bitand(N\\,pow(2\\,floor(X*8/W)))\\,235\\,16)'")
        .arg(kPatternWidth)
        .arg(kPatternHeight)
        .arg(seconds);
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

QString patternVideo()
{
    return generate("pattern.mp4", {"-f",       "lavfi",   "-i",      patternSource(8),
                                    "-f",       "lavfi",   "-i",      "sine=f=440:r=48000:d=8",
                                    "-c:v",     "libx264", "-preset", "veryfast",
                                    "-crf",     "18",      "-g",      "50",
                                    "-pix_fmt", "yuv420p", "-c:a",    "aac",
                                    "-shortest"});
}

QString variableRateVideo()
{
    return generate("vfr.mkv", {"-f",
                                "lavfi",
                                "-i",
                                patternSource(3),
                                "-vf",
                                "settb=1/1000,setpts='if(lt(N,25),N/25,1+(N-25)/10)/TB'",
                                "-fps_mode",
                                "passthrough",
                                "-enc_time_base",
                                "1/1000",
                                "-frames:v",
                                "45",
                                "-c:v",
                                "libx264",
                                "-preset",
                                "veryfast",
                                "-crf",
                                "18",
                                "-pix_fmt",
                                "yuv420p"});
}

QString noFrameRateVideo()
{
    return generate("nofps.nut", {"-f", "lavfi", "-i", "color=c=gray:s=64x48:r=2:d=1", "-c:v", "libx264",
                                  "-preset", "veryfast", "-pix_fmt", "yuv420p"});
}

QString rawNv12Video()
{
    return generate("raw-nv12.nut",
                    {"-f", "lavfi", "-i", patternSource(1), "-c:v", "rawvideo", "-pix_fmt", "nv12"});
}

QString oddSizeVideo()
{
    return generate("odd.mp4",
                    {"-f", "lavfi", "-i", "color=c=red:s=160x96:r=25:d=1,format=yuv444p,scale=161:97", "-c:v",
                     "libx264", "-preset", "veryfast"});
}

QString rampAudio()
{
    return generate("ramp.wav",
                    {"-f", "lavfi", "-i", "aevalsrc='t/10|t/10':s=48000:d=6", "-c:a", "pcm_f32le"});
}

QString missingFile()
{
    return mediaDir().filePath("does-not-exist.mp4");
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

} // namespace decodetest
