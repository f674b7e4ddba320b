#include "render/text/TextPaint.h"

#include "render/text/PathCoverage.h"

#include <QPainter>
#include <QPainterPathStroker>

#include <algorithm>
#include <cmath>

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

// A round-joined stroke of half width w reaches exactly w past the glyphs' bounds, so the ink
// box needs no stroke.
QRectF runInkBounds(const GlyphRun &run, const TextStyle &style, double scale)
{
    const double reach = runOutlineWidth(run, style) * scale;
    if (reach <= 0.0 || run.path.isEmpty())
        return run.bounds;
    return run.bounds | run.path.boundingRect().adjusted(-reach, -reach, reach, reach);
}

QList<RunOutline> makeOutlines(const QList<GlyphRun> &runs, const TextStyle &style, double scale)
{
    QList<RunOutline> outlines;
    for (const GlyphRun &run : runs) {
        RunOutline outline;
        outline.bounds = runInkBounds(run, style, scale);
        const double width = runOutlineWidth(run, style);
        if (width > 0.0) {
            QPainterPathStroker stroker;
            stroker.setWidth(2.0 * width * scale);
            stroker.setJoinStyle(Qt::RoundJoin);
            stroker.setCapStyle(Qt::RoundCap);
            outline.stroke = stroker.createStroke(run.path);
            outline.stroke.setFillRule(Qt::WindingFill);
            outline.color =
                run.isAccent && style.accent.outlineEnabled ? style.accent.outlineColor : style.outlineColor;
        }
        outlines.append(outline);
    }
    return outlines;
}

// Each run's coverage, made once and used for the shadow and glow silhouette and for the run's own
// outline and fill. The masks cover the run's ink in image pixels.
struct RunMasks
{
    QPoint at;      // top-left pixel in the image's pixels
    QImage glyphs;  // Alpha8
    QImage outline; // Alpha8, the stroke and the glyphs together; null without an outline
};

QList<RunMasks> makeRunMasks(const QList<GlyphRun> &runs, const QList<RunOutline> &outlines,
                             const QPointF &origin, const QRect &area)
{
    QList<RunMasks> masks;
    for (int i = 0; i < runs.size(); ++i) {
        RunMasks run;
        const QRect region =
            outlines[i].bounds.translated(-origin).toAlignedRect().adjusted(-1, -1, 1, 1) & area;
        if (!region.isEmpty()) {
            run.at = region.topLeft();
            const QPointF offset = -origin - QPointF(region.topLeft());
            run.glyphs = pathCoverage(runs[i].path, offset, region.size());
            if (!outlines[i].stroke.isEmpty()) {
                run.outline = pathCoverage(outlines[i].stroke, offset, region.size());
                uniteCoverage(run.outline, QPoint(), run.glyphs);
            }
        }
        masks.append(run);
    }
    return masks;
}

// Shadow and glow are blurred copies of one coverage mask of all outlines, made only over the
// ink's neighbourhood so the blur touches as few pixels as it must. A silhouette has one colour,
// so blurring its coverage and colouring afterwards equals blurring the coloured pixels.
struct Silhouette
{
    QImage coverage; // Alpha8
    QPoint origin;   // in the image's pixels
};

Silhouette makeSilhouette(const QList<RunMasks> &masks, const QRect &region)
{
    Silhouette silhouette;
    if (region.isEmpty())
        return silhouette;
    silhouette.origin = region.topLeft();
    silhouette.coverage = QImage(region.size(), QImage::Format_Alpha8);
    silhouette.coverage.fill(0);
    for (const RunMasks &run : masks) {
        const QImage &shape = run.outline.isNull() ? run.glyphs : run.outline;
        if (!shape.isNull())
            uniteCoverage(silhouette.coverage, run.at - region.topLeft(), shape);
    }
    return silhouette;
}

QImage colouredCoverage(const QImage &coverage, const QColor &color)
{
    // Every coverage value maps to one premultiplied pixel; a table makes it one lookup a pixel.
    const QRgb premultiplied = qPremultiply(color.rgba());
    const uint32_t channels[4] = {uint32_t(qBlue(premultiplied)), uint32_t(qGreen(premultiplied)),
                                  uint32_t(qRed(premultiplied)), uint32_t(qAlpha(premultiplied))};
    uint32_t table[256];
    for (uint32_t v = 0; v < 256; ++v) {
        table[v] = 0;
        for (int c = 0; c < 4; ++c)
            table[v] |= ((channels[c] * v + 127u) / 255u) << (8 * c);
    }
    QImage image(coverage.size(), QImage::Format_ARGB32_Premultiplied);
    const int width = coverage.width(); // QImage::width() is a call: kept out of the pixel loop
    for (int y = 0; y < coverage.height(); ++y) {
        const uint8_t *in = coverage.constScanLine(y);
        auto *out = reinterpret_cast<uint32_t *>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            out[x] = table[in[x]];
    }
    return image;
}

// Only the neighbourhood that this blur reaches is blurred: 3r pixels around the ink.
void paintBlurredSilhouette(QPainter &painter, const Silhouette &silhouette, const QRectF &ink,
                            const QColor &color, double radius, const QPointF &offset, double opacity)
{
    if (silhouette.coverage.isNull())
        return;
    const int r = int(std::lround(radius));
    const double pad = 3.0 * std::max(r, 0) + 2.0;
    const QRect reach = ink.adjusted(-pad, -pad, pad, pad)
                            .toAlignedRect()
                            .intersected(QRect(silhouette.origin, silhouette.coverage.size()));
    if (reach.isEmpty())
        return;
    QImage coverage = silhouette.coverage.copy(reach.translated(-silhouette.origin));
    blurCoverage(coverage, r);
    painter.save();
    painter.setOpacity(std::clamp(opacity, 0.0, 1.0));
    painter.drawImage(QPointF(reach.topLeft()) + offset, colouredCoverage(coverage, color));
    painter.restore();
}

// How far outside the image ink can still cast shadow or glow into it, and the silhouette
// that does so, in the image's pixels.
struct SilhouetteReach
{
    QRect area;
    QRect region;
};

SilhouetteReach silhouetteReach(const QRectF &ink, const QSize &imageSize, const TextStyle &style,
                                double scale, bool shadow, bool glow)
{
    double radius = 0.0;
    double reach = 0.0;
    if (shadow) {
        radius = style.shadowBlur * scale;
        reach = std::max(std::abs(style.shadowOffsetX), std::abs(style.shadowOffsetY)) * scale;
    }
    if (glow)
        radius = std::max(radius, style.glowRadius * scale);
    const double pad = 3.0 * std::max(0.0, double(std::lround(radius))) + 2.0;
    const QRectF area = QRectF(QPointF(0.0, 0.0), QSizeF(imageSize))
                            .adjusted(-pad - reach, -pad - reach, pad + reach, pad + reach);
    return {area.toAlignedRect(), ink.adjusted(-pad, -pad, pad, pad).intersected(area).toAlignedRect()};
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

// Each run in order: its outline, then its glyphs, then any colour emoji in it.
void paintWords(QImage &image, const QPointF &origin, const QList<GlyphRun> &runs,
                const QList<RunOutline> &outlines, const QList<RunMasks> &masks, const TextStyle &style)
{
    for (int i = 0; i < runs.size(); ++i) {
        const GlyphRun &run = runs[i];
        if (!masks[i].outline.isNull())
            paintCoverage(image, masks[i].at, masks[i].outline, qPremultiply(outlines[i].color.rgba()));
        const QColor color = run.isAccent && style.accent.colorEnabled ? style.accent.color : style.color;
        if (!masks[i].glyphs.isNull())
            paintCoverage(image, masks[i].at, masks[i].glyphs, qPremultiply(color.rgba()));
        if (run.bitmapSpans.isEmpty())
            continue;
        QPainter painter(&image);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                               QPainter::SmoothPixmapTransform);
        painter.translate(-origin);
        painter.setPen(color);
        for (const TextBitmapSpan &span : run.bitmapSpans) {
            painter.setFont(span.font);
            painter.drawText(span.position, span.text);
        }
    }
}

} // namespace textpaint_detail

QRectF textRunsInkRect(const QList<GlyphRun> &runs, const TextStyle &style, double scale)
{
    QRectF ink;
    for (const GlyphRun &run : runs)
        ink |= textpaint_detail::runInkBounds(run, style, scale);
    return ink;
}

void paintTextRuns(QImage &image, const QPointF &origin, const QList<GlyphRun> &runs, const TextStyle &style,
                   double scale, TextPaintParts parts)
{
    using namespace textpaint_detail;
    const QList<RunOutline> outlines = makeOutlines(runs, style, scale);
    const auto startPainter = [&](QPainter &painter) {
        painter.begin(&image);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                               QPainter::SmoothPixmapTransform);
        painter.translate(-origin);
    };
    const bool highlights = style.wordHighlight.enabled || style.accent.highlight.enabled;
    const bool box = parts.box && style.boxEnabled;
    if (box || (parts.words && highlights)) {
        QPainter painter;
        startPainter(painter);
        if (box)
            paintBox(painter, outlines, style, scale);
        if (parts.words)
            paintHighlights(painter, runs, style, scale);
    }
    if (!parts.words)
        return;
    QRectF ink; // in the image's pixels
    for (const RunOutline &outline : outlines)
        ink |= outline.bounds.translated(-origin);
    const bool shadow = style.shadowEnabled && style.shadowOpacity > 0.0;
    const bool glow = style.glowEnabled && style.glowOpacity > 0.0;
    const SilhouetteReach reach = silhouetteReach(ink, image.size(), style, scale, shadow, glow);
    const QList<RunMasks> masks =
        makeRunMasks(runs, outlines, origin, shadow || glow ? reach.area : image.rect());
    if (shadow || glow) {
        const Silhouette silhouette = makeSilhouette(masks, reach.region);
        QPainter painter(&image);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        if (shadow) {
            const QPointF offset(style.shadowOffsetX * scale, style.shadowOffsetY * scale);
            paintBlurredSilhouette(painter, silhouette, ink, style.shadowColor, style.shadowBlur * scale,
                                   offset, style.shadowOpacity);
        }
        if (glow)
            paintBlurredSilhouette(painter, silhouette, ink, style.glowColor, style.glowRadius * scale,
                                   QPointF(), style.glowOpacity);
    }
    paintWords(image, origin, runs, outlines, masks, style);
    if (style.underlineEnabled && style.underlineWidth > 0.0) {
        QPainter painter;
        startPainter(painter);
        paintUnderlines(painter, runs, style, scale);
    }
}

} // namespace orvel
