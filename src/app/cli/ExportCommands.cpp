// orvel-render's export commands: a whole film, a video segment of a split render, the
// soundtrack alone, and the join of such pieces.
#include "app/cli/ExportCommands.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QRegularExpression>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace orvelcli {

namespace {

std::atomic_bool g_interrupted{false};

void onInterrupt(int)
{
    g_interrupted.store(true);
}

int fail(const QString &message)
{
    std::fprintf(stderr, "orvel-render: %s\n", qPrintable(message));
    return 1;
}

QString clockText(double seconds)
{
    const long long whole = std::llround(std::max(seconds, 0.0));
    return QStringLiteral("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

// One line on a terminal, rewritten in place a few times a second.
class ProgressLine
{
public:
    ProgressLine(bool enabled, long long frames) : m_enabled(enabled), m_frames(frames) { m_clock.start(); }
    ~ProgressLine()
    {
        if (m_shown)
            std::fputc('\n', stderr);
    }

    void show(double fraction, bool now = false)
    {
        if (!m_enabled || (m_shown && !now && m_clock.elapsed() - m_lastMs < 250))
            return;
        m_lastMs = m_clock.elapsed();
        const double seconds = double(m_lastMs) / 1000.0;
        const double fps = seconds > 0.0 ? fraction * double(m_frames) / seconds : 0.0;
        const QString left =
            fraction > 0.0 ? clockText(seconds * (1.0 - fraction) / fraction) : QStringLiteral("-:--");
        std::fprintf(stderr, "\r%3d%%  %6.1f fps  %s left  ", int(fraction * 100.0), fps, qPrintable(left));
        std::fflush(stderr);
        m_shown = true;
    }

private:
    bool m_enabled = false;
    long long m_frames = 0;
    QElapsedTimer m_clock;
    qint64 m_lastMs = 0;
    bool m_shown = false;
};

const QCommandLineOption kSegment(QStringLiteral("segment"),
                                  QStringLiteral("With --export: only segment I of N (from 1), video only."),
                                  QStringLiteral("I/N"));
const QCommandLineOption kVideoCodec(QStringLiteral("video-codec"),
                                     QStringLiteral("Video encoder id (default h264)."),
                                     QStringLiteral("ID"));
const QCommandLineOption kAudioCodec(QStringLiteral("audio-codec"),
                                     QStringLiteral("Audio encoder id (default aac)."), QStringLiteral("ID"));
const QCommandLineOption kCrf(QStringLiteral("crf"), QStringLiteral("Constant quality number."),
                              QStringLiteral("N"));
const QCommandLineOption kBitrate(QStringLiteral("bitrate"),
                                  QStringLiteral("Video bitrate instead of quality."),
                                  QStringLiteral("KBPS"));
const QCommandLineOption kAudioBitrate(QStringLiteral("audio-bitrate"),
                                       QStringLiteral("Audio bitrate (default 192)."),
                                       QStringLiteral("KBPS"));
const QCommandLineOption kPreset(QStringLiteral("preset"), QStringLiteral("Encoder preset."),
                                 QStringLiteral("P"));
const QCommandLineOption kHeight(QStringLiteral("height"),
                                 QStringLiteral("Output height (default the project's)."),
                                 QStringLiteral("H"));

bool readInt(const QCommandLineParser &parser, const QCommandLineOption &option, int low, int high,
             int *value, QString *error)
{
    if (!parser.isSet(option))
        return true;
    bool ok = false;
    const int number = parser.value(option).toInt(&ok);
    if (!ok || number < low || number > high) {
        *error = QStringLiteral("--%1 must be a whole number from %2 to %3")
                     .arg(option.names().first())
                     .arg(low)
                     .arg(high);
        return false;
    }
    *value = number;
    return true;
}

bool readSegment(const QCommandLineParser &parser, const orvel::Project &project, orvel::ExportPart *part,
                 QString *error)
{
    const QRegularExpressionMatch m =
        QRegularExpression(QStringLiteral("^(\\d+)/(\\d+)$")).match(parser.value(kSegment));
    const int index = m.captured(1).toInt();
    const int count = m.captured(2).toInt();
    if (!m.hasMatch() || count < 1 || index < 1 || index > count) {
        *error = QStringLiteral("--segment must read I/N with I from 1 to N");
        return false;
    }
    // Segments are cut where the one-piece encoder would start a new group of pictures.
    const int gopFrames = 2 * std::max(project.fps, 1);
    const orvel::ExportFrameRange range =
        orvel::exportSegmentRange(orvel::exportTotalFrames(project), gopFrames, index - 1, count);
    if (range.endFrame <= range.firstFrame) {
        *error = QStringLiteral("segment %1/%2 holds no frames: the film has fewer groups of pictures")
                     .arg(index)
                     .arg(count);
        return false;
    }
    part->audio = false;
    part->firstFrame = range.firstFrame;
    part->endFrame = range.endFrame;
    return true;
}

} // namespace

void ExportOptions::addTo(QCommandLineParser &parser)
{
    parser.addOptions({kSegment, kVideoCodec, kAudioCodec, kCrf, kBitrate, kAudioBitrate, kPreset, kHeight});
}

bool ExportOptions::read(const QCommandLineParser &parser, const orvel::Project &project,
                         orvel::ExportSettings *settings, orvel::ExportPart *part, QString *error)
{
    orvel::ExportSettings s;
    if (parser.isSet(kVideoCodec)) {
        s.videoCodecId = parser.value(kVideoCodec);
        // A codec chosen without further words gets its own quality number and preset.
        if (const orvel::VideoCodecRow *row = orvel::findVideoCodecRow(s.videoCodecId)) {
            s.crf = row->defaultCrf;
            s.videoPreset = row->defaultPreset;
            if (row->rateMode == orvel::ExportRateMode::BitrateOnly)
                s.rateControl = QStringLiteral("bitrate");
        }
    }
    if (parser.isSet(kAudioCodec))
        s.audioCodecId = parser.value(kAudioCodec);
    if (parser.isSet(kCrf) && parser.isSet(kBitrate)) {
        *error = QStringLiteral("give --crf or --bitrate, not both");
        return false;
    }
    if (!readInt(parser, kCrf, 0, 63, &s.crf, error) ||
        !readInt(parser, kBitrate, 100, 1000000, &s.videoBitrateKbps, error) ||
        !readInt(parser, kAudioBitrate, 32, 1024, &s.audioBitrateKbps, error) ||
        !readInt(parser, kHeight, 2, 16384, &s.targetHeight, error))
        return false;
    if (parser.isSet(kCrf))
        s.rateControl = QStringLiteral("crf");
    if (parser.isSet(kBitrate))
        s.rateControl = QStringLiteral("bitrate");
    if (parser.isSet(kPreset))
        s.videoPreset = parser.value(kPreset);
    *settings = s;
    *part = orvel::ExportPart{};
    return !parser.isSet(kSegment) || readSegment(parser, project, part, error);
}

void installInterruptHandler()
{
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    action.sa_flags = SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

int runExportCommand(const orvel::Project &project, const orvel::ExportSettings &settings,
                     const orvel::ExportPart &part, const QString &outputPath, bool quiet)
{
    const long long total = orvel::exportTotalFrames(project);
    const long long frames = (part.endFrame < 0 ? total : part.endFrame) - part.firstFrame;
    ProgressLine line(!quiet && isatty(STDERR_FILENO), frames);
    const orvel::ExportResult result = orvel::runExport(
        project, settings, outputPath,
        [&line](double fraction) {
            line.show(fraction);
            return !g_interrupted.load();
        },
        part);
    if (result.success) {
        line.show(1.0, true);
        return 0;
    }
    if (result.cancelled) {
        std::fprintf(stderr, "\norvel-render: export cancelled\n");
        return 130;
    }
    return fail(result.message);
}

int runJoinCommand(const QStringList &segmentPaths, const QString &audioPath, const QString &outputPath)
{
    QString error;
    return orvel::joinExportParts(segmentPaths, audioPath, outputPath, &error) ? 0 : fail(error);
}

} // namespace orvelcli
