#include "render/text/TextRaster.h"

#include "render/text/TextLayout.h"
#include "render/text/TextPaint.h"

#include <QHash>
#include <QMutex>

#include <cmath>
#include <type_traits>

namespace orvel {

namespace textraster_detail {

constexpr int kCacheLimit = 256;

struct RasterKey
{
    size_t styleHash = 0;
    QString text;
    int karaokeIndex = -1;
    int width = 0;
    int height = 0;
    long scaleMilli = 0;
    int unit = -1; // -1 for a whole text, else the unit the pieces were cut at

    bool operator==(const RasterKey &) const = default;
};

size_t qHash(const RasterKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.styleHash, key.text, key.karaokeIndex, key.width, key.height,
                      qint64(key.scaleMilli), key.unit);
}

struct RasterCache
{
    QMutex mutex;
    QHash<RasterKey, QImage> images;
    QHash<RasterKey, QList<TextUnitPiece>> pieces;

    int size() const { return int(images.size() + pieces.size()); }
    // The cache is dropped whole when full: text that is on screen is painted again at once,
    // and nothing else needs it.
    void makeRoom()
    {
        if (size() >= kCacheLimit) {
            images.clear();
            pieces.clear();
        }
    }
};

RasterCache &rasterCache()
{
    static RasterCache cache;
    return cache;
}

struct StyleHasher
{
    size_t h = 0;
    template <typename T> void add(const T &value)
    {
        if constexpr (std::is_enum_v<T>)
            h = qHashMulti(h, int(value));
        else
            h = qHashMulti(h, value);
    }
    void add(const QColor &color) { add(quint64(color.rgba64())); }
    void add(const TextHighlightBox &box)
    {
        add(box.enabled), add(box.color), add(box.padding), add(box.radius);
    }
    void add(const TextAnimation &anim)
    {
        add(anim.kind), add(anim.durationUs), add(anim.ease), add(anim.unit), add(anim.staggerUs),
            add(anim.order);
    }
    void add(const TextAccent &a)
    {
        add(a.rule), add(a.n), add(a.phase), add(a.colorEnabled), add(a.color), add(a.sizeScale);
        add(a.outlineEnabled), add(a.outlineWidth), add(a.outlineColor), add(a.highlight);
    }
};

size_t textStyleHash(const TextStyle &s)
{
    StyleHasher hasher;
    hasher.add(s.fontFamily), hasher.add(s.pixelSize), hasher.add(s.fontWeight), hasher.add(s.italic);
    hasher.add(s.color), hasher.add(s.align), hasher.add(s.valign), hasher.add(s.wordWrap);
    hasher.add(s.lineHeight), hasher.add(s.letterSpacing), hasher.add(s.outlineWidth),
        hasher.add(s.outlineColor);
    hasher.add(s.shadowEnabled), hasher.add(s.shadowOffsetX), hasher.add(s.shadowOffsetY);
    hasher.add(s.shadowBlur), hasher.add(s.shadowOpacity), hasher.add(s.shadowColor);
    hasher.add(s.glowEnabled), hasher.add(s.glowColor), hasher.add(s.glowRadius), hasher.add(s.glowOpacity);
    hasher.add(s.boxEnabled), hasher.add(s.boxColor), hasher.add(s.boxPadding), hasher.add(s.boxRadius);
    hasher.add(s.wordHighlight), hasher.add(s.underlineEnabled), hasher.add(s.underlineColor);
    hasher.add(s.underlineWidth), hasher.add(s.underlineOffset), hasher.add(s.accent);
    hasher.add(s.animIn), hasher.add(s.animOut);
    return hasher.h;
}

// The image rectangle of a text in a box: the box grown by the style's margin on every side.
struct RasterFrame
{
    int marginPx = 0;
    QRectF rect;
};

bool frameFor(const TextStyle &style, const QRectF &box, double scale, RasterFrame &frame)
{
    if (box.width() < 1.0 || box.height() < 1.0)
        return false;
    frame.marginPx = int(std::ceil(textStyleMarginPx(style) * scale)) + 2;
    const double width = std::max(1.0, double(std::lround(box.width() + 2.0 * frame.marginPx)));
    const double height = std::max(1.0, double(std::lround(box.height() + 2.0 * frame.marginPx)));
    frame.rect = QRectF(box.x() - frame.marginPx, box.y() - frame.marginPx, width, height);
    return true;
}

RasterKey keyFor(const TextStyle &style, const QString &text, int karaokeIndex, const RasterFrame &frame,
                 double scale, int unit)
{
    return {
        textStyleHash(style),        text, karaokeIndex, int(frame.rect.width()), int(frame.rect.height()),
        std::lround(scale * 1000.0), unit};
}

QList<GlyphRun> placedRuns(const TextStyle &style, const QString &text, const QRectF &box, double scale,
                           int karaokeIndex, const RasterFrame &frame, TextRunCut cut)
{
    QList<GlyphRun> runs = layoutTextRuns(style, text, box.size(), scale, karaokeIndex, cut);
    for (GlyphRun &run : runs)
        translateGlyphRun(run, QPointF(frame.marginPx, frame.marginPx));
    return runs;
}

// Runs grouped into the units that animate: one group per run, or per line.
QList<QList<GlyphRun>> unitGroups(const QList<GlyphRun> &runs, TextAnimUnit unit)
{
    QList<QList<GlyphRun>> groups;
    for (const GlyphRun &run : runs) {
        const bool sameGroup =
            !groups.isEmpty() &&
            (unit == TextAnimUnit::block ||
             (unit == TextAnimUnit::line && groups.last().last().lineIndex == run.lineIndex));
        if (sameGroup)
            groups.last().append(run);
        else
            groups.append({run});
    }
    return groups;
}

TextUnitPiece paintPiece(const QList<GlyphRun> &runs, const TextStyle &style, double scale,
                         const RasterFrame &frame, TextPaintParts parts)
{
    QRectF ink = textRunsInkRect(runs, style, scale);
    if (parts.box) {
        const double padding = style.boxPadding * scale;
        ink.adjust(-padding, -padding, padding, padding);
    }
    const double grow = textStyleMarginPx(style) * scale + 2.0;
    const QRect region = ink.adjusted(-grow, -grow, grow, grow)
                             .intersected(QRectF(QPointF(0.0, 0.0), frame.rect.size()))
                             .toAlignedRect()
                             .intersected(QRect(QPoint(0, 0), frame.rect.size().toSize()));
    TextUnitPiece piece;
    if (region.isEmpty())
        return piece;
    piece.image = QImage(region.size(), QImage::Format_ARGB32_Premultiplied);
    piece.image.fill(Qt::transparent);
    paintTextRuns(piece.image, region.topLeft(), runs, style, scale, parts);
    piece.rect = QRectF(frame.rect.topLeft() + QPointF(region.topLeft()), QSizeF(region.size()));
    return piece;
}

QList<TextUnitPiece> paintPieces(const QList<GlyphRun> &runs, const TextStyle &style, double scale,
                                 const RasterFrame &frame, TextAnimUnit unit)
{
    QList<TextUnitPiece> pieces;
    if (style.boxEnabled) {
        // The background box stays put while the units move over it.
        pieces.append(paintPiece(runs, style, scale, frame, {true, false}));
    }
    const QList<QList<GlyphRun>> groups = unitGroups(runs, unit);
    for (int i = 0; i < groups.size(); ++i) {
        TextUnitPiece piece = paintPiece(groups[i], style, scale, frame, {false, true});
        piece.unitIndex = i;
        piece.unitCount = int(groups.size());
        pieces.append(piece);
    }
    return pieces;
}

} // namespace textraster_detail

QString clipDisplayText(const Clip &clip)
{
    return clip.textContent.isEmpty() ? clip.name : clip.textContent;
}

bool textAnimatesByUnit(const TextStyle &style)
{
    const auto splits = [](const TextAnimation &anim) {
        return anim.kind != TextAnimKind::none && anim.unit != TextAnimUnit::block;
    };
    return splits(style.animIn) || splits(style.animOut);
}

TextRaster rasterText(const Clip &clip, const QString &text, const QRectF &box, double scale,
                      int karaokeIndex)
{
    using namespace textraster_detail;
    const TextStyle &style = clip.textStyle;
    RasterFrame frame;
    if (text.isEmpty() || !frameFor(style, box, scale, frame))
        return {};
    const RasterKey key = keyFor(style, text, karaokeIndex, frame, scale, -1);
    RasterCache &cache = rasterCache();
    {
        QMutexLocker lock(&cache.mutex);
        const auto hit = cache.images.constFind(key);
        if (hit != cache.images.constEnd())
            return {hit.value(), frame.rect};
    }
    const QList<GlyphRun> runs = placedRuns(style, text, box, scale, karaokeIndex, frame, TextRunCut::word);
    if (runs.isEmpty())
        return {};
    QImage image(frame.rect.size().toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    paintTextRuns(image, QPointF(0.0, 0.0), runs, style, scale);
    QMutexLocker lock(&cache.mutex);
    cache.makeRoom();
    cache.images.insert(key, image);
    return {image, frame.rect};
}

TextRaster rasterClipText(const Clip &clip, const QRectF &box, double scale, int karaokeIndex)
{
    return rasterText(clip, clipDisplayText(clip), box, scale, karaokeIndex);
}

QList<TextUnitPiece> rasterUnits(const Clip &clip, const QRectF &box, double scale, TextAnimUnit unit,
                                 int karaokeIndex)
{
    using namespace textraster_detail;
    const TextStyle &style = clip.textStyle;
    const QString text = clipDisplayText(clip);
    RasterFrame frame;
    if (text.isEmpty() || !frameFor(style, box, scale, frame))
        return {};
    const RasterKey key = keyFor(style, text, karaokeIndex, frame, scale, int(unit));
    RasterCache &cache = rasterCache();
    {
        QMutexLocker lock(&cache.mutex);
        const auto hit = cache.pieces.constFind(key);
        if (hit != cache.pieces.constEnd()) {
            QList<TextUnitPiece> pieces = hit.value();
            for (TextUnitPiece &piece : pieces)
                piece.rect.translate(frame.rect.topLeft()); // cached relative to the frame
            return pieces;
        }
    }
    const TextRunCut cut = unit == TextAnimUnit::character ? TextRunCut::character : TextRunCut::word;
    const QList<GlyphRun> runs = placedRuns(style, text, box, scale, karaokeIndex, frame, cut);
    QList<TextUnitPiece> pieces = paintPieces(runs, style, scale, frame, unit);
    QList<TextUnitPiece> relative = pieces;
    for (TextUnitPiece &piece : relative)
        piece.rect.translate(-frame.rect.topLeft());
    QMutexLocker lock(&cache.mutex);
    cache.makeRoom();
    cache.pieces.insert(key, relative);
    return pieces;
}

void clearTextRasterCache()
{
    textraster_detail::RasterCache &cache = textraster_detail::rasterCache();
    QMutexLocker lock(&cache.mutex);
    cache.images.clear();
    cache.pieces.clear();
}

int textRasterCacheSize()
{
    textraster_detail::RasterCache &cache = textraster_detail::rasterCache();
    QMutexLocker lock(&cache.mutex);
    return cache.size();
}

} // namespace orvel
