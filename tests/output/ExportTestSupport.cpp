#include "ExportTestSupport.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace exporttest {

QString runTool(const QString &program, const QStringList &arguments, QString *error)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(120000) || process.exitCode() != 0) {
        if (error)
            *error = QString::fromUtf8(process.readAllStandardError());
        return {};
    }
    if (error)
        *error = QString::fromUtf8(process.readAllStandardError());
    return QString::fromUtf8(process.readAllStandardOutput());
}

QByteArray fileContents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFileBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QString sourceClip()
{
    static QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("source.mkv"));
    if (!QFile::exists(path)) {
        runTool(QStringLiteral("ffmpeg"),
                {"-v", "error", "-f", "lavfi", "-i", "testsrc2=size=320x180:rate=25:duration=2", "-f",
                 "lavfi", "-i", "sine=frequency=440:sample_rate=48000:duration=2", "-ac", "2", "-c:v", "ffv1",
                 "-c:a", "flac", "-shortest", path});
    }
    return path;
}

orvel::Project clipProject(orvel::TimeUs durationUs)
{
    orvel::Clip clip;
    clip.id = QStringLiteral("clip");
    clip.type = orvel::ClipType::video;
    clip.path = sourceClip();
    clip.timelineDurationUs = durationUs;
    clip.srcOutUs = durationUs;
    orvel::Track track;
    track.clips = {clip};
    orvel::Project project;
    project.width = 320;
    project.height = 180;
    project.fps = 25;
    project.sampleRate = 48000;
    project.tracks = {track};
    return project;
}

Probe probe(const QString &path)
{
    Probe p;
    const QString json =
        runTool(QStringLiteral("ffprobe"),
                {"-v", "error", "-count_frames", "-show_entries",
                 "stream=codec_type,codec_name,pix_fmt,width,height,nb_read_frames:format=duration", "-of",
                 "json", path});
    const QJsonObject root = QJsonDocument::fromJson(json.toUtf8()).object();
    for (const QJsonValue &value : root.value("streams").toArray()) {
        const QJsonObject s = value.toObject();
        if (s.value("codec_type").toString() == QLatin1String("video")) {
            p.videoCodec = s.value("codec_name").toString();
            p.pixelFormat = s.value("pix_fmt").toString();
            p.width = s.value("width").toInt();
            p.height = s.value("height").toInt();
            p.videoFrames = s.value("nb_read_frames").toString().toLongLong();
        } else if (s.value("codec_type").toString() == QLatin1String("audio")) {
            p.audioCodec = s.value("codec_name").toString();
        }
    }
    p.durationSeconds = root.value("format").toObject().value("duration").toString().toDouble();
    // Samples counted by decoding the whole stream to raw stereo float, 8 bytes a frame.
    QProcess decode;
    decode.start(QStringLiteral("ffmpeg"),
                 {"-v", "error", "-i", path, "-map", "0:a:0", "-ac", "2", "-f", "f32le", "-"});
    decode.waitForFinished(120000);
    p.audioSamples = decode.readAllStandardOutput().size() / 8;
    return p;
}

double psnr(const QString &a, const QString &b)
{
    QString log;
    runTool(QStringLiteral("ffmpeg"),
            {"-v", "info", "-i", a, "-i", b, "-lavfi", "[0:v][1:v]psnr", "-f", "null", "-"}, &log);
    const QRegularExpressionMatch m = QRegularExpression(QStringLiteral("average:([0-9.]+|inf)")).match(log);
    if (!m.hasMatch())
        return -1.0;
    return m.captured(1) == QLatin1String("inf") ? 1000.0 : m.captured(1).toDouble();
}

double minFramePsnr(const QString &a, const QString &b)
{
    const QString stats =
        runTool(QStringLiteral("ffmpeg"), {"-v", "error", "-i", a, "-i", b, "-lavfi",
                                           "[0:v][1:v]psnr=stats_file=-", "-f", "null", "-"});
    double lowest = -1.0;
    const QRegularExpression value(QStringLiteral("psnr_avg:([0-9.]+|inf)"));
    for (const QString &line : stats.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch m = value.match(line);
        if (!m.hasMatch())
            continue;
        const double frame = m.captured(1) == QLatin1String("inf") ? 1000.0 : m.captured(1).toDouble();
        lowest = lowest < 0.0 ? frame : std::min(lowest, frame);
    }
    return lowest;
}

PlanePsnr planePsnr(const QString &a, const QString &b, const QString &pixelFormat)
{
    QString log;
    const QString graph = QStringLiteral("[0:v]format=%1[a];[1:v]format=%1[b];[a][b]psnr").arg(pixelFormat);
    runTool(QStringLiteral("ffmpeg"), {"-v", "info", "-i", a, "-i", b, "-lavfi", graph, "-f", "null", "-"},
            &log);
    const QRegularExpressionMatch m =
        QRegularExpression(QStringLiteral(" y:([0-9.]+|inf) u:([0-9.]+|inf) v:([0-9.]+|inf)")).match(log);
    PlanePsnr p;
    if (!m.hasMatch())
        return p;
    const auto value = [](const QString &text) {
        return text == QLatin1String("inf") ? 1000.0 : text.toDouble();
    };
    p.y = value(m.captured(1));
    p.u = value(m.captured(2));
    p.v = value(m.captured(3));
    return p;
}

} // namespace exporttest
