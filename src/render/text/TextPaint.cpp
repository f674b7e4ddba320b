#include "render/text/TextPaint.h"

#include <QPainter>
#include <QPainterPathStroker>

#include <algorithm>
#include <cmath>
#include <vector>

namespace orvel {

namespace textpaint_detail {

struct RunOutline
{
    QPainterPath stroke; // empty without an outline
    QColor color;
    QRectF bounds;
};

double runOutlineWidth(const GlyphRun &run, const TextStyle &style)
{
    if (run.isAccent && style.accent.outlineEnabled)
        return style.accent.outlineWidth;
    return style.outlineWidth;
}

QList<RunOutline> makeOutlines(const QList<GlyphRun> &runs, const TextStyle &style, double scale)
{
    QList<RunOutline> outlines;
    for (const GlyphRun &run : runs) {
        RunOutline outline;
        outline.bounds = run.bounds;
        const double width = runOutlineWidth(run, style);
        if (width > 0.0) {
            QPainterPathStroker stroker;
            stroker.setWidth(2.0 * width * scale);
            stroker.setJoinStyle(Qt::RoundJoin);
            stroker.setCapStyle(Qt::RoundCap);
            outline.stroke = stroker.createStroke(run.path);
            outline.stroke.setFillRule(Qt::WindingFill);
            outline.bounds |= outline.stroke.boundingRect();
            outline.color =
                run.isAccent && style.accent.outlineEnabled ? style.accent.outlineColor : style.outlineColor;
        }
        outlines.append(outline);
    }
    return outlines;
}

// The outline is the stroke and the glyph together; filling both avoids a costly path union.
void fillOutline(QPainter &painter, const GlyphRun &run, const RunOutline &outline, const QColor &color)
{
    if (!outline.stroke.isEmpty())
        painter.fillPath(outline.stroke, color);
    painter.fillPath(run.path, color);
}

// Shadow and glow are blurred copies of one coverage mask of all outlines, painted only over the
// ink's neighbourhood so the blur touches as few pixels as it must. A silhouette has one colour,
// so blurring its coverage and colouring afterwards equals blurring the coloured pixels.
struct Silhouette
{
    QImage coverage; // Alpha8
    QPoint origin;   // in the runs' coordinates
};

Silhouette makeSilhouette(const QList<GlyphRun> &runs, const QList<RunOutline> &outlines, const QRect &region)
{
    Silhouette silhouette;
    if (region.isEmpty())
        return silhouette;
    silhouette.origin = region.topLeft();
    silhouette.coverage = QImage(region.size(), QImage::Format_Alpha8);
    silhouette.coverage.fill(0);
    QPainter painter(&silhouette.coverage);
    painter.setRenderHints(QPainter::Antialiasing);
    painter.translate(-region.topLeft());
    for (int i = 0; i < runs.size(); ++i)
        fillOutline(painter, runs[i], outlines[i], Qt::white);
    return silhouette;
}

QImage colouredCoverage(const QImage &coverage, const QColor &color)
{
    const QRgb premultiplied = qPremultiply(color.rgba());
    const uint32_t channels[4] = {uint32_t(qBlue(premultiplied)), uint32_t(qGreen(premultiplied)),
                                  uint32_t(qRed(premultiplied)), uint32_t(qAlpha(premultiplied))};
    QImage image(coverage.size(), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < coverage.height(); ++y) {
        const uint8_t *in = coverage.constScanLine(y);
        auto *out = reinterpret_cast<uint32_t *>(image.scanLine(y));
        for (int x = 0; x < coverage.width(); ++x) {
            const uint32_t v = in[x];
            uint32_t pixel = 0;
            for (int c = 0; c < 4; ++c)
                pixel |= ((channels[c] * v + 127u) / 255u) << (8 * c);
            out[x] = pixel;
        }
    }
    return image;
}

void paintBlurredSilhouette(QPainter &painter, const Silhouette &silhouette, const QColor &color,
                            double radius, const QPointF &offset, double opacity)
{
    if (silhouette.coverage.isNull())
        return;
    QImage coverage = silhouette.coverage.copy();
    boxBlurPremultiplied(coverage, int(std::lround(radius)));
    painter.save();
    painter.setOpacity(std::clamp(opacity, 0.0, 1.0));
    painter.drawImage(QPointF(silhouette.origin) + offset, colouredCoverage(coverage, color));
    painter.restore();
}

QRect silhouetteRegion(const QList<RunOutline> &outlines, const QRectF &visible, const TextStyle &style,
                       double scale, bool shadow, bool glow)
{
    QRectF ink;
    for (const RunOutline &outline : outlines)
        ink |= outline.bounds;
    double radius = 0.0;
    double reach = 0.0;
    if (shadow) {
        radius = style.shadowBlur * scale;
        reach = std::max(std::abs(style.shadowOffsetX), std::abs(style.shadowOffsetY)) * scale;
    }
    if (glow)
        radius = std::max(radius, style.glowRadius * scale);
    const double pad = 3.0 * std::max(0.0, double(std::lround(radius))) + 2.0;
    return ink.adjusted(-pad, -pad, pad, pad)
        .intersected(visible.adjusted(-pad - reach, -pad - reach, pad + reach, pad + reach))
        .toAlignedRect();
}

void paintBox(QPainter &painter, const QList<RunOutline> &outlines, const TextStyle &style, double scale)
{
    QRectF ink;
    for (const RunOutline &outline : outlines)
        ink |= outline.bounds;
    const double padding = style.boxPadding * scale;
    const double radius = style.boxRadius * scale;
    painter.setPen(Qt::NoPen);
    painter.setBrush(style.boxColor);
    painter.drawRoundedRect(ink.adjusted(-padding, -padding, padding, padding), radius, radius);
}

void paintHighlights(QPainter &painter, const QList<GlyphRun> &runs, const TextStyle &style, double scale)
{
    painter.setPen(Qt::NoPen);
    for (const GlyphRun &run : runs) {
        const TextHighlightBox *box = nullptr;
        if (run.isAccent && style.accent.highlight.enabled)
            box = &style.accent.highlight;
        else if (style.wordHighlight.enabled)
            box = &style.wordHighlight;
        if (!box)
            continue;
        const double padding = box->padding * scale;
        painter.setBrush(box->color);
        painter.drawRoundedRect(run.bounds.adjusted(-padding, -padding, padding, padding),
                                box->radius * scale, box->radius * scale);
    }
}

void paintUnderlines(QPainter &painter, const QList<GlyphRun> &runs, const TextStyle &style, double scale)
{
    QMap<int, QRectF> bars; // per line
    for (const GlyphRun &run : runs) {
        const QRectF bar(run.bounds.left(), run.baseline + style.underlineOffset * scale, run.bounds.width(),
                         style.underlineWidth * scale);
        bars[run.lineIndex] |= bar;
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(style.underlineColor);
    for (const QRectF &bar : std::as_const(bars))
        painter.drawRoundedRect(bar, bar.height() / 2.0, bar.height() / 2.0);
}

void paintWords(QPainter &painter, const QList<GlyphRun> &runs, const QList<RunOutline> &outlines,
                const TextStyle &style)
{
    for (int i = 0; i < runs.size(); ++i) {
        const GlyphRun &run = runs[i];
        if (!outlines[i].stroke.isEmpty())
            fillOutline(painter, run, outlines[i], outlines[i].color);
        const QColor color = run.isAccent && style.accent.colorEnabled ? style.accent.color : style.color;
        painter.fillPath(run.path, color);
        painter.setPen(color);
        for (const TextBitmapSpan &span : run.bitmapSpans) {
            painter.setFont(span.font);
            painter.drawText(span.position, span.text);
        }
    }
}

// Box blurs of radius r over the four bytes of each premultiplied pixel, from src to dst: a
// running sum over 2r+1 pixels, divided in fixed point. Pixels outside the image are zero.
struct BoxWindow
{
    int r = 1;
    uint32_t reciprocal = 0;

    explicit BoxWindow(int radius) : r(radius), reciprocal((1u << 16) / uint32_t(2 * radius + 1) + 1u) {}
    uint8_t average(uint32_t sum) const
    {
        return uint8_t(std::min<uint32_t>((sum * reciprocal) >> 16, 255u));
    }
};

template <int Channels> void boxBlurRow(const uint8_t *in, uint8_t *out, int width, const BoxWindow &box)
{
    uint32_t sum[Channels] = {};
    for (int x = 0; x <= std::min(box.r, width - 1); ++x) {
        for (int c = 0; c < Channels; ++c)
            sum[c] += in[x * Channels + c];
    }
    for (int x = 0; x < width; ++x) {
        for (int c = 0; c < Channels; ++c)
            out[x * Channels + c] = box.average(sum[c]);
        const int enter = x + box.r + 1;
        const int leave = x - box.r;
        if (enter < width) {
            for (int c = 0; c < Channels; ++c)
                sum[c] += in[enter * Channels + c];
        }
        if (leave >= 0) {
            for (int c = 0; c < Channels; ++c)
                sum[c] -= in[leave * Channels + c];
        }
    }
}

// Columns are summed a whole row at a time, so memory is read in order.
void boxBlurColumns(const uint8_t *in, uint8_t *out, int bytes, int height, qsizetype stride,
                    const BoxWindow &box)
{
    std::vector<uint32_t> sums(size_t(bytes), 0u);
    for (int y = 0; y <= std::min(box.r, height - 1); ++y) {
        const uint8_t *row = in + y * stride;
        for (int i = 0; i < bytes; ++i)
            sums[i] += row[i];
    }
    for (int y = 0; y < height; ++y) {
        uint8_t *target = out + y * stride;
        for (int i = 0; i < bytes; ++i)
            target[i] = box.average(sums[i]);
        if (y + box.r + 1 < height) {
            const uint8_t *row = in + (y + box.r + 1) * stride;
            for (int i = 0; i < bytes; ++i)
                sums[i] += row[i];
        }
        if (y - box.r >= 0) {
            const uint8_t *row = in + (y - box.r) * stride;
            for (int i = 0; i < bytes; ++i)
                sums[i] -= row[i];
        }
    }
}

template <int Channels> void boxBlurBytes(QImage &image, int radius)
{
    const int width = image.width();
    const int height = image.height();
    const qsizetype stride = image.bytesPerLine();
    uint8_t *pixels = image.bits();
    std::vector<uint8_t> scratch(size_t(stride) * size_t(height));
    const BoxWindow box(radius);
    for (int round = 0; round < 3; ++round) {
        for (int y = 0; y < height; ++y)
            boxBlurRow<Channels>(pixels + y * stride, scratch.data() + y * stride, width, box);
        boxBlurColumns(scratch.data(), pixels, width * Channels, height, stride, box);
    }
}

} // namespace textpaint_detail

void boxBlurPremultiplied(QImage &image, int radius)
{
    if (radius < 1 || image.isNull())
        return;
    if (image.format() == QImage::Format_Alpha8) {
        textpaint_detail::boxBlurBytes<1>(image, radius);
        return;
    }
    if (image.format() != QImage::Format_ARGB32_Premultiplied)
        image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    textpaint_detail::boxBlurBytes<4>(image, radius);
}

QRectF textRunsInkRect(const QList<GlyphRun> &runs, const TextStyle &style, double scale)
{
    QRectF ink;
    for (const textpaint_detail::RunOutline &outline : textpaint_detail::makeOutlines(runs, style, scale))
        ink |= outline.bounds;
    return ink;
}

void paintTextRuns(QImage &image, const QPointF &origin, const QList<GlyphRun> &runs, const TextStyle &style,
                   double scale, TextPaintParts parts)
{
    using namespace textpaint_detail;
    const QList<RunOutline> outlines = makeOutlines(runs, style, scale);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                           QPainter::SmoothPixmapTransform);
    painter.translate(-origin);
    const QRectF visible(origin, QSizeF(image.size()));
    if (parts.box && style.boxEnabled)
        paintBox(painter, outlines, style, scale);
    if (!parts.words)
        return;
    paintHighlights(painter, runs, style, scale);
    const bool shadow = style.shadowEnabled && style.shadowOpacity > 0.0;
    const bool glow = style.glowEnabled && style.glowOpacity > 0.0;
    if (shadow || glow) {
        const Silhouette silhouette =
            makeSilhouette(runs, outlines, silhouetteRegion(outlines, visible, style, scale, shadow, glow));
        if (shadow) {
            const QPointF offset(style.shadowOffsetX * scale, style.shadowOffsetY * scale);
            paintBlurredSilhouette(painter, silhouette, style.shadowColor, style.shadowBlur * scale, offset,
                                   style.shadowOpacity);
        }
        if (glow)
            paintBlurredSilhouette(painter, silhouette, style.glowColor, style.glowRadius * scale, QPointF(),
                                   style.glowOpacity);
    }
    paintWords(painter, runs, outlines, style);
    if (style.underlineEnabled && style.underlineWidth > 0.0)
        paintUnderlines(painter, runs, style, scale);
}

} // namespace orvel
