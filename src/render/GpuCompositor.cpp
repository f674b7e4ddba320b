#include "render/GpuCompositor.h"

// Interim: the GPU drawing of a scene is being written alongside the scene builder. Until it
// lands every entry point reports "nothing drawn", which callers already treat as GL being
// unavailable (orvel-render refuses --frame, the preview keeps its last frame).

namespace orvel {

QImage GpuCompositor::render(const GpuScene &)
{
    return {};
}

GpuFrameTexture GpuCompositor::renderToTexture(const GpuScene &)
{
    return {};
}

QImage rasterMask(const ClipMask &, int, int)
{
    return {};
}

QPainterPath maskPath(const ClipMask &, int, int)
{
    return {};
}

} // namespace orvel
