#include "media/ClipReader.h"

#include "media/DecodeRules.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cstring>

namespace orvel {

namespace {
TimeUs audioFramesToUs(qint64 frames, int sampleRate)
{
    return TimeUs(frames * 1'000'000 / sampleRate);
}
} // namespace

int ClipReader::decodeAudio(TimeUs sourceStartUs, int sampleCount, int sampleRate,
                            float *interleavedStereoOut)
{
    if (!interleavedStereoOut || sampleCount < 1 || sampleRate < 1)
        return 0;
    if (!formatContext || audioStream < 0)
        return 0;
    if (!audioCodec && !openAudioDecoder())
        return 0;
    const int previousRate = outputSampleRate;
    outputSampleRate = sampleRate;
    bool alignPending = false;
    if (!canContinueAudio(audioPositioned, previousRate, sampleRate, audioNextUs, sourceStartUs)) {
        ++counters.audioSeeks;
        const AVRational timeBase = formatContext->streams[audioStream]->time_base;
        const int64_t target = av_rescale_q(sourceStartUs, AV_TIME_BASE_Q, timeBase);
        if (av_seek_frame(formatContext, audioStream, target, AVSEEK_FLAG_BACKWARD) < 0)
            return 0;
        avcodec_flush_buffers(audioCodec);
        swr_free(&swr);
        audioFifo.clear();
        audioPositioned = true;
        alignPending = true;
    }
    if (!ensureResampler())
        return 0;
    fillAudioFifo(sampleCount, sourceStartUs, alignPending);

    const int frames = std::min<int>(sampleCount, int(audioFifo.size() / 2));
    std::memcpy(interleavedStereoOut, audioFifo.data(), sizeof(float) * size_t(frames) * 2);
    audioFifo.erase(audioFifo.begin(), audioFifo.begin() + qsizetype(frames) * 2);
    audioNextUs += audioFramesToUs(frames, sampleRate);
    return frames;
}

bool ClipReader::openAudioDecoder()
{
    const AVStream *stream = formatContext->streams[audioStream];
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!codec)
        return false;
    audioCodec = avcodec_alloc_context3(codec);
    if (!audioCodec)
        return false;
    if (avcodec_parameters_to_context(audioCodec, stream->codecpar) < 0) {
        avcodec_free_context(&audioCodec);
        return false;
    }
    audioCodec->pkt_timebase = stream->time_base;
    if (avcodec_open2(audioCodec, codec, nullptr) < 0) {
        avcodec_free_context(&audioCodec);
        return false;
    }
    return true;
}

bool ClipReader::ensureResampler()
{
    if (swr)
        return true;
    AVChannelLayout inputLayout{};
    if (av_channel_layout_check(&audioCodec->ch_layout))
        av_channel_layout_copy(&inputLayout, &audioCodec->ch_layout);
    else
        av_channel_layout_default(&inputLayout, qMax(audioCodec->ch_layout.nb_channels, 1));
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    int result = swr_alloc_set_opts2(&swr, &stereo, AV_SAMPLE_FMT_FLT, outputSampleRate, &inputLayout,
                                     audioCodec->sample_fmt, audioCodec->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&inputLayout);
    if (result >= 0)
        result = swr_init(swr);
    if (result < 0) {
        swr_free(&swr);
        return false;
    }
    return true;
}

void ClipReader::fillAudioFifo(int sampleCount, TimeUs sourceStartUs, bool alignPending)
{
    AVPacket *packet = av_packet_alloc();
    AVFrame *frame = av_frame_alloc();
    if (!packet || !frame) {
        av_packet_free(&packet);
        av_frame_free(&frame);
        return;
    }
    const AVRational timeBase = formatContext->streams[audioStream]->time_base;
    const size_t wanted = size_t(sampleCount) * 2;
    bool draining = false;
    qint64 dropFrames = 0;
    while (audioFifo.size() < wanted) {
        const int received = avcodec_receive_frame(audioCodec, frame);
        if (received == AVERROR(EAGAIN)) {
            if (draining)
                break;
            if (av_read_frame(formatContext, packet) < 0) {
                avcodec_send_packet(audioCodec, nullptr);
                draining = true;
                continue;
            }
            if (packet->stream_index == audioStream)
                avcodec_send_packet(audioCodec, packet);
            av_packet_unref(packet);
            continue;
        }
        if (received < 0)
            break;
        if (alignPending) {
            // After a seek the first frame tells where the stream stands; the samples before
            // the requested start are dropped so delivery begins at the exact sample.
            alignPending = false;
            audioNextUs =
                frame->pts == AV_NOPTS_VALUE ? 0 : av_rescale_q(frame->pts, timeBase, AV_TIME_BASE_Q);
            if (sourceStartUs > audioNextUs)
                dropFrames = (sourceStartUs - audioNextUs) * outputSampleRate / 1'000'000;
        }
        appendResampled(frame, dropFrames);
        av_frame_unref(frame);
    }
    av_packet_free(&packet);
    av_frame_free(&frame);
}

void ClipReader::appendResampled(const AVFrame *frame, qint64 &dropFrames)
{
    const int capacity = swr_get_out_samples(swr, frame->nb_samples);
    if (capacity < 1)
        return;
    std::vector<float> converted(size_t(capacity) * 2);
    uint8_t *outPlanes[1] = {reinterpret_cast<uint8_t *>(converted.data())};
    const int produced = swr_convert(swr, outPlanes, capacity,
                                     const_cast<const uint8_t **>(frame->extended_data), frame->nb_samples);
    if (produced < 1)
        return;
    const int dropped = int(std::min<qint64>(dropFrames, produced));
    dropFrames -= dropped;
    audioNextUs += audioFramesToUs(dropped, outputSampleRate);
    audioFifo.insert(audioFifo.end(), converted.begin() + qsizetype(dropped) * 2,
                     converted.begin() + qsizetype(produced) * 2);
}

} // namespace orvel
