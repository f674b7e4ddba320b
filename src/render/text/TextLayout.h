#pragma once

#include "core/document/model/Project.h"

#include <QFont>
#include <QList>
#include <QPainterPath>
#include <QRectF>
#include <QString>

namespace orvel {

// A stretch of glyphs that only exist as pictures (colour emoji), which a path cannot carry. They
// are drawn as text in their own font at the pen position the layout gave them.
struct TextBitmapSpan
{
    QString text;
    QFont font;
    QPointF position; // pen position on the baseline
};

// One laid-out word (or, when cut finer, one character) in image coordinates.
struct GlyphRun
{
    QPainterPath path; // vector glyphs, winding fill
    QRectF bounds;     // ink of the vector and bitmap glyphs
    double baseline = 0.0;
    int32_t lineIndex = 0;
    int32_t wordIndex = 0;
    bool isAccent = false;
    QList<TextBitmapSpan> bitmapSpans;
};

// Extra room around the box, in unscaled pixels, that outline, shadow, glow, boxes, underline,
// large accent words and the blur animation may paint into.
double textStyleMarginPx(const TextStyle &style);

QFont textBaseFont(const TextStyle &style, double scale);
// The base font, resized for accent words when the accent rule gives them a size of their own.
QFont textAccentFont(const TextStyle &style, double scale);

// Whether word i of wordCount takes the accent by the style's rule.
bool textWordIsAccent(const TextAccent &accent, int i, int wordCount, int longestWord, int karaokeIndex);

enum class TextRunCut
{
    word,
    character
};

// Lays the text out in a box of boxSize at the origin (wrapping, alignment, line pitch) and
// returns one run per word or character, in text order.
QList<GlyphRun> layoutTextRuns(const TextStyle &style, const QString &text, const QSizeF &boxSize,
                               double scale, int karaokeIndex, TextRunCut cut = TextRunCut::word);

void translateGlyphRun(GlyphRun &run, const QPointF &delta);

} // namespace orvel
