#include "core/document/editing/ClipMerging.h"

#include "core/document/editing/ClipEditing.h"

#include <QMap>

#include <algorithm>

namespace orvel {

namespace {

const Clip &mergeClipAt(const Project &project, const ClipRef &ref)
{
    return project.tracks[ref.track].clips[ref.clip];
}

// One track's merge from one or two selected clips of that track.
bool trackMergePair(const Project &project, const QList<ClipRef> &refs, MergePair &pair)
{
    const QList<Clip> &clips = project.tracks[refs.first().track].clips;
    const ClipRef a = refs.first();
    if (refs.size() == 1) {
        for (int c = 0; c < clips.size(); ++c) {
            if (c != a.clip && clipsMergeable(clips[a.clip], clips[c])) {
                pair = MergePair{a, ClipRef{a.track, c}};
                return true;
            }
        }
        return false;
    }
    const ClipRef b = refs[1];
    if (a.clip == b.clip)
        return false;
    const bool inOrder = clips[a.clip].timelineStartUs <= clips[b.clip].timelineStartUs;
    pair = inOrder ? MergePair{a, b} : MergePair{b, a};
    return clipsMergeable(clips[pair.first.clip], clips[pair.second.clip]);
}

bool shareOneLink(const Project &project, const QList<MergePair> &pairs, bool firsts)
{
    const auto linkOf = [&](const MergePair &pair) {
        return mergeClipAt(project, firsts ? pair.first : pair.second).linkId;
    };
    const QString link = linkOf(pairs.first());
    return !link.isEmpty() && std::all_of(pairs.cbegin(), pairs.cend(),
                                          [&](const MergePair &pair) { return linkOf(pair) == link; });
}

} // namespace

QList<MergePair> mergePairs(const Project &project, const QList<ClipRef> &selection)
{
    QMap<int, QList<ClipRef>> byTrack;
    for (const ClipRef &ref : selection) {
        if (ref.track < 0 || ref.track >= project.tracks.size() || ref.clip < 0 ||
            ref.clip >= project.tracks[ref.track].clips.size())
            return {};
        byTrack[ref.track].append(ref);
    }
    if (byTrack.isEmpty())
        return {};
    const qsizetype perTrack = byTrack.first().size();
    QList<MergePair> pairs;
    for (const QList<ClipRef> &refs : std::as_const(byTrack)) {
        MergePair pair;
        if (refs.size() != perTrack || perTrack > 2 || !trackMergePair(project, refs, pair))
            return {};
        pairs.append(pair);
    }
    if (pairs.size() > 1 && !(shareOneLink(project, pairs, true) && shareOneLink(project, pairs, false)))
        return {};
    return pairs;
}

} // namespace orvel
