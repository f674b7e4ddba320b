#pragma once

#include "core/document/animation/Keyframes.h"

#include <QString>

namespace orvel {

// The named interpolation presets of a single key, and the reverse: which preset a key's current
// handles amount to. Spans are the distances in microseconds from the key to its previous and next
// neighbours, 0 on a side without one.

struct KeySpans
{
    TimeUs previousUs = 0;
    TimeUs nextUs = 0;
};

// Spans of the key at keyTime to its neighbours in the property (0 where there is none).
KeySpans keySpans(const AnimatedProperty &property, TimeUs keyTime);

// "hold" when the key holds; "linear" when all four handles are zero; "ease" when the value
// handles are zero and the time handles reach a third of the way to each neighbour; else "custom".
QString keyframeEasing(const Keyframe &key, KeySpans spans);

// Holds until the next key: hold set, corner cleared, handles zeroed.
void applyHoldPreset(Keyframe &key);
// Flat handles a third of the way to each neighbour, hold and corner cleared.
void applyEasePreset(Keyframe &key, KeySpans spans);
// Straight segments: hold and corner cleared, handles zeroed.
void applyLinearPreset(Keyframe &key);

// Applies "hold", "ease" or (for any other mode) the linear preset to the key at exactly keyTime.
// False when there is no key there.
bool applyInterpolationPreset(AnimatedProperty &property, TimeUs keyTime, const QString &mode);

} // namespace orvel
