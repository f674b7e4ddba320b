#pragma once

#include <QList>
#include <QString>

namespace orvel {

// Changing the speed of a block of audio without changing its pitch, with FFmpeg's atempo.

// True when a speed is 1 within a relative tolerance of 1e-12.
bool isUnitySpeed(double speed);

// The atempo stages for a speed. One stage handles 0.5..2, so larger and smaller speeds are
// split into stages of 2.0 or 0.5 and a remainder, always written with four decimals:
// 4 -> "atempo=2.0,atempo=2.0000". A speed at or below 0 counts as 1.
QString atempoChain(double speed);

// frameCount interleaved stereo frames at speed, returned as 2 x outFrames floats. A graph is
// built for the block and torn down after it, so the filter starts each block afresh; whatever
// it yields short of outFrames stays silent. Any failure returns what was written so far, so a
// graph that cannot be made gives silence. An empty list for no input or non-positive counts.
QList<float> retimeAudio(const QList<float> &samples, int frameCount, int sampleRate, double speed,
                         int outFrames);

} // namespace orvel
