#pragma once

#include "core/document/Types.h"

#include <QList>
#include <QSize>

namespace orvel {

// The pure rules the clip decoder follows, kept apart so they can be checked without media.

// Below this the decoder scales in eighths; the compositor does the rest.
QSize decodeOutputSize(int streamWidth, int streamHeight, int maxWidth, int maxHeight);

// Half a frame, or 20 ms when the frame rate is unknown.
TimeUs frameToleranceUs(TimeUs frameDurationUs);

// Forward jumps up to this are decoded through rather than sought.
inline constexpr TimeUs kDecodeThroughUs = 2'000'000;

// Whether a positioned decoder may go on reading for sourceUs instead of seeking.
bool canDecodeThrough(bool decoderPositioned, TimeUs lastDecodedUs, TimeUs sourceUs, TimeUs toleranceUs);

// Index of the entry nearest to sourceUs within the tolerance, the first among equals; -1 if none.
int nearestWithinTolerance(const QList<TimeUs> &timesUs, TimeUs sourceUs, TimeUs toleranceUs);

// The NV12 cache may always hold 16 frames, grows with the read-ahead up to 300 more frames, and
// stays within 128 MiB once the size of a frame is known (frontBytes > 0).
int nv12CacheCapacity(TimeUs readAheadUs, TimeUs frameDurationUs, qint64 frontBytes);

// The entry to evict: everything at or behind the anchor before anything still ahead of it,
// the farthest first, the first found among equals. -1 for an empty list.
int nv12EvictionIndex(const QList<TimeUs> &timesUs, TimeUs anchorUs);

// Audio goes on from where the stream stands when the request lands in
// [nextUs - 50 ms, nextUs + 2 s] at an unchanged rate; small discontinuities are absorbed.
bool canContinueAudio(bool audioPositioned, int previousRate, int requestedRate, TimeUs audioNextUs,
                      TimeUs sourceStartUs);

// Thread count of a software decoder: half the cores, at most 4, at least 1.
int softwareDecoderThreads(int idealThreadCount);

// Hardware decoding only pays for heavy streams: 4K and up, or at least 250 kbit a frame.
// An unknown bit rate or frame rate does not exclude hardware.
bool isHeavyStream(int width, int height, qint64 bitRate, double frameRate);

} // namespace orvel
