#pragma once

#include "core/document/model/Project.h"
#include "core/document/model/Types.h"

#include <QImage>
#include <QList>

namespace orvel {

// The clip's picture at timeline time t with its recent frames laid under it, for a clip that
// carries the echo effect; the plain picture for one that does not. `maxFrames` below 0 means
// no limit. Null when there is no picture at t or the echo package is not installed.
QImage echoImage(const Clip &clip, TimeUs t, int width, int height, double fps, int maxFrames);

// Newest frame first. On the GPU when it can, else with QPainter; null for an empty list.
QImage blendEchoFrames(const QList<QImage> &frames, double decay, int mode);
// The QPainter blend alone. Unlike the GPU blend, the weight also dims colour in add and screen.
QImage blendEchoFramesOnCpu(const QList<QImage> &frames, double decay, int mode);

} // namespace orvel
