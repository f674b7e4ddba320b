#pragma once

#include "core/document/model/Types.h"

#include <QList>
#include <QString>

namespace orvel {

enum class MediaStreamKind
{
    video = 0,
    audio = 1,
    subtitle = 2,
    other = 3
};

// One container stream as the demuxer describes it. Video fields stay zero for other kinds, and
// audio fields stay zero for anything but audio.
struct MediaStreamInfo
{
    MediaStreamKind kind = MediaStreamKind::other;
    QString codecLongName;
    TimeUs durationUs = 0; // the stream's own, else the container's
    TimeUs startUs = 0;    // where the stream begins in source time (late audio starts after 0)
    int width = 0;
    int height = 0;
    double fps = 0.0;
    int rotationDegrees = 0; // clockwise turn needed for display, 0..359
    bool isAttachedPicture = false;
    int sampleRate = 0;
    int channels = 0;
};

// What probing one file yields. Plain data, made on a worker thread.
struct MediaProbeResult
{
    bool ok = false;
    QString error;
    QString path;
    TimeUs durationUs = 0; // 0 when the container states none
    // The container's own first timestamp. Source time 0 is this moment: files cut from a
    // broadcast or a camcorder count from wherever the recording began.
    TimeUs containerStartUs = 0;
    QList<MediaStreamInfo> streams;
};

// Opens the container and reads its stream information; never decodes a frame.
MediaProbeResult probeMedia(const QString &path);

// Turns FFmpeg's display rotation (counter-clockwise degrees, NaN when the matrix is degenerate)
// into the clockwise 0..359 turn stored on assets.
int rotationFromDisplayAngle(double displayRotationDegrees);

} // namespace orvel
