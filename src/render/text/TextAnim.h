#pragma once

#include "core/document/model/Project.h"

#include <QRectF>

namespace orvel {

// How a text animation moves a finished raster at one instant. Offsets are in pixels of the
// scaled canvas; blur is a radius in the same pixels.
struct TextAnimState
{
    double opacity = 1.0;
    double offsetX = 0.0;
    double offsetY = 0.0;
    double scale = 1.0;
    double blur = 0.0;
};

// The whole text of a clip at clip-local time t. `rect` is the raster's rectangle, `scale` the
// canvas scale.
TextAnimState animStateForClip(const Clip &clip, TimeUs t, const QRectF &rect, double scale);
// The same for one subtitle cue: the cue's start and length stand in for the clip's.
TextAnimState animStateForCue(const Clip &clip, const SubtitleCue &cue, TimeUs t, const QRectF &rect,
                              double scale);
// One unit (word, character or line) of unitCount, staggered by the animations' order.
TextAnimState animStateForUnit(const Clip &clip, TimeUs t, int unitIndex, int unitCount, const QRectF &rect,
                               double scale);

// Where a unit stands in the order of entry: 0 enters first.
double textUnitOrderValue(int index, int count, TextAnimOrder order);

// Applies one animation at progress p (0 start, 1 settled) to a state. Entering animations come
// from an offset towards rest; leaving ones go the other way.
void applyTextAnimation(TextAnimState &state, const TextAnimation &anim, double p, bool entering,
                        const QSizeF &size, double scale);

} // namespace orvel
