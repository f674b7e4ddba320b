#include "media/decode/ClipReader.h"

#include "media/decode/DecodeRules.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <cmath>

namespace orvel {

bool ClipReader::open(const QString &filePath)
{
    if (filePath.isEmpty())
        return false;
    if (formatContext && path == filePath)
        return videoStream >= 0 || audioStream >= 0;
    close();
    path = filePath;
    ++counters.openAttempts;
    const QByteArray utf8 = filePath.toUtf8();
    if (avformat_open_input(&formatContext, utf8.constData(), nullptr, nullptr) < 0) {
        formatContext = nullptr;
        return false;
    }
    if (avformat_find_stream_info(formatContext, nullptr) < 0) {
        avformat_close_input(&formatContext);
        return false;
    }
    for (unsigned i = 0; i < formatContext->nb_streams; ++i) {
        const AVMediaType type = formatContext->streams[i]->codecpar->codec_type;
        if (type == AVMEDIA_TYPE_VIDEO && videoStream < 0)
            videoStream = int(i);
        else if (type == AVMEDIA_TYPE_AUDIO && audioStream < 0)
            audioStream = int(i);
    }
    if (formatContext->start_time != AV_NOPTS_VALUE)
        startOffsetUs = formatContext->start_time;
    demuxerUntouched = true;
    if (videoStream >= 0) {
        const AVRational rate = formatContext->streams[videoStream]->avg_frame_rate;
        if (rate.num > 0 && rate.den > 0)
            frameDurationUs = std::llround(double(rate.den) * 1'000'000.0 / rate.num);
    }
    return videoStream >= 0 || audioStream >= 0;
}

void ClipReader::close()
{
    closeAudio();
    dropVideoDecoder();
    if (formatContext)
        avformat_close_input(&formatContext);
    formatContext = nullptr;
    path.clear();
    videoStream = -1;
    audioStream = -1;
    outputSampleRate = 48000;
    hwDisabled = false;
    scaleFailed = false;
    startOffsetUs = 0;
    demuxerUntouched = false;
    targetWidth = 0;
    targetHeight = 0;
    frameDurationUs = 0;
    readAheadUs = 0;
    playheadAnchorUs = 0;
    inPrefetch = false;
}

void ClipReader::closeAudio()
{
    swr_free(&swr);
    avcodec_free_context(&audioCodec);
    audioPositioned = false;
    audioNextUs = 0;
    audioBaseUs = 0;
    audioFramesSinceBase = 0;
    audioFifo.clear();
}

void ClipReader::dropVideoDecoder()
{
    freeScaleGraph();
    av_frame_free(&transferFrame);
    sws_freeContext(swsRgba);
    swsRgba = nullptr;
    sws_freeContext(swsNv12);
    swsNv12 = nullptr;
    avcodec_free_context(&videoCodec);
    av_buffer_unref(&hwDevice);
    hwActive = false;
    hwPixelFormat = -1;
    resetVideoPosition();
    rgbaCache.clear();
    nv12Cache.clear();
}

void ClipReader::resetVideoPosition()
{
    av_frame_free(&shownFrame);
    av_frame_free(&pendingFrame);
    shownSpan = {};
    pendingUs = 0;
    lastDecodedUs = 0;
    readFloorUs = 0;
    decoderPositioned = false;
    fromStreamStart = false;
    videoDraining = false;
    streamEnded = false;
}

void ClipReader::freeScaleGraph()
{
    avfilter_graph_free(&scaleGraph);
    scaleSource = nullptr;
    scaleSink = nullptr;
    av_buffer_unref(&scaleFramesRef);
    av_frame_free(&scaleFrame);
    scaleWidth = 0;
    scaleHeight = 0;
}

int ClipReader::nv12Capacity() const
{
    return nv12CacheCapacity(readAheadUs, frameDurationUs, nv12Cache.frontBytes(), totalFrameCacheBytes());
}

void ClipReader::applyOutputSize(int maxWidth, int maxHeight)
{
    const AVCodecParameters *par = formatContext->streams[videoStream]->codecpar;
    const QSize size = decodeOutputSize(par->width, par->height, maxWidth, maxHeight);
    if (size.width() == targetWidth && size.height() == targetHeight)
        return;
    rgbaCache.clear();
    nv12Cache.clear();
    targetWidth = size.width();
    targetHeight = size.height();
}

} // namespace orvel
