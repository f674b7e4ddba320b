#pragma once

#include "media/frames/VideoColour.h"
#include "output/ExportJob.h"
#include "output/ExportSettings.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <vector>

struct AVCodec;
struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct AVStream;
struct SwsContext;

namespace orvel::exportdetail {

// What the encoder needs to know beyond the settings, already checked and resolved by the job.
struct EncoderSetup
{
    const VideoCodecRow *videoRow = nullptr;
    const AudioCodecRow *audioRow = nullptr;
    const AVCodec *videoCodec = nullptr;
    const AVCodec *audioCodec = nullptr;
    QSize projectSize;
    QSize outputSize;
    int fps = 1;
    int sampleRate = 48000;
    // A segment of a split render carries only pictures, the soundtrack file only sound.
    bool withVideo = true;
    bool withAudio = true;
    long long audioFrames = 0; // stereo frames the whole soundtrack holds
};

// The colour an export is written in: BT.709 for HD and above, BT.601 below, limited range
// unless the encoder's input format is one of the full-range JPEG formats. Players that see no
// tags guess by the same height rule, so a file looks right even where the tags are dropped.
VideoColour exportColour(int outputHeight, const QString &pixelFormat);

// One output file: two encoders, the muxer and the scaler. Every failure leaves its message in
// error(); the destructor releases everything, writing the trailer of an unfinished file so the
// muxer lets go of its buffers cleanly.
class ExportEncoder
{
public:
    ExportEncoder() = default;
    ExportEncoder(const ExportEncoder &) = delete;
    ExportEncoder &operator=(const ExportEncoder &) = delete;
    ~ExportEncoder();

    // muxerPath picks the container by its suffix; the bytes go to filePath.
    bool open(const EncoderSetup &setup, const ExportSettings &settings, const QString &muxerPath,
              const QString &filePath);
    // An RGBA8888 picture of the project's size.
    bool writeVideo(const QImage &picture, long long pts);
    // Interleaved stereo floats; whole encoder frames go out as soon as they are queued.
    bool queueAudio(const float *samples, int frameCount);
    // The rest of the audio as one short frame, both encoders drained, the trailer written.
    bool finish();
    const QString &error() const { return m_error; }

private:
    bool fail(const QString &message);
    bool openStreams(const ExportSettings &settings);
    bool openVideo(const ExportSettings &settings);
    bool openAudio(const ExportSettings &settings);
    bool openOutput(const QString &filePath);
    bool allocateFrames();
    bool sendAudioFrame(int frameCount);
    bool send(AVCodecContext *context, AVStream *stream, const AVFrame *frame);

    EncoderSetup m_setup;
    AVFormatContext *m_format = nullptr;
    AVStream *m_videoStream = nullptr;
    AVStream *m_audioStream = nullptr;
    AVCodecContext *m_video = nullptr;
    AVCodecContext *m_audio = nullptr;
    SwsContext *m_scaler = nullptr;
    AVFrame *m_videoFrame = nullptr;
    AVFrame *m_audioFrame = nullptr;
    AVPacket *m_packet = nullptr;
    int m_audioFrameSize = 1024;
    long long m_audioSamplesSent = 0;
    std::vector<float> m_audioQueue; // interleaved stereo, shorter than two encoder frames
    bool m_headerWritten = false;
    bool m_trailerWritten = false;
    QString m_error;
};

// Stream tags of a soundtrack-only file, for the join: the encoder's priming samples at its
// start and the samples of sound after them. Matroska can neither start a stream before zero
// nor time its last packet to the sample, so without them the priming would play and the end
// would run long.
inline constexpr const char *kEncoderDelayTag = "ORVEL_ENCODER_DELAY";
inline constexpr const char *kSampleCountTag = "ORVEL_SAMPLE_COUNT";

// Moves a finished ".part" file to the output's name, replacing an older file there.
ExportResult publish(const QString &partPath, const QString &outputPath);

} // namespace orvel::exportdetail
