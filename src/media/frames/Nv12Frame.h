#pragma once

#include "media/frames/VideoColour.h"

#include <QByteArray>
#include <QMetaType>

#include <cstdint>

namespace orvel {

// One decoded picture for the GPU compositor: the Y plane with rows tightly packed, followed at
// once by the interleaved UV plane, rows tightly packed. There is no stride field. The byte
// array is implicitly shared, so frames cross threads without copying.
struct Nv12Frame
{
    QByteArray data;
    std::int32_t width = 0;
    std::int32_t height = 0;
    // How to read the samples: the source's own matrix and range, never converted on the way.
    VideoColour colour;

    // Every reader applies this test and treats a failing frame as no frame.
    bool isValid() const
    {
        if (width <= 0 || height <= 0 || (width % 2) != 0 || (height % 2) != 0)
            return false;
        return qint64(data.size()) >= (qint64(height) + height / 2) * width;
    }
};

} // namespace orvel

Q_DECLARE_METATYPE(orvel::Nv12Frame)
