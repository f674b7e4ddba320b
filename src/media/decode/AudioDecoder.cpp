// Audio as interleaved stereo float at the caller's rate, for the source time asked for. Where
// the file has no audio yet (a stream that starts after the video) the answer is silence.
#include "media/decode/ClipReader.h"

#include "media/decode/DecodeRules.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cstring>

namespace orvel {

namespace {
constexpr int kAudioSeekAttempts = 3;
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
    const size_t wanted = size_t(sampleCount) * 2;
    switch (audioStepFor(audioPositioned, previousRate, sampleRate, audioNextUs, sourceStartUs)) {
    case AudioStep::continueOn:
        fillAudioFifo(wanted, sourceStartUs, false, false, 0);
        break;
    case AudioStep::decodeThrough: {
        const qint64 drop = audioUsToFrames(sourceStartUs - audioNextUs, sampleRate);
        const qint64 fromFifo = std::min<qint64>(drop, qint64(audioFifo.size() / 2));
        audioFifo.erase(audioFifo.begin(), audioFifo.begin() + fromFifo * 2);
        audioFramesSinceBase += drop;
        fillAudioFifo(wanted, sourceStartUs, false, false, drop - fromFifo);
        break;
    }
    case AudioStep::seek:
        for (int attempt = 0; attempt < kAudioSeekAttempts; ++attempt) {
            ++counters.audioSeeks;
            if (!seekAudio(sourceStartUs, attempt) || !ensureResampler())
                return 0;
            if (fillAudioFifo(wanted, sourceStartUs, true, attempt + 1 < kAudioSeekAttempts, 0))
                break;
        }
        break;
    }

    const int frames = std::min<int>(sampleCount, int(audioFifo.size() / 2));
    std::memcpy(interleavedStereoOut, audioFifo.data(), sizeof(float) * size_t(frames) * 2);
    audioFifo.erase(audioFifo.begin(), audioFifo.begin() + qsizetype(frames) * 2);
    audioFramesSinceBase += frames;
    audioNextUs = audioBaseUs + audioFramesToUs(audioFramesSinceBase, sampleRate);
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

// The first try goes to the time itself, the second two seconds before it (for demuxers that
// search timestamps and may stop late), the last to the start of the stream.
bool ClipReader::seekAudio(TimeUs sourceStartUs, int attempt)
{
    const AVStream *stream = formatContext->streams[audioStream];
    bool sought = false;
    if (attempt < kAudioSeekAttempts - 1) {
        const TimeUs targetUs =
            (attempt == 0 ? sourceStartUs : sourceStartUs - kDecodeThroughUs) + startOffsetUs;
        const int64_t target = av_rescale_q(targetUs, AV_TIME_BASE_Q, stream->time_base);
        sought = av_seek_frame(formatContext, audioStream, target, AVSEEK_FLAG_BACKWARD) >= 0;
    }
    if (!sought) // also where the request lies before the stream's first packet
        sought = seekToFileStart(formatContext, audioStream);
    if (!sought)
        return false;
    avcodec_flush_buffers(audioCodec);
    swr_free(&swr);
    audioFifo.clear();
    audioPositioned = true;
    setAudioPosition(sourceStartUs);
    return true;
}

void ClipReader::setAudioPosition(TimeUs sourceUs)
{
    audioBaseUs = sourceUs;
    audioFramesSinceBase = 0;
    audioNextUs = sourceUs;
}

TimeUs ClipReader::audioStreamStartUs() const
{
    const AVStream *stream = formatContext->streams[audioStream];
    if (stream->start_time == AV_NOPTS_VALUE)
        return 0;
    return av_rescale_q(stream->start_time, stream->time_base, AV_TIME_BASE_Q) - startOffsetUs;
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

bool ClipReader::fillAudioFifo(size_t wantedFloats, TimeUs sourceStartUs, bool alignPending, bool mayRetry,
                               qint64 dropFrames)
{
    AVPacket *packet = av_packet_alloc();
    AVFrame *frame = av_frame_alloc();
    bool landed = true;
    bool draining = false;
    while (packet && frame && audioFifo.size() < wantedFloats) {
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
            alignPending = false;
            landed = alignAudio(frame, sourceStartUs, mayRetry, dropFrames);
            if (!landed)
                break;
        }
        appendResampled(frame, dropFrames);
        av_frame_unref(frame);
    }
    av_packet_free(&packet);
    av_frame_free(&frame);
    return landed;
}

// After a seek the first frame tells where the stream stands. Samples before the requested
// time are dropped; if the stream only begins after it, silence fills the gap, so delivery
// starts at the exact sample either way.
bool ClipReader::alignAudio(const AVFrame *frame, TimeUs sourceStartUs, bool mayRetry, qint64 &dropFrames)
{
    const AVRational timeBase = formatContext->streams[audioStream]->time_base;
    const TimeUs frameUs = frame->pts == AV_NOPTS_VALUE
                               ? sourceStartUs
                               : av_rescale_q(frame->pts, timeBase, AV_TIME_BASE_Q) - startOffsetUs;
    if (frameUs <= sourceStartUs) {
        dropFrames = audioUsToFrames(sourceStartUs - frameUs, outputSampleRate);
        return true;
    }
    // A stream that has audio at the time but showed a later frame: the seek stopped late.
    const bool streamHasAudioThere = audioStreamStartUs() <= sourceStartUs + kAudioContinueToleranceUs;
    if (mayRetry && streamHasAudioThere && frameUs - sourceStartUs > kAudioContinueToleranceUs)
        return false;
    audioFifo.insert(audioFifo.end(), size_t(audioUsToFrames(frameUs - sourceStartUs, outputSampleRate)) * 2,
                     0.0f);
    return true;
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
    audioFifo.insert(audioFifo.end(), converted.begin() + qsizetype(dropped) * 2,
                     converted.begin() + qsizetype(produced) * 2);
}

} // namespace orvel
