#pragma once

#include "core/document/model/Project.h"
#include "render/scene/FrameCompositor.h"
#include "render/gl/GpuFrameTexture.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <memory>

class QThread;

namespace orvel {

class CompositorWorker;

// The preview's way to frames: one composite at a time on a thread of its own, the newest
// waiting request replacing older ones, and a resolution that drops when frames come back late
// and recovers when they keep up. Lives on the UI thread, where all its methods are called.
class CompositorService : public QObject
{
    Q_OBJECT
public:
    explicit CompositorService(QObject *parent = nullptr);
    // Takes ownership of `worker`, which must have no parent; for tools and tests that draw
    // differently.
    explicit CompositorService(CompositorWorker *worker, QObject *parent = nullptr);
    ~CompositorService() override;

    // The live project, only ever read here and copied for the worker.
    void setProject(const Project *project);
    // The project changed: the next composite works from a fresh copy.
    void invalidateSnapshot();
    // Adaptive resolution, on for fast playback; a change starts again from full scale.
    void setAdaptive(bool enabled);

    void requestFrame(TimeUs timeUs, const FrameCompositor::RenderOptions &options);

    bool isBusy() const { return m_busy.load(); }
    double adaptiveScale() const { return m_adaptiveScale; }

signals:
    void frameReady(orvel::GpuFrameTexture frame);
    void compositeFinished();

public slots:
    void onWorkerFrameReady(orvel::GpuFrameTexture frame, orvel::TimeUs timeUs);

private:
    void start(CompositorWorker *worker);
    void adapt(bool late);
    void dispatch(TimeUs timeUs, const FrameCompositor::RenderOptions &options);
    void rememberDispatched(TimeUs timeUs, const FrameCompositor::RenderOptions &options);

    QThread *m_thread = nullptr;
    CompositorWorker *m_worker = nullptr;

    const Project *m_project = nullptr;
    std::shared_ptr<const Project> m_snapshot;
    quint32 m_snapshotRevision = 0;
    quint32 m_projectRevision = 0;
    std::atomic<bool> m_busy{false};

    // The newest request, waiting while a composite is in flight.
    TimeUs m_latestTimeUs = 0;
    int m_latestPercent = 100;
    int32_t m_latestEchoLimit = -1;
    TimeUs m_latestReadAheadUs = 0;

    // What went to the worker last, so that a repeat of it is not drawn twice.
    TimeUs m_lastTimeUs = -1;
    double m_lastScale = 1.0;
    int32_t m_lastEchoLimit = -1;
    TimeUs m_lastReadAheadUs = 0;
    QString m_lastExcludedClipId;
    quint32 m_lastProjectRevision = 0;

    int m_lateStreak = 0;
    int m_onTimeStreak = 0;
    double m_adaptiveScale = 1.0;
    bool m_adaptiveEnabled = true;
};

} // namespace orvel
