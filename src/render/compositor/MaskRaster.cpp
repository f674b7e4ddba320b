// The CPU side of clip masks: the outline of each kind, its greyscale raster and the feather.
// Pure QPainter and integer work, so the scene builder may call it from its own thread.
#include "render/compositor/GpuCompositor.h"

#include "render/scene/ShapePaths.h"

#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <cmath>
#include <vector>

namespace orvel {

namespace {

// One pass of the feather: every output pixel is the rounded mean of the (2R+1) x (2R+1) window
// around it, coordinates clamped to the image. Clamping works per axis, so the window sum is a
// sum of row sums and each axis is a running sum: the cost does not grow with the radius.
QImage maskBoxPass(const QImage &source, int radius)
{
    const int width = source.width();
    const int height = source.height();
    std::vector<int> rowSums(size_t(width) * size_t(height));
    for (int y = 0; y < height; ++y) {
        const uchar *row = source.constScanLine(y);
        int sum = 0;
        for (int k = -radius; k <= radius; ++k)
            sum += row[std::clamp(k, 0, width - 1)];
        for (int x = 0; x < width; ++x) {
            rowSums[size_t(y) * size_t(width) + size_t(x)] = sum;
            sum += row[std::min(x + radius + 1, width - 1)] - row[std::max(x - radius, 0)];
        }
    }
    const int window = (2 * radius + 1) * (2 * radius + 1);
    QImage result(width, height, QImage::Format_Grayscale8);
    std::vector<int> sums(size_t(width), 0);
    for (int k = -radius; k <= radius; ++k) {
        const int *row = &rowSums[size_t(std::clamp(k, 0, height - 1)) * size_t(width)];
        for (int x = 0; x < width; ++x)
            sums[size_t(x)] += row[x];
    }
    for (int y = 0; y < height; ++y) {
        uchar *out = result.scanLine(y);
        const int *entering = &rowSums[size_t(std::min(y + radius + 1, height - 1)) * size_t(width)];
        const int *leaving = &rowSums[size_t(std::max(y - radius, 0)) * size_t(width)];
        for (int x = 0; x < width; ++x) {
            out[x] = uchar((sums[size_t(x)] + window / 2) / window);
            sums[size_t(x)] += entering[x] - leaving[x];
        }
    }
    return result;
}

// The luma of each pixel as the feather reads it, (11 r + 16 g + 5 b) >> 5.
QImage maskLuma(const QImage &image)
{
    if (image.format() == QImage::Format_Grayscale8)
        return image;
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    QImage luma(rgb.width(), rgb.height(), QImage::Format_Grayscale8);
    for (int y = 0; y < rgb.height(); ++y) {
        const auto *in = reinterpret_cast<const QRgb *>(rgb.constScanLine(y));
        uchar *out = luma.scanLine(y);
        for (int x = 0; x < rgb.width(); ++x)
            out[x] = uchar((11 * qRed(in[x]) + 16 * qGreen(in[x]) + 5 * qBlue(in[x])) >> 5);
    }
    return luma;
}

QPainterPath freeformMaskPath(const QList<QPointF> &points, int width, int height)
{
    QPainterPath path;
    for (qsizetype i = 0; i < points.size(); ++i) {
        const QPointF p(points[i].x() * width, points[i].y() * height);
        if (i == 0)
            path.moveTo(p);
        else
            path.lineTo(p);
    }
    if (!points.isEmpty())
        path.closeSubpath();
    return path;
}

} // namespace

QImage featherMask(const QImage &image, int radius)
{
    if (image.isNull())
        return {};
    radius = std::max(radius, 1);
    const int passes = std::clamp(radius / 2, 1, 8);
    QImage current = maskLuma(image);
    for (int pass = 0; pass < passes; ++pass)
        current = maskBoxPass(current, radius);
    return current;
}

QPainterPath maskPath(const ClipMask &mask, int width, int height)
{
    const double cx = width * mask.x;
    const double cy = height * mask.y;
    const double rx = std::max(width * mask.w / 2.0, 1.0);
    const double ry = std::max(height * mask.h / 2.0, 1.0);
    const double r = std::min(rx, ry);
    const QRectF square(cx - r, cy - r, 2.0 * r, 2.0 * r);
    QPainterPath path;
    switch (mask.shape) {
    case MaskShape::rectangle:
        path.addRect(QRectF(cx - rx, cy - ry, 2.0 * rx, 2.0 * ry));
        break;
    case MaskShape::ellipse:
        path.addEllipse(QPointF(cx, cy), rx, ry);
        break;
    case MaskShape::star:
        // A plain pentagon; the rotation turns it here and once more when rastered.
        path = regularPolygonPath(square, 5, mask.rotation);
        break;
    case MaskShape::heart:
        path = heartPath(square);
        break;
    case MaskShape::bars:
        path.addRect(QRectF(0.0, 0.0, width, ry));
        path.addRect(QRectF(0.0, height - ry, width, ry));
        break;
    case MaskShape::freeform:
        path = freeformMaskPath(mask.points, width, height);
        break;
    default:
        break;
    }
    return path;
}

QImage rasterMask(const ClipMask &mask, int width, int height)
{
    if (mask.shape == MaskShape::none || mask.shape == MaskShape::matte || width < 1 || height < 1)
        return {};
    QImage image(width, height, QImage::Format_Grayscale8);
    image.fill(mask.invert ? 255 : 0);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.setBrush(mask.invert ? Qt::black : Qt::white);
    QPainterPath path = maskPath(mask, width, height);
    if (!path.isEmpty()) {
        // Bars span the whole width and a freeform outline is drawn where the user put it.
        const bool turns = mask.shape != MaskShape::bars && mask.shape != MaskShape::freeform;
        if (std::abs(mask.rotation) > 1e-12 && turns) {
            const QPointF centre(width * mask.x, height * mask.y);
            QTransform turn;
            turn.translate(centre.x(), centre.y());
            turn.rotate(mask.rotation);
            turn.translate(-centre.x(), -centre.y());
            path = turn.map(path);
        }
        painter.drawPath(path);
    }
    painter.end();
    if (mask.feather > 0.0)
        image = featherMask(image, std::max(int(std::trunc(mask.feather)), 1));
    return image;
}

} // namespace orvel
