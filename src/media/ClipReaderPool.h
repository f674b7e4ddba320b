#pragma once

#include "core/document/Types.h"
#include "media/Nv12Frame.h"

#include <QImage>
#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <map>

class QThread;

namespace orvel {

class ClipReaderWorker;

// One frame the compositor will want: decoded ahead so the decoders of a frame run in parallel.
struct FrameRequest
{
    QString path;
    TimeUs sourceUs = 0;
    int maxWidth = 0;
    int maxHeight = 0;
};

// Every consumer decodes through one process-wide pool. Each file path gets two workers, each on
// its own thread with its own demuxer: one for video and one for audio, so audio never loses its
// place when video seeks. Workers live until the pool goes; a file that could not be opened stays
// dark and is never reopened.
class ClipReaderPool
{
public:
    ClipReaderPool();
    ~ClipReaderPool();
    ClipReaderPool(const ClipReaderPool &) = delete;
    ClipReaderPool &operator=(const ClipReaderPool &) = delete;

    // Created on first use; destroyed while the application object is still alive.
    static ClipReaderPool &instance();

    // Null image on failure; posts a one-frame prefetch behind the answer.
    QImage decodeVideo(const QString &path, TimeUs sourceUs, int maxWidth, int maxHeight);
    // Empty frame on failure; asks for a prefetch with the pool's read-ahead.
    Nv12Frame decodeVideoNv12(const QString &path, TimeUs sourceUs, int maxWidth, int maxHeight);
    // Interleaved stereo float; returns the frames written, 0 for silence.
    int decodeAudio(const QString &path, TimeUs sourceStartUs, int sampleCount, int sampleRate, float *out);
    // A full-size RGBA still of the frame nearest sourceUs, for freeze frames; null on failure.
    QImage captureStillFrame(const QString &path, TimeUs sourceUs);

    // Posts a non-blocking NV12 decode for every entry with a path.
    void requestFrames(const QList<FrameRequest> &requests);
    void ensureReaders(const QStringList &videoPaths, const QStringList &audioPaths);
    void setReadAhead(TimeUs readAheadUs);
    TimeUs readAheadUs() const;

    // The existing worker for a path, or nullptr; for inspection.
    ClipReaderWorker *videoWorker(const QString &path) const;
    ClipReaderWorker *audioWorker(const QString &path) const;
    int workerCount() const;

private:
    struct WorkerSlot
    {
        QThread *thread = nullptr;
        ClipReaderWorker *worker = nullptr;
    };
    using WorkerMap = std::map<QString, WorkerSlot>;

    ClipReaderWorker *workerFor(WorkerMap &map, const QString &path);

    mutable QMutex m_mutex;
    TimeUs m_readAheadUs = 0;
    WorkerMap m_videoWorkers;
    WorkerMap m_audioWorkers;
};

} // namespace orvel
