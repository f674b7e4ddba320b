#pragma once

#include <QString>

// Generated audio for the mix tests: made with the ffmpeg command-line tool on first request into
// one temporary folder per test process. Every file is 48 kHz stereo 32-bit float WAV, so the
// decoder hands back the generated values exactly.
namespace tonefiles {

// Absolute path of a file of seconds whose every sample is the ffmpeg expression of t (seconds),
// named by key. A file ffmpeg cannot make fails the calling test.
QString expressionFile(const QString &key, const QString &expression, double seconds);

// Constant level on both sides.
QString constantFile(double level, double seconds = 10.0);
// Every sample is its own time in seconds / 10, to read back which instant was played.
QString rampFile(double seconds = 6.0);
// A sine of amplitude 0.5.
QString sineFile(double frequencyHz, double seconds = 4.0);

} // namespace tonefiles
