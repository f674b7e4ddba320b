#pragma once

#include "core/document/model/Project.h"

#include <QString>

#include <optional>

namespace orvel {

// Transitions join two neighbouring clips of one track. Only video and shape tracks carry them.
bool trackTakesTransitions(TrackType type);

int findTransitionById(const Track &track, const QString &transitionId);
int findTransitionBetween(const Track &track, const QString &fromClipId, const QString &toClipId);

// The clip a transition from clipIndex would lead into: the first clip after it in start order
// that touches or overlaps it. -1 when there is none (or the index is bad).
int transitionPartnerIndex(const Track &track, int clipIndex);

// Length of a new transition between left and right: their overlap when they overlap, else the
// request floored at kMinTransitionUs.
TimeUs newTransitionDurationUs(const Clip &left, const Clip &right, TimeUs requestedUs);

// Sets a transition's duration. On overlapping clips the duration is limited by the shorter clip
// and the right clip moves so that the overlap equals it. Returns the index of the clip that moved,
// or -1 when none did; false return when the transition or its clips are missing.
bool applyTransitionDuration(Track &track, int transitionIndex, TimeUs requestedUs, int *movedClipIndex);

// Where a transition plays on the timeline, end exclusive.
struct TransitionWindow
{
    TimeUs startUs = 0;
    TimeUs endUs = 0;
};

// Overlapping clips: from the right clip's start to the left clip's end. Clips that only touch:
// centred on the cut with the transition's own duration. Otherwise there is no window.
std::optional<TransitionWindow> transitionWindow(const Clip &left, const Clip &right, TimeUs durationUs);

// 0 at the window's start to 1 at its end, clamped.
double transitionProgress(const TransitionWindow &window, TimeUs t);

struct TransitionWeights
{
    double outgoing = 1.0;
    double incoming = 0.0;
};

// How strongly each side shows at progress p: "hold" keeps both whole, "dip" goes out to nothing
// in the first half and in from nothing in the second, every other kind mixes linearly.
TransitionWeights transitionWeights(const QString &kind, double progress);

} // namespace orvel
