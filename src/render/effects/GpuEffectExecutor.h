#pragma once

#include "catalog/EffectPackage.h"
#include "core/document/model/Types.h"

#include <QImage>
#include <QList>
#include <QString>
#include <QVariantMap>

namespace orvel {

// Shader effects on a QImage, for callers outside the compositor (the blurred background,
// thumbnails). Every call blocks on a GL job, so what it is given may live on the caller's stack.
class GpuEffectExecutor
{
public:
    struct ChainStep
    {
        QString id; // keys the compiled programs and names the effect in messages
        const EffectPipeline *pipeline = nullptr;
        QVariantMap params; // merged
    };

    static GpuEffectExecutor &instance();

    // The image through each step in order; a step that fails leaves the picture as it was.
    // RGBA8888 of the input's size, or the input unchanged when nothing could run.
    QImage applyChain(const QImage &image, const QList<ChainStep> &steps, TimeUs timeUs);
    // The echo frames (newest first) blended oldest to newest; null when GL cannot do it.
    QImage blendTimeEcho(const QList<QImage> &frames, double decay, int blendMode);

private:
    GpuEffectExecutor() = default;
};

} // namespace orvel
