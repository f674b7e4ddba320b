#pragma once

#include "media/Nv12Frame.h"

#include <QByteArray>
#include <QImage>
#include <QString>

// Media for the decoding tests, made with the ffmpeg CLI into one temporary folder per test
// process, each file on first use. Pattern videos carry their frame number in eight vertical
// bars, bit k in bar k (white for 1), so a test reads back which frame it got.
namespace decodetest {

inline constexpr int kPatternWidth = 160;
inline constexpr int kPatternHeight = 96;
inline constexpr qint64 kFrameUs = 40'000; // 25 fps

// 8 s of 25 fps H.264 with a 2 s GOP and a 440 Hz AAC track.
QString patternVideo();
// The pattern at 25 fps for one second, then 10 fps to 3 s.
QString variableRateVideo();
// Two frames, 0.5 s apart, in a container that records no average frame rate.
QString noFrameRateVideo();
// The pattern as uncompressed NV12, so the decoder hands out NV12 frames.
QString rawNv12Video();
// One second of 161x97 H.264, an odd size in both directions.
QString oddSizeVideo();
// 6 s of 48 kHz float stereo whose every sample equals its time in seconds / 10.
QString rampAudio();
QString missingFile();

// The frame number encoded in a picture; -1 if the bars cannot be read.
int patternIndex(const orvel::Nv12Frame &frame);
int patternIndex(const QImage &image);

} // namespace decodetest
