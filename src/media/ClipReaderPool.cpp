#include "media/ClipReaderPool.h"

#include "media/ClipReaderWorker.h"

#include <QCoreApplication>
#include <QThread>

namespace orvel {

namespace {
QMutex g_clipReaderPoolMutex;
ClipReaderPool *g_clipReaderPool = nullptr;

void destroyClipReaderPool()
{
    QMutexLocker lock(&g_clipReaderPoolMutex);
    delete g_clipReaderPool;
    g_clipReaderPool = nullptr;
}
} // namespace

ClipReaderPool::ClipReaderPool()
{
    qRegisterMetaType<Nv12Frame>("orvel::Nv12Frame");
}

ClipReaderPool::~ClipReaderPool()
{
    for (WorkerMap *map : {&m_videoWorkers, &m_audioWorkers}) {
        for (auto &[path, slot] : *map) {
            ClipReaderWorker *worker = slot.worker;
            QMetaObject::invokeMethod(
                worker, [worker] { worker->closePath(); }, Qt::BlockingQueuedConnection);
            slot.thread->quit();
            slot.thread->wait();
            delete worker;
            delete slot.thread;
        }
        map->clear();
    }
}

ClipReaderPool &ClipReaderPool::instance()
{
    QMutexLocker lock(&g_clipReaderPoolMutex);
    if (!g_clipReaderPool) {
        g_clipReaderPool = new ClipReaderPool;
        // The workers' threads must stop while their event loops can still take the close call.
        if (QCoreApplication::instance())
            qAddPostRoutine(destroyClipReaderPool);
    }
    return *g_clipReaderPool;
}

ClipReaderWorker *ClipReaderPool::workerFor(WorkerMap &map, const QString &path)
{
    QMutexLocker lock(&m_mutex);
    auto it = map.find(path);
    if (it != map.end())
        return it->second.worker;
    auto *thread = new QThread;
    thread->setObjectName(QStringLiteral("ClipReader"));
    auto *worker = new ClipReaderWorker;
    worker->moveToThread(thread);
    thread->start();
    QMetaObject::invokeMethod(
        worker, [worker, path] { worker->openPath(path); }, Qt::QueuedConnection);
    map.emplace(path, WorkerSlot{thread, worker});
    return worker;
}

QImage ClipReaderPool::decodeVideo(const QString &path, TimeUs sourceUs, int maxWidth, int maxHeight)
{
    if (path.isEmpty())
        return {};
    ClipReaderWorker *worker = workerFor(m_videoWorkers, path);
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
    if (path.isEmpty())
        return {};
    ClipReaderWorker *worker = workerFor(m_videoWorkers, path);
    Nv12Frame frame;
    QMetaObject::invokeMethod(
        worker, [&] { frame = worker->decodeVideoNv12(sourceUs, maxWidth, maxHeight); },
        Qt::BlockingQueuedConnection);
    worker->requestPrefetchNv12(maxWidth, maxHeight, readAheadUs());
    return frame;
}

int ClipReaderPool::decodeAudio(const QString &path, TimeUs sourceStartUs, int sampleCount, int sampleRate,
                                float *out)
{
    if (path.isEmpty() || !out || sampleCount < 1)
        return 0;
    ClipReaderWorker *worker = workerFor(m_audioWorkers, path);
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
        if (request.path.isEmpty())
            continue;
        ClipReaderWorker *worker = workerFor(m_videoWorkers, request.path);
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
            workerFor(m_videoWorkers, path);
    }
    for (const QString &path : audioPaths) {
        if (!path.isEmpty())
            workerFor(m_audioWorkers, path);
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

ClipReaderWorker *ClipReaderPool::videoWorker(const QString &path) const
{
    QMutexLocker lock(&m_mutex);
    auto it = m_videoWorkers.find(path);
    return it == m_videoWorkers.end() ? nullptr : it->second.worker;
}

ClipReaderWorker *ClipReaderPool::audioWorker(const QString &path) const
{
    QMutexLocker lock(&m_mutex);
    auto it = m_audioWorkers.find(path);
    return it == m_audioWorkers.end() ? nullptr : it->second.worker;
}

int ClipReaderPool::workerCount() const
{
    QMutexLocker lock(&m_mutex);
    return int(m_videoWorkers.size() + m_audioWorkers.size());
}

} // namespace orvel
