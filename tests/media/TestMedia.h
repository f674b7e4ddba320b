#pragma once

#include "media/frames/Nv12Frame.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <vector>

// Small media files made with the ffmpeg command-line tool on first request, in one temporary
// folder per test process. The thumbnail cache is pointed into the same folder before main runs,
// so a run never sees posters left over from another.
namespace testmedia {

// Pattern videos carry their frame number in eight vertical bars, bit k in bar k (white for 1),
// so a test reads back which frame it got.
inline constexpr int kPatternWidth = 160;
inline constexpr int kPatternHeight = 96;
inline constexpr qint64 kFrameUs = 40'000; // 25 fps

// Absolute path of a named sample, generated when first asked for; a sample ffmpeg cannot make
// fails the calling test. Names:
//   av.mp4         160x90, 25 fps, 1 s, H.264 + stereo AAC at 44100 Hz
//   rotated.mp4    av.mp4 with a display matrix of -90 degrees; rotated90.mp4 with +90
//   anamorphic.mp4 160x90 with a 2:1 sample aspect ratio, no audio
//   silent.mp4     64x64, 1 s, video only
//   cover.mp3      1 s mono mp3 with a 64x64 PNG cover
//   two_audio.mp4  video, stereo AAC at 44100 Hz, then mono AAC at 22050 Hz
//   still.png      640x360;  small.png 64x64
//   fake.png, fake.mp4  plain text under a media suffix
//   pattern.mp4    8 s of the pattern, 2 s GOP, 440 Hz AAC at 48 kHz
//   vfr.mkv        the pattern at 25 fps for one second, then 10 fps to 3 s
//   nofps.nut      two frames 0.5 s apart, no average frame rate recorded
//   raw-nv12.nut   one second of the pattern as uncompressed NV12
//   odd.mp4        one second of 161x97 H.264
//   ramp.wav       6 s of 48 kHz float stereo whose every sample is its time in seconds / 10
// Awkward real-world shapes, each with the pattern (2 s GOP, crf 18) and a rising chirp:
//   offset.ts       3 s MPEG-TS as the muxer writes it, starting near 1.47 s; MP2 audio
//   hour.ts         the same, shifted to start past 3601 s
//   late-audio.mov  3 s of video; PCM audio that begins 1.000 s after the video
//   short-video.mov 1 s of video in a 4 s file; 4 s of PCM audio
//   pattern-gop5.mp4     one second of the pattern with a key frame every 5 frames
//   rotated-pattern.mp4  the same, to be shown turned a quarter clockwise
QString path(const QString &name);

// Copies of one sample under distinct names, for imports that need many files.
QStringList copies(const QString &name, int count);

QString dir();
QString missingFile();

// What ffmpeg itself makes of a file, as the reference the decoders are compared with.
// The first video stream's frame times in source time (the container's start time taken off),
// in display order, by ffprobe.
QList<qint64> ffprobeFrameTimesUs(const QString &file);
// The index of the frame on screen at sourceUs by those times: the last one at or before it,
// the first one before the first.
int frameShownAt(const QList<qint64> &frameTimesUs, qint64 sourceUs);
// The first audio stream decoded by the ffmpeg tool as interleaved stereo float at 48 kHz. It
// starts at the stream's first sample, wherever that lies in source time.
std::vector<float> ffmpegAudio(const QString &file);
// The position in `reference` (in stereo frames) where `window` fits best, by normalised
// cross-correlation of the left channel over [fromFrame, toFrame).
qint64 bestLag(const std::vector<float> &window, const std::vector<float> &reference, qint64 fromFrame,
               qint64 toFrame);

// The frame number encoded in a picture; -1 if the bars cannot be read.
int patternIndex(const orvel::Nv12Frame &frame);
int patternIndex(const QImage &image);

} // namespace testmedia
