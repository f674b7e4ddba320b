#include "render/text/TextLayout.h"

#include "catalog/FontCatalog.h"
#include "render/text/TextWords.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QHash>
#include <QMutex>
#include <QRawFont>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace orvel {

namespace textlayout_detail {

bool accentRuleSet(const TextAccent &accent)
{
    return accent.rule != TextAccentRule::none;
}

// Accent words are laid out at a size of their own only when the rule gives them one.
bool accentHasOwnSize(const TextAccent &accent)
{
    return accentRuleSet(accent) && accent.sizeScale > 0.0 && !qFuzzyCompare(accent.sizeScale, 1.0);
}

// Outlines come out of the font file through the hinter on every request, and a title redrawn
// for each style change asks for the same few glyphs again and again. They are kept per font
// (names, size, weight and the font file's header, which tells two files of one name apart)
// and glyph; the store is emptied when it grows large.
class GlyphPathCache
{
public:
    static QByteArray fontKey(const QRawFont &font)
    {
        QByteArray key = font.familyName().toUtf8();
        key += '\0' + font.styleName().toUtf8() + '\0';
        key += QByteArray::number(font.pixelSize()) + ',' + QByteArray::number(font.weight()) + ',' +
               QByteArray::number(int(font.style())) + ',' +
               QByteArray::number(int(font.hintingPreference()));
        return key + font.fontTable("head");
    }

    QPainterPath path(const QRawFont &font, const QByteArray &fontKey, quint32 glyphIndex)
    {
        const QPair<QByteArray, quint32> key(fontKey, glyphIndex);
        {
            QMutexLocker lock(&m_mutex);
            const auto found = m_paths.constFind(key);
            if (found != m_paths.cend())
                return found.value();
        }
        const QPainterPath made = font.pathForGlyph(glyphIndex);
        QMutexLocker lock(&m_mutex);
        if (m_paths.size() >= kCapacity)
            m_paths.clear();
        m_paths.insert(key, made);
        return made;
    }

private:
    static constexpr qsizetype kCapacity = 4096;
    QMutex m_mutex;
    QHash<QPair<QByteArray, quint32>, QPainterPath> m_paths;
};

GlyphPathCache &glyphPathCache()
{
    static GlyphPathCache cache;
    return cache;
}

// The vector outlines of a stretch of laid-out glyphs. Glyphs without an outline (colour emoji)
// count for the ink box with the whole em box they advance over, as they do not always report
// an ink box of their own.
void collectGlyphs(const QList<QGlyphRun> &glyphRuns, GlyphRun &run)
{
    for (const QGlyphRun &glyphRun : glyphRuns) {
        const QRawFont font = glyphRun.rawFont();
        const QList<quint32> indexes = glyphRun.glyphIndexes();
        const QList<QPointF> positions = glyphRun.positions();
        const QList<QPointF> advances = font.advancesForGlyphIndexes(indexes);
        const QByteArray fontKey = GlyphPathCache::fontKey(font);
        for (int i = 0; i < indexes.size(); ++i) {
            QPainterPath glyph = glyphPathCache().path(font, fontKey, indexes[i]);
            if (!glyph.isEmpty()) {
                glyph.translate(positions[i]);
                run.path.addPath(glyph);
            } else if (advances[i].x() > 0.0) {
                run.bounds |= QRectF(positions[i].x(), positions[i].y() - font.ascent(), advances[i].x(),
                                     font.ascent() + font.descent());
            }
        }
    }
    run.path.setFillRule(Qt::WindingFill);
    run.bounds |= run.path.boundingRect();
}

// One emoji sequence drawn as a picture, when its glyphs have no outline, with the font and pen
// position the layout chose for it.
void appendBitmapSpan(const QTextLine &line, const QString &text, int from, int length, GlyphRun &run)
{
    const QList<QGlyphRun> glyphRuns = line.glyphRuns(from, length);
    if (glyphRuns.isEmpty() || glyphRuns.first().glyphIndexes().isEmpty())
        return;
    const QRawFont rawFont = glyphRuns.first().rawFont();
    if (!rawFont.pathForGlyph(glyphRuns.first().glyphIndexes().first()).isEmpty())
        return; // an outline font drew it: the path has it already
    QPointF pen = glyphRuns.first().positions().first();
    for (const QGlyphRun &glyphRun : glyphRuns) {
        for (const QPointF &position : glyphRun.positions())
            pen.setX(std::min(pen.x(), position.x())); // right-to-left lines list glyphs backwards
    }
    QFont font(rawFont.familyName());
    font.setPixelSize(std::max(1, int(std::lround(rawFont.pixelSize()))));
    run.bitmapSpans.append({text.mid(from, length), font, pen});
}

// The emoji inside [start, start + length), one sequence at a time.
void collectBitmapSpans(const QTextLine &line, const QString &text, int start, int length,
                        const QList<TextWordRange> &emoji, GlyphRun &run)
{
    for (const TextWordRange &range : emoji) {
        const int from = std::max(start, range.start);
        const int to = std::min(start + length, range.start + range.length);
        if (from >= to)
            continue;
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.mid(from, to - from));
        int begin = 0;
        for (int end = int(finder.toNextBoundary()); end > 0; end = int(finder.toNextBoundary())) {
            appendBitmapSpan(line, text, from + begin, end - begin, run);
            begin = end;
        }
    }
}

QList<bool> accentFlags(const TextAccent &accent, const QList<TextWordRange> &words, int karaokeIndex)
{
    int longest = -1;
    int longestLength = -1;
    for (int i = 0; i < words.size(); ++i) {
        if (words[i].length > longestLength) {
            longest = i;
            longestLength = words[i].length;
        }
    }
    QList<bool> flags;
    for (int i = 0; i < words.size(); ++i)
        flags.append(textWordIsAccent(accent, i, int(words.size()), longest, karaokeIndex));
    return flags;
}

void layOutLines(QTextLayout &layout, const TextStyle &style, const QFont &baseFont, const QSizeF &boxSize,
                 bool useOwnLineHeight)
{
    const double lineWidth = style.wordWrap ? std::max(boxSize.width(), 1.0) : 1.0e6;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine())
        line.setLineWidth(lineWidth);
    layout.endLayout();

    const double factor = std::max(style.lineHeight, 0.1);
    const double spacing = QFontMetricsF(baseFont).lineSpacing();
    QList<double> pitches;
    double textHeight = 0.0;
    for (int i = 0; i < layout.lineCount(); ++i) {
        pitches.append(factor * (useOwnLineHeight ? layout.lineAt(i).height() : spacing));
        textHeight += pitches.last();
    }
    double y = 0.0;
    if (style.valign == TextVAlign::middle)
        y = (boxSize.height() - textHeight) / 2.0;
    else if (style.valign == TextVAlign::bottom)
        y = boxSize.height() - textHeight;
    for (int i = 0; i < layout.lineCount(); ++i) {
        QTextLine line = layout.lineAt(i);
        double x = 0.0;
        if (style.align == TextAlign::center)
            x = (boxSize.width() - line.naturalTextWidth()) / 2.0;
        else if (style.align == TextAlign::right)
            x = boxSize.width() - line.naturalTextWidth();
        // The pitch's extra room is shared above and below the line, so a block of one line
        // sits at the centre of its pitch.
        line.setPosition(QPointF(x, y + (pitches[i] - line.height()) / 2.0));
        y += pitches[i];
    }
}

void appendRun(QList<GlyphRun> &runs, const QTextLayout &layout, const QList<TextWordRange> &emoji, int start,
               int length, int wordIndex, bool isAccent)
{
    const QTextLine line = layout.lineForTextPosition(start);
    if (!line.isValid())
        return;
    GlyphRun run;
    collectGlyphs(line.glyphRuns(start, length), run);
    collectBitmapSpans(line, layout.text(), start, length, emoji, run);
    if (run.path.isEmpty() && run.bitmapSpans.isEmpty())
        return;
    run.baseline = line.y() + line.ascent();
    run.lineIndex = line.lineNumber();
    run.wordIndex = wordIndex;
    run.isAccent = isAccent;
    runs.append(run);
}

bool isEmojiCodePoint(char32_t c)
{
    return (c >= 0x1F000 && c <= 0x1FAFF) || (c >= 0x2600 && c <= 0x27BF) || (c >= 0x2300 && c <= 0x23FF) ||
           (c >= 0x2B00 && c <= 0x2BFF);
}

// Code points that continue an emoji sequence: joiners, presentation selectors, keycaps, tags.
bool isEmojiContinuation(char32_t c)
{
    return c == 0x200D || c == 0xFE0F || c == 0x20E3 || (c >= 0xE0020 && c <= 0xE007F) ||
           (c >= 0x1F3FB && c <= 0x1F3FF);
}

// Stretches of emoji in the text. They get the colour emoji font first: otherwise a text font
// with a plain black-and-white drawing of a few of them would win.
QList<TextWordRange> emojiRanges(const QString &text)
{
    QList<TextWordRange> ranges;
    const QList<uint> codePoints = text.toUcs4();
    int offset = 0; // in UTF-16 units
    bool open = false;
    for (const uint c : codePoints) {
        const int units = c > 0xFFFF ? 2 : 1;
        if (isEmojiCodePoint(c) || (open && isEmojiContinuation(c))) {
            if (open)
                ranges.last().length += units;
            else
                ranges.append({offset, units});
            open = true;
        } else {
            open = false;
        }
        offset += units;
    }
    return ranges;
}

// The emoji font of the catalog, else a colour emoji font the system has, else none.
QString emojiFamily()
{
    const QString catalogFamily = emojiFontFamily();
    if (!catalogFamily.isEmpty())
        return catalogFamily;
    static const QString systemFamily = [] {
        const QStringList families = QFontDatabase::families();
        for (const QString &family : families) {
            if (family.contains(QLatin1String("Color Emoji"), Qt::CaseInsensitive))
                return family;
        }
        for (const QString &family : families) {
            if (family.contains(QLatin1String("Emoji"), Qt::CaseInsensitive))
                return family;
        }
        return QString();
    }();
    return systemFamily;
}

QList<QTextLayout::FormatRange> formatRanges(const TextStyle &style, const QList<TextWordRange> &words,
                                             const QList<bool> &accents, const QList<TextWordRange> &emoji,
                                             bool ownSize, double scale)
{
    QList<QTextLayout::FormatRange> ranges;
    if (ownSize) {
        QTextCharFormat accentFormat;
        accentFormat.setFont(textAccentFont(style, scale));
        for (int i = 0; i < words.size(); ++i) {
            if (accents[i])
                ranges.append({words[i].start, words[i].length, accentFormat});
        }
    }
    const QString family = emojiFamily();
    if (!family.isEmpty()) {
        QTextCharFormat emojiFormat;
        emojiFormat.setFontFamilies(QStringList{family});
        for (const TextWordRange &range : emoji)
            ranges.append({range.start, range.length, emojiFormat});
    }
    return ranges;
}

} // namespace textlayout_detail

double textStyleMarginPx(const TextStyle &style)
{
    const TextAccent &accent = style.accent;
    const bool ruleSet = textlayout_detail::accentRuleSet(accent);
    double margin = style.outlineWidth;
    if (ruleSet && accent.outlineEnabled)
        margin = std::max(margin, accent.outlineWidth);
    if (style.shadowEnabled)
        margin +=
            std::max(std::abs(style.shadowOffsetX), std::abs(style.shadowOffsetY)) + 2.0 * style.shadowBlur;
    if (style.glowEnabled)
        margin += 2.0 * style.glowRadius;
    if (style.boxEnabled)
        margin += style.boxPadding + style.boxRadius;
    double highlight = 0.0;
    if (ruleSet && accent.highlight.enabled)
        highlight = accent.highlight.padding + accent.highlight.radius;
    if (style.wordHighlight.enabled)
        highlight = std::max(highlight, style.wordHighlight.padding + style.wordHighlight.radius);
    margin += highlight;
    if (style.underlineEnabled)
        margin += style.underlineOffset + style.underlineWidth;
    if (ruleSet && accent.sizeScale > 1.0)
        margin += style.pixelSize * (accent.sizeScale - 1.0);
    if (style.animIn.kind == TextAnimKind::blur || style.animOut.kind == TextAnimKind::blur)
        margin += 24.0;
    return margin;
}

QFont textBaseFont(const TextStyle &style, double scale)
{
    QFont font(style.fontFamily);
    font.setPixelSize(std::max(1, int(std::lround(style.pixelSize * scale))));
    font.setWeight(QFont::Weight(std::clamp(style.fontWeight, 1, 1000)));
    font.setItalic(style.italic);
    // Unhinted outlines keep a quarter-size preview shaped like the full-size export.
    font.setHintingPreference(QFont::PreferNoHinting);
    if (std::abs(style.letterSpacing) > 1e-12)
        font.setLetterSpacing(QFont::AbsoluteSpacing, style.letterSpacing * scale);
    return font;
}

QFont textAccentFont(const TextStyle &style, double scale)
{
    QFont font = textBaseFont(style, scale);
    if (textlayout_detail::accentHasOwnSize(style.accent)) {
        const auto size = std::lround(style.pixelSize * style.accent.sizeScale * scale);
        font.setPixelSize(std::max(1, int(size)));
    }
    return font;
}

bool textWordIsAccent(const TextAccent &accent, int i, int wordCount, int longestWord, int karaokeIndex)
{
    const int p = accent.phase;
    switch (accent.rule) {
    case TextAccentRule::none:
        return false;
    case TextAccentRule::firstWord:
        return i == 0;
    case TextAccentRule::lastWord:
        return i == wordCount - 1;
    case TextAccentRule::everyOther:
        return i >= p && (i - p) % 2 == 0;
    case TextAccentRule::everyNth:
        return i >= p && (i - p) % std::max(accent.n, 1) == 0;
    case TextAccentRule::longestWord:
        return i == longestWord;
    case TextAccentRule::randomStable:
        return textStableHash16(i) < 21845;
    case TextAccentRule::karaoke:
        return i == karaokeIndex;
    }
    return false;
}

QList<GlyphRun> layoutTextRuns(const TextStyle &style, const QString &text, const QSizeF &boxSize,
                               double scale, int karaokeIndex, TextRunCut cut)
{
    const QList<TextWordRange> words = textWordRanges(text);
    if (words.isEmpty())
        return {};
    const QList<bool> accents = textlayout_detail::accentFlags(style.accent, words, karaokeIndex);
    const QFont baseFont = textBaseFont(style, scale);
    const bool ownSize = textlayout_detail::accentHasOwnSize(style.accent) && accents.contains(true);

    // Text lines of a cue break where the text breaks; the layout only knows its own separator.
    QString laidOut = text;
    laidOut.replace(QLatin1Char('\n'), QChar::LineSeparator);
    QTextLayout layout(laidOut, baseFont);
    QTextOption option;
    option.setWrapMode(style.wordWrap ? QTextOption::WordWrap : QTextOption::NoWrap);
    option.setAlignment(Qt::AlignLeft | Qt::AlignAbsolute); // alignment is placed by hand below
    layout.setTextOption(option);
    const QList<TextWordRange> emoji = textlayout_detail::emojiRanges(text);
    layout.setFormats(textlayout_detail::formatRanges(style, words, accents, emoji, ownSize, scale));
    textlayout_detail::layOutLines(layout, style, baseFont, boxSize, ownSize);

    QList<GlyphRun> runs;
    for (int i = 0; i < words.size(); ++i) {
        const TextWordRange &word = words[i];
        if (cut == TextRunCut::word) {
            textlayout_detail::appendRun(runs, layout, emoji, word.start, word.length, i, accents[i]);
            continue;
        }
        // Characters are cut at grapheme boundaries, so an emoji sequence stays one piece.
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.mid(word.start, word.length));
        int from = 0;
        for (int to = int(finder.toNextBoundary()); to > 0; to = int(finder.toNextBoundary())) {
            textlayout_detail::appendRun(runs, layout, emoji, word.start + from, to - from, i, accents[i]);
            from = to;
        }
    }
    return runs;
}

void translateGlyphRun(GlyphRun &run, const QPointF &delta)
{
    run.path.translate(delta);
    run.bounds.translate(delta);
    run.baseline += delta.y();
    for (TextBitmapSpan &span : run.bitmapSpans)
        span.position += delta;
}

} // namespace orvel
