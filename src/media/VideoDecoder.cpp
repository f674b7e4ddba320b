#include "media/ClipReader.h"

#include "media/DecodeRules.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <QThread>

#include <cstring>
#include <limits>

namespace orvel {

namespace {
constexpr qsizetype kScalerSlackBytes = 256;

bool isHardwarePixelFormat(int format)
{
    const AVPixFmtDescriptor *desc = av_pix_fmt_desc_get(AVPixelFormat(format));
    return desc && (desc->flags & AV_PIX_FMT_FLAG_HWACCEL);
}

TimeUs decodedFrameTimeUs(const AVFrame *frame, AVRational timeBase)
{
    int64_t pts = frame->pts;
    if (pts == AV_NOPTS_VALUE)
        pts = frame->best_effort_timestamp;
    if (pts == AV_NOPTS_VALUE)
        return 0;
    return av_rescale_q(pts, timeBase, AV_TIME_BASE_Q);
}

// Rows of the scaled frame, without its stride, into a tightly packed buffer.
void copyPlaneRows(char *dst, const uint8_t *src, int srcStride, int rowBytes, int rows)
{
    for (int y = 0; y < rows; ++y)
        std::memcpy(dst + qsizetype(y) * rowBytes, src + qsizetype(y) * srcStride, size_t(rowBytes));
}
} // namespace

QImage ClipReader::decodeVideo(TimeUs sourceUs, int maxWidth, int maxHeight)
{
    return decodeWithRetry(sourceUs, maxWidth, maxHeight, Output::rgba).image;
}

Nv12Frame ClipReader::decodeVideoNv12(TimeUs sourceUs, int maxWidth, int maxHeight)
{
    if (!inPrefetch)
        playheadAnchorUs = sourceUs;
    return decodeWithRetry(sourceUs, maxWidth, maxHeight, Output::nv12).nv12;
}

void ClipReader::prefetchNextVideo(int maxWidth, int maxHeight)
{
    if (!decoderPositioned || frameDurationUs < 1)
        return;
    decodeWithRetry(lastDecodedUs + frameDurationUs, maxWidth, maxHeight, Output::rgba);
}

bool ClipReader::prefetchNextVideoNv12(int maxWidth, int maxHeight, TimeUs requestedReadAheadUs)
{
    readAheadUs = qMax<TimeUs>(requestedReadAheadUs, 0);
    nv12Cache.trim(nv12Capacity(), playheadAnchorUs);
    if (!decoderPositioned || frameDurationUs < 1)
        return false;
    const TimeUs tolerance = toleranceUs();
    TimeUs next = lastDecodedUs + frameDurationUs;
    while (next - playheadAnchorUs < readAheadUs && nv12Cache.contains(next, tolerance))
        next += frameDurationUs;
    if (readAheadUs > 0 && next - playheadAnchorUs >= readAheadUs)
        return false;
    inPrefetch = true;
    decodeWithRetry(next, maxWidth, maxHeight, Output::nv12);
    inPrefetch = false;
    return readAheadUs > 0 && decoderPositioned && nv12Cache.size() < nv12Capacity() &&
           lastDecodedUs - playheadAnchorUs < readAheadUs;
}

ClipReader::Picture ClipReader::decodeWithRetry(TimeUs sourceUs, int maxWidth, int maxHeight, Output output)
{
    Picture picture = decodePicture(sourceUs, maxWidth, maxHeight, output);
    if (!picture.hardwareFailed)
        return picture;
    // A device that fails once is not trusted again for this file.
    dropVideoDecoder();
    hwDisabled = true;
    if (!openSoftwareVideoDecoder())
        return {};
    picture = decodePicture(sourceUs, maxWidth, maxHeight, output);
    picture.hardwareFailed = false;
    return picture;
}

ClipReader::Picture ClipReader::decodePicture(TimeUs sourceUs, int maxWidth, int maxHeight, Output output)
{
    Picture picture;
    if (!formatContext || videoStream < 0)
        return picture;
    if (!videoCodec && !openVideoDecoder())
        return picture;
    applyOutputSize(maxWidth, maxHeight);
    const TimeUs tolerance = toleranceUs();
    if (output == Output::rgba) {
        picture.image = rgbaCache.take(sourceUs, tolerance);
        picture.ok = !picture.image.isNull();
    } else {
        picture.nv12 = nv12Cache.find(sourceUs, tolerance);
        picture.ok = picture.nv12.isValid();
    }
    if (picture.ok)
        return picture;
    if (simulateHardwareFailure) {
        simulateHardwareFailure = false;
        picture.hardwareFailed = true;
        return picture;
    }
    if (!positionDecoder(sourceUs))
        return picture;

    FrameSearch search;
    readNearestFrame(sourceUs, search);
    if (search.hardwareFailed) {
        av_frame_free(&search.best);
        picture.hardwareFailed = true;
        return picture;
    }
    if (!search.best) {
        decoderPositioned = false;
        return picture;
    }
    picture = convertPicture(search.best, output);
    av_frame_free(&search.best);
    if (!picture.ok) {
        decoderPositioned = false;
        return picture;
    }
    if (output == Output::rgba) {
        rgbaCache.insert(search.bestUs, picture.image);
    } else {
        nv12Cache.insert(search.bestUs, picture.nv12);
        nv12Cache.trim(nv12Capacity(), playheadAnchorUs);
    }
    return picture;
}

ClipReader::Picture ClipReader::convertPicture(AVFrame *frame, Output output)
{
    Picture picture;
    const bool hardwareFrame = isHardwarePixelFormat(frame->format);
    if (output == Output::rgba) {
        picture.image = convertToRgba(frame);
        picture.ok = !picture.image.isNull();
    } else {
        picture.nv12 = convertToNv12(frame);
        picture.ok = picture.nv12.isValid();
    }
    picture.hardwareFailed = !picture.ok && hwActive && hardwareFrame;
    return picture;
}

bool ClipReader::positionDecoder(TimeUs sourceUs)
{
    if (canDecodeThrough(decoderPositioned, lastDecodedUs, sourceUs, toleranceUs()))
        return true;
    ++counters.seeks;
    const AVRational timeBase = formatContext->streams[videoStream]->time_base;
    const int64_t target = av_rescale_q(sourceUs, AV_TIME_BASE_Q, timeBase);
    if (av_seek_frame(formatContext, videoStream, target, AVSEEK_FLAG_BACKWARD) < 0) {
        if (sourceUs > 0) {
            decoderPositioned = false;
            return false;
        }
        av_seek_frame(formatContext, videoStream, 0, AVSEEK_FLAG_BACKWARD);
    }
    avcodec_flush_buffers(videoCodec);
    decoderPositioned = true;
    return true;
}

void ClipReader::readNearestFrame(TimeUs sourceUs, FrameSearch &search)
{
    search.bestDistanceUs = std::numeric_limits<TimeUs>::max();
    AVPacket *packet = av_packet_alloc();
    AVFrame *scratch = av_frame_alloc();
    // Frames left in the decoder by the previous request come first, in decode order.
    bool done = !packet || !scratch || drainFrames(scratch, sourceUs, search);
    while (!done) {
        if (av_read_frame(formatContext, packet) < 0) {
            avcodec_send_packet(videoCodec, nullptr);
            drainFrames(scratch, sourceUs, search);
            avcodec_flush_buffers(videoCodec);
            decoderPositioned = false;
            break;
        }
        if (packet->stream_index != videoStream) {
            av_packet_unref(packet);
            continue;
        }
        const int sent = avcodec_send_packet(videoCodec, packet);
        av_packet_unref(packet);
        if (sent < 0 && sent != AVERROR(EAGAIN)) {
            // A hardware decoder that rejects input is broken; in software a damaged packet
            // only delays the frame.
            if (hwActive) {
                search.hardwareFailed = true;
                break;
            }
            continue;
        }
        done = drainFrames(scratch, sourceUs, search);
    }
    av_packet_free(&packet);
    av_frame_free(&scratch);
}

bool ClipReader::drainFrames(AVFrame *scratch, TimeUs sourceUs, FrameSearch &search)
{
    const AVRational timeBase = formatContext->streams[videoStream]->time_base;
    for (;;) {
        const int received = avcodec_receive_frame(videoCodec, scratch);
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
            return false;
        if (received < 0) {
            if (hwActive) {
                search.hardwareFailed = true;
                return true;
            }
            return false;
        }
        ++counters.framesDecoded;
        const TimeUs timeUs = decodedFrameTimeUs(scratch, timeBase);
        lastDecodedUs = timeUs;
        const TimeUs distance = timeUs > sourceUs ? timeUs - sourceUs : sourceUs - timeUs;
        if (distance < search.bestDistanceUs) {
            if (!search.best)
                search.best = av_frame_alloc();
            else
                av_frame_unref(search.best);
            if (!search.best)
                return true;
            av_frame_move_ref(search.best, scratch);
            search.bestUs = timeUs;
            search.bestDistanceUs = distance;
        } else {
            av_frame_unref(scratch);
        }
        if (timeUs >= sourceUs)
            return true;
    }
}

QImage ClipReader::convertToRgba(const AVFrame *frame)
{
    const int width = targetWidth;
    const int height = targetHeight;
    if (width < 1 || height < 1)
        return {};
    const AVFrame *source = frame;
    if (isHardwarePixelFormat(frame->format)) {
        source = transferFromHardware(const_cast<AVFrame *>(frame), width, height);
        if (!source)
            return {};
    }
    swsRgba = sws_getCachedContext(swsRgba, source->width, source->height, AVPixelFormat(source->format),
                                   width, height, AV_PIX_FMT_RGBA, SWS_BILINEAR, nullptr, nullptr, nullptr);
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

Nv12Frame ClipReader::convertToNv12(const AVFrame *frame)
{
    const int width = targetWidth & ~1;
    const int height = targetHeight & ~1;
    if (width < 2 || height < 2 || isHardwarePixelFormat(frame->format))
        return {};
    Nv12Frame out;
    out.width = width;
    out.height = height;
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
