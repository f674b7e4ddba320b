#pragma once

#include "core/document/model/Project.h"
#include "render/scene/FrameCompositor.h"
#include "render/gl/GpuFrameTexture.h"

#include <QObject>

#include <memory>

namespace orvel {

// Lives on the compositor's own thread and draws one preview frame per call from an immutable
// copy of the project.
class CompositorWorker : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

public slots:
    void composite(orvel::TimeUs timeUs, orvel::FrameCompositor::RenderOptions options,
                   std::shared_ptr<const orvel::Project> snapshot);

signals:
    void frameReady(orvel::GpuFrameTexture frame, orvel::TimeUs timeUs);

protected:
    // The drawing of one frame; a subclass may stand in for the GPU, as the service tests do.
    virtual GpuFrameTexture renderFrame(const Project &project, TimeUs timeUs,
                                        const FrameCompositor::RenderOptions &options);

private:
    // Kept until the next call, so whatever the frame still refers to stays alive meanwhile.
    std::shared_ptr<const Project> m_snapshot;
};

} // namespace orvel
