#pragma once

#include "core/document/model/Project.h"

namespace orvel {

// Moving keyframes when a clip is copied onto a new speed curve, so that each key stays on the
// same source frame. Only applying a custom speed curve does this; ordinary speed changes, trims
// and splits leave keys where they are.

// Where a key at clip-local time keyUs of oldClip lands on newClip: through oldClip's curve (or
// its constant speed) to a source offset, then back through newClip's curve. Each clip's own
// source span is used for its curve.
TimeUs retimedKeyTime(const Clip &oldClip, const Clip &newClip, TimeUs keyUs);

// The property with every key moved by retimedKeyTime. All key fields and enabled are kept. Keys
// that land on the same microsecond collapse to the later one.
AnimatedProperty retimeProperty(const AnimatedProperty &property, const Clip &oldClip, const Clip &newClip);

// Rebuilds every keyed property of newClip (a copy of oldClip with a new curve): the seven members
// and each effect parameter, of video and audio effects alike.
void retimeKeyframes(const Clip &oldClip, Clip &newClip);

} // namespace orvel
