#pragma once

#include "core/document/model/Project.h"

#include <QImage>
#include <QList>
#include <QRectF>
#include <QString>

namespace orvel {

// A painted text and where it lies on the scaled canvas.
struct TextRaster
{
    QImage image;
    QRectF rect;
};

// A piece of a text cut at a unit (word, character or line), placed where the unit lies in the
// layout of the whole text. An index below 0 means the piece does not animate (the shared
// background box).
struct TextUnitPiece
{
    QImage image;
    QRectF rect;
    int32_t unitIndex = -1;
    int32_t unitCount = 0;
};

// `box` is the clip's rectangle in pixels of the scaled canvas and `scale` the canvas scale; every
// pixel size of the style is multiplied by it. An empty text or a box narrower or lower than one
// pixel gives a null image. Results are cached process-wide; safe from any thread.
TextRaster rasterText(const Clip &clip, const QString &text, const QRectF &box, double scale,
                      int karaokeIndex = -1);
// The clip's text, or its name when the text is empty.
TextRaster rasterClipText(const Clip &clip, const QRectF &box, double scale, int karaokeIndex = -1);
QList<TextUnitPiece> rasterUnits(const Clip &clip, const QRectF &box, double scale, TextAnimUnit unit,
                                 int karaokeIndex = -1);

// The text a text clip shows.
QString clipDisplayText(const Clip &clip);
// Whether the clip's animations cut its text into units that move on their own.
bool textAnimatesByUnit(const TextStyle &style);

// For tests and benchmarks: empty the raster cache, and count what it holds.
void clearTextRasterCache();
int textRasterCacheSize();

} // namespace orvel
