#pragma once

#include <QQuickImageProvider>

namespace orvel {

// Cuts one cell out of a horizontal sprite strip of `count` equal cells. The frame is clamped
// into the strip: below 0 gives the first cell, past the end the last. An image narrower than
// `count` pixels, or no count, is returned whole.
QImage cutStripCell(const QImage &strip, int frame, int count);

// Scales to a requested size when both sides are positive; otherwise returns the image as is.
QImage scaleToRequested(const QImage &image, const QSize &requestedSize, Qt::AspectRatioMode mode);

} // namespace orvel

// image://orvel/<percent-encoded path>[?frame=n&count=m]: files on disk and in resources,
// optionally one cell of a sprite strip.
class OrvelImageProvider : public QQuickImageProvider
{
public:
    OrvelImageProvider();
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};

// image://segment/frame and image://segment/mask: the cutout session's current pictures.
class SegmentImageProvider : public QQuickImageProvider
{
public:
    SegmentImageProvider();
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};

// image://clippreview/frame: the source-clip preview player's current frame.
class ClipPreviewImageProvider : public QQuickImageProvider
{
public:
    ClipPreviewImageProvider();
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};

// image://textstyle/<preset id>: a rendered sample of a text preset.
class TextStylePreviewImageProvider : public QQuickImageProvider
{
public:
    TextStylePreviewImageProvider();
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};
