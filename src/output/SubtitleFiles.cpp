#include "output/SubtitleFiles.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

namespace orvel {

namespace srt_detail {

void setError(QString *error, const QString &message)
{
    if (error)
        *error = message;
}

const QRegularExpression &timingPattern()
{
    // A coordinate suffix beginning with "X1:" after the end time is dropped.
    static const QRegularExpression pattern(QStringLiteral("^\\s*(.+?)\\s*-->\\s*(.+?)\\s*(?:X1:.*)?$"));
    return pattern;
}

// Hours take one digit or more: a file we wrote past the hundredth hour must read back.
bool parseTimestamp(const QString &text, TimeUs &us)
{
    static const QRegularExpression pattern(
        QStringLiteral("^\\s*(\\d+):(\\d{2}):(\\d{2})[,.](\\d{1,3})\\s*$"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return false;
    const qint64 hours = match.captured(1).toLongLong();
    const qint64 minutes = match.captured(2).toLongLong();
    const qint64 seconds = match.captured(3).toLongLong();
    const qint64 millis = match.captured(4).leftJustified(3, QLatin1Char('0')).toLongLong();
    if (minutes >= 60 || seconds >= 60)
        return false;
    us = (((hours * 60 + minutes) * 60 + seconds) * 1000 + millis) * 1000;
    return true;
}

QStringList trimmedBlockLines(const QString &block)
{
    QStringList lines = block.split(QLatin1Char('\n'));
    while (!lines.isEmpty() && lines.first().trimmed().isEmpty())
        lines.removeFirst();
    while (!lines.isEmpty() && lines.last().trimmed().isEmpty())
        lines.removeLast();
    return lines;
}

// Parses one block; a block without a cue worth keeping leaves `cues` as it was.
bool parseBlock(const QStringList &lines, QList<SubtitleCue> &cues, QString *error)
{
    int timingIndex = 0;
    if (lines.size() >= 2 && !timingPattern().match(lines.first().trimmed()).hasMatch())
        timingIndex = 1; // the first line is the cue's number
    const QRegularExpressionMatch timing = timingPattern().match(lines[timingIndex].trimmed());
    if (!timing.hasMatch()) {
        setError(error, QStringLiteral("Invalid subtitle timing line"));
        return false;
    }
    SubtitleCue cue;
    if (!parseTimestamp(timing.captured(1), cue.startUs) || !parseTimestamp(timing.captured(2), cue.endUs)) {
        setError(error, QStringLiteral("Invalid subtitle timestamp"));
        return false;
    }
    cue.text = lines.mid(timingIndex + 1).join(QLatin1Char('\n'));
    if (cue.endUs > cue.startUs)
        cues.append(cue);
    return true;
}

} // namespace srt_detail

bool parseSrtText(const QString &text, QList<SubtitleCue> *cues, QString *error)
{
    if (!cues) {
        srt_detail::setError(error, QStringLiteral("Missing output"));
        return false;
    }
    QString normalised = text;
    if (normalised.startsWith(QChar(0xFEFF)))
        normalised.remove(0, 1); // a byte order mark that decoding left in
    normalised.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    normalised.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    normalised = normalised.trimmed();
    if (normalised.isEmpty()) {
        srt_detail::setError(error, QStringLiteral("Subtitle file is empty"));
        return false;
    }
    static const QRegularExpression blankLines(QStringLiteral("\\n(?:[ \\t]*\\n)+"));
    QList<SubtitleCue> parsed;
    for (const QString &block : normalised.split(blankLines)) {
        const QStringList lines = srt_detail::trimmedBlockLines(block);
        if (!lines.isEmpty() && !srt_detail::parseBlock(lines, parsed, error))
            return false;
    }
    if (parsed.isEmpty()) {
        srt_detail::setError(error, QStringLiteral("No subtitle cues found"));
        return false;
    }
    *cues = parsed;
    return true;
}

bool readSrtFile(const QString &path, QList<SubtitleCue> *cues, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        srt_detail::setError(error, QStringLiteral("Could not open subtitle file"));
        return false;
    }
    return parseSrtText(QString::fromUtf8(file.readAll()), cues, error);
}

QString formatSrtTime(TimeUs us)
{
    const qint64 totalMs = std::max<TimeUs>(us, 0) / 1000;
    const qint64 ms = totalMs % 1000;
    const qint64 totalSeconds = totalMs / 1000;
    return QStringLiteral("%1:%2:%3,%4")
        .arg(totalSeconds / 3600, 2, 10, QLatin1Char('0'))
        .arg((totalSeconds / 60) % 60, 2, 10, QLatin1Char('0'))
        .arg(totalSeconds % 60, 2, 10, QLatin1Char('0'))
        .arg(ms, 3, 10, QLatin1Char('0'));
}

QString formatSrtText(const QList<SubtitleCue> &cues)
{
    QString text;
    for (int i = 0; i < cues.size(); ++i) {
        text += QString::number(i + 1) + QLatin1Char('\n');
        text += formatSrtTime(cues[i].startUs) + QLatin1String(" --> ") + formatSrtTime(cues[i].endUs) +
                QLatin1Char('\n');
        text += cues[i].text + QLatin1String("\n\n");
    }
    return text;
}

bool writeSrtFile(const QString &path, const QList<SubtitleCue> &cues, QString *error)
{
    QFile file(path);
    const QByteArray bytes = formatSrtText(cues).toUtf8();
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text) ||
        file.write(bytes) != bytes.size() || !file.flush()) {
        srt_detail::setError(error, QStringLiteral("Could not write subtitle file"));
        return false;
    }
    return true;
}

} // namespace orvel
