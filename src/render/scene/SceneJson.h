#pragma once

#include "render/scene/GpuScene.h"

#include <QJsonObject>

namespace orvel {

// A readable account of a built scene, for checking frames from scripts: sizes, placements,
// opacities and transition progress. Pictures appear only as their pixel sizes.
QJsonObject sceneToJson(const GpuScene &scene);
QJsonObject layerToJson(const GpuLayer &layer);

} // namespace orvel
