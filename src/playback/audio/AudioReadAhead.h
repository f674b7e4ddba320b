#pragma once

#include "core/document/model/Types.h"

#include <QString>

#include <vector>

namespace orvel {

// Reads a clip's source audio from the clip readers in chunks much larger than a mix block and
// serves the blocks from its own buffer. Each decode call crosses to the file's worker thread
// and waits for it, so one call per chunk instead of one per block is what keeps the mix cheap.
// Reads that walk backwards (reversed clips) get chunks that end where the read ends.
class AudioReadAhead
{
public:
    // Fills out with up to frameCount interleaved stereo frames of path from sourceStartUs at
    // sampleRate; returns the frames written, 0 when the file has nothing there.
    int read(const QString &path, TimeUs sourceStartUs, int frameCount, int sampleRate, float *out);
    // Forgets the buffer, so the next read decodes afresh.
    void clear();

private:
    bool holds(const QString &path, TimeUs sourceStartUs, int frameCount, int sampleRate) const;
    bool extend(const QString &path, TimeUs sourceStartUs, int frameCount, int sampleRate);
    void fill(const QString &path, TimeUs chunkStartUs, int chunkFrames, int sampleRate);
    qint64 offsetFrames(TimeUs sourceStartUs) const;
    // Room for at least frames frames; what is there already stays.
    void reserveFrames(int frames);

    QString m_path;
    int m_sampleRate = 0;
    TimeUs m_startUs = 0;
    std::vector<float> m_samples;
    int m_frames = 0;
    // The decoder gave less than asked: the file ends after m_frames.
    bool m_endOfFile = false;
};

} // namespace orvel
