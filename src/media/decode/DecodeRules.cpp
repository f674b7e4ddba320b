#include "media/decode/DecodeRules.h"

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {
int evenAtLeastTwo(double value)
{
    return std::max(int(std::lround(value)) & ~1, 2);
}
} // namespace

QSize decodeOutputSize(int streamWidth, int streamHeight, int maxWidth, int maxHeight)
{
    if (streamWidth <= 0 || streamHeight <= 0)
        return QSize(std::max(maxWidth, 1), std::max(maxHeight, 1));
    if (maxWidth > 0 && maxHeight > 0) {
        const double s = std::min(double(maxWidth) / streamWidth, double(maxHeight) / streamHeight);
        if (s < 1.0) {
            const double stepped = std::min(1.0, std::ceil(s * 8.0) * 0.125);
            return QSize(evenAtLeastTwo(stepped * streamWidth), evenAtLeastTwo(stepped * streamHeight));
        }
    }
    return QSize(streamWidth, streamHeight);
}

AudioStep audioStepFor(bool audioPositioned, int previousRate, int requestedRate, TimeUs nextUs,
                       TimeUs startUs)
{
    if (!audioPositioned || previousRate != requestedRate)
        return AudioStep::seek;
    const TimeUs ahead = startUs - nextUs;
    if (ahead >= -kAudioContinueToleranceUs && ahead <= kAudioContinueToleranceUs)
        return AudioStep::continueOn;
    if (ahead > 0 && ahead <= kDecodeThroughUs)
        return AudioStep::decodeThrough;
    return AudioStep::seek;
}

TimeUs audioFramesToUs(qint64 frames, int sampleRate)
{
    if (sampleRate < 1)
        return 0;
    return TimeUs(frames / sampleRate * 1'000'000 + frames % sampleRate * 1'000'000 / sampleRate);
}

qint64 audioUsToFrames(TimeUs timeUs, int sampleRate)
{
    if (sampleRate < 1)
        return 0;
    return timeUs / 1'000'000 * sampleRate + timeUs % 1'000'000 * sampleRate / 1'000'000;
}

int nv12CacheCapacity(TimeUs readAheadUs, TimeUs frameDurationUs, qint64 frontBytes, qint64 totalCacheBytes)
{
    if (totalCacheBytes > kFrameCacheBudgetBytes)
        return kFramesUnderPressure;
    int capacity = 16;
    if (readAheadUs >= 1 && frameDurationUs >= 1)
        capacity = 16 + int(std::clamp<TimeUs>(readAheadUs / frameDurationUs, 0, 300));
    if (frontBytes > 0)
        capacity = int(std::min<qint64>(capacity, std::max<qint64>(134'217'728 / frontBytes, 16)));
    return capacity;
}

int nv12EvictionIndex(const QList<TimeUs> &timesUs, TimeUs anchorUs)
{
    int worst = -1;
    qint64 worstCost = -1;
    for (int i = 0; i < timesUs.size(); ++i) {
        const TimeUs t = timesUs[i];
        const qint64 cost = t > anchorUs ? t - anchorUs : (anchorUs - t) + 2'147'483'647LL;
        if (cost > worstCost) {
            worst = i;
            worstCost = cost;
        }
    }
    return worst;
}

int softwareDecoderThreads(int idealThreadCount)
{
    return std::max(std::min(idealThreadCount / 2, 4), 1);
}

bool isHeavyStream(int width, int height, qint64 bitRate, double frameRate)
{
    if (qint64(width) * height >= 8'294'400)
        return true;
    if (bitRate < 1 || frameRate <= 0.0)
        return true;
    return double(bitRate) / frameRate / 1000.0 >= 250.0;
}

} // namespace orvel
