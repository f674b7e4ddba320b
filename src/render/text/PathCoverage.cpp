// Coverage masks of text paths. Every edge adds, to the cells it crosses, the signed area it
// sweeps; a running sum along each row then gives the exact covered area of each pixel. Unlike
// a banded rasteriser, the cost grows with the length of the edges and the size of the mask,
// never with how many edges share a row, so a long title costs no more per glyph than a word.
#include "render/text/PathCoverage.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace orvel {

namespace pathcoverage_detail {

// Signed areas for a mask of width x height, in rows of width + 2 cells: an edge right of the
// mask lands in the spare cells, which the running sum never reads.
class AreaCells
{
public:
    AreaCells(int width, int height) : m_width(width), m_height(height), m_stride(size_t(width) + 2)
    {
        // Kept per thread and zeroed as it is read, so it is cleared once in its life; a mask
        // larger than a big title's gets cells of its own rather than holding on to that much.
        thread_local std::vector<float> storage;
        const size_t needed = m_stride * size_t(height);
        std::vector<float> &cells = needed <= kKeptCells ? storage : m_own;
        if (cells.size() < needed)
            cells.assign(needed, 0.0f);
        m_cells = cells.data();
    }

    void addLine(double x0, double y0, double x1, double y1);
    void addPath(const QPainterPath &path, const QPointF &offset);
    // Turns the sums into coverage in a zeroed mask, and zeroes the cells.
    void resolveInto(QImage &mask);

private:
    void addCubic(const QPointF &p0, const QPointF &p1, const QPointF &p2, const QPointF &p3);
    void addSpan(float *row, double xa, double xb, double d) const;

    static constexpr size_t kKeptCells = size_t(1) << 20;
    std::vector<float> m_own;
    int m_width = 0;
    int m_height = 0;
    size_t m_stride = 0;
    float *m_cells = nullptr;
    int m_firstRow = INT32_MAX;
    int m_endRow = 0;
};

// The area that the part of an edge within one row leaves right of it, spread over the cells
// from xa to xb (xa <= xb) that it crosses.
void AreaCells::addSpan(float *row, double xa, double xb, double d) const
{
    const double xaFloor = std::floor(xa);
    const int first = int(xaFloor);
    const int last = int(std::ceil(xb));
    if (last <= first + 1) {
        const double middle = 0.5 * (xa + xb) - xaFloor;
        row[first] += float(d - d * middle);
        row[first + 1] += float(d * middle);
        return;
    }
    const double slope = 1.0 / (xb - xa);
    const double xaFrac = xa - xaFloor;
    const double head = 0.5 * slope * (1.0 - xaFrac) * (1.0 - xaFrac);
    const double xbFrac = xb - last + 1.0;
    const double tail = 0.5 * slope * xbFrac * xbFrac;
    row[first] += float(d * head);
    if (last == first + 2) {
        row[first + 1] += float(d * (1.0 - head - tail));
    } else {
        const double second = slope * (1.5 - xaFrac);
        row[first + 1] += float(d * (second - head));
        for (int x = first + 2; x < last - 1; ++x)
            row[x] += float(d * slope);
        const double beforeLast = second + (last - first - 3) * slope;
        row[last - 1] += float(d * (1.0 - beforeLast - tail));
    }
    row[last] += float(d * tail);
}

void AreaCells::addLine(double x0, double y0, double x1, double y1)
{
    if (y0 == y1)
        return;
    double direction = 1.0;
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
        direction = -1.0;
    }
    if (y1 <= 0.0 || y0 >= m_height)
        return;
    const double dxdy = (x1 - x0) / (y1 - y0);
    double x = x0;
    if (y0 < 0.0) {
        x -= y0 * dxdy;
        y0 = 0.0;
    }
    y1 = std::min(y1, double(m_height));
    const int firstRow = int(y0);
    const int endRow = int(std::ceil(y1));
    m_firstRow = std::min(m_firstRow, firstRow);
    m_endRow = std::max(m_endRow, endRow);
    // Left of the mask an edge covers the whole row after it, right of it nothing: clamping x
    // keeps both true.
    const double right = m_width;
    for (int y = firstRow; y < endRow; ++y) {
        const double dy = std::min(y + 1.0, y1) - std::max(double(y), y0);
        const double xNext = x + dxdy * dy;
        const double xa = std::clamp(std::min(x, xNext), 0.0, right);
        const double xb = std::clamp(std::max(x, xNext), 0.0, right);
        addSpan(m_cells + size_t(y) * m_stride, xa, xb, dy * direction);
        x = xNext;
    }
}

// A cubic as straight pieces, as many as keep them within a tenth of a pixel of the curve.
void AreaCells::addCubic(const QPointF &p0, const QPointF &p1, const QPointF &p2, const QPointF &p3)
{
    const QPointF bend1 = p0 - 2.0 * p1 + p2;
    const QPointF bend2 = p1 - 2.0 * p2 + p3;
    const double bend = std::max(std::hypot(bend1.x(), bend1.y()), std::hypot(bend2.x(), bend2.y()));
    const int pieces = std::clamp(int(std::ceil(std::sqrt(7.5 * bend))), 1, 64);
    QPointF previous = p0;
    for (int i = 1; i <= pieces; ++i) {
        const double t = double(i) / pieces;
        const double u = 1.0 - t;
        const QPointF point = u * u * u * p0 + 3.0 * u * u * t * p1 + 3.0 * u * t * t * p2 + t * t * t * p3;
        addLine(previous.x(), previous.y(), point.x(), point.y());
        previous = point;
    }
}

void AreaCells::addPath(const QPainterPath &path, const QPointF &offset)
{
    QPointF start, current;
    const int count = path.elementCount();
    for (int i = 0; i < count; ++i) {
        const QPainterPath::Element &element = path.elementAt(i);
        const QPointF point = QPointF(element.x, element.y) + offset;
        switch (element.type) {
        case QPainterPath::MoveToElement:
            addLine(current.x(), current.y(), start.x(), start.y()); // every subpath is closed
            start = current = point;
            break;
        case QPainterPath::LineToElement:
            addLine(current.x(), current.y(), point.x(), point.y());
            current = point;
            break;
        case QPainterPath::CurveToElement: {
            const QPainterPath::Element &c2 = path.elementAt(i + 1);
            const QPainterPath::Element &end = path.elementAt(i + 2);
            const QPointF last = QPointF(end.x, end.y) + offset;
            addCubic(current, point, QPointF(c2.x, c2.y) + offset, last);
            current = last;
            i += 2;
            break;
        }
        case QPainterPath::CurveToDataElement:
            break;
        }
    }
    addLine(current.x(), current.y(), start.x(), start.y());
}

void AreaCells::resolveInto(QImage &mask)
{
    for (int y = m_firstRow; y < m_endRow; ++y) {
        float *cells = m_cells + size_t(y) * m_stride;
        uint8_t *out = mask.scanLine(y);
        float sum = 0.0f;
        for (int x = 0; x < m_width; ++x) {
            sum += cells[x];
            cells[x] = 0.0f;
            out[x] = uint8_t(std::min(std::fabs(sum), 1.0f) * 255.0f + 0.5f);
        }
        cells[m_width] = 0.0f;
        cells[m_width + 1] = 0.0f;
    }
    m_firstRow = INT32_MAX;
    m_endRow = 0;
}

// x times a / 255 on each byte of a premultiplied pixel, rounded.
inline uint32_t scalePixel(uint32_t x, uint32_t a)
{
    uint32_t redBlue = (x & 0xff00ffu) * a + 0x800080u;
    redBlue = ((redBlue + ((redBlue >> 8) & 0xff00ffu)) >> 8) & 0xff00ffu;
    uint32_t alphaGreen = ((x >> 8) & 0xff00ffu) * a + 0x800080u;
    alphaGreen = (alphaGreen + ((alphaGreen >> 8) & 0xff00ffu)) & 0xff00ff00u;
    return redBlue | alphaGreen;
}

#if defined(__SSE2__)
// a + c (255 - a) / 255 on sixteen bytes, rounded as the scalar form is: with t = a (255 - c) +
// 128, (t + (t >> 8)) >> 8 is t / 255 rounded for every t that two bytes can make.
inline __m128i uniteBytes(__m128i a, __m128i c)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i full = _mm_set1_epi16(255);
    const __m128i half = _mm_set1_epi16(128);
    const auto half16 = [&](__m128i a16, __m128i c16) {
        __m128i t = _mm_add_epi16(_mm_mullo_epi16(a16, _mm_sub_epi16(full, c16)), half);
        t = _mm_srli_epi16(_mm_add_epi16(t, _mm_srli_epi16(t, 8)), 8);
        return _mm_add_epi16(c16, t);
    };
    const __m128i low = half16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(c, zero));
    const __m128i high = half16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(c, zero));
    return _mm_packus_epi16(low, high);
}
#endif

} // namespace pathcoverage_detail

QImage pathCoverage(const QPainterPath &path, const QPointF &offset, const QSize &size)
{
    QImage mask(size, QImage::Format_Alpha8);
    if (mask.isNull())
        return mask;
    mask.fill(0);
    pathcoverage_detail::AreaCells cells(mask.width(), mask.height());
    cells.addPath(path, offset);
    cells.resolveInto(mask);
    return mask;
}

void uniteCoverage(QImage &mask, const QPoint &at, const QImage &addition)
{
    using pathcoverage_detail::uniteBytes;
    const QRect area = QRect(at, addition.size()).intersected(mask.rect());
    for (int y = area.top(); y < area.bottom() + 1; ++y) {
        const uint8_t *in = addition.constScanLine(y - at.y()) + (area.left() - at.x());
        uint8_t *out = mask.scanLine(y) + area.left();
        const int width = area.width();
        int x = 0;
#if defined(__SSE2__)
        for (; x + 16 <= width; x += 16) {
            const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + x));
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(out + x));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + x), uniteBytes(a, c));
        }
#endif
        for (; x < width; ++x) {
            const uint32_t c = in[x];
            out[x] = uint8_t(c + (uint32_t(out[x]) * (255u - c) + 127u) / 255u);
        }
    }
}

void paintCoverage(QImage &image, const QPoint &at, const QImage &mask, QRgb premultipliedColour)
{
    using pathcoverage_detail::scalePixel;
    const QRect area = QRect(at, mask.size()).intersected(image.rect());
    if (area.isEmpty() || qAlpha(premultipliedColour) == 0)
        return;
    const bool opaque = qAlpha(premultipliedColour) == 255;
    const int left = area.left() - at.x();
    const int width = area.width();
    for (int y = area.top(); y < area.bottom() + 1; ++y) {
        const uint8_t *coverage = mask.constScanLine(y - at.y()) + left;
        auto *out = reinterpret_cast<uint32_t *>(image.scanLine(y)) + area.left();
        int x = 0;
        while (x < width) {
            if (x + 8 <= width) { // most of a text's box is empty: skip eight at a time
                uint64_t eight;
                std::memcpy(&eight, coverage + x, 8);
                if (eight == 0) {
                    x += 8;
                    continue;
                }
            }
            const uint32_t c = coverage[x];
            if (c == 255 && opaque) {
                out[x] = premultipliedColour;
            } else if (c != 0) {
                const uint32_t source = scalePixel(premultipliedColour, c);
                out[x] = source + scalePixel(out[x], 255u - qAlpha(source));
            }
            ++x;
        }
    }
}

} // namespace orvel
