#pragma once

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace orvel::mediadetail {

// A frame in such a format lives on the device and must be transferred before the CPU reads it.
inline bool isHardwarePixelFormat(int format)
{
    const AVPixFmtDescriptor *desc = av_pix_fmt_desc_get(AVPixelFormat(format));
    return desc && (desc->flags & AV_PIX_FMT_FLAG_HWACCEL);
}

} // namespace orvel::mediadetail
