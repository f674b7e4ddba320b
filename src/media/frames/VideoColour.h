#pragma once

#include <QtGlobal>

#include <array>
#include <cstdint>

struct AVCodecParameters;
struct AVFrame;
struct SwsContext;

namespace orvel {

// The YUV to RGB matrices the program knows. Every other tag is read as the nearest of these.
enum class YuvMatrix : std::int8_t
{
    bt601,
    bt709,
    bt2020
};

// How the samples of a YUV picture are to be read: its matrix and range, and the primaries and
// transfer it was tagged with. Primaries and transfer are FFmpeg's AVColorPrimaries and
// AVColorTransferCharacteristic values; nothing converts between them, they only travel so that
// an encoder can tag what it writes. The default is what an untagged HD stream is taken to be.
struct VideoColour
{
    YuvMatrix matrix = YuvMatrix::bt709;
    bool fullRange = false;
    int primaries = 2; // AVCOL_PRI_UNSPECIFIED
    int transfer = 2;  // AVCOL_TRC_UNSPECIFIED

    bool operator==(const VideoColour &other) const = default;
};

// Untagged pictures: HD and above were made for BT.709, everything smaller for BT.601.
YuvMatrix defaultMatrixForHeight(int height);

// Row-major 3x3 that turns (Y, U, V), with Y expanded to 0..1 and chroma centred on 0 in
// -0.5..0.5, into R'G'B' in 0..1; the NV12 shader takes it as a uniform.
std::array<float, 9> yuvToRgbMatrix(YuvMatrix matrix);

namespace mediadetail {

// The description of a decoded frame: the frame's own tags first, then the stream's, then the
// defaults. JPEG-style pixel formats and full-range tags read as full range; RGB sources, which
// the program turns into YUV itself, are given full range so that no precision is lost.
VideoColour colourOfFrame(const AVFrame *frame, const AVCodecParameters *stream);

// Tells a scaler how to read its source and write its target. An RGB side is always full range
// and its matrix is ignored; a YUV to YUV conversion with equal ranges keeps the code values.
void setScalerColour(SwsContext *scaler, const VideoColour &source, const VideoColour &target);

// Scaler flags for turning YUV into RGB on the CPU. The scaler's default path rounds through
// small tables and lands up to three code values off; these pictures must match the shader's.
int rgbScalerFlags();

// FFmpeg's AVColorSpace for a description, for tagging an encoded stream.
int avColourSpaceOf(const VideoColour &colour);

} // namespace mediadetail

} // namespace orvel
