#include "media/decode/ClipReader.h"

#include "media/decode/DecodeRules.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavformat/avformat.h>
#include <libavutil/hwcontext.h>
#include <libavutil/pixdesc.h>
}

namespace orvel {

namespace {
// The decoder offers its formats; take the device's when offered, else the first software one.
AVPixelFormat pickHardwarePixelFormat(AVCodecContext *context, const AVPixelFormat *offered)
{
    const auto *reader = static_cast<const ClipReader *>(context->opaque);
    for (const AVPixelFormat *format = offered; *format != AV_PIX_FMT_NONE; ++format) {
        if (int(*format) == reader->hwPixelFormat)
            return *format;
    }
    for (const AVPixelFormat *format = offered; *format != AV_PIX_FMT_NONE; ++format) {
        const AVPixFmtDescriptor *desc = av_pix_fmt_desc_get(*format);
        if (desc && !(desc->flags & AV_PIX_FMT_FLAG_HWACCEL))
            return *format;
    }
    return offered[0];
}

bool streamWantsHardware(const AVFormatContext *formatContext, const AVStream *stream)
{
    qint64 bitRate = stream->codecpar->bit_rate;
    if (bitRate < 1)
        bitRate = formatContext->bit_rate;
    const AVRational rate = stream->avg_frame_rate;
    const double frameRate = (rate.num > 0 && rate.den > 0) ? av_q2d(rate) : 0.0;
    return isHeavyStream(stream->codecpar->width, stream->codecpar->height, bitRate, frameRate);
}

int vaapiPixelFormat(const AVCodec *codec)
{
    for (int i = 0;; ++i) {
        const AVCodecHWConfig *config = avcodec_get_hw_config(codec, i);
        if (!config)
            return -1;
        if ((config->methods & AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX) &&
            config->device_type == AV_HWDEVICE_TYPE_VAAPI)
            return int(config->pix_fmt);
    }
}
} // namespace

bool ClipReader::openHardwareVideoDecoder()
{
    if (hwDisabled)
        return false;
    if (qEnvironmentVariableIsSet("ORVEL_NO_VAAPI")) {
        hwDisabled = true;
        return false;
    }
    const AVStream *stream = formatContext->streams[videoStream];
    if (!qEnvironmentVariableIsSet("ORVEL_FORCE_VAAPI") && !streamWantsHardware(formatContext, stream)) {
        hwDisabled = true;
        return false;
    }
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!codec)
        return false;
    ++counters.hwConfigLookups;
    hwPixelFormat = vaapiPixelFormat(codec);
    if (hwPixelFormat < 0)
        return false;

    ++counters.hwDeviceAttempts;
    const QByteArray device = hwDeviceName.toUtf8();
    if (av_hwdevice_ctx_create(&hwDevice, AV_HWDEVICE_TYPE_VAAPI,
                               device.isEmpty() ? nullptr : device.constData(), nullptr, 0) < 0) {
        hwDevice = nullptr;
        hwDisabled = true;
        return false;
    }
    AVCodecContext *context = avcodec_alloc_context3(codec);
    bool opened = context && avcodec_parameters_to_context(context, stream->codecpar) >= 0;
    if (opened) {
        context->pkt_timebase = stream->time_base;
        context->hw_device_ctx = av_buffer_ref(hwDevice);
        context->opaque = this;
        context->get_format = pickHardwarePixelFormat;
        // The reader holds the shown and the pending frame on the device between requests.
        context->extra_hw_frames = 2;
        opened = context->hw_device_ctx && avcodec_open2(context, codec, nullptr) >= 0;
    }
    if (!opened) {
        avcodec_free_context(&context);
        av_buffer_unref(&hwDevice);
        hwDisabled = true;
        return false;
    }
    videoCodec = context;
    hwActive = true;
    return true;
}

const AVFrame *ClipReader::transferFromHardware(AVFrame *frame, int width, int height)
{
    if (!transferFrame)
        transferFrame = av_frame_alloc();
    if (!transferFrame)
        return nullptr;
    av_frame_unref(transferFrame);
    if (!scaleFailed && scaleOnDevice(frame, width, height))
        return transferFrame;
    // Without the device scaler the full frame comes over and the CPU scales it.
    av_frame_unref(transferFrame);
    if (av_hwframe_transfer_data(transferFrame, frame, 0) < 0)
        return nullptr;
    return transferFrame;
}

bool ClipReader::scaleOnDevice(AVFrame *frame, int width, int height)
{
    const bool stale = !scaleGraph || scaleWidth != width || scaleHeight != height || !frame->hw_frames_ctx ||
                       !scaleFramesRef || scaleFramesRef->data != frame->hw_frames_ctx->data;
    if (stale) {
        freeScaleGraph();
        if (!buildScaleGraph(frame, width, height)) {
            scaleFailed = true;
            freeScaleGraph();
            return false;
        }
    }
    av_frame_unref(scaleFrame);
    const bool ok = av_buffersrc_add_frame_flags(scaleSource, frame, AV_BUFFERSRC_FLAG_KEEP_REF) >= 0 &&
                    av_buffersink_get_frame(scaleSink, scaleFrame) >= 0 &&
                    av_hwframe_transfer_data(transferFrame, scaleFrame, 0) >= 0;
    av_frame_unref(scaleFrame);
    if (!ok) {
        scaleFailed = true;
        freeScaleGraph();
    }
    return ok;
}

bool ClipReader::buildScaleGraph(const AVFrame *frame, int width, int height)
{
    if (!frame->hw_frames_ctx)
        return false;
    const AVFilter *bufferFilter = avfilter_get_by_name("buffer");
    const AVFilter *scaleFilter = avfilter_get_by_name("scale_vaapi");
    const AVFilter *sinkFilter = avfilter_get_by_name("buffersink");
    scaleGraph = avfilter_graph_alloc();
    scaleFrame = av_frame_alloc();
    if (!bufferFilter || !scaleFilter || !sinkFilter || !scaleGraph || !scaleFrame)
        return false;
    const AVRational timeBase = formatContext->streams[videoStream]->time_base;
    const QByteArray sourceArgs =
        QStringLiteral("video_size=%1x%2:pix_fmt=%3:time_base=%4/%5:pixel_aspect=1/1")
            .arg(frame->width)
            .arg(frame->height)
            .arg(frame->format)
            .arg(timeBase.num)
            .arg(qMax(timeBase.den, 1))
            .toUtf8();
    if (avfilter_graph_create_filter(&scaleSource, bufferFilter, "in", sourceArgs.constData(), nullptr,
                                     scaleGraph) < 0)
        return false;
    AVBufferSrcParameters *params = av_buffersrc_parameters_alloc();
    if (!params)
        return false;
    params->format = frame->format;
    params->hw_frames_ctx = frame->hw_frames_ctx;
    const int paramsSet = av_buffersrc_parameters_set(scaleSource, params);
    av_free(params);
    if (paramsSet < 0)
        return false;
    AVFilterContext *vpp = nullptr;
    const QByteArray scaleArgs = QStringLiteral("w=%1:h=%2").arg(width).arg(height).toUtf8();
    if (avfilter_graph_create_filter(&vpp, scaleFilter, "vpp", scaleArgs.constData(), nullptr, scaleGraph) <
            0 ||
        avfilter_graph_create_filter(&scaleSink, sinkFilter, "out", nullptr, nullptr, scaleGraph) < 0)
        return false;
    if (avfilter_link(scaleSource, 0, vpp, 0) < 0 || avfilter_link(vpp, 0, scaleSink, 0) < 0 ||
        avfilter_graph_config(scaleGraph, nullptr) < 0)
        return false;
    scaleFramesRef = av_buffer_ref(frame->hw_frames_ctx);
    scaleWidth = width;
    scaleHeight = height;
    return scaleFramesRef != nullptr;
}

} // namespace orvel
