#pragma once

#include <QList>
#include <QString>

#include <memory>
#include <vector>

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

// One atempo graph kept across blocks, so consecutive blocks come out as one continuous stream
// instead of each block starting the filter's window afresh. Source audio goes in with push();
// whatever the filter has finished waits in a queue until take() hands it out.
class AudioRetimeStream
{
public:
    AudioRetimeStream();
    ~AudioRetimeStream();
    AudioRetimeStream(const AudioRetimeStream &) = delete;
    AudioRetimeStream &operator=(const AudioRetimeStream &) = delete;

    // Drops any graph and queued output and builds a new graph; false if it cannot be made.
    bool open(int sampleRate, double speed);
    bool isOpen() const;
    double speed() const { return m_speed; }
    int sampleRate() const { return m_sampleRate; }
    // Feeds frameCount interleaved stereo frames; false when the graph refused them.
    bool push(const float *samples, int frameCount);
    // Marks the end of the source so the filter hands over what it still holds.
    bool finish();
    // Frames of output waiting to be taken.
    int queuedFrames() const;
    // Moves up to frameCount queued frames into out; returns how many.
    int take(float *out, int frameCount);

private:
    struct Graph;
    void drainSink();

    std::unique_ptr<Graph> m_graph;
    std::vector<float> m_queue;
    std::size_t m_queueRead = 0;
    qint64 m_framesPushed = 0;
    double m_speed = 1.0;
    int m_sampleRate = 0;
};

} // namespace orvel
