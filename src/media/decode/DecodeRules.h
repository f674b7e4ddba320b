#pragma once

#include "core/document/model/Types.h"

#include <QList>
#include <QSize>

namespace orvel {

// The pure rules the clip decoder follows, kept apart so they can be checked without media.

// Below this the decoder scales in eighths; the compositor does the rest.
QSize decodeOutputSize(int streamWidth, int streamHeight, int maxWidth, int maxHeight);

// Forward jumps up to this are decoded through rather than sought, for video and audio alike.
inline constexpr TimeUs kDecodeThroughUs = 2'000'000;

// A request this close to where an audio reader stands goes on from there, so the rounding of a
// mix's block times never costs a seek or a click.
inline constexpr TimeUs kAudioContinueToleranceUs = 1'000;

enum class AudioStep
{
    continueOn,    // read on from where the stream stands
    decodeThrough, // read on and drop the samples up to the requested time
    seek
};

// What an audio reader standing at nextUs does for a request at startUs. Every answer gives the
// samples of the time asked for; they differ only in cost.
AudioStep audioStepFor(bool audioPositioned, int previousRate, int requestedRate, TimeUs nextUs,
                       TimeUs startUs);

// Frame counts at a sample rate as microseconds, exact for any count (no drift over long reads).
TimeUs audioFramesToUs(qint64 frames, int sampleRate);
qint64 audioUsToFrames(TimeUs timeUs, int sampleRate);

// Above this the frame caches of all readers together shrink to a few frames each.
inline constexpr qint64 kFrameCacheBudgetBytes = 512LL * 1024 * 1024;
inline constexpr int kFramesUnderPressure = 4;

// The NV12 cache may hold 16 frames, grows with the read-ahead up to 300 more frames, and
// stays within 128 MiB once the size of a frame is known (frontBytes > 0). When all caches
// together are over the process budget, it keeps only a few frames.
int nv12CacheCapacity(TimeUs readAheadUs, TimeUs frameDurationUs, qint64 frontBytes,
                      qint64 totalCacheBytes = 0);

// The entry to evict: everything at or behind the anchor before anything still ahead of it,
// the farthest first, the first found among equals. -1 for an empty list.
int nv12EvictionIndex(const QList<TimeUs> &timesUs, TimeUs anchorUs);

// Thread count of a software decoder: half the cores, at most 4, at least 1.
int softwareDecoderThreads(int idealThreadCount);

// Hardware decoding only pays for heavy streams: 4K and up, or at least 250 kbit a frame.
// An unknown bit rate or frame rate does not exclude hardware.
bool isHeavyStream(int width, int height, qint64 bitRate, double frameRate);

} // namespace orvel
