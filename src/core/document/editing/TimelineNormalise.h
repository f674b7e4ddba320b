#pragma once

#include "core/document/model/Project.h"

namespace orvel {

// Overlaps shorter than this are taken as an imprecise drop, not as a wish for a crossfade.
inline constexpr TimeUs kAutoCrossfadeThresholdUs = 50000;
inline constexpr TimeUs kMinTransitionUs = 100000;

// Brings the transitions of video and shape tracks in line with their clips: every overlap of
// at least the threshold gets (or updates) a crossfade of exactly the overlap, and a transition
// whose clips are gone or no longer touch is removed. Runs after every committed edit.
void normaliseTimeline(Project &project);
void normaliseTrack(Track &track);

} // namespace orvel
