// The box blur under text shadows and glows. Three rounds of a horizontal and a vertical pass
// approximate a Gaussian; every pass rounds to 8 bits, so the passes must run in exactly this
// order for the picture to stay the same.
#include "render/text/TextPaint.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace orvel {

namespace boxblur_detail {

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

// Rows are blurred a block at a time, so that the running sums of several rows advance side by
// side instead of each waiting on its own previous step.
template <int Channels, int Rows>
void boxBlurRowBlock(const uint8_t *in, uint8_t *out, int width, qsizetype stride, const BoxWindow &box)
{
    uint32_t sum[Rows][Channels] = {};
    const int r = box.r;
    for (int x = 0; x <= std::min(r, width - 1); ++x) {
        for (int k = 0; k < Rows; ++k) {
            for (int c = 0; c < Channels; ++c)
                sum[k][c] += in[k * stride + x * Channels + c];
        }
    }
    // The pixel entering the window and the one leaving it exist only away from the edges, so
    // the row is walked in three stretches.
    const auto step = [&](int x, bool enters, bool leaves) {
        for (int k = 0; k < Rows; ++k) {
            const uint8_t *row = in + k * stride;
            for (int c = 0; c < Channels; ++c) {
                out[k * stride + x * Channels + c] = box.average(sum[k][c]);
                if (enters)
                    sum[k][c] += row[(x + r + 1) * Channels + c];
                if (leaves)
                    sum[k][c] -= row[(x - r) * Channels + c];
            }
        }
    };
    const int headEnd = std::min(r, width);                 // nothing leaves before here
    const int tailStart = std::max(headEnd, width - r - 1); // nothing enters from here on
    int x = 0;
    for (; x < headEnd; ++x)
        step(x, x + r + 1 < width, false);
    for (; x < tailStart; ++x)
        step(x, true, true);
    for (; x < width; ++x)
        step(x, x + r + 1 < width, x - r >= 0);
}

template <int Channels>
void boxBlurRows(const uint8_t *in, uint8_t *out, int width, int height, qsizetype stride,
                 const BoxWindow &box)
{
    constexpr int kBlock = 8;
    int y = 0;
    for (; y + kBlock <= height; y += kBlock)
        boxBlurRowBlock<Channels, kBlock>(in + y * stride, out + y * stride, width, stride, box);
    for (; y < height; ++y)
        boxBlurRowBlock<Channels, 1>(in + y * stride, out + y * stride, width, stride, box);
}

// Columns are summed a whole row at a time, so memory is read in order. Rows outside the image
// are a row of zeros.
void boxBlurColumns(const uint8_t *in, uint8_t *out, int bytes, int height, qsizetype stride,
                    const BoxWindow &box)
{
    std::vector<uint32_t> sums(size_t(bytes), 0u);
    const std::vector<uint8_t> zeros(size_t(bytes), 0u);
    for (int y = 0; y <= std::min(box.r, height - 1); ++y) {
        const uint8_t *row = in + y * stride;
        for (int i = 0; i < bytes; ++i)
            sums[i] += row[i];
    }
    uint32_t *sum = sums.data();
    for (int y = 0; y < height; ++y) {
        const int enter = y + box.r + 1;
        const int leave = y - box.r;
        const uint8_t *entering = enter < height ? in + enter * stride : zeros.data();
        const uint8_t *leaving = leave >= 0 ? in + leave * stride : zeros.data();
        uint8_t *target = out + y * stride;
        for (int i = 0; i < bytes; ++i) {
            target[i] = box.average(sum[i]);
            sum[i] += uint32_t(entering[i]) - uint32_t(leaving[i]);
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
        boxBlurRows<Channels>(pixels, scratch.data(), width, height, stride, box);
        boxBlurColumns(scratch.data(), pixels, width * Channels, height, stride, box);
    }
}

#if defined(__SSE2__)

// Coverage masks take the fast way: the vertical pass runs sixteen columns per vector with 16-bit
// sums, and the horizontal pass is the same vertical pass run on the transposed mask. Sums of a
// window of at most 257 bytes fit 16 bits, and (sum * reciprocal) >> 16 is then one high-half
// multiply, so the results are bit for bit those of the scalar passes above.
constexpr int kVectorMaxRadius = 128;

inline __m128i loadRow(const uint8_t *row)
{
    return _mm_load_si128(reinterpret_cast<const __m128i *>(row));
}

// One 16 x 16 block: row i of `in` becomes column i of `out`.
void transposeBlock(const uint8_t *in, qsizetype inStride, uint8_t *out, qsizetype outStride)
{
    __m128i a[16], b[16];
    for (int i = 0; i < 16; i += 2) {
        const __m128i r0 = loadRow(in + i * inStride);
        const __m128i r1 = loadRow(in + (i + 1) * inStride);
        a[i] = _mm_unpacklo_epi8(r0, r1);
        a[i + 1] = _mm_unpackhi_epi8(r0, r1);
    }
    // Byte pairs, then quads, then eights of one column come together.
    for (int g = 0; g < 16; g += 4) {
        b[g] = _mm_unpacklo_epi16(a[g], a[g + 2]);
        b[g + 1] = _mm_unpackhi_epi16(a[g], a[g + 2]);
        b[g + 2] = _mm_unpacklo_epi16(a[g + 1], a[g + 3]);
        b[g + 3] = _mm_unpackhi_epi16(a[g + 1], a[g + 3]);
    }
    for (int g = 0; g < 16; g += 8) {
        for (int k = 0; k < 4; ++k) {
            a[g + 2 * k] = _mm_unpacklo_epi32(b[g + k], b[g + 4 + k]);
            a[g + 2 * k + 1] = _mm_unpackhi_epi32(b[g + k], b[g + 4 + k]);
        }
    }
    for (int k = 0; k < 8; ++k) {
        _mm_store_si128(reinterpret_cast<__m128i *>(out + (2 * k) * outStride),
                        _mm_unpacklo_epi64(a[k], a[k + 8]));
        _mm_store_si128(reinterpret_cast<__m128i *>(out + (2 * k + 1) * outStride),
                        _mm_unpackhi_epi64(a[k], a[k + 8]));
    }
}

// A plane of padded16Rows x padded16Cols bytes into its transpose.
void transposePlane(const uint8_t *in, int rows, int cols, qsizetype inStride, uint8_t *out,
                    qsizetype outStride)
{
    for (int y = 0; y < rows; y += 16)
        for (int x = 0; x < cols; x += 16)
            transposeBlock(in + y * inStride + x, inStride, out + x * outStride + y, outStride);
}

// The vertical pass over `bytes` (a multiple of 16) columns and `height` rows; rows outside are
// zero. Only the rows inside are written.
void blurColumnsVector(const uint8_t *in, uint8_t *out, int bytes, int height, qsizetype stride, int radius)
{
    const __m128i reciprocal = _mm_set1_epi16(short(BoxWindow(radius).reciprocal));
    const __m128i zero = _mm_setzero_si128();
    for (int x = 0; x < bytes; x += 16) {
        const uint8_t *column = in + x;
        __m128i low = zero, high = zero;
        for (int y = 0; y <= std::min(radius, height - 1); ++y) {
            const __m128i row = loadRow(column + y * stride);
            low = _mm_add_epi16(low, _mm_unpacklo_epi8(row, zero));
            high = _mm_add_epi16(high, _mm_unpackhi_epi8(row, zero));
        }
        for (int y = 0; y < height; ++y) {
            const __m128i averaged =
                _mm_packus_epi16(_mm_mulhi_epu16(low, reciprocal), _mm_mulhi_epu16(high, reciprocal));
            _mm_store_si128(reinterpret_cast<__m128i *>(out + y * stride + x), averaged);
            const int enter = y + radius + 1;
            const int leave = y - radius;
            if (enter < height) {
                const __m128i row = loadRow(column + enter * stride);
                low = _mm_add_epi16(low, _mm_unpacklo_epi8(row, zero));
                high = _mm_add_epi16(high, _mm_unpackhi_epi8(row, zero));
            }
            if (leave >= 0) {
                const __m128i row = loadRow(column + leave * stride);
                low = _mm_sub_epi16(low, _mm_unpacklo_epi8(row, zero));
                high = _mm_sub_epi16(high, _mm_unpackhi_epi8(row, zero));
            }
        }
    }
}

// Aligned, zeroed scratch planes. Padding rows and columns start as zero and stay zero: each pass
// writes only the rows inside, and columns past the edge are blurs of zeros.
struct AlignedPlane
{
    std::vector<uint8_t> storage;
    uint8_t *data = nullptr;
    qsizetype stride = 0;
    AlignedPlane(int rows, int cols) : storage(size_t(rows) * size_t(cols) + 15, 0), stride(cols)
    {
        const auto address = reinterpret_cast<std::uintptr_t>(storage.data());
        data = storage.data() + ((16 - address % 16) % 16);
    }
    uint8_t *bytes() { return data; }
};

void boxBlurAlpha8Vector(QImage &image, int radius)
{
    const int width = image.width();
    const int height = image.height();
    const int paddedWidth = (width + 15) & ~15;
    const int paddedHeight = (height + 15) & ~15;
    AlignedPlane plane(paddedHeight, paddedWidth), spare(paddedHeight, paddedWidth);
    AlignedPlane turned(paddedWidth, paddedHeight), turnedBlurred(paddedWidth, paddedHeight);
    for (int y = 0; y < height; ++y)
        std::copy_n(image.constScanLine(y), width, plane.bytes() + y * plane.stride);
    for (int round = 0; round < 3; ++round) {
        transposePlane(plane.bytes(), paddedHeight, paddedWidth, plane.stride, turned.bytes(), turned.stride);
        blurColumnsVector(turned.bytes(), turnedBlurred.bytes(), paddedHeight, width, turned.stride, radius);
        transposePlane(turnedBlurred.bytes(), paddedWidth, paddedHeight, turnedBlurred.stride, plane.bytes(),
                       plane.stride);
        blurColumnsVector(plane.bytes(), spare.bytes(), paddedWidth, height, plane.stride, radius);
        std::swap(plane.data, spare.data);
    }
    for (int y = 0; y < height; ++y)
        std::copy_n(plane.bytes() + y * plane.stride, width, image.scanLine(y));
}

#endif

// Wide blurs run on a half-size mask: each pixel of it the mean of a 2 x 2 block, blurred with the
// radius whose three box rounds spread as far (their variance r (r + 1) in half pixels is a
// quarter of that in whole ones), then scaled back bilinearly. Whole pixel x lies at x / 2 - 1/4
// in half pixels, so it takes 1/4 and 3/4 of its two nearest half pixels in each direction.
constexpr int kHalfSizeFromRadius = 8;

int halfSizeRadius(int radius)
{
    return std::max(1, int(std::lround((std::sqrt(1.0 + double(radius) * (radius + 1)) - 1.0) / 2.0)));
}

QImage halveCoverage(const QImage &mask)
{
    const int width = mask.width();
    const int height = mask.height();
    QImage half((width + 1) / 2, (height + 1) / 2, QImage::Format_Alpha8);
    const std::vector<uint8_t> zeros(size_t(width) + 1, 0u);
    const int halfWidth = half.width();
    for (int y = 0; y < half.height(); ++y) {
        const uint8_t *top = mask.constScanLine(2 * y);
        const uint8_t *bottom = 2 * y + 1 < height ? mask.constScanLine(2 * y + 1) : zeros.data();
        uint8_t *out = half.scanLine(y);
        int x = 0;
#if defined(__SSE2__)
        const __m128i lowBytes = _mm_set1_epi16(0x00ff);
        for (; 2 * x + 32 <= width; x += 16) {
            const auto rows = [&](int at) {
                return _mm_avg_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(top + at)),
                                    _mm_loadu_si128(reinterpret_cast<const __m128i *>(bottom + at)));
            };
            const auto pairs = [&](__m128i v) {
                return _mm_avg_epu16(_mm_and_si128(v, lowBytes), _mm_srli_epi16(v, 8));
            };
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + x),
                             _mm_packus_epi16(pairs(rows(2 * x)), pairs(rows(2 * x + 16))));
        }
#endif
        for (; x < halfWidth; ++x) {
            const int right = 2 * x + 1 < width ? 1 : 0;
            const int sum = top[2 * x] + bottom[2 * x] + (right ? top[2 * x + 1] + bottom[2 * x + 1] : 0);
            out[x] = uint8_t((sum + 2) >> 2);
        }
    }
    return half;
}

// One whole row from two half rows weighted 1 and 3 (sixteenths after the columns' 1 and 3).
void doubleRow(const uint8_t *nearest, const uint8_t *other, int halfWidth, std::vector<uint16_t> &mixed,
               uint8_t *out, int width)
{
    // mixed[i + 1] holds half column i; the ends are zero, as pixels outside are.
    int i = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128i three = _mm_set1_epi16(3);
    for (; i + 16 <= halfWidth; i += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(nearest + i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(other + i));
        const auto mix = [&](__m128i a16, __m128i b16) {
            return _mm_add_epi16(_mm_mullo_epi16(a16, three), b16);
        };
        _mm_storeu_si128(reinterpret_cast<__m128i *>(mixed.data() + i + 1),
                         mix(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero)));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(mixed.data() + i + 9),
                         mix(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero)));
    }
#endif
    for (; i < halfWidth; ++i)
        mixed[size_t(i) + 1] = uint16_t(3 * nearest[i] + other[i]);
    const uint16_t *m = mixed.data() + 1;
    i = 0;
#if defined(__SSE2__)
    const __m128i rounding = _mm_set1_epi16(8);
    for (; 2 * i + 16 <= width; i += 8) {
        const __m128i left = _mm_loadu_si128(reinterpret_cast<const __m128i *>(m + i - 1));
        const __m128i centre =
            _mm_mullo_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(m + i)), three);
        const __m128i right = _mm_loadu_si128(reinterpret_cast<const __m128i *>(m + i + 1));
        const __m128i even = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(left, centre), rounding), 4);
        const __m128i odd = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(right, centre), rounding), 4);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 2 * i),
                         _mm_packus_epi16(_mm_unpacklo_epi16(even, odd), _mm_unpackhi_epi16(even, odd)));
    }
#endif
    for (int x = 2 * i; x < width; ++x) {
        const int c = x / 2;
        const int side = x % 2 == 0 ? m[c - 1] : m[c + 1];
        out[x] = uint8_t((side + 3 * m[c] + 8) >> 4);
    }
}

void doubleCoverage(const QImage &half, QImage &mask)
{
    const int halfWidth = half.width();
    const std::vector<uint8_t> zeros(size_t(halfWidth), 0u);
    std::vector<uint16_t> mixed(size_t(halfWidth) + 2, 0u);
    const auto halfRow = [&](int y) {
        return y >= 0 && y < half.height() ? half.constScanLine(y) : zeros.data();
    };
    for (int y = 0; y < mask.height(); ++y) {
        const int c = y / 2;
        doubleRow(halfRow(c), halfRow(y % 2 == 0 ? c - 1 : c + 1), halfWidth, mixed, mask.scanLine(y),
                  mask.width());
    }
}

} // namespace boxblur_detail

void blurCoverage(QImage &mask, int radius)
{
    using namespace boxblur_detail;
    if (radius < kHalfSizeFromRadius || mask.format() != QImage::Format_Alpha8 || mask.isNull()) {
        boxBlurPremultiplied(mask, radius);
        return;
    }
    QImage half = halveCoverage(mask);
    boxBlurPremultiplied(half, halfSizeRadius(radius));
    doubleCoverage(half, mask);
}

void boxBlurPremultiplied(QImage &image, int radius)
{
    if (radius < 1 || image.isNull())
        return;
    if (image.format() == QImage::Format_Alpha8) {
#if defined(__SSE2__)
        if (radius <= boxblur_detail::kVectorMaxRadius) {
            boxblur_detail::boxBlurAlpha8Vector(image, radius);
            return;
        }
#endif
        boxblur_detail::boxBlurBytes<1>(image, radius);
        return;
    }
    if (image.format() != QImage::Format_ARGB32_Premultiplied)
        image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    boxblur_detail::boxBlurBytes<4>(image, radius);
}

} // namespace orvel
