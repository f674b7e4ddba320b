#pragma once

#include "render/text/TextLayout.h"

#include <QImage>
#include <QPointF>

namespace orvel {

// What of a text to paint: a unit piece may carry its words without the shared background box,
// and the box may come on a piece of its own.
struct TextPaintParts
{
    bool box = true;
    bool words = true;
};

// Paints the runs with every decoration of the style onto a premultiplied image whose top-left
// pixel lies at `origin` in the runs' coordinates.
void paintTextRuns(QImage &image, const QPointF &origin, const QList<GlyphRun> &runs, const TextStyle &style,
                   double scale, TextPaintParts parts = {});

// Three rounds of a horizontal and a vertical box blur of the given radius, in place, on an
// ARGB32 premultiplied image or an Alpha8 coverage mask. Pixels outside count as transparent.
void boxBlurPremultiplied(QImage &image, int radius);

// A blur of an Alpha8 coverage mask that looks like boxBlurPremultiplied's. From radius 8 on it
// runs at half size and is scaled back: so wide a blur keeps no detail that the whole size would.
void blurCoverage(QImage &mask, int radius);

// The ink of the runs with their outlines, in the runs' coordinates.
QRectF textRunsInkRect(const QList<GlyphRun> &runs, const TextStyle &style, double scale);

} // namespace orvel
