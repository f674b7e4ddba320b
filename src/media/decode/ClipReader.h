#pragma once

#include "core/document/model/Types.h"
#include "media/frames/FrameCaches.h"
#include "media/frames/Nv12Frame.h"

#include <QImage>
#include <QString>

#include <vector>

struct AVBufferRef;
struct AVCodecContext;
struct AVFilterContext;
struct AVFilterGraph;
struct AVFormatContext;
struct AVFrame;
struct SwrContext;
struct SwsContext;

namespace orvel {

// Puts the demuxer at the first packet of the file; false when it cannot.
bool seekToFileStart(AVFormatContext *formatContext, int streamIndex);

// What a reader has done, for tests and diagnostics. Nothing in the decoder reads these.
struct ClipReaderCounters
{
    int openAttempts = 0;  // files actually handed to the demuxer
    int seeks = 0;         // video seeks
    int framesDecoded = 0; // pictures out of the video decoder
    int audioSeeks = 0;
    int softwareOpens = 0;    // software video decoders opened
    int hwConfigLookups = 0;  // searches for a hardware configuration
    int hwDeviceAttempts = 0; // av_hwdevice_ctx_create calls
};

// The state of one open file: demuxer, lazily opened decoders, scalers, resampler and the two
// frame caches. It is not thread-safe; ClipReaderWorker serialises every call with its mutex.
// Sequential reads cost one decoded frame; random reads cost a seek from the previous key frame.
struct ClipReader
{
    ClipReader() = default;
    ClipReader(const ClipReader &) = delete;
    ClipReader &operator=(const ClipReader &) = delete;
    ~ClipReader() { close(); }

    QString path;
    AVFormatContext *formatContext = nullptr;
    AVCodecContext *videoCodec = nullptr;
    AVCodecContext *audioCodec = nullptr;
    AVBufferRef *hwDevice = nullptr;
    SwsContext *swsRgba = nullptr;
    SwsContext *swsNv12 = nullptr;
    SwrContext *swr = nullptr;
    int videoStream = -1;
    int audioStream = -1;
    int outputSampleRate = 48000;
    bool hwActive = false;
    bool hwDisabled = false;
    int hwPixelFormat = -1;

    // Scaling on the hardware device before the transfer to memory.
    AVFilterGraph *scaleGraph = nullptr;
    AVFilterContext *scaleSource = nullptr;
    AVFilterContext *scaleSink = nullptr;
    AVBufferRef *scaleFramesRef = nullptr;
    AVFrame *scaleFrame = nullptr;
    AVFrame *transferFrame = nullptr;
    int scaleWidth = 0;
    int scaleHeight = 0;
    bool scaleFailed = false;

    // Every time here is source time: the container's start time is taken off each timestamp,
    // so 0 is the first presentable moment of the file whatever the demuxer counts from.
    TimeUs startOffsetUs = 0;

    // Where the video decoder stands. Frames come out in display order; the shown frame is the
    // last one given out, the pending frame the one after it, already decoded but not yet due.
    // Holding both lets a request anywhere from the shown frame on be answered without a seek,
    // and a request for a tie get the earlier frame without losing the later one.
    bool decoderPositioned = false;
    TimeUs lastDecodedUs = 0;
    AVFrame *shownFrame = nullptr;
    FrameSpan shownSpan;
    AVFrame *pendingFrame = nullptr;
    TimeUs pendingUs = 0;
    TimeUs readFloorUs = 0;        // the earliest time the position still answers without a seek
    bool fromStreamStart = false;  // the next frame out is the stream's first
    bool videoDraining = false;    // the end of file has been sent to the decoder
    bool streamEnded = false;      // the shown frame is the stream's last
    bool demuxerUntouched = false; // nothing read or sought since the file was opened
    int targetWidth = 0;
    int targetHeight = 0;
    TimeUs frameDurationUs = 0; // 0 when the stream's average frame rate is unknown
    RgbaFrameCache rgbaCache;
    Nv12FrameCache nv12Cache;
    TimeUs readAheadUs = 0;
    TimeUs playheadAnchorUs = 0;
    bool inPrefetch = false;

    bool audioPositioned = false;
    TimeUs audioNextUs = 0; // source time of the next sample to deliver
    // audioNextUs is counted in output frames from a base, so long reads never drift.
    TimeUs audioBaseUs = 0;
    qint64 audioFramesSinceBase = 0;
    std::vector<float> audioFifo; // resampled interleaved stereo not yet delivered

    // Device path handed to av_hwdevice_ctx_create; empty picks the default device.
    QString hwDeviceName;
    // Test hook: the next video decode reports a hardware failure, as a broken device would.
    bool simulateHardwareFailure = false;
    ClipReaderCounters counters;

    bool open(const QString &filePath);
    void close();
    bool isOpen() const { return formatContext != nullptr; }

    // Null image or empty frame on failure.
    QImage decodeVideo(TimeUs sourceUs, int maxWidth, int maxHeight);
    Nv12Frame decodeVideoNv12(TimeUs sourceUs, int maxWidth, int maxHeight);
    // Decodes one frame past the last into the RGBA cache.
    void prefetchNextVideo(int maxWidth, int maxHeight);
    // Fills the NV12 cache ahead of the playhead anchor by one frame. Returns whether another
    // step is wanted to fill the read-ahead.
    bool prefetchNextVideoNv12(int maxWidth, int maxHeight, TimeUs readAheadUs);
    // Interleaved stereo float at outputSampleRate; returns the frames written.
    int decodeAudio(TimeUs sourceStartUs, int sampleCount, int outputSampleRate, float *interleavedStereoOut);

    int nv12Capacity() const;

    // Internals shared by the decoder files.
    enum class Output
    {
        rgba,
        nv12
    };
    struct Picture
    {
        QImage image;
        Nv12Frame nv12;
        bool ok = false;
        bool hardwareFailed = false;
    };
    enum class Advance
    {
        shown,      // shownFrame is the frame displayed at the time
        landedLate, // the seek put the decoder past the time; it must seek earlier
        failed,
        hardwareFailed
    };
    Picture decodePicture(TimeUs sourceUs, int maxWidth, int maxHeight, Output output);
    Picture decodeWithRetry(TimeUs sourceUs, int maxWidth, int maxHeight, Output output);
    Picture cachedPicture(TimeUs sourceUs, Output output);
    bool openVideoDecoder();
    bool openSoftwareVideoDecoder();
    bool openHardwareVideoDecoder();
    void dropVideoDecoder();
    void resetVideoPosition();
    void freeScaleGraph();
    void applyOutputSize(int maxWidth, int maxHeight);
    bool canReadOn(TimeUs sourceUs) const;
    Advance showFrameAt(TimeUs sourceUs);
    bool seekVideo(TimeUs sourceUs, int attempt);
    Advance advanceTo(TimeUs sourceUs);
    int pullFrame();
    TimeUs frameTimeUs(const AVFrame *frame) const;
    Picture convertPicture(AVFrame *frame, Output output);
    QImage convertToRgba(const AVFrame *frame);
    Nv12Frame convertToNv12(const AVFrame *frame);
    const AVFrame *transferFromHardware(AVFrame *frame, int width, int height);
    bool scaleOnDevice(AVFrame *frame, int width, int height);
    bool buildScaleGraph(const AVFrame *frame, int width, int height);
    bool openAudioDecoder();
    bool seekAudio(TimeUs sourceStartUs, int attempt);
    bool ensureResampler();
    void setAudioPosition(TimeUs sourceUs);
    // Alignment, when pending, happens at the first frame after a seek; it reports false when
    // the seek landed after the time asked for while the stream has audio there.
    bool fillAudioFifo(size_t wantedFloats, TimeUs sourceStartUs, bool alignPending, bool mayRetry,
                       qint64 dropFrames);
    bool alignAudio(const AVFrame *frame, TimeUs sourceStartUs, bool mayRetry, qint64 &dropFrames);
    TimeUs audioStreamStartUs() const;
    void appendResampled(const AVFrame *frame, qint64 &dropFrames);
    void closeAudio();
};

} // namespace orvel
