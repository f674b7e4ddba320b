#pragma once

#include "core/document/model/Types.h"
#include "media/frames/Nv12Frame.h"

#include <QImage>
#include <QList>
#include <QMutex>
#include <QSet>
#include <QString>
#include <QStringList>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

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

// Every consumer decodes through one process-wide pool. Each file gets a video worker, and each
// audio reader of it (one per clip, by key) an audio worker, each on its own thread with its own
// demuxer: audio never loses its place when video seeks, and two clips of one file never hand
// each other their samples.
//
// A worker that has been idle for a while is closed and its thread ends, and so are the workers
// of files the project no longer uses (retainOnly); the next request opens the file again. A
// caller holds the worker it is using, so a release never pulls a worker from under a call.
class ClipReaderPool
{
public:
    static constexpr qint64 kDefaultIdleReleaseMs = 60'000;

    ClipReaderPool();
    ~ClipReaderPool();
    ClipReaderPool(const ClipReaderPool &) = delete;
    ClipReaderPool &operator=(const ClipReaderPool &) = delete;

    // Created on first use and never destroyed: when the application object goes away the pool
    // shuts down, and afterwards every call gives its empty value.
    static ClipReaderPool &instance();

    // Null image on failure; posts a one-frame prefetch behind the answer.
    QImage decodeVideo(const QString &path, TimeUs sourceUs, int maxWidth, int maxHeight);
    // Empty frame on failure; asks for a prefetch with the pool's read-ahead.
    Nv12Frame decodeVideoNv12(const QString &path, TimeUs sourceUs, int maxWidth, int maxHeight);
    // Interleaved stereo float; returns the frames written, 0 for silence. Readers with
    // different keys keep separate positions in the file; each clip passes its own id.
    int decodeAudio(const QString &path, TimeUs sourceStartUs, int sampleCount, int sampleRate, float *out,
                    const QString &readerKey = {});
    // A full-size RGBA still of the frame on screen at sourceUs, for freeze frames; null on failure.
    QImage captureStillFrame(const QString &path, TimeUs sourceUs);

    // Posts a non-blocking NV12 decode for every entry with a path.
    void requestFrames(const QList<FrameRequest> &requests);
    void ensureReaders(const QStringList &videoPaths, const QStringList &audioPaths);
    void setReadAhead(TimeUs readAheadUs);
    TimeUs readAheadUs() const;

    // Closes the workers unused for at least idleMs; the idle check runs this on its own every
    // few seconds with the idle time set here (0 switches the check off).
    void releaseIdle(qint64 idleMs);
    void setIdleRelease(qint64 idleMs);
    // Closes the workers of every file not in `paths`.
    void retainOnly(const QSet<QString> &paths);
    // Closes every worker and refuses all later work.
    void shutdown();

    // The existing worker for a path, or null; it stays alive while the pointer is held.
    std::shared_ptr<ClipReaderWorker> videoWorker(const QString &path) const;
    std::shared_ptr<ClipReaderWorker> audioWorker(const QString &path, const QString &readerKey = {}) const;
    int workerCount() const;

private:
    struct WorkerSlot;
    using SlotPtr = std::shared_ptr<WorkerSlot>;
    using WorkerMap = std::map<QString, SlotPtr>;

    SlotPtr slotFor(WorkerMap &map, const QString &key, const QString &path);
    std::shared_ptr<ClipReaderWorker> find(const WorkerMap &map, const QString &key) const;
    void idleLoop();

    mutable QMutex m_mutex;
    TimeUs m_readAheadUs = 0;
    bool m_shutDown = false;
    WorkerMap m_videoWorkers;
    WorkerMap m_audioWorkers; // keyed by path and reader key

    std::mutex m_idleMutex;
    std::condition_variable m_idleWake;
    qint64 m_idleReleaseMs = kDefaultIdleReleaseMs;
    bool m_idleStop = false;
    std::thread m_idleThread;
};

} // namespace orvel
