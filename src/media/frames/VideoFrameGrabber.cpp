#include "media/frames/VideoFrameGrabber.h"

#include "media/assets/MediaProbe.h"
#include "media/frames/VideoColour.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libswscale/swscale.h>
}

namespace orvel {

VideoFrameGrabber::~VideoFrameGrabber()
{
    sws_freeContext(m_sws);
    av_frame_free(&m_frame);
    av_packet_free(&m_packet);
    avcodec_free_context(&m_codec);
    avformat_close_input(&m_format);
}

bool VideoFrameGrabber::open(const QString &path)
{
    if (avformat_open_input(&m_format, path.toUtf8().constData(), nullptr, nullptr) < 0)
        return false;
    if (avformat_find_stream_info(m_format, nullptr) < 0)
        return false;
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        if (m_format->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            m_streamIndex = int(i);
            break;
        }
    }
    if (m_streamIndex < 0)
        return false;
    const AVCodecParameters *par = m_format->streams[m_streamIndex]->codecpar;
    const AVCodec *decoder = avcodec_find_decoder(par->codec_id);
    if (!decoder)
        return false;
    m_codec = avcodec_alloc_context3(decoder);
    if (!m_codec || avcodec_parameters_to_context(m_codec, par) < 0)
        return false;
    if (avcodec_open2(m_codec, decoder, nullptr) < 0)
        return false;
    m_packet = av_packet_alloc();
    m_frame = av_frame_alloc();
    return m_packet && m_frame;
}

TimeUs VideoFrameGrabber::containerDurationUs() const
{
    return m_format && m_format->duration != AV_NOPTS_VALUE ? TimeUs(m_format->duration) : 0;
}

int VideoFrameGrabber::codedWidth() const
{
    return m_streamIndex >= 0 ? m_format->streams[m_streamIndex]->codecpar->width : 0;
}

int VideoFrameGrabber::codedHeight() const
{
    return m_streamIndex >= 0 ? m_format->streams[m_streamIndex]->codecpar->height : 0;
}

int VideoFrameGrabber::sarNum() const
{
    return m_streamIndex >= 0 ? m_format->streams[m_streamIndex]->codecpar->sample_aspect_ratio.num : 0;
}

int VideoFrameGrabber::sarDen() const
{
    return m_streamIndex >= 0 ? m_format->streams[m_streamIndex]->codecpar->sample_aspect_ratio.den : 0;
}

int VideoFrameGrabber::rotationDegrees() const
{
    if (m_streamIndex < 0)
        return 0;
    const uint8_t *matrix =
        av_stream_get_side_data(m_format->streams[m_streamIndex], AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (!matrix)
        return 0;
    return rotationFromDisplayAngle(av_display_rotation_get(reinterpret_cast<const int32_t *>(matrix)));
}

bool VideoFrameGrabber::seekUs(TimeUs timeUs)
{
    if (!m_codec)
        return false;
    const AVStream *stream = m_format->streams[m_streamIndex];
    const int64_t target = av_rescale_q(timeUs, AVRational{1, 1000000}, stream->time_base);
    const bool ok = av_seek_frame(m_format, m_streamIndex, target, AVSEEK_FLAG_BACKWARD) >= 0;
    avcodec_flush_buffers(m_codec);
    m_draining = false;
    return ok;
}

QImage VideoFrameGrabber::nextFrame(QSize size, int maxReadAttempts)
{
    if (!m_codec || size.isEmpty())
        return {};
    for (int attempt = 0; attempt <= maxReadAttempts; ++attempt) {
        const int received = avcodec_receive_frame(m_codec, m_frame);
        if (received == 0) {
            QImage image = convert(m_frame, size);
            av_frame_unref(m_frame);
            return image;
        }
        if (received != AVERROR(EAGAIN) || attempt == maxReadAttempts)
            return {}; // drained, or a decoder error
        const int read = av_read_frame(m_format, m_packet);
        if (read < 0) {
            // End of file: ask the decoder for the frames it still holds back.
            if (m_draining)
                return {};
            m_draining = true;
            avcodec_send_packet(m_codec, nullptr);
            continue;
        }
        if (m_packet->stream_index == m_streamIndex)
            avcodec_send_packet(m_codec, m_packet);
        av_packet_unref(m_packet);
    }
    return {};
}

QImage VideoFrameGrabber::convert(const AVFrame *frame, QSize size)
{
    if (frame->width <= 0 || frame->height <= 0 || frame->format < 0)
        return {};
    m_sws = sws_getCachedContext(m_sws, frame->width, frame->height, AVPixelFormat(frame->format),
                                 size.width(), size.height(), AV_PIX_FMT_RGB24, mediadetail::rgbScalerFlags(),
                                 nullptr, nullptr, nullptr);
    if (!m_sws)
        return {};
    // Posters and strips must show the colours the preview and the export show.
    const VideoColour colour = mediadetail::colourOfFrame(frame, m_format->streams[m_streamIndex]->codecpar);
    VideoColour rgb = colour;
    rgb.fullRange = true;
    mediadetail::setScalerColour(m_sws, colour, rgb);
    QImage image(size, QImage::Format_RGB888);
    uint8_t *planes[4] = {image.bits(), nullptr, nullptr, nullptr};
    const int strides[4] = {int(image.bytesPerLine()), 0, 0, 0};
    sws_scale(m_sws, frame->data, frame->linesize, 0, frame->height, planes, strides);
    return image;
}

} // namespace orvel
