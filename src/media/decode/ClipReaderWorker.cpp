#include "media/decode/ClipReaderWorker.h"

namespace orvel {

ClipReaderWorker::ClipReaderWorker(QObject *parent) : QObject(parent) {}

void ClipReaderWorker::requestPrefetchNv12(int maxWidth, int maxHeight, TimeUs readAheadUs)
{
    bool expected = false;
    if (!m_prefetchQueued.compare_exchange_strong(expected, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this, maxWidth, maxHeight, readAheadUs] { prefetchNextVideoNv12(maxWidth, maxHeight, readAheadUs); },
        Qt::QueuedConnection);
}

bool ClipReaderWorker::openPath(const QString &path)
{
    QMutexLocker lock(&m_mutex);
    return m_reader.open(path);
}

void ClipReaderWorker::closePath()
{
    QMutexLocker lock(&m_mutex);
    m_reader.close();
}

QImage ClipReaderWorker::decodeVideo(TimeUs sourceUs, int maxWidth, int maxHeight)
{
    QMutexLocker lock(&m_mutex);
    return m_reader.decodeVideo(sourceUs, maxWidth, maxHeight);
}

Nv12Frame ClipReaderWorker::decodeVideoNv12(TimeUs sourceUs, int maxWidth, int maxHeight)
{
    QMutexLocker lock(&m_mutex);
    return m_reader.decodeVideoNv12(sourceUs, maxWidth, maxHeight);
}

int ClipReaderWorker::decodeAudio(TimeUs sourceStartUs, int sampleCount, int outputSampleRate,
                                  float *interleavedStereoOut)
{
    QMutexLocker lock(&m_mutex);
    return m_reader.decodeAudio(sourceStartUs, sampleCount, outputSampleRate, interleavedStereoOut);
}

void ClipReaderWorker::prefetchNextVideo(int maxWidth, int maxHeight)
{
    QMutexLocker lock(&m_mutex);
    m_reader.prefetchNextVideo(maxWidth, maxHeight);
}

void ClipReaderWorker::prefetchNextVideoNv12(int maxWidth, int maxHeight, TimeUs readAheadUs)
{
    m_prefetchQueued.store(false);
    bool again = false;
    {
        QMutexLocker lock(&m_mutex);
        again = m_reader.prefetchNextVideoNv12(maxWidth, maxHeight, readAheadUs);
    }
    if (again)
        requestPrefetchNv12(maxWidth, maxHeight, readAheadUs);
}

} // namespace orvel
