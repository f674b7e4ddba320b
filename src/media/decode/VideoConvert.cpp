// Turning a decoded picture into what the callers take: RGBA images and packed NV12 frames, at
// the reader's target size; and opening the software decoder.
#include "media/decode/ClipReader.h"

#include "media/decode/DecodeRules.h"
#include "media/decode/PixelFormats.h"
#include "media/frames/VideoColour.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <QThread>

#include <cstring>

namespace orvel {

namespace {
constexpr qsizetype kScalerSlackBytes = 256;

// Rows of the scaled frame, without its stride, into a tightly packed buffer.
void copyPlaneRows(char *dst, const uint8_t *src, int srcStride, int rowBytes, int rows)
{
    for (int y = 0; y < rows; ++y)
        std::memcpy(dst + qsizetype(y) * rowBytes, src + qsizetype(y) * srcStride, size_t(rowBytes));
}
} // namespace

using mediadetail::isHardwarePixelFormat;

QImage ClipReader::convertToRgba(const AVFrame *frame)
{
    const int width = targetWidth;
    const int height = targetHeight;
    if (width < 1 || height < 1)
        return {};
    // The tags are read before a device frame is transferred: the copy in memory has none.
    const VideoColour colour =
        mediadetail::colourOfFrame(frame, formatContext->streams[videoStream]->codecpar);
    const AVFrame *source = frame;
    if (isHardwarePixelFormat(frame->format)) {
        source = transferFromHardware(const_cast<AVFrame *>(frame), width, height);
        if (!source)
            return {};
    }
    swsRgba = sws_getCachedContext(swsRgba, source->width, source->height, AVPixelFormat(source->format),
                                   width, height, AV_PIX_FMT_RGBA, mediadetail::rgbScalerFlags(), nullptr,
                                   nullptr, nullptr);
    // The scaler reads every YUV source as BT.601 limited unless told otherwise; the picture
    // must match what the GPU shows for the same frame.
    VideoColour rgb = colour;
    rgb.fullRange = true;
    mediadetail::setScalerColour(swsRgba, colour, rgb);
    AVFrame *scaled = av_frame_alloc();
    QImage image;
    if (swsRgba && scaled) {
        scaled->format = AV_PIX_FMT_RGBA;
        scaled->width = width;
        scaled->height = height;
        if (av_frame_get_buffer(scaled, 0) >= 0 &&
            sws_scale(swsRgba, source->data, source->linesize, 0, source->height, scaled->data,
                      scaled->linesize) > 0) {
            // The frame's buffer goes with it, so the image takes a deep copy.
            image =
                QImage(scaled->data[0], width, height, scaled->linesize[0], QImage::Format_RGBA8888).copy();
        }
    }
    av_frame_free(&scaled);
    return image;
}

Nv12Frame ClipReader::convertToNv12(const AVFrame *input)
{
    const int width = targetWidth & ~1;
    const int height = targetHeight & ~1;
    if (width < 2 || height < 2)
        return {};
    // A device frame comes over to memory first, scaled on the device where it can be, and is
    // then an ordinary NV12 (or other) software frame.
    const VideoColour colour =
        mediadetail::colourOfFrame(input, formatContext->streams[videoStream]->codecpar);
    const AVFrame *frame = input;
    if (isHardwarePixelFormat(input->format)) {
        frame = transferFromHardware(const_cast<AVFrame *>(input), width, height);
        if (!frame)
            return {};
    }
    Nv12Frame out;
    out.width = width;
    out.height = height;
    out.colour = colour;
    const qsizetype lumaBytes = qsizetype(width) * height;
    // The scaler's vector code may write a little past the last row; the slack takes it, and
    // the frame's size stays the exact packed size.
    out.data.reserve(lumaBytes + lumaBytes / 2 + kScalerSlackBytes);
    out.data.resize(lumaBytes + lumaBytes / 2);
    char *luma = out.data.data();
    char *chroma = luma + lumaBytes;
    if (frame->format == AV_PIX_FMT_NV12 && frame->width == width && frame->height == height) {
        copyPlaneRows(luma, frame->data[0], frame->linesize[0], width, height);
        copyPlaneRows(chroma, frame->data[1], frame->linesize[1], width, height / 2);
        return out;
    }
    swsNv12 = sws_getCachedContext(swsNv12, frame->width, frame->height, AVPixelFormat(frame->format), width,
                                   height, AV_PIX_FMT_NV12, SWS_BILINEAR, nullptr, nullptr, nullptr);
    if (!swsNv12)
        return {};
    // The samples keep their matrix and range (the shader reads both from the frame), so a
    // full-range source is not squeezed into limited range and 10-bit or 4:2:2 material only
    // loses what NV12 cannot hold. An RGB source is turned into YUV of the frame's own matrix.
    mediadetail::setScalerColour(swsNv12, colour, colour);
    // Scaled straight into the packed planes: a stride equal to the width drops nothing.
    uint8_t *planes[4] = {reinterpret_cast<uint8_t *>(luma), reinterpret_cast<uint8_t *>(chroma), nullptr,
                          nullptr};
    const int strides[4] = {width, width, 0, 0};
    if (sws_scale(swsNv12, frame->data, frame->linesize, 0, frame->height, planes, strides) <= 0)
        return {};
    return out;
}

bool ClipReader::openVideoDecoder()
{
    return openHardwareVideoDecoder() || openSoftwareVideoDecoder();
}

bool ClipReader::openSoftwareVideoDecoder()
{
    const AVStream *stream = formatContext->streams[videoStream];
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!codec)
        return false;
    AVCodecContext *context = avcodec_alloc_context3(codec);
    if (!context)
        return false;
    if (avcodec_parameters_to_context(context, stream->codecpar) < 0) {
        avcodec_free_context(&context);
        return false;
    }
    context->pkt_timebase = stream->time_base;
    context->thread_count = softwareDecoderThreads(QThread::idealThreadCount());
    context->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
    if (avcodec_open2(context, codec, nullptr) < 0) {
        avcodec_free_context(&context);
        return false;
    }
    videoCodec = context;
    hwActive = false;
    ++counters.softwareOpens;
    return true;
}

} // namespace orvel
