#include "output/ExportEncoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>

namespace orvel::exportdetail {

namespace {

bool isVpxRow(const QString &id)
{
    return id.startsWith(QLatin1String("vp8")) || id.startsWith(QLatin1String("vp9"));
}

// FLTP where offered, else S16P, else the encoder's first choice; FLTP when it states none.
AVSampleFormat pickSampleFormat(const AVCodec *codec)
{
    if (!codec->sample_fmts)
        return AV_SAMPLE_FMT_FLTP;
    bool hasS16p = false;
    for (const AVSampleFormat *f = codec->sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f) {
        if (*f == AV_SAMPLE_FMT_FLTP)
            return AV_SAMPLE_FMT_FLTP;
        hasS16p = hasS16p || *f == AV_SAMPLE_FMT_S16P;
    }
    return hasS16p ? AV_SAMPLE_FMT_S16P : codec->sample_fmts[0];
}

// The dnxhd encoder defaults to the old fixed-size DNxHD profiles, which take only broadcast
// sizes and bitrates; the resolution-independent DNxHR profiles are what these rows stand for.
void setDnxhrProfile(const QString &rowId, void *options)
{
    if (rowId == QLatin1String("dnxhr"))
        av_opt_set(options, "profile", "dnxhr_hq", 0);
    else if (rowId == QLatin1String("dnxhr_10"))
        av_opt_set(options, "profile", "dnxhr_hqx", 0);
}

int16_t toS16(float sample)
{
    return int16_t(std::clamp(sample, -1.0f, 1.0f) * 32767.0f);
}

// Interleaved stereo floats into a frame of the encoder's sample format.
bool convertAudio(const float *in, int frameCount, AVFrame *frame)
{
    switch (AVSampleFormat(frame->format)) {
    case AV_SAMPLE_FMT_FLTP:
        for (int i = 0; i < frameCount; ++i) {
            reinterpret_cast<float *>(frame->data[0])[i] = in[2 * i];
            reinterpret_cast<float *>(frame->data[1])[i] = in[2 * i + 1];
        }
        return true;
    case AV_SAMPLE_FMT_FLT:
        std::copy(in, in + 2 * frameCount, reinterpret_cast<float *>(frame->data[0]));
        return true;
    case AV_SAMPLE_FMT_S16P:
        for (int i = 0; i < frameCount; ++i) {
            reinterpret_cast<int16_t *>(frame->data[0])[i] = toS16(in[2 * i]);
            reinterpret_cast<int16_t *>(frame->data[1])[i] = toS16(in[2 * i + 1]);
        }
        return true;
    case AV_SAMPLE_FMT_S16:
        std::transform(in, in + 2 * frameCount, reinterpret_cast<int16_t *>(frame->data[0]), toS16);
        return true;
    default:
        return false;
    }
}

// The shader gives each chroma sample to the two by two pixels it stands for; averaging those
// four again gives the sample back, where a bilinear filter would blur every colour edge on
// each round trip. Area averaging is also the better filter when the export scales down.
constexpr int kExportScalerFlags = SWS_AREA | SWS_ACCURATE_RND;

// Colour tags of the encoder, which the muxer copies to the stream.
void tagColour(AVCodecContext *video, const VideoColour &colour)
{
    video->color_range = colour.fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    video->colorspace = AVColorSpace(mediadetail::avColourSpaceOf(colour));
    video->color_primaries = AVColorPrimaries(colour.primaries);
    video->color_trc = AVColorTransferCharacteristic(colour.transfer);
}

} // namespace

VideoColour exportColour(int outputHeight, const QString &pixelFormat)
{
    VideoColour colour;
    colour.matrix = defaultMatrixForHeight(outputHeight);
    colour.fullRange = pixelFormat.startsWith(QLatin1String("yuvj"));
    if (colour.matrix == YuvMatrix::bt709) {
        colour.primaries = AVCOL_PRI_BT709;
        colour.transfer = AVCOL_TRC_BT709;
    } else {
        // 576 lines is PAL material, everything else NTSC's; both share the BT.601 matrix.
        colour.primaries = outputHeight == 576 ? AVCOL_PRI_BT470BG : AVCOL_PRI_SMPTE170M;
        colour.transfer = AVCOL_TRC_SMPTE170M;
    }
    return colour;
}

ExportEncoder::~ExportEncoder()
{
    // An unfinished file still gets its trailer, so the muxer frees what it holds; the result
    // does not matter because the file is thrown away.
    if (m_headerWritten && !m_trailerWritten)
        av_write_trailer(m_format);
    if (m_format && !(m_format->oformat->flags & AVFMT_NOFILE))
        avio_closep(&m_format->pb);
    avformat_free_context(m_format);
    avcodec_free_context(&m_video);
    avcodec_free_context(&m_audio);
    sws_freeContext(m_scaler);
    av_frame_free(&m_videoFrame);
    av_frame_free(&m_audioFrame);
    av_packet_free(&m_packet);
}

bool ExportEncoder::fail(const QString &message)
{
    m_error = message;
    return false;
}

bool ExportEncoder::open(const EncoderSetup &setup, const ExportSettings &settings, const QString &muxerPath,
                         const QString &filePath)
{
    m_setup = setup;
    if (avformat_alloc_output_context2(&m_format, nullptr, nullptr, muxerPath.toUtf8().constData()) < 0 ||
        !m_format)
        return fail(QStringLiteral("Could not determine output format"));
    if (!openStreams(settings) || !openOutput(filePath))
        return false;
    if (!m_video)
        return allocateFrames();
    m_scaler = sws_getContext(setup.projectSize.width(), setup.projectSize.height(), AV_PIX_FMT_RGBA,
                              setup.outputSize.width(), setup.outputSize.height(), m_video->pix_fmt,
                              kExportScalerFlags, nullptr, nullptr, nullptr);
    if (!m_scaler)
        return fail(QStringLiteral("Could not create the scaler"));
    // Left to itself the scaler writes BT.601 whatever the size: say which matrix and range the
    // stream is tagged with, so the file decodes to the picture that was composited.
    const VideoColour colour = exportColour(setup.outputSize.height(), setup.videoRow->pixelFormat);
    VideoColour rgb = colour;
    rgb.fullRange = true;
    mediadetail::setScalerColour(m_scaler, rgb, colour);
    return allocateFrames();
}

bool ExportEncoder::openStreams(const ExportSettings &settings)
{
    if (m_setup.withVideo) {
        m_videoStream = avformat_new_stream(m_format, nullptr);
        m_video = m_videoStream ? avcodec_alloc_context3(m_setup.videoCodec) : nullptr;
    }
    if (m_setup.withAudio) {
        m_audioStream = avformat_new_stream(m_format, nullptr);
        m_audio = m_audioStream ? avcodec_alloc_context3(m_setup.audioCodec) : nullptr;
    }
    if ((m_setup.withVideo && !m_videoStream) || (m_setup.withAudio && !m_audioStream))
        return fail(QStringLiteral("Could not create output streams"));
    if ((m_setup.withVideo && !m_video) || (m_setup.withAudio && !m_audio))
        return fail(QStringLiteral("Could not allocate encoders"));
    if ((m_video && !openVideo(settings)) || (m_audio && !openAudio(settings)))
        return false;
    if ((m_video && avcodec_parameters_from_context(m_videoStream->codecpar, m_video) < 0) ||
        (m_audio && avcodec_parameters_from_context(m_audioStream->codecpar, m_audio) < 0))
        return fail(QStringLiteral("Could not create output streams"));
    if (m_video)
        m_videoStream->time_base = m_video->time_base;
    if (m_audio) {
        if (!m_video) {
            av_dict_set_int(&m_audioStream->metadata, kEncoderDelayTag, m_audio->initial_padding, 0);
            av_dict_set_int(&m_audioStream->metadata, kSampleCountTag, m_setup.audioFrames, 0);
        }
        m_audioStream->time_base = m_audio->time_base;
        m_audioFrameSize = m_audio->frame_size > 0 ? m_audio->frame_size : 1024;
    }
    return true;
}

bool ExportEncoder::openVideo(const ExportSettings &settings)
{
    const VideoCodecRow &row = *m_setup.videoRow;
    m_video->width = m_setup.outputSize.width();
    m_video->height = m_setup.outputSize.height();
    m_video->pix_fmt = av_get_pix_fmt(row.pixelFormat.toLatin1().constData());
    m_video->time_base = AVRational{1, m_setup.fps};
    m_video->framerate = AVRational{m_setup.fps, 1};
    m_video->gop_size = 2 * m_setup.fps;
    m_video->max_b_frames = 2;
    tagColour(m_video, exportColour(m_setup.outputSize.height(), row.pixelFormat));
    if (m_format->oformat->flags & AVFMT_GLOBALHEADER)
        m_video->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    const bool quality = settings.rateControl == QLatin1String("crf");
    if (row.rateMode == ExportRateMode::QualityOrBitrate && quality) {
        m_video->bit_rate = 0;
        if (row.id.startsWith(QLatin1String("av1"))) {
            av_opt_set_int(m_video->priv_data, "crf", settings.crf, 0);
        } else if (isVpxRow(row.id)) {
            // libvpx only runs at constant quality when the target bitrate is zero as well.
            av_opt_set_int(m_video->priv_data, "crf", settings.crf, 0);
            av_opt_set_int(m_video->priv_data, "b", 0, 0);
        } else {
            av_opt_set(m_video->priv_data, "crf", QByteArray::number(settings.crf).constData(), 0);
        }
    } else if (row.rateMode != ExportRateMode::Lossless) {
        m_video->bit_rate = int64_t(std::max(settings.videoBitrateKbps, 100)) * 1000;
    }
    setDnxhrProfile(row.id, m_video->priv_data);
    if (!row.presets.isEmpty() && m_video->priv_data) {
        const QByteArray preset =
            (settings.videoPreset.isEmpty() ? row.defaultPreset : settings.videoPreset).toUtf8();
        // A preset the encoder does not know is its business; the job goes on with its default.
        if (isVpxRow(row.id)) {
            av_opt_set(m_video->priv_data, "cpu-used", preset.constData(), 0);
            av_opt_set(m_video->priv_data, "deadline", "good", 0);
        } else {
            av_opt_set(m_video->priv_data, "preset", preset.constData(), 0);
        }
    }
    if (avcodec_open2(m_video, m_setup.videoCodec, nullptr) < 0)
        return fail(QStringLiteral("Could not open the video encoder"));
    return true;
}

bool ExportEncoder::openAudio(const ExportSettings &settings)
{
    if (m_format->oformat->flags & AVFMT_GLOBALHEADER)
        m_audio->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    m_audio->sample_fmt = pickSampleFormat(m_setup.audioCodec);
    m_audio->sample_rate = m_setup.sampleRate;
    av_channel_layout_default(&m_audio->ch_layout, 2);
    m_audio->time_base = AVRational{1, m_setup.sampleRate};
    if (!m_setup.audioRow->lossless)
        m_audio->bit_rate = int64_t(std::max(settings.audioBitrateKbps, 32)) * 1000;
    if (avcodec_open2(m_audio, m_setup.audioCodec, nullptr) < 0)
        return fail(QStringLiteral("Could not open the audio encoder"));
    return true;
}

bool ExportEncoder::openOutput(const QString &filePath)
{
    if (!(m_format->oformat->flags & AVFMT_NOFILE) &&
        avio_open(&m_format->pb, filePath.toUtf8().constData(), AVIO_FLAG_WRITE) < 0)
        return fail(QStringLiteral("Could not open the output file"));
    if (avformat_write_header(m_format, nullptr) < 0)
        return fail(QStringLiteral("Could not write the file header"));
    m_headerWritten = true;
    return true;
}

bool ExportEncoder::allocateFrames()
{
    m_videoFrame = av_frame_alloc();
    m_audioFrame = av_frame_alloc();
    m_packet = av_packet_alloc();
    if (!m_videoFrame || !m_audioFrame || !m_packet)
        return fail(QStringLiteral("Out of memory"));
    if (m_video) {
        m_videoFrame->format = m_video->pix_fmt;
        m_videoFrame->width = m_video->width;
        m_videoFrame->height = m_video->height;
        if (av_frame_get_buffer(m_videoFrame, 32) < 0)
            return fail(QStringLiteral("Could not allocate the video frame"));
    }
    if (!m_audio)
        return true;
    m_audioFrame->format = m_audio->sample_fmt;
    m_audioFrame->sample_rate = m_audio->sample_rate;
    m_audioFrame->nb_samples = m_audioFrameSize;
    if (av_channel_layout_copy(&m_audioFrame->ch_layout, &m_audio->ch_layout) < 0 ||
        av_frame_get_buffer(m_audioFrame, 0) < 0)
        return fail(QStringLiteral("Could not allocate the audio frame"));
    return true;
}

bool ExportEncoder::writeVideo(const QImage &picture, long long pts)
{
    if (av_frame_make_writable(m_videoFrame) < 0)
        return fail(QStringLiteral("Video frame not writable"));
    const uint8_t *source[1] = {picture.constBits()};
    const int stride[1] = {int(picture.bytesPerLine())};
    sws_scale(m_scaler, source, stride, 0, picture.height(), m_videoFrame->data, m_videoFrame->linesize);
    m_videoFrame->pts = pts;
    return send(m_video, m_videoStream, m_videoFrame);
}

bool ExportEncoder::queueAudio(const float *samples, int frameCount)
{
    m_audioQueue.insert(m_audioQueue.end(), samples, samples + 2 * std::max(frameCount, 0));
    const size_t frameFloats = size_t(2 * m_audioFrameSize);
    while (m_audioQueue.size() >= frameFloats) {
        if (!sendAudioFrame(m_audioFrameSize))
            return false;
    }
    return true;
}

bool ExportEncoder::sendAudioFrame(int frameCount)
{
    if (av_frame_make_writable(m_audioFrame) < 0)
        return fail(QStringLiteral("Audio frame not writable"));
    m_audioFrame->nb_samples = frameCount;
    if (!convertAudio(m_audioQueue.data(), frameCount, m_audioFrame))
        return fail(QStringLiteral("Encoder rejected a frame"));
    m_audioFrame->pts = m_audioSamplesSent;
    if (!send(m_audio, m_audioStream, m_audioFrame))
        return false;
    m_audioSamplesSent += frameCount;
    m_audioQueue.erase(m_audioQueue.begin(), m_audioQueue.begin() + 2 * frameCount);
    return true;
}

bool ExportEncoder::send(AVCodecContext *context, AVStream *stream, const AVFrame *frame)
{
    if (avcodec_send_frame(context, frame) < 0)
        return fail(QStringLiteral("Encoder rejected a frame"));
    for (;;) {
        const int received = avcodec_receive_packet(context, m_packet);
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
            return true;
        if (received < 0)
            return fail(QStringLiteral("Failed to read an encoded packet"));
        // Encoders here leave a video packet's duration at zero. MP4 then gives the last frame no
        // time at all and its edit list ends before it, so players drop it: one frame is one
        // tick of the video time base.
        if (context == m_video && m_packet->duration == 0)
            m_packet->duration = 1;
        av_packet_rescale_ts(m_packet, context->time_base, stream->time_base);
        m_packet->stream_index = stream->index;
        if (av_interleaved_write_frame(m_format, m_packet) < 0)
            return fail(QStringLiteral("Failed to write a packet"));
    }
}

bool ExportEncoder::finish()
{
    // The last audio goes out as it is, shorter than a frame: padding it would add silence.
    if (!m_audioQueue.empty() && !sendAudioFrame(int(m_audioQueue.size() / 2)))
        return false;
    if ((m_video && !send(m_video, m_videoStream, nullptr)) ||
        (m_audio && !send(m_audio, m_audioStream, nullptr)))
        return false;
    m_trailerWritten = true;
    if (av_write_trailer(m_format) < 0)
        return fail(QStringLiteral("Could not finalize the file"));
    // Buffered bytes reach the disk only here; a full disk shows up now at the latest.
    if (!(m_format->oformat->flags & AVFMT_NOFILE) && avio_closep(&m_format->pb) < 0)
        return fail(QStringLiteral("Could not finalize the file"));
    return true;
}

} // namespace orvel::exportdetail
