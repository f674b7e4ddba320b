#include "media/frames/VideoColour.h"

extern "C" {
#include <libavcodec/codec_par.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace orvel {

namespace {

struct LumaWeights
{
    double kr;
    double kb;
};

LumaWeights weightsOf(YuvMatrix matrix)
{
    switch (matrix) {
    case YuvMatrix::bt601:
        return {0.299, 0.114};
    case YuvMatrix::bt2020:
        return {0.2627, 0.0593};
    case YuvMatrix::bt709:
        break;
    }
    return {0.2126, 0.0722};
}

// AVCOL_SPC_UNSPECIFIED and the reserved value say nothing; AVCOL_SPC_RGB describes GBR planes,
// whose matrix does not matter.
bool isMatrixTag(int space)
{
    return space != AVCOL_SPC_UNSPECIFIED && space != AVCOL_SPC_RESERVED && space != AVCOL_SPC_RGB &&
           space >= 0 && space < AVCOL_SPC_NB;
}

YuvMatrix matrixOfTag(int space)
{
    switch (space) {
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_FCC:
        return YuvMatrix::bt601;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return YuvMatrix::bt2020;
    default:
        return YuvMatrix::bt709; // BT.709 itself, and SMPTE 240M which lies within a code value of it
    }
}

// The pixel formats FFmpeg still names after JPEG carry full range in the format itself.
bool isJpegFormat(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ411P:
        return true;
    default:
        return false;
    }
}

int swsSpaceOf(YuvMatrix matrix)
{
    switch (matrix) {
    case YuvMatrix::bt601:
        return SWS_CS_ITU601;
    case YuvMatrix::bt2020:
        return SWS_CS_BT2020;
    case YuvMatrix::bt709:
        break;
    }
    return SWS_CS_ITU709;
}

template <typename T> int firstTagged(T frameValue, T streamValue, T unspecified)
{
    return int(frameValue != unspecified ? frameValue : streamValue);
}

} // namespace

YuvMatrix defaultMatrixForHeight(int height)
{
    return height >= 720 ? YuvMatrix::bt709 : YuvMatrix::bt601;
}

std::array<float, 9> yuvToRgbMatrix(YuvMatrix matrix)
{
    const auto [kr, kb] = weightsOf(matrix);
    const double kg = 1.0 - kr - kb;
    const float rFromV = float(2.0 * (1.0 - kr));
    const float gFromU = float(-2.0 * kb * (1.0 - kb) / kg);
    const float gFromV = float(-2.0 * kr * (1.0 - kr) / kg);
    const float bFromU = float(2.0 * (1.0 - kb));
    return {1.0f, 0.0f, rFromV, 1.0f, gFromU, gFromV, 1.0f, bFromU, 0.0f};
}

namespace mediadetail {

VideoColour colourOfFrame(const AVFrame *frame, const AVCodecParameters *stream)
{
    VideoColour colour;
    const int height = frame->height > 0 ? frame->height : (stream ? stream->height : 0);
    const AVColorSpace streamSpace = stream ? stream->color_space : AVCOL_SPC_UNSPECIFIED;
    const int space = isMatrixTag(frame->colorspace) ? int(frame->colorspace) : int(streamSpace);
    colour.matrix = isMatrixTag(space) ? matrixOfTag(space) : defaultMatrixForHeight(height);

    const AVColorRange streamRange = stream ? stream->color_range : AVCOL_RANGE_UNSPECIFIED;
    const int range = firstTagged(frame->color_range, streamRange, AVCOL_RANGE_UNSPECIFIED);
    const AVPixFmtDescriptor *desc = av_pix_fmt_desc_get(AVPixelFormat(frame->format));
    const bool rgb = desc && (desc->flags & AV_PIX_FMT_FLAG_RGB);
    colour.fullRange = rgb || isJpegFormat(frame->format) || range == AVCOL_RANGE_JPEG;

    colour.primaries =
        firstTagged(frame->color_primaries, stream ? stream->color_primaries : AVCOL_PRI_UNSPECIFIED,
                    AVCOL_PRI_UNSPECIFIED);
    colour.transfer = firstTagged(frame->color_trc, stream ? stream->color_trc : AVCOL_TRC_UNSPECIFIED,
                                  AVCOL_TRC_UNSPECIFIED);
    return colour;
}

void setScalerColour(SwsContext *scaler, const VideoColour &source, const VideoColour &target)
{
    if (!scaler)
        return;
    // Brightness 0, contrast and saturation 1.0 in 16.16 fixed point: no adjustment.
    sws_setColorspaceDetails(scaler, sws_getCoefficients(swsSpaceOf(source.matrix)), source.fullRange ? 1 : 0,
                             sws_getCoefficients(swsSpaceOf(target.matrix)), target.fullRange ? 1 : 0, 0,
                             1 << 16, 1 << 16);
}

int rgbScalerFlags()
{
    return SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT;
}

int avColourSpaceOf(const VideoColour &colour)
{
    switch (colour.matrix) {
    case YuvMatrix::bt601:
        // PAL material is tagged with its own name for the same matrix.
        return colour.primaries == AVCOL_PRI_BT470BG ? AVCOL_SPC_BT470BG : AVCOL_SPC_SMPTE170M;
    case YuvMatrix::bt2020:
        return AVCOL_SPC_BT2020_NCL;
    case YuvMatrix::bt709:
        break;
    }
    return AVCOL_SPC_BT709;
}

} // namespace mediadetail

} // namespace orvel
