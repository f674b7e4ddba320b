// Operations on the selection: delete, duplicate, the clipboard, nudge, merge, and the audio of
// linked pairs.
#include "core/controller/AppController.h"

#include "core/document/editing/ClipMerging.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>

namespace {

// Removes the given clips; transitions that name any of them go too.
void removeClips(orvel::Project &project, const QList<orvel::ClipRef> &refs)
{
    QSet<QString> removedIds;
    QList<orvel::ClipRef> ordered = refs;
    std::sort(ordered.begin(), ordered.end(), [](const orvel::ClipRef &a, const orvel::ClipRef &b) {
        return a.track != b.track ? a.track < b.track : a.clip > b.clip;
    });
    for (const orvel::ClipRef &ref : ordered) {
        QList<orvel::Clip> &clips = project.tracks[ref.track].clips;
        removedIds.insert(clips[ref.clip].id);
        clips.removeAt(ref.clip);
    }
    const auto namesRemoved = [&removedIds](const orvel::Transition &transition) {
        return removedIds.contains(transition.fromClipId) || removedIds.contains(transition.toClipId);
    };
    for (int t = 0; t < project.tracks.size(); ++t) {
        const QList<orvel::Transition> &view = std::as_const(project.tracks)[t].transitions;
        if (std::any_of(view.begin(), view.end(), namesRemoved))
            project.tracks[t].transitions.removeIf(namesRemoved);
    }
}

// Where a pasted record goes: the first track of its own type that takes the clip, else a new
// track of that type at the top.
int pasteTargetTrack(orvel::Project &project, orvel::TrackType trackType, orvel::ClipType clipType)
{
    if (!orvel::trackAcceptsClipType(trackType, clipType))
        trackType = orvel::homeTrackType(clipType);
    for (int t = 0; t < project.tracks.size(); ++t)
        if (project.tracks[t].type == trackType)
            return t;
    orvel::Track track;
    track.type = trackType;
    return orvel::insertTrackAt(project, 0, track);
}

// Copies must not pull the originals along when moved: each link id among the copies becomes a
// fresh one, shared only by the copies that shared the old one. A copy whose partners stayed
// behind is not linked at all.
void relinkCopies(QList<orvel::Clip> &copies)
{
    QHash<QString, int> uses;
    for (const orvel::Clip &copy : std::as_const(copies))
        if (!copy.linkId.isEmpty())
            ++uses[copy.linkId];
    QHash<QString, QString> fresh;
    for (orvel::Clip &copy : copies) {
        if (copy.linkId.isEmpty())
            continue;
        if (uses.value(copy.linkId) < 2) {
            copy.linkId.clear();
            continue;
        }
        auto it = fresh.find(copy.linkId);
        if (it == fresh.end())
            it = fresh.insert(copy.linkId, orvel::newUuid());
        copy.linkId = it.value();
    }
}

} // namespace

void AppController::deleteSelectedClip()
{
    QList<orvel::ClipRef> targets;
    for (const orvel::ClipRef &ref : effectiveSelection())
        appendWithPartners(targets, ref.track, ref.clip);
    if (targets.isEmpty())
        return;
    const orvel::Project before = m_project;
    removeClips(m_project, targets);
    m_selection.clear();
    m_selectedTrack = -1;
    m_selectedClip = -1;
    commitEdit(before, tr("Clip deleted"), tr("Clip deleted"));
}

void AppController::duplicateSelectedClip()
{
    const orvel::Clip *original = clipAt(m_selectedTrack, m_selectedClip);
    if (!original)
        return;
    orvel::Clip copy = *original;
    copy.id = orvel::newUuid();
    copy.linkId.clear(); // its partners are not duplicated with it
    copy.timelineStartUs = orvel::resolvePlacementUs(m_project, snapContext(), m_selectedTrack,
                                                     original->timelineEndUs(), copy.timelineDurationUs);
    const orvel::Project before = m_project;
    const int trackIndex = m_selectedTrack;
    m_project.tracks[trackIndex].clips.append(copy);
    setSelectionRefs({orvel::ClipRef{trackIndex, int(m_project.tracks[trackIndex].clips.size()) - 1}});
    commitEdit(before, tr("Clip duplicated"), tr("Clip duplicated"));
}

void AppController::copySelection()
{
    const QList<orvel::ClipRef> refs = effectiveSelection();
    if (refs.isEmpty())
        return;
    m_clipboard.clear();
    for (const orvel::ClipRef &ref : refs)
        m_clipboard.append(ClipboardEntry{*clipAt(ref.track, ref.clip), m_project.tracks[ref.track].type});
}

void AppController::cutSelection()
{
    copySelection();
    deleteSelectedClip();
}

void AppController::pasteAtPlayhead()
{
    if (m_clipboard.isEmpty())
        return;
    orvel::TimeUs earliestUs = m_clipboard.first().clip.timelineStartUs;
    for (const ClipboardEntry &entry : std::as_const(m_clipboard))
        earliestUs = std::min(earliestUs, entry.clip.timelineStartUs);
    const orvel::TimeUs shiftUs = m_playheadUs - earliestUs;

    QList<orvel::Clip> copies;
    for (const ClipboardEntry &entry : std::as_const(m_clipboard)) {
        orvel::Clip copy = entry.clip;
        copy.id = orvel::newUuid();
        copy.timelineStartUs = std::max<orvel::TimeUs>(copy.timelineStartUs + shiftUs, 0);
        copies.append(copy);
    }
    relinkCopies(copies);

    const orvel::Project before = m_project;
    QStringList pastedIds;
    for (qsizetype i = 0; i < copies.size(); ++i) {
        const int target = pasteTargetTrack(m_project, m_clipboard[i].trackType, copies[i].type);
        m_project.tracks[target].clips.append(copies[i]);
        pastedIds.append(copies[i].id);
    }
    // Tracks may have been inserted above earlier targets, so the new clips are found by id.
    QList<orvel::ClipRef> pasted;
    for (const QString &id : std::as_const(pastedIds)) {
        for (int t = 0; t < m_project.tracks.size(); ++t) {
            const QList<orvel::Clip> &clips = std::as_const(m_project.tracks)[t].clips;
            for (int c = 0; c < clips.size(); ++c)
                if (clips[c].id == id)
                    pasted.append(orvel::ClipRef{t, c});
        }
    }
    setSelectionRefs(pasted);
    commitEdit(before, tr("Paste"), tr("Pasted %1 clip(s)").arg(pastedIds.size()));
}

void AppController::nudgeSelection(double deltaSeconds)
{
    if (!(std::abs(deltaSeconds) >= 1e-12))
        return;
    const QList<orvel::ClipRef> refs = effectiveSelection();
    if (refs.isEmpty())
        return;
    const orvel::TimeUs deltaUs = orvel::secondsToUs(deltaSeconds);
    const orvel::Project before = m_project;
    for (const orvel::ClipRef &ref : refs) {
        orvel::Clip &clip = m_project.tracks[ref.track].clips[ref.clip];
        clip.timelineStartUs = std::max<orvel::TimeUs>(clip.timelineStartUs + deltaUs, 0);
    }
    commitEdit(before, tr("Nudge selection"), tr("Selection nudged"));
}

void AppController::mergeSelectedClips()
{
    const QList<orvel::MergePair> pairs = orvel::mergePairs(m_project, effectiveSelection());
    if (pairs.isEmpty())
        return;
    const orvel::Project before = m_project;
    QList<orvel::ClipRef> merged;
    for (const orvel::MergePair &pair : pairs) {
        QList<orvel::Clip> &clips = m_project.tracks[pair.first.track].clips;
        const orvel::Clip joined = orvel::mergedClip(clips[pair.first.clip], clips[pair.second.clip]);
        const int lower = std::min(pair.first.clip, pair.second.clip);
        clips[lower] = joined;
        clips.removeAt(std::max(pair.first.clip, pair.second.clip));
        merged.append(orvel::ClipRef{pair.first.track, lower});
    }
    // The primary clip's track ends the list, so its merged clip stays primary.
    std::stable_partition(merged.begin(), merged.end(),
                          [this](const orvel::ClipRef &ref) { return ref.track != m_selectedTrack; });
    setSelectionRefs(merged);
    commitEdit(before, tr("Clips merged"), tr("Clips merged"));
}

void AppController::separateAudioFromSelection()
{
    QList<orvel::ClipRef> eligible;
    for (const orvel::ClipRef &ref : effectiveSelection())
        if (clipHasSeparableAudio(*clipAt(ref.track, ref.clip)))
            eligible.append(ref);
    if (eligible.isEmpty())
        return;
    const orvel::Project before = m_project;
    const int audioTrack = orvel::ensureTrackForClipType(m_project, orvel::ClipType::audio, false);
    for (const orvel::ClipRef &ref : std::as_const(eligible)) {
        const orvel::Clip audio = orvel::separateAudioClip(m_project.tracks[ref.track].clips[ref.clip]);
        m_project.tracks[audioTrack].clips.append(audio);
    }
    commitEdit(before, tr("Audio separated"), tr("Audio separated"));
}

void AppController::unlinkSelectedClips()
{
    if (!canUnlinkSelection())
        return;
    QList<orvel::ClipRef> targets;
    for (const orvel::ClipRef &ref : effectiveSelection())
        appendWithPartners(targets, ref.track, ref.clip);
    const orvel::Project before = m_project;
    for (const orvel::ClipRef &ref : std::as_const(targets))
        m_project.tracks[ref.track].clips[ref.clip].linkId.clear();
    commitEdit(before, tr("Clips unlinked"), tr("Audio unlinked"));
}
