#pragma once

#include "core/document/model/Project.h"
#include "render/scene/GpuScene.h"
#include "render/text/TextAnim.h"

#include <QList>

namespace orvel {

struct SceneContext;

// The picture builder of text and subtitle clips. The layer comes with the clip's rectangle,
// opacity and effects; this paints the clip's text (or the subtitle cue showing at t) into that
// rectangle and lets the text animation move, scale, fade and blur the result. False when the
// clip shows nothing at t: no text, no cue or an empty one.
bool textClipPicture(const Clip &clip, TimeUs t, double scale, GpuLayer &layer);

// Moves, scales and fades a finished layer by an animation state; a blur beyond half a pixel
// becomes one more effect on the layer.
void applyTextAnimState(GpuLayer &layer, const TextAnimState &state);

// A text clip whose animation moves unit by unit: one entry for each painted piece.
QList<GpuSceneEntry> unitTextEntries(const SceneContext &context, const Clip &clip, TimeUs t);

} // namespace orvel
