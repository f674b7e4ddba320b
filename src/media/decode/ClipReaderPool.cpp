#include "media/decode/ClipReaderPool.h"

#include "media/decode/ClipReaderWorker.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <atomic>
#include <chrono>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace orvel {

namespace {
constexpr std::chrono::seconds kIdleCheckInterval{5};

qint64 poolClockMs()
{
    static const QElapsedTimer clock = [] {
        QElapsedTimer timer;
        timer.start();
        return timer;
    }();
    return clock.elapsed();
}

QString audioKey(const QString &path, const QString &readerKey)
{
    return readerKey.isEmpty() ? path : path + QLatin1Char('\n') + readerKey;
}

// Decoders free frame pools of many megabytes on their own threads' heaps; give what is free
// back to the system, or a process that touched many files keeps their peak for good.
void returnFreedMemory()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

void shutdownClipReaderPoolRoutine()
{
    ClipReaderPool::instance().shutdown();
}
} // namespace

// One worker and its thread. The last holder stops the thread and closes the file; that is
// never the worker's own thread, since work posted there holds only plain pointers.
struct ClipReaderPool::WorkerSlot
{
    explicit WorkerSlot(const QString &path) : worker(std::make_shared<ClipReaderWorker>())
    {
        thread.setObjectName(QStringLiteral("ClipReader"));
        worker->moveToThread(&thread);
        thread.start();
        ClipReaderWorker *target = worker.get();
        QMetaObject::invokeMethod(
            target, [target, path] { target->openPath(path); }, Qt::QueuedConnection);
        touch();
    }
    ~WorkerSlot()
    {
        thread.quit();
        thread.wait();
        worker->closePath();
    }
    void touch() { lastUsedMs.store(poolClockMs()); }

    QThread thread;
    std::shared_ptr<ClipReaderWorker> worker;
    std::atomic<qint64> lastUsedMs{0};
};

ClipReaderPool::ClipReaderPool()
{
    qRegisterMetaType<Nv12Frame>("orvel::Nv12Frame");
    m_idleThread = std::thread([this] { idleLoop(); });
}

ClipReaderPool::~ClipReaderPool()
{
    shutdown();
}

ClipReaderPool &ClipReaderPool::instance()
{
    // Never deleted: a thread that asks after shutdown gets the shut-down pool, not a new one.
    static ClipReaderPool *const pool = [] {
        auto *created = new ClipReaderPool;
        // The workers' threads must stop while the application can still wait for them.
        qAddPostRoutine(shutdownClipReaderPoolRoutine);
        return created;
    }();
    return *pool;
}

void ClipReaderPool::shutdown()
{
    WorkerMap video;
    WorkerMap audio;
    {
        QMutexLocker lock(&m_mutex);
        m_shutDown = true;
        video.swap(m_videoWorkers);
        audio.swap(m_audioWorkers);
    }
    {
        std::lock_guard lock(m_idleMutex);
        m_idleStop = true;
    }
    m_idleWake.notify_all();
    if (m_idleThread.joinable() && m_idleThread.get_id() != std::this_thread::get_id())
        m_idleThread.join();
    // Workers still in use elsewhere close when their last caller lets go.
    video.clear();
    audio.clear();
    returnFreedMemory();
}

ClipReaderPool::SlotPtr ClipReaderPool::slotFor(WorkerMap &map, const QString &key, const QString &path)
{
    QMutexLocker lock(&m_mutex);
    if (m_shutDown)
        return nullptr;
    auto it = map.find(key);
    if (it == map.end())
        it = map.emplace(key, std::make_shared<WorkerSlot>(path)).first;
    it->second->touch();
    return it->second;
}

QImage ClipReaderPool::decodeVideo(const QString &path, TimeUs sourceUs, int maxWidth, int maxHeight)
{
    const SlotPtr slot = path.isEmpty() ? nullptr : slotFor(m_videoWorkers, path, path);
    if (!slot)
        return {};
    ClipReaderWorker *worker = slot->worker.get();
    QImage image;
    QMetaObject::invokeMethod(
        worker, [&] { image = worker->decodeVideo(sourceUs, maxWidth, maxHeight); },
        Qt::BlockingQueuedConnection);
    QMetaObject::invokeMethod(
        worker, [worker, maxWidth, maxHeight] { worker->prefetchNextVideo(maxWidth, maxHeight); },
        Qt::QueuedConnection);
    return image;
}

Nv12Frame ClipReaderPool::decodeVideoNv12(const QString &path, TimeUs sourceUs, int maxWidth, int maxHeight)
{
    const SlotPtr slot = path.isEmpty() ? nullptr : slotFor(m_videoWorkers, path, path);
    if (!slot)
        return {};
    ClipReaderWorker *worker = slot->worker.get();
    Nv12Frame frame;
    QMetaObject::invokeMethod(
        worker, [&] { frame = worker->decodeVideoNv12(sourceUs, maxWidth, maxHeight); },
        Qt::BlockingQueuedConnection);
    worker->requestPrefetchNv12(maxWidth, maxHeight, readAheadUs());
    return frame;
}

int ClipReaderPool::decodeAudio(const QString &path, TimeUs sourceStartUs, int sampleCount, int sampleRate,
                                float *out, const QString &readerKey)
{
    if (path.isEmpty() || !out || sampleCount < 1)
        return 0;
    const SlotPtr slot = slotFor(m_audioWorkers, audioKey(path, readerKey), path);
    if (!slot)
        return 0;
    ClipReaderWorker *worker = slot->worker.get();
    int frames = 0;
    QMetaObject::invokeMethod(
        worker, [&] { frames = worker->decodeAudio(sourceStartUs, sampleCount, sampleRate, out); },
        Qt::BlockingQueuedConnection);
    return frames;
}

QImage ClipReaderPool::captureStillFrame(const QString &path, TimeUs sourceUs)
{
    return decodeVideo(path, sourceUs, 0, 0);
}

void ClipReaderPool::requestFrames(const QList<FrameRequest> &requests)
{
    for (const FrameRequest &request : requests) {
        const SlotPtr slot =
            request.path.isEmpty() ? nullptr : slotFor(m_videoWorkers, request.path, request.path);
        if (!slot)
            continue;
        ClipReaderWorker *worker = slot->worker.get();
        QMetaObject::invokeMethod(
            worker,
            [worker, request] {
                worker->decodeVideoNv12(request.sourceUs, request.maxWidth, request.maxHeight);
            },
            Qt::QueuedConnection);
    }
}

void ClipReaderPool::ensureReaders(const QStringList &videoPaths, const QStringList &audioPaths)
{
    for (const QString &path : videoPaths) {
        if (!path.isEmpty())
            slotFor(m_videoWorkers, path, path);
    }
    for (const QString &path : audioPaths) {
        if (!path.isEmpty())
            slotFor(m_audioWorkers, path, path);
    }
}

void ClipReaderPool::setReadAhead(TimeUs readAheadUs)
{
    QMutexLocker lock(&m_mutex);
    m_readAheadUs = readAheadUs;
}

TimeUs ClipReaderPool::readAheadUs() const
{
    QMutexLocker lock(&m_mutex);
    return m_readAheadUs;
}

void ClipReaderPool::releaseIdle(qint64 idleMs)
{
    std::vector<SlotPtr> released;
    {
        QMutexLocker lock(&m_mutex);
        const qint64 now = poolClockMs();
        for (WorkerMap *map : {&m_videoWorkers, &m_audioWorkers}) {
            for (auto it = map->begin(); it != map->end();) {
                if (now - it->second->lastUsedMs.load() >= idleMs) {
                    released.push_back(std::move(it->second));
                    it = map->erase(it);
                } else {
                    ++it;
                }
            }
        }
    }
    if (released.empty())
        return;
    released.clear(); // outside the mutex: stopping a thread waits for its current call
    returnFreedMemory();
}

void ClipReaderPool::setIdleRelease(qint64 idleMs)
{
    {
        std::lock_guard lock(m_idleMutex);
        m_idleReleaseMs = idleMs;
    }
    m_idleWake.notify_all();
}

void ClipReaderPool::retainOnly(const QSet<QString> &paths)
{
    std::vector<SlotPtr> released;
    {
        QMutexLocker lock(&m_mutex);
        for (WorkerMap *map : {&m_videoWorkers, &m_audioWorkers}) {
            for (auto it = map->begin(); it != map->end();) {
                const QString path = it->first.section(QLatin1Char('\n'), 0, 0);
                if (!paths.contains(path)) {
                    released.push_back(std::move(it->second));
                    it = map->erase(it);
                } else {
                    ++it;
                }
            }
        }
    }
    if (released.empty())
        return;
    released.clear();
    returnFreedMemory();
}

void ClipReaderPool::idleLoop()
{
    std::unique_lock lock(m_idleMutex);
    while (!m_idleStop) {
        m_idleWake.wait_for(lock, kIdleCheckInterval);
        if (m_idleStop)
            break;
        const qint64 idleMs = m_idleReleaseMs;
        if (idleMs <= 0)
            continue;
        lock.unlock();
        releaseIdle(idleMs);
        lock.lock();
    }
}

std::shared_ptr<ClipReaderWorker> ClipReaderPool::find(const WorkerMap &map, const QString &key) const
{
    QMutexLocker lock(&m_mutex);
    auto it = map.find(key);
    if (it == map.end())
        return nullptr;
    // Shares the slot's ownership, so the worker's thread runs while the pointer is held.
    return std::shared_ptr<ClipReaderWorker>(it->second, it->second->worker.get());
}

std::shared_ptr<ClipReaderWorker> ClipReaderPool::videoWorker(const QString &path) const
{
    return find(m_videoWorkers, path);
}

std::shared_ptr<ClipReaderWorker> ClipReaderPool::audioWorker(const QString &path,
                                                              const QString &readerKey) const
{
    return find(m_audioWorkers, audioKey(path, readerKey));
}

int ClipReaderPool::workerCount() const
{
    QMutexLocker lock(&m_mutex);
    return int(m_videoWorkers.size() + m_audioWorkers.size());
}

} // namespace orvel
