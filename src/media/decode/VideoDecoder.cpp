// Choosing the video frame for a source time. The answer is the frame on screen at that time:
// the last frame whose timestamp is at or before it, by the stream's own timestamps, so
// variable frame rates and ties come out right. Reading on from where the decoder stands is
// preferred to seeking; a seek that lands late is repeated further back.
#include "media/decode/ClipReader.h"

#include "media/decode/DecodeRules.h"
#include "media/decode/PixelFormats.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <limits>
#include <utility>

namespace orvel {

namespace {
constexpr TimeUs kEarliestUs = std::numeric_limits<TimeUs>::min();
constexpr TimeUs kLatestUs = std::numeric_limits<TimeUs>::max();
constexpr int kSeekAttempts = 3;
} // namespace

bool seekToFileStart(AVFormatContext *formatContext, int streamIndex)
{
    // Streams made for broadcast carry no index and are found by timestamp search, which can
    // stop past the first key frame; their first byte is always a clean start.
    if ((formatContext->iformat->flags & AVFMT_TS_DISCONT) &&
        av_seek_frame(formatContext, -1, 0, AVSEEK_FLAG_BYTE) >= 0)
        return true;
    const AVStream *stream = formatContext->streams[streamIndex];
    const int64_t start = stream->start_time != AV_NOPTS_VALUE ? stream->start_time : 0;
    return av_seek_frame(formatContext, streamIndex, start, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY) >= 0;
}

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
    if (!decoderPositioned || !pendingFrame)
        return;
    decodeWithRetry(pendingUs, maxWidth, maxHeight, Output::rgba);
}

bool ClipReader::prefetchNextVideoNv12(int maxWidth, int maxHeight, TimeUs requestedReadAheadUs)
{
    readAheadUs = qMax<TimeUs>(requestedReadAheadUs, 0);
    nv12Cache.trim(nv12Capacity(), playheadAnchorUs);
    if (!decoderPositioned || !pendingFrame)
        return false;
    // Step over what is cached already, along the cached frames' own spans.
    TimeUs next = pendingUs;
    while (next - playheadAnchorUs < readAheadUs) {
        const FrameSpan *span = nv12Cache.spanAt(next);
        if (!span)
            break;
        if (span->untilUs == kLatestUs)
            return false; // the stream's last frame is cached: nothing left to read
        next = span->untilUs;
    }
    if (readAheadUs > 0 && next - playheadAnchorUs >= readAheadUs)
        return false;
    inPrefetch = true;
    decodeWithRetry(next, maxWidth, maxHeight, Output::nv12);
    inPrefetch = false;
    return readAheadUs > 0 && decoderPositioned && pendingFrame && nv12Cache.size() < nv12Capacity() &&
           pendingUs - playheadAnchorUs < readAheadUs;
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

ClipReader::Picture ClipReader::cachedPicture(TimeUs sourceUs, Output output)
{
    Picture picture;
    if (output == Output::rgba) {
        picture.image = rgbaCache.take(sourceUs);
        picture.ok = !picture.image.isNull();
    } else {
        picture.nv12 = nv12Cache.find(sourceUs);
        picture.ok = picture.nv12.isValid();
    }
    return picture;
}

ClipReader::Picture ClipReader::decodePicture(TimeUs sourceUs, int maxWidth, int maxHeight, Output output)
{
    Picture picture;
    if (!formatContext || videoStream < 0)
        return picture;
    if (!videoCodec) {
        if (!openVideoDecoder())
            return picture;
        if (demuxerUntouched) {
            // A file just opened stands at its start: the first request reads from there.
            decoderPositioned = true;
            fromStreamStart = true;
            readFloorUs = kEarliestUs;
        }
    }
    applyOutputSize(maxWidth, maxHeight);
    picture = cachedPicture(sourceUs, output);
    if (picture.ok)
        return picture;
    if (simulateHardwareFailure) {
        simulateHardwareFailure = false;
        picture.hardwareFailed = true;
        return picture;
    }
    const Advance advance = showFrameAt(sourceUs);
    if (advance != Advance::shown) {
        picture.hardwareFailed = advance == Advance::hardwareFailed;
        decoderPositioned = false;
        return picture;
    }
    picture = convertPicture(shownFrame, output);
    if (!picture.ok) {
        decoderPositioned = false;
        return picture;
    }
    if (output == Output::rgba) {
        rgbaCache.insert(shownSpan, picture.image);
    } else {
        nv12Cache.insert(shownSpan, picture.nv12);
        nv12Cache.trim(nv12Capacity(), playheadAnchorUs);
    }
    return picture;
}

ClipReader::Picture ClipReader::convertPicture(AVFrame *frame, Output output)
{
    Picture picture;
    const bool hardwareFrame = mediadetail::isHardwarePixelFormat(frame->format);
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

bool ClipReader::canReadOn(TimeUs sourceUs) const
{
    if (!decoderPositioned || sourceUs < readFloorUs)
        return false;
    if (streamEnded)
        return true; // only the last frame is left, and it stands for every later time
    TimeUs fromUs = 0;
    if (pendingFrame)
        fromUs = pendingUs;
    else if (shownFrame)
        fromUs = shownSpan.timeUs;
    else if (!fromStreamStart)
        fromUs = readFloorUs;
    return sourceUs - fromUs <= kDecodeThroughUs;
}

ClipReader::Advance ClipReader::showFrameAt(TimeUs sourceUs)
{
    if (canReadOn(sourceUs)) {
        const Advance advance = advanceTo(sourceUs);
        if (advance != Advance::landedLate)
            return advance;
    }
    for (int attempt = 0; attempt < kSeekAttempts; ++attempt) {
        if (!seekVideo(sourceUs, attempt))
            return Advance::failed;
        // A seek that lands between key frames may give no picture before the end, or only
        // pictures after the time: both mean "further back".
        const Advance advance = advanceTo(sourceUs);
        if (advance == Advance::shown || advance == Advance::hardwareFailed)
            return advance;
    }
    return Advance::failed;
}

// Some demuxers (MPEG-TS above all) find a time by searching timestamps and may stop after it.
// The first try goes to the time itself, the second two seconds before, the last to the start.
bool ClipReader::seekVideo(TimeUs sourceUs, int attempt)
{
    ++counters.seeks;
    resetVideoPosition();
    demuxerUntouched = false;
    const AVStream *stream = formatContext->streams[videoStream];
    bool sought = false;
    if (attempt < kSeekAttempts - 1) {
        const TimeUs targetUs = (attempt == 0 ? sourceUs : sourceUs - kDecodeThroughUs) + startOffsetUs;
        const int64_t target = av_rescale_q(targetUs, AV_TIME_BASE_Q, stream->time_base);
        sought = av_seek_frame(formatContext, videoStream, target, AVSEEK_FLAG_BACKWARD) >= 0;
    }
    if (!sought) {
        sought = seekToFileStart(formatContext, videoStream);
        fromStreamStart = sought;
    }
    if (!sought)
        return false;
    avcodec_flush_buffers(videoCodec);
    decoderPositioned = true;
    readFloorUs = sourceUs;
    return true;
}

// Moves the decoder on until the pending frame lies after sourceUs; the frame before it is the
// one on screen at sourceUs.
ClipReader::Advance ClipReader::advanceTo(TimeUs sourceUs)
{
    for (;;) {
        if (!pendingFrame && !streamEnded) {
            const int pulled = pullFrame();
            if (pulled < 0)
                return Advance::hardwareFailed;
            streamEnded = pulled == 0;
        }
        if (!pendingFrame || pendingUs > sourceUs)
            break;
        const bool first = !shownFrame && fromStreamStart;
        av_frame_free(&shownFrame);
        shownFrame = std::exchange(pendingFrame, nullptr);
        shownSpan = FrameSpan{first ? kEarliestUs : pendingUs, pendingUs, kLatestUs};
    }
    if (!shownFrame) {
        if (!pendingFrame)
            return Advance::failed;
        if (!fromStreamStart)
            return Advance::landedLate;
        // A time before the first frame shows the first frame.
        shownFrame = std::exchange(pendingFrame, nullptr);
        shownSpan = FrameSpan{kEarliestUs, pendingUs, kLatestUs};
        const int pulled = pullFrame();
        if (pulled < 0)
            return Advance::hardwareFailed;
        streamEnded = pulled == 0;
    }
    fromStreamStart = false;
    shownSpan.untilUs = pendingFrame ? pendingUs : kLatestUs;
    readFloorUs = shownSpan.fromUs;
    return Advance::shown;
}

// Decodes the next frame into pendingFrame: 1 when one came, 0 at the end of the stream, -1
// when a hardware decoder failed. In software a damaged packet only delays the frame.
int ClipReader::pullFrame()
{
    if (!pendingFrame)
        pendingFrame = av_frame_alloc();
    AVPacket *packet = av_packet_alloc();
    int result = 0;
    while (pendingFrame && packet) {
        const int received = avcodec_receive_frame(videoCodec, pendingFrame);
        if (received == 0) {
            ++counters.framesDecoded;
            pendingUs = frameTimeUs(pendingFrame);
            lastDecodedUs = pendingUs;
            result = 1;
            break;
        }
        const bool broken = received != AVERROR(EAGAIN) && received != AVERROR_EOF;
        if (broken && hwActive) {
            result = -1;
            break;
        }
        if (received == AVERROR_EOF || videoDraining)
            break;
        demuxerUntouched = false;
        if (av_read_frame(formatContext, packet) < 0) {
            avcodec_send_packet(videoCodec, nullptr);
            videoDraining = true;
            continue;
        }
        if (packet->stream_index == videoStream) {
            const int sent = avcodec_send_packet(videoCodec, packet);
            if (sent < 0 && sent != AVERROR(EAGAIN) && hwActive) {
                result = -1;
                av_packet_unref(packet);
                break;
            }
        }
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    if (result != 1)
        av_frame_free(&pendingFrame);
    return result;
}

TimeUs ClipReader::frameTimeUs(const AVFrame *frame) const
{
    int64_t pts = frame->pts;
    if (pts == AV_NOPTS_VALUE)
        pts = frame->best_effort_timestamp;
    if (pts == AV_NOPTS_VALUE)
        return shownFrame ? shownSpan.timeUs + qMax<TimeUs>(frameDurationUs, 1) : 0;
    return av_rescale_q(pts, formatContext->streams[videoStream]->time_base, AV_TIME_BASE_Q) - startOffsetUs;
}

} // namespace orvel
