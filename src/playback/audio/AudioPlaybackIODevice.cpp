#include "playback/audio/AudioPlaybackIODevice.h"

#include "playback/audio/PlaybackAudioOutput.h"

#include <cstring>

namespace orvel {

namespace {
constexpr qint64 kBytesPerFrame = 2 * sizeof(float);
} // namespace

AudioPlaybackIODevice::AudioPlaybackIODevice(PlaybackAudioOutput *output, QObject *parent)
    : QIODevice(parent), m_output(output)
{}

bool AudioPlaybackIODevice::isSequential() const
{
    return true;
}

qint64 AudioPlaybackIODevice::bytesAvailable() const
{
    return QIODevice::bytesAvailable() + 1'048'576;
}

qint64 AudioPlaybackIODevice::readData(char *data, qint64 maxSize)
{
    const qint64 frames = maxSize / kBytesPerFrame;
    if (frames < 1 || !m_output || !data)
        return 0;
    const qint64 mixedBytes = frames * kBytesPerFrame;
    if (!m_output->mixInto(reinterpret_cast<float *>(data), int(frames)))
        std::memset(data, 0, std::size_t(mixedBytes));
    // A request that is not a whole number of frames is still answered in full.
    std::memset(data + mixedBytes, 0, std::size_t(maxSize - mixedBytes));
    return maxSize;
}

qint64 AudioPlaybackIODevice::writeData(const char *, qint64)
{
    return -1;
}

} // namespace orvel
