#include "render/compositor/CompositorService.h"

#include "render/compositor/CompositorWorker.h"

#include <QThread>

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

// A frame this far behind the newest request came too late to be worth showing.
constexpr TimeUs kLateUs = 100'000;
constexpr int kLateStreakToShrink = 2;
constexpr int kOnTimeStreakToGrow = 8;
constexpr double kShrinkFactor = 0.75;
constexpr double kGrowFactor = 1.15;
constexpr double kMinAdaptiveScale = 0.25;

} // namespace

CompositorService::CompositorService(QObject *parent) : CompositorService(new CompositorWorker, parent) {}

CompositorService::CompositorService(CompositorWorker *worker, QObject *parent) : QObject(parent)
{
    qRegisterMetaType<GpuFrameTexture>("orvel::GpuFrameTexture");
    qRegisterMetaType<TimeUs>("orvel::TimeUs");
    qRegisterMetaType<FrameCompositor::RenderOptions>("orvel::FrameCompositor::RenderOptions");
    start(worker);
}

void CompositorService::start(CompositorWorker *worker)
{
    m_thread = new QThread(this);
    m_thread->setObjectName(QStringLiteral("Compositor"));
    m_worker = worker;
    m_worker->moveToThread(m_thread);
    connect(m_worker, &CompositorWorker::frameReady, this, &CompositorService::onWorkerFrameReady,
            Qt::QueuedConnection);
    m_thread->start(QThread::InheritPriority);
}

CompositorService::~CompositorService()
{
    // A composite in flight is finished, not cancelled: the worker may be inside the GL thread.
    m_thread->quit();
    m_thread->wait();
    delete m_worker;
}

void CompositorService::setProject(const Project *project)
{
    ++m_projectRevision;
    m_project = project;
    m_snapshot.reset();
}

void CompositorService::invalidateSnapshot()
{
    ++m_projectRevision;
    m_snapshot.reset();
}

void CompositorService::setAdaptive(bool enabled)
{
    if (enabled == m_adaptiveEnabled)
        return;
    m_adaptiveEnabled = enabled;
    m_adaptiveScale = 1.0;
    m_lateStreak = 0;
}

void CompositorService::requestFrame(TimeUs timeUs, const FrameCompositor::RenderOptions &options)
{
    const double asked = FrameCompositor::clampScale(options.previewScale);
    FrameCompositor::RenderOptions effective = options;
    effective.previewScale = FrameCompositor::clampScale(asked * m_adaptiveScale);
    m_latestTimeUs = timeUs;
    m_latestPercent = std::clamp(int(std::lround(effective.previewScale * 100.0)), 10, 100);
    m_latestEchoLimit = options.maxEchoFrames;
    m_latestReadAheadUs = options.readAheadUs;
    // While a composite is in flight this request lives on only as the latest values above.
    if (m_busy.exchange(true))
        return;
    rememberDispatched(timeUs, effective);
    dispatch(timeUs, effective);
}

void CompositorService::rememberDispatched(TimeUs timeUs, const FrameCompositor::RenderOptions &options)
{
    m_lastTimeUs = timeUs;
    m_lastScale = options.previewScale;
    m_lastEchoLimit = options.maxEchoFrames;
    m_lastReadAheadUs = options.readAheadUs;
    m_lastExcludedClipId = options.excludedClipId;
    m_lastProjectRevision = m_projectRevision;
}

void CompositorService::dispatch(TimeUs timeUs, const FrameCompositor::RenderOptions &options)
{
    if (!m_project) {
        // Nothing to draw; staying busy would refuse every request after a project is set.
        m_busy.store(false);
        return;
    }
    if (!m_snapshot || m_snapshotRevision != m_projectRevision) {
        // A value copy: the UI thread goes on editing the live project while the worker reads.
        m_snapshot = std::make_shared<const Project>(*m_project);
        m_snapshotRevision = m_projectRevision;
    }
    CompositorWorker *worker = m_worker;
    std::shared_ptr<const Project> snapshot = m_snapshot;
    QMetaObject::invokeMethod(
        worker, [worker, timeUs, options, snapshot] { worker->composite(timeUs, options, snapshot); },
        Qt::QueuedConnection);
}

void CompositorService::adapt(bool late)
{
    if (late) {
        m_onTimeStreak = 0;
        if (++m_lateStreak >= kLateStreakToShrink && m_adaptiveScale > kMinAdaptiveScale + 1e-6) {
            m_adaptiveScale = std::max(m_adaptiveScale * kShrinkFactor, kMinAdaptiveScale);
            m_lateStreak = 0;
        }
        return;
    }
    m_lateStreak = 0;
    if (++m_onTimeStreak >= kOnTimeStreakToGrow && m_adaptiveScale < 1.0 - 1e-6) {
        m_adaptiveScale = std::min(m_adaptiveScale * kGrowFactor, 1.0);
        m_onTimeStreak = 0;
    }
}

void CompositorService::onWorkerFrameReady(GpuFrameTexture frame, TimeUs timeUs)
{
    const TimeUs latestUs = m_latestTimeUs;
    const bool stale = latestUs > timeUs && latestUs - timeUs > kLateUs;
    if (m_adaptiveEnabled)
        adapt(stale);
    // In fast playback a frame well behind the playhead is dropped; without adaptation every
    // frame is shown.
    if ((!stale || !m_adaptiveEnabled) && !frame.isNull())
        emit frameReady(frame);
    m_busy.store(false);

    // A follow-up stands for the newest of the requests that came in while busy; it carries no
    // hidden clip, which belongs to the one paused request that asked for it.
    FrameCompositor::RenderOptions next;
    next.previewScale = m_latestPercent / 100.0;
    next.maxEchoFrames = m_latestEchoLimit;
    next.readAheadUs = m_latestReadAheadUs;
    // A document edit while busy is never a repeat: the frame just drawn shows the old document.
    const bool repeat = latestUs == m_lastTimeUs && next.previewScale == m_lastScale &&
                        next.maxEchoFrames == m_lastEchoLimit && next.readAheadUs == m_lastReadAheadUs &&
                        m_lastProjectRevision == m_projectRevision;
    if (!repeat) {
        rememberDispatched(latestUs, next);
        if (!m_busy.exchange(true))
            dispatch(latestUs, next);
    }
    emit compositeFinished();
}

} // namespace orvel
