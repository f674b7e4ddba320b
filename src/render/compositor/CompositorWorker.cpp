#include "render/compositor/CompositorWorker.h"

namespace orvel {

void CompositorWorker::composite(TimeUs timeUs, FrameCompositor::RenderOptions options,
                                 std::shared_ptr<const Project> snapshot)
{
    m_snapshot = std::move(snapshot);
    GpuFrameTexture frame;
    if (m_snapshot)
        frame = renderFrame(*m_snapshot, timeUs, options);
    emit frameReady(frame, timeUs);
}

GpuFrameTexture CompositorWorker::renderFrame(const Project &project, TimeUs timeUs,
                                              const FrameCompositor::RenderOptions &options)
{
    FrameCompositor compositor(&project);
    return compositor.renderToTexture(timeUs, options);
}

} // namespace orvel
