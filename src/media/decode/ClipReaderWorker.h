#pragma once

#include "core/document/model/Types.h"
#include "media/decode/ClipReader.h"
#include "media/frames/Nv12Frame.h"

#include <QImage>
#include <QMutex>
#include <QObject>

#include <atomic>

namespace orvel {

// Owns one ClipReader and lives on its own thread. Every slot holds the worker's mutex for the
// whole call, so calling a slot directly from another thread is safe too; the pool calls them
// with blocking queued calls.
class ClipReaderWorker : public QObject
{
    Q_OBJECT

public:
    explicit ClipReaderWorker(QObject *parent = nullptr);

    // Posts one prefetchNextVideoNv12 unless one is queued already; the compare-and-set on the
    // flag keeps the worker's event queue from filling up.
    void requestPrefetchNv12(int maxWidth, int maxHeight, TimeUs readAheadUs);
    bool prefetchQueued() const { return m_prefetchQueued.load(); }

    // Runs fn on the reader under the worker's mutex, for inspection and diagnostics.
    template <typename Fn> auto withReader(Fn fn)
    {
        QMutexLocker lock(&m_mutex);
        return fn(m_reader);
    }

public slots:
    bool openPath(const QString &path);
    void closePath();
    QImage decodeVideo(orvel::TimeUs sourceUs, int maxWidth, int maxHeight);
    orvel::Nv12Frame decodeVideoNv12(orvel::TimeUs sourceUs, int maxWidth, int maxHeight);
    int decodeAudio(orvel::TimeUs sourceStartUs, int sampleCount, int outputSampleRate,
                    float *interleavedStereoOut);
    void prefetchNextVideo(int maxWidth, int maxHeight);
    void prefetchNextVideoNv12(int maxWidth, int maxHeight, orvel::TimeUs readAheadUs);

private:
    QMutex m_mutex;
    ClipReader m_reader;
    std::atomic_bool m_prefetchQueued{false};
};

} // namespace orvel
