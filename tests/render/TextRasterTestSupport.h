#pragma once

// Measurements on painted text, made on the raster itself: where pixels of a colour lie.
#include "core/document/model/Project.h"

#include <QFont>
#include <QFontMetricsF>
#include <QImage>
#include <QRect>

#include <algorithm>
#include <functional>

namespace textprobe {

using PixelTest = std::function<bool(QRgb)>;

// The bounding box of the pixels that pass the test; empty when none does.
inline QRect inkBox(const QImage &image, const PixelTest &test)
{
    const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
    QRect box;
    for (int y = 0; y < straight.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(straight.constScanLine(y));
        for (int x = 0; x < straight.width(); ++x) {
            if (test(row[x]))
                box |= QRect(x, y, 1, 1);
        }
    }
    return box;
}

inline int countPixels(const QImage &image, const PixelTest &test)
{
    const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
    const auto *pixels = reinterpret_cast<const QRgb *>(straight.constBits());
    return int(std::count_if(pixels, pixels + straight.width() * straight.height(), test));
}

// Runs of rows that hold any ink, separated by empty rows: the lines of a text.
inline int inkBands(const QImage &image)
{
    int bands = 0;
    bool inBand = false;
    for (int y = 0; y < image.height(); ++y) {
        bool ink = false;
        for (int x = 0; x < image.width() && !ink; ++x)
            ink = qAlpha(image.pixel(x, y)) > 0;
        bands += ink && !inBand ? 1 : 0;
        inBand = ink;
    }
    return bands;
}

inline PixelTest colour(int r, int g, int b)
{
    return [=](QRgb p) {
        return qAlpha(p) > 127 && std::abs(qRed(p) - r) < 40 && std::abs(qGreen(p) - g) < 40 &&
               std::abs(qBlue(p) - b) < 40;
    };
}

inline PixelTest anyInk()
{
    return [](QRgb p) { return qAlpha(p) > 0; };
}

// A plain style in a font every test machine has, so metrics can be taken independently.
inline orvel::Clip textClip(const QString &text, int pixelSize = 60)
{
    orvel::Clip clip;
    clip.type = orvel::ClipType::text;
    clip.textContent = text;
    clip.textStyle.fontFamily = QStringLiteral("DejaVu Sans");
    clip.textStyle.fontWeight = 400;
    clip.textStyle.pixelSize = pixelSize;
    return clip;
}

inline QFontMetricsF metricsOf(const orvel::TextStyle &style, double scale = 1.0)
{
    QFont font(style.fontFamily);
    font.setPixelSize(qRound(style.pixelSize * scale));
    font.setWeight(QFont::Weight(style.fontWeight));
    font.setHintingPreference(QFont::PreferNoHinting);
    return QFontMetricsF(font);
}

} // namespace textprobe
