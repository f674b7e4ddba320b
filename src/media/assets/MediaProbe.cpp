#include "media/assets/MediaProbe.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <cmath>

namespace orvel {

namespace {

QString probeErrorText(int code)
{
    char buffer[64] = {};
    av_strerror(code, buffer, sizeof(buffer));
    return QString::fromUtf8(buffer);
}

MediaStreamKind streamKindOf(AVMediaType type)
{
    switch (type) {
    case AVMEDIA_TYPE_VIDEO:
        return MediaStreamKind::video;
    case AVMEDIA_TYPE_AUDIO:
        return MediaStreamKind::audio;
    case AVMEDIA_TYPE_SUBTITLE:
        return MediaStreamKind::subtitle;
    default:
        return MediaStreamKind::other;
    }
}

int streamRotationDegrees(const AVStream *stream)
{
    // FFmpeg 5.1 keeps the display matrix as stream side data (codec parameters only got
    // side data in 6.1).
    const uint8_t *matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (!matrix)
        return 0;
    return rotationFromDisplayAngle(av_display_rotation_get(reinterpret_cast<const int32_t *>(matrix)));
}

MediaStreamInfo describeStream(const AVStream *stream, TimeUs containerUs, TimeUs containerStartUs)
{
    const AVCodecParameters *par = stream->codecpar;
    MediaStreamInfo info;
    info.kind = streamKindOf(par->codec_type);
    const AVCodecDescriptor *descriptor = avcodec_descriptor_get(par->codec_id);
    info.codecLongName = descriptor && descriptor->long_name ? QString::fromUtf8(descriptor->long_name)
                                                             : QStringLiteral("unknown");
    info.durationUs = stream->duration != AV_NOPTS_VALUE && stream->duration > 0
                          ? av_rescale_q(stream->duration, stream->time_base, AVRational{1, 1000000})
                          : containerUs;
    if (stream->start_time != AV_NOPTS_VALUE)
        info.startUs =
            av_rescale_q(stream->start_time, stream->time_base, AVRational{1, 1000000}) - containerStartUs;
    if (info.kind == MediaStreamKind::video) {
        info.width = par->width;
        info.height = par->height;
        const AVRational rate = stream->avg_frame_rate;
        info.fps = rate.den != 0 ? double(rate.num) / double(rate.den) : 0.0;
        info.rotationDegrees = streamRotationDegrees(stream);
        info.isAttachedPicture = (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    } else if (info.kind == MediaStreamKind::audio) {
        info.sampleRate = par->sample_rate;
        info.channels = par->ch_layout.nb_channels;
    }
    return info;
}

} // namespace

int rotationFromDisplayAngle(double displayRotationDegrees)
{
    if (std::isnan(displayRotationDegrees))
        return 0;
    int degrees = int(std::lround(-displayRotationDegrees) % 360);
    if (degrees < 0)
        degrees += 360;
    return degrees;
}

MediaProbeResult probeMedia(const QString &path)
{
    MediaProbeResult result;
    result.path = path;
    AVFormatContext *format = nullptr;
    int code = avformat_open_input(&format, path.toUtf8().constData(), nullptr, nullptr);
    if (code < 0) {
        result.error = probeErrorText(code);
        return result;
    }
    code = avformat_find_stream_info(format, nullptr);
    if (code < 0) {
        result.error = probeErrorText(code);
        avformat_close_input(&format);
        return result;
    }
    result.durationUs = format->duration == AV_NOPTS_VALUE ? 0 : TimeUs(format->duration);
    result.containerStartUs = format->start_time == AV_NOPTS_VALUE ? 0 : TimeUs(format->start_time);
    for (unsigned i = 0; i < format->nb_streams; ++i)
        result.streams.append(describeStream(format->streams[i], result.durationUs, result.containerStartUs));
    result.ok = true;
    avformat_close_input(&format);
    return result;
}

} // namespace orvel
