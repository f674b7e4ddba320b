#include "core/document/editing/TimelineNormalise.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace orvel {

namespace {

// What normalising one track would change, worked out without writing, so a track that is
// already normal is never detached from the snapshots that share it.
struct NormalisePlan
{
    QList<std::pair<int, TimeUs>> durationUpdates; // transition index, new duration
    QList<Transition> additions;
    QList<int> removals; // transition indices, descending

    bool isEmpty() const { return durationUpdates.isEmpty() && additions.isEmpty() && removals.isEmpty(); }
};

int transitionIndexBetween(const Track &track, const QString &fromId, const QString &toId)
{
    for (int i = 0; i < track.transitions.size(); ++i) {
        const Transition &transition = track.transitions[i];
        if (transition.fromClipId == fromId && transition.toClipId == toId)
            return i;
    }
    return -1;
}

void planCrossfades(const Track &track, NormalisePlan &plan)
{
    QList<int> order(track.clips.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&track](int a, int b) {
        return track.clips[a].timelineStartUs < track.clips[b].timelineStartUs;
    });
    for (int i = 0; i + 1 < order.size(); ++i) {
        const Clip &left = track.clips[order[i]];
        const Clip &right = track.clips[order[i + 1]];
        const TimeUs overlapUs = overlapLengthUs(left, right);
        if (overlapUs < kAutoCrossfadeThresholdUs)
            continue;
        const int existing = transitionIndexBetween(track, left.id, right.id);
        if (existing >= 0) {
            if (track.transitions[existing].durationUs != overlapUs)
                plan.durationUpdates.append({existing, overlapUs});
            continue;
        }
        Transition crossfade;
        crossfade.id = newUuid();
        crossfade.fromClipId = left.id;
        crossfade.toClipId = right.id;
        crossfade.kind = QStringLiteral("crossfade");
        crossfade.durationUs = overlapUs;
        plan.additions.append(crossfade);
    }
}

// Crossfades added or updated above join overlapping clips, which always pass the touching test,
// so pruning can be judged on the transitions as they are now.
void planPruning(const Track &track, NormalisePlan &plan)
{
    for (int i = int(track.transitions.size()) - 1; i >= 0; --i) {
        const Transition &transition = track.transitions[i];
        const Clip *from = clipById(track, transition.fromClipId);
        const Clip *to = clipById(track, transition.toClipId);
        if (!from || !to || !adjacent(*from, *to))
            plan.removals.append(i);
    }
}

NormalisePlan planTrack(const Track &track)
{
    NormalisePlan plan;
    if (track.type != TrackType::video && track.type != TrackType::shape)
        return plan;
    planCrossfades(track, plan);
    planPruning(track, plan);
    return plan;
}

void applyPlan(Track &track, const NormalisePlan &plan)
{
    QList<Transition> &transitions = track.transitions;
    for (const auto &[index, durationUs] : plan.durationUpdates)
        transitions[index].durationUs = durationUs;
    for (int index : plan.removals)
        transitions.removeAt(index);
    transitions.append(plan.additions);
}

} // namespace

void normaliseTrack(Track &track)
{
    const NormalisePlan plan = planTrack(std::as_const(track));
    if (!plan.isEmpty())
        applyPlan(track, plan);
}

void normaliseTimeline(Project &project)
{
    for (int i = 0; i < project.tracks.size(); ++i) {
        const NormalisePlan plan = planTrack(std::as_const(project.tracks)[i]);
        if (!plan.isEmpty())
            applyPlan(project.tracks[i], plan);
    }
}

} // namespace orvel
