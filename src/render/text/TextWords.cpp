#include "render/text/TextWords.h"

#include <QRegularExpression>

#include <algorithm>

namespace orvel {

uint16_t textStableHash16(int index)
{
    uint64_t h = uint32_t(uint32_t(index) * 0x9e3779b1u);
    for (int round = 0; round < 2; ++round) {
        h ^= h >> 32;
        h *= 0xd6e8feb86659fd93ull;
    }
    return uint16_t(((h >> 32) ^ h) & 0xffffu) ^ 0x79b9u;
}

QList<TextWordRange> textWordRanges(const QString &text)
{
    QList<TextWordRange> words;
    int i = 0;
    const int n = int(text.size());
    while (i < n) {
        while (i < n && text.at(i).isSpace())
            ++i;
        const int start = i;
        while (i < n && !text.at(i).isSpace())
            ++i;
        if (i > start)
            words.append({start, i - start});
    }
    return words;
}

QList<SubtitleCue> wordSpans(const SubtitleCue &cue)
{
    static const QRegularExpression tokenPattern(QStringLiteral("(\\s*\\S+)"));
    QStringList tokens;
    QList<qint64> weights;
    qint64 total = 0;
    for (auto it = tokenPattern.globalMatch(cue.text); it.hasNext();) {
        const QString token = it.next().captured(1);
        tokens.append(token);
        weights.append(std::max<qint64>(1, token.trimmed().size()));
        total += weights.last();
    }
    QList<SubtitleCue> spans;
    const TimeUs span = std::max<TimeUs>(cue.endUs - cue.startUs, 1);
    TimeUs cursor = cue.startUs;
    for (int i = 0; i < tokens.size(); ++i) {
        TimeUs end = cue.endUs;
        if (i + 1 < tokens.size()) {
            const auto share = TimeUs(double(weights[i]) / double(total) * double(span));
            end = std::min(cursor + std::max<TimeUs>(1, share), cue.endUs);
        }
        if (end <= cursor)
            end = cursor + 1;
        spans.append({cursor, end, tokens[i]});
        cursor = end;
    }
    if (!spans.isEmpty())
        spans.last().endUs = cue.endUs;
    return spans;
}

int karaokeWordIndex(const QString &text, TimeUs startUs, TimeUs endUs, TimeUs t)
{
    if (endUs <= startUs || t < startUs)
        return -1;
    const QList<SubtitleCue> spans = wordSpans({startUs, endUs, text});
    if (spans.isEmpty())
        return -1;
    for (int i = 0; i < spans.size(); ++i) {
        if (t < spans[i].endUs)
            return i;
    }
    return int(spans.size()) - 1;
}

} // namespace orvel
