#include "media/DecodeRules.h"

#include <algorithm>
#include <cmath>
#include <limits>

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

TimeUs frameToleranceUs(TimeUs frameDurationUs)
{
    if (frameDurationUs == 0)
        return 20'000;
    return std::max<TimeUs>(frameDurationUs / 2, 1);
}

bool canDecodeThrough(bool decoderPositioned, TimeUs lastDecodedUs, TimeUs sourceUs, TimeUs toleranceUs)
{
    return decoderPositioned && sourceUs >= lastDecodedUs - toleranceUs &&
           sourceUs - lastDecodedUs <= kDecodeThroughUs;
}

int nearestWithinTolerance(const QList<TimeUs> &timesUs, TimeUs sourceUs, TimeUs toleranceUs)
{
    int best = -1;
    TimeUs bestDistance = std::numeric_limits<TimeUs>::max();
    for (int i = 0; i < timesUs.size(); ++i) {
        const TimeUs distance = timesUs[i] > sourceUs ? timesUs[i] - sourceUs : sourceUs - timesUs[i];
        if (distance <= toleranceUs && distance < bestDistance) {
            best = i;
            bestDistance = distance;
        }
    }
    return best;
}

int nv12CacheCapacity(TimeUs readAheadUs, TimeUs frameDurationUs, qint64 frontBytes)
{
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

bool canContinueAudio(bool audioPositioned, int previousRate, int requestedRate, TimeUs audioNextUs,
                      TimeUs sourceStartUs)
{
    return audioPositioned && previousRate == requestedRate && sourceStartUs >= audioNextUs - 50'000 &&
           sourceStartUs <= audioNextUs + 2'000'000;
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
