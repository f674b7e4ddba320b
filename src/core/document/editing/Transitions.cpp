#include "core/document/editing/Transitions.h"

#include "core/document/editing/TimelineNormalise.h"

#include <algorithm>

namespace orvel {

bool trackTakesTransitions(TrackType type)
{
    return type == TrackType::video || type == TrackType::shape;
}

int findTransitionById(const Track &track, const QString &transitionId)
{
    for (int i = 0; i < track.transitions.size(); ++i)
        if (track.transitions[i].id == transitionId)
            return i;
    return -1;
}

int findTransitionBetween(const Track &track, const QString &fromClipId, const QString &toClipId)
{
    for (int i = 0; i < track.transitions.size(); ++i) {
        const Transition &transition = track.transitions[i];
        if (transition.fromClipId == fromClipId && transition.toClipId == toClipId)
            return i;
    }
    return -1;
}

int transitionPartnerIndex(const Track &track, int clipIndex)
{
    if (clipIndex < 0 || clipIndex >= track.clips.size())
        return -1;
    const Clip &left = track.clips[clipIndex];
    // Clips later in start order; one starting at the same time counts when it comes later in
    // the list, so two clips stacked at one start still have a defined order.
    int best = -1;
    for (int i = 0; i < track.clips.size(); ++i) {
        if (i == clipIndex)
            continue;
        const Clip &candidate = track.clips[i];
        const bool later = candidate.timelineStartUs > left.timelineStartUs ||
                           (candidate.timelineStartUs == left.timelineStartUs && i > clipIndex);
        if (!later || !adjacent(left, candidate))
            continue;
        if (best < 0 || candidate.timelineStartUs < track.clips[best].timelineStartUs)
            best = i;
    }
    return best;
}

TimeUs newTransitionDurationUs(const Clip &left, const Clip &right, TimeUs requestedUs)
{
    const TimeUs overlapUs = overlapLengthUs(left, right);
    if (overlapUs > 0)
        return overlapUs;
    return std::max(requestedUs, kMinTransitionUs);
}

bool applyTransitionDuration(Track &track, int transitionIndex, TimeUs requestedUs, int *movedClipIndex)
{
    if (movedClipIndex)
        *movedClipIndex = -1;
    if (transitionIndex < 0 || transitionIndex >= track.transitions.size())
        return false;
    Transition &transition = track.transitions[transitionIndex];
    const Clip *left = clipById(std::as_const(track), transition.fromClipId);
    const Clip *right = clipById(std::as_const(track), transition.toClipId);
    if (!left || !right)
        return false;
    TimeUs durationUs = std::max(requestedUs, kMinTransitionUs);
    if (overlaps(*left, *right)) {
        // Keep a sliver of each clip outside the overlap so neither disappears into it.
        const TimeUs shorterUs = std::min(left->timelineDurationUs, right->timelineDurationUs);
        const TimeUs limitUs = std::max(shorterUs - 50000, kMinTransitionUs);
        durationUs = std::max(std::min(durationUs, limitUs), kMinTransitionUs);
        const TimeUs newStartUs = left->timelineEndUs() - durationUs;
        const int rightIndex = int(right - track.clips.constData());
        if (track.clips[rightIndex].timelineStartUs != newStartUs) {
            track.clips[rightIndex].timelineStartUs = newStartUs;
            if (movedClipIndex)
                *movedClipIndex = rightIndex;
        }
    }
    transition.durationUs = durationUs;
    return true;
}

std::optional<TransitionWindow> transitionWindow(const Clip &left, const Clip &right, TimeUs durationUs)
{
    if (right.timelineStartUs >= left.timelineStartUs && right.timelineStartUs < left.timelineEndUs())
        return TransitionWindow{right.timelineStartUs, left.timelineEndUs()};
    if (durationUs > 0) {
        const TimeUs halfUs = durationUs / 2;
        return TransitionWindow{left.timelineEndUs() - halfUs, left.timelineEndUs() + halfUs};
    }
    return std::nullopt;
}

double transitionProgress(const TransitionWindow &window, TimeUs t)
{
    const TimeUs spanUs = window.endUs - window.startUs;
    if (spanUs <= 0)
        return t < window.startUs ? 0.0 : 1.0;
    return std::clamp(double(t - window.startUs) / double(spanUs), 0.0, 1.0);
}

TransitionWeights transitionWeights(const QString &kind, double progress)
{
    const double p = std::clamp(progress, 0.0, 1.0);
    if (kind == QLatin1String("hold"))
        return {1.0, 1.0};
    if (kind == QLatin1String("dip")) {
        if (p < 0.5)
            return {1.0 - 2.0 * p, 0.0};
        return {0.0, 2.0 * p - 1.0};
    }
    return {1.0 - p, p};
}

} // namespace orvel
