#pragma once

#include "core/document/model/Project.h"
#include "core/document/model/Types.h"
#include "render/scene/GpuScene.h"

#include <QImage>
#include <QList>
#include <QString>

namespace orvel {

// One RGBA frame through a libavfilter graph description that reads from "[in]" and writes to
// "[out]". Any failure gives the input back; the graph is built for this one frame only.
QImage runFilterGraph(const QImage &image, const QString &graph);

// The effect chain of one clip on an image, outside the compositor: shader effects through the
// GPU executor, instances unknown to the catalog through libavfilter by their own name, each
// batch flushed before the other kind so the order is kept.
QImage applyEffectChain(const QImage &image, const QList<EffectInstance> &effects, TimeUs timeUs,
                        const QList<FaceDetection> &faces);

} // namespace orvel
