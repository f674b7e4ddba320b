#pragma once

#include <QMetaType>
#include <QSize>

#include <cstdint>

namespace orvel {

// A composited frame on its way to the screen: the GL name of a texture that lives in one of
// the runtime's presentation framebuffers, and its size. It does not own the texture.
struct GpuFrameTexture
{
    uint32_t textureId = 0;
    QSize size;

    bool isNull() const { return textureId == 0 || size.isEmpty(); }
    friend bool operator==(const GpuFrameTexture &, const GpuFrameTexture &) = default;
};

} // namespace orvel

Q_DECLARE_METATYPE(orvel::GpuFrameTexture)
