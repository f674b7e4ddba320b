#include "app/ImageProviders.h"

#include "catalog/TextPresets.h"
#include "ml/SegmentFrameStore.h"
#include "playback/preview/ClipPreviewFrameStore.h"
#include "render/text/TextRaster.h"

#include <QFileInfo>
#include <QUrl>
#include <QUrlQuery>

#include <algorithm>

namespace orvel {

QImage cutStripCell(const QImage &strip, int frame, int count)
{
    if (count < 1 || strip.width() < count)
        return strip;
    const int cellWidth = strip.width() / count;
    const int x = std::clamp(frame, 0, count - 1) * cellWidth;
    return strip.copy(x, 0, cellWidth, strip.height());
}

QImage scaleToRequested(const QImage &image, const QSize &requestedSize, Qt::AspectRatioMode mode)
{
    if (image.isNull() || !requestedSize.isValid() || requestedSize.width() <= 0 ||
        requestedSize.height() <= 0)
        return image;
    return image.scaled(requestedSize, mode, Qt::SmoothTransformation);
}

} // namespace orvel

namespace {

QImage reportSize(const QImage &image, QSize *size)
{
    if (size)
        *size = image.size();
    return image;
}

} // namespace

OrvelImageProvider::OrvelImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage OrvelImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const qsizetype queryStart = id.indexOf(QLatin1Char('?'));
    const QString encodedPath = queryStart < 0 ? id : id.left(queryStart);
    bool hasFrame = false;
    int frame = 0;
    int count = 0;
    if (queryStart >= 0) {
        const QUrlQuery query(id.mid(queryStart + 1));
        frame = query.queryItemValue(QStringLiteral("frame")).toInt(&hasFrame);
        bool ok = false;
        const int parsedCount = query.queryItemValue(QStringLiteral("count")).toInt(&ok);
        if (ok)
            count = parsedCount;
    }
    const QString path = QUrl::fromPercentEncoding(encodedPath.toUtf8());
    if (path.isEmpty())
        return reportSize(QImage(), size);

    QImage image;
    if (path.startsWith(QLatin1String("qrc:")))
        image.load(QLatin1Char(':') + path.mid(4));
    else if (path.startsWith(QLatin1String(":/")))
        image.load(path);
    else if (QFileInfo::exists(path))
        image.load(path);
    if (image.isNull())
        return reportSize(image, size);

    // A strip is cut only when the URL names a cell; a bad frame number is clamped, never
    // answered with the whole strip.
    if (hasFrame)
        image = orvel::cutStripCell(image, frame, count);
    image = orvel::scaleToRequested(image, requestedSize, Qt::KeepAspectRatioByExpanding);
    if (image.hasAlphaChannel())
        image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    return reportSize(image, size);
}

SegmentImageProvider::SegmentImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage SegmentImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const QString name = id.section(QLatin1Char('?'), 0, 0);
    QImage image;
    if (name == QLatin1String("frame"))
        image = orvel::segmentFrameImage();
    else if (name == QLatin1String("mask"))
        image = orvel::segmentMaskImage();
    return reportSize(orvel::scaleToRequested(image, requestedSize, Qt::KeepAspectRatio), size);
}

ClipPreviewImageProvider::ClipPreviewImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage ClipPreviewImageProvider::requestImage(const QString &, QSize *size, const QSize &requestedSize)
{
    return reportSize(orvel::scaleToRequested(orvel::clipPreviewImage(), requestedSize, Qt::KeepAspectRatio),
                      size);
}

TextStylePreviewImageProvider::TextStylePreviewImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{}

QImage TextStylePreviewImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    // Only presets of the program's table have a sample; any other id has no image.
    const orvel::TextPreset *preset = orvel::findTextPreset(id);
    if (!preset) {
        if (size)
            *size = QSize();
        return QImage();
    }
    // The preset's label in its own style, on a transparent card, its letters scaled to about half
    // the card's height. The animations are left out: a card shows the settled text.
    const QSize card = requestedSize.isEmpty() ? QSize(240, 108) : requestedSize;
    orvel::Clip clip;
    clip.type = orvel::ClipType::text;
    clip.textStyle = preset->style;
    clip.textStyle.animIn = {};
    clip.textStyle.animOut = {};
    const double scale = 0.5 * card.height() / std::max(1, clip.textStyle.pixelSize);
    const orvel::TextRaster sample =
        orvel::rasterText(clip, preset->label, QRectF(QPointF(0, 0), card), scale);
    return reportSize(sample.image, size);
}
