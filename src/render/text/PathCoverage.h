#pragma once

#include <QImage>
#include <QPainterPath>
#include <QPointF>

namespace orvel {

// The antialiased coverage of a filled path (non-zero rule) as an Alpha8 mask of the given size;
// `offset` moves the path into the mask's pixels.
QImage pathCoverage(const QPainterPath &path, const QPointF &offset, const QSize &size);

// Unites a coverage mask into another, whose top-left pixel it covers at `at`, as painting it in
// white would: a pixel covered by a and now by c becomes a + c - a c.
void uniteCoverage(QImage &mask, const QPoint &at, const QImage &addition);

// Paints a colour through a coverage mask onto a premultiplied ARGB32 image, source over, with the
// mask's top-left pixel at `at`. Parts of the mask outside the image are left out.
void paintCoverage(QImage &image, const QPoint &at, const QImage &mask, QRgb premultipliedColour);

} // namespace orvel
