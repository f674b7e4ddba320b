#include "playback/audio/AudioReadAhead.h"

#include "media/decode/ClipReaderPool.h"

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

// Half a second per decode call: large enough that the hand-over to the worker thread is
// rare, small enough that a jump does not decode much audio that is never played.
int readAheadChunkFrames(int sampleRate, int frameCount)
{
    return std::max(sampleRate / 2, frameCount);
}

TimeUs readAheadFramesToUs(qint64 frames, int sampleRate)
{
    return frames * 1'000'000 / sampleRate;
}

} // namespace

int AudioReadAhead::read(const QString &path, TimeUs sourceStartUs, int frameCount, int sampleRate,
                         float *out)
{
    if (path.isEmpty() || !out || frameCount < 1 || sampleRate < 1)
        return 0;
    if (!holds(path, sourceStartUs, frameCount, sampleRate) &&
        !extend(path, sourceStartUs, frameCount, sampleRate)) {
        const int chunkFrames = readAheadChunkFrames(sampleRate, frameCount);
        const bool backwards = path == m_path && sampleRate == m_sampleRate && sourceStartUs < m_startUs;
        TimeUs chunkStartUs = sourceStartUs;
        if (backwards) {
            const TimeUs endUs = sourceStartUs + readAheadFramesToUs(frameCount, sampleRate);
            chunkStartUs = std::max(endUs - readAheadFramesToUs(chunkFrames, sampleRate), TimeUs(0));
        }
        fill(path, chunkStartUs, chunkFrames, sampleRate);
    }
    const qint64 offset = offsetFrames(sourceStartUs);
    if (offset < 0 || offset >= m_frames)
        return 0;
    const int count = int(std::min<qint64>(frameCount, m_frames - offset));
    std::copy_n(m_samples.data() + offset * 2, std::size_t(count) * 2, out);
    return count;
}

void AudioReadAhead::clear()
{
    m_path.clear();
    m_samples.clear();
    m_frames = 0;
    m_endOfFile = false;
}

bool AudioReadAhead::holds(const QString &path, TimeUs sourceStartUs, int frameCount, int sampleRate) const
{
    if (path != m_path || sampleRate != m_sampleRate)
        return false;
    const qint64 offset = offsetFrames(sourceStartUs);
    if (offset < 0)
        return false;
    // Past the end of the file there is nothing more to decode.
    return offset + frameCount <= m_frames || m_endOfFile;
}

bool AudioReadAhead::extend(const QString &path, TimeUs sourceStartUs, int frameCount, int sampleRate)
{
    // A read that runs past the end of the buffer keeps what it still needs and decodes on from
    // exactly where the last chunk stopped: the decoder carries on from there without a seek,
    // and a request that overlapped what it already gave would not be served from its start.
    const qint64 offset = offsetFrames(sourceStartUs);
    if (path != m_path || sampleRate != m_sampleRate || m_endOfFile || offset < 0 || offset > m_frames)
        return false;
    const TimeUs decodeFromUs = m_startUs + readAheadFramesToUs(m_frames, sampleRate);
    const int kept = int(m_frames - offset);
    const int wanted = std::max(readAheadChunkFrames(sampleRate, frameCount), frameCount - kept);
    std::copy(m_samples.begin() + offset * 2, m_samples.begin() + qint64(m_frames) * 2, m_samples.begin());
    reserveFrames(kept + wanted);
    const int decoded =
        std::max(ClipReaderPool::instance().decodeAudio(path, decodeFromUs, wanted, sampleRate,
                                                        m_samples.data() + std::size_t(kept) * 2),
                 0);
    m_startUs = sourceStartUs;
    m_frames = kept + decoded;
    m_endOfFile = decoded < wanted;
    return true;
}

void AudioReadAhead::fill(const QString &path, TimeUs chunkStartUs, int chunkFrames, int sampleRate)
{
    m_path = path;
    m_sampleRate = sampleRate;
    m_startUs = chunkStartUs;
    reserveFrames(chunkFrames);
    m_frames = std::max(
        ClipReaderPool::instance().decodeAudio(path, chunkStartUs, chunkFrames, sampleRate, m_samples.data()),
        0);
    m_endOfFile = m_frames < chunkFrames;
}

void AudioReadAhead::reserveFrames(int frames)
{
    // Only the first m_frames frames are ever read, and the decoder writes the rest, so the
    // buffer only grows and is never cleared: clearing it cost as much as copying the blocks out.
    if (m_samples.size() < std::size_t(frames) * 2)
        m_samples.resize(std::size_t(frames) * 2);
}

qint64 AudioReadAhead::offsetFrames(TimeUs sourceStartUs) const
{
    // Rounded, so a time made from a whole number of frames maps back to that frame.
    return std::llround(double(sourceStartUs - m_startUs) * m_sampleRate / 1'000'000.0);
}

} // namespace orvel
