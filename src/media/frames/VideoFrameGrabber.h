#pragma once

#include "core/document/model/Types.h"

#include <QImage>
#include <QSize>
#include <QString>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct SwsContext;

namespace orvel {

// Pulls single pictures out of the first video stream of a file, for posters and strips. One
// instance serves one thread; it decodes in software and keeps no frames.
class VideoFrameGrabber
{
public:
    VideoFrameGrabber() = default;
    ~VideoFrameGrabber();
    VideoFrameGrabber(const VideoFrameGrabber &) = delete;
    VideoFrameGrabber &operator=(const VideoFrameGrabber &) = delete;

    // Opens the container, picks its first video stream and a decoder for it.
    bool open(const QString &path);

    TimeUs containerDurationUs() const;
    int codedWidth() const;
    int codedHeight() const;
    int sarNum() const;
    int sarDen() const;
    // Clockwise turn the stream asks for on display, 0..359.
    int rotationDegrees() const;

    // Seeks to the key frame at or before the time and drops what the decoder held.
    bool seekUs(TimeUs timeUs);

    // The next decoded frame, scaled to the size as RGB888; null when none came within
    // maxReadAttempts packet reads.
    QImage nextFrame(QSize size, int maxReadAttempts = 400);

private:
    QImage convert(const AVFrame *frame, QSize size);

    AVFormatContext *m_format = nullptr;
    AVCodecContext *m_codec = nullptr;
    AVPacket *m_packet = nullptr;
    AVFrame *m_frame = nullptr;
    SwsContext *m_sws = nullptr;
    int m_streamIndex = -1;
    bool m_draining = false;
};

} // namespace orvel
