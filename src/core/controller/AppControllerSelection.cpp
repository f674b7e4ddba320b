// The selection: an ordered list of (track, clip) pairs with a primary pair, its pruning after
// every change of the document, and the edit capabilities derived from it.
#include "core/controller/AppController.h"

#include "core/document/editing/ClipMerging.h"

#include <QVariantMap>

#include <algorithm>

QVariantList AppController::selectedClips() const
{
    QVariantList list;
    for (const orvel::ClipRef &ref : m_selection)
        list.append(QVariantMap{{QStringLiteral("track"), ref.track}, {QStringLiteral("clip"), ref.clip}});
    return list;
}

// The clips an operation on "the selection" acts on: the list, or the primary clip alone. Only
// pairs that still name a clip count: QML may ask between a change of the document and the
// pruning that follows it.
QList<orvel::ClipRef> AppController::effectiveSelection() const
{
    QList<orvel::ClipRef> valid;
    for (const orvel::ClipRef &ref : m_selection)
        if (validClip(ref.track, ref.clip))
            valid.append(ref);
    if (!m_selection.isEmpty())
        return valid;
    if (validClip(m_selectedTrack, m_selectedClip))
        return {orvel::ClipRef{m_selectedTrack, m_selectedClip}};
    return {};
}

void AppController::pruneSelection()
{
    QList<orvel::ClipRef> kept;
    for (const orvel::ClipRef &ref : std::as_const(m_selection))
        if (validClip(ref.track, ref.clip) && !kept.contains(ref))
            kept.append(ref);
    m_selection = kept;
    const orvel::ClipRef primary{m_selectedTrack, m_selectedClip};
    if (m_selection.isEmpty()) {
        m_selectedTrack = -1;
        m_selectedClip = -1;
    } else if (!m_selection.contains(primary)) {
        m_selectedTrack = m_selection.last().track;
        m_selectedClip = m_selection.last().clip;
    }
    const orvel::Clip *left = clipAt(m_selectedTransitionTrack, m_selectedTransitionLeftClip);
    if (!left && m_selectedTransitionTrack != -1) {
        m_selectedTransitionTrack = -1;
        m_selectedTransitionLeftClip = -1;
        emit selectedTransitionDataChanged();
    }
}

// Replaces the selection; the last pair becomes primary.
void AppController::setSelectionRefs(const QList<orvel::ClipRef> &refs)
{
    m_selection = refs;
    m_selectedTrack = refs.isEmpty() ? -1 : refs.last().track;
    m_selectedClip = refs.isEmpty() ? -1 : refs.last().clip;
    pruneSelection();
}

void AppController::appendWithPartners(QList<orvel::ClipRef> &refs, int trackIndex, int clipIndex) const
{
    QList<orvel::ClipRef> group{orvel::ClipRef{trackIndex, clipIndex}};
    group.append(orvel::linkedClips(m_project, trackIndex, clipIndex));
    for (const orvel::ClipRef &ref : group)
        if (!refs.contains(ref))
            refs.append(ref);
}

void AppController::selectClip(int trackIndex, int clipIndex)
{
    if (!validClip(trackIndex, clipIndex))
        return;
    QList<orvel::ClipRef> refs;
    appendWithPartners(refs, trackIndex, clipIndex);
    m_selection = refs;
    m_selectedTrack = trackIndex;
    m_selectedClip = clipIndex;
    m_selectedTransitionTrack = -1;
    m_selectedTransitionLeftClip = -1;
    emit selectionChanged();
    emit selectedTransitionDataChanged();
}

void AppController::addToSelection(int trackIndex, int clipIndex)
{
    if (!validClip(trackIndex, clipIndex))
        return;
    appendWithPartners(m_selection, trackIndex, clipIndex);
    m_selectedTrack = trackIndex;
    m_selectedClip = clipIndex;
    emit selectionChanged();
}

void AppController::setSelection(const QVariantList &pairs)
{
    QList<orvel::ClipRef> refs;
    for (const QVariant &pair : pairs) {
        const QVariantMap map = pair.toMap();
        refs.append(orvel::ClipRef{map.value(QStringLiteral("track"), -1).toInt(),
                                   map.value(QStringLiteral("clip"), -1).toInt()});
    }
    setSelectionRefs(refs);
    emit selectionChanged();
}

void AppController::selectAllClips()
{
    QList<orvel::ClipRef> refs;
    for (int t = 0; t < m_project.tracks.size(); ++t)
        for (int c = 0; c < m_project.tracks[t].clips.size(); ++c)
            refs.append(orvel::ClipRef{t, c});
    setSelectionRefs(refs);
    emit selectionChanged();
}

void AppController::clearSelection()
{
    m_selection.clear();
    m_selectedTrack = -1;
    m_selectedClip = -1;
    emit selectionChanged();
}

bool AppController::selectionContains(int trackIndex, int clipIndex) const
{
    return m_selection.contains(orvel::ClipRef{trackIndex, clipIndex});
}

void AppController::selectTransition(int trackIndex, int leftClipIndex)
{
    if (!validClip(trackIndex, leftClipIndex))
        return;
    m_selectedTransitionTrack = trackIndex;
    m_selectedTransitionLeftClip = leftClipIndex;
    emit selectionChanged();
    emit selectedTransitionDataChanged();
}

void AppController::clearTransitionSelection()
{
    m_selectedTransitionTrack = -1;
    m_selectedTransitionLeftClip = -1;
    emit selectionChanged();
    emit selectedTransitionDataChanged();
}

bool AppController::canMergeSelection() const
{
    return !orvel::mergePairs(m_project, effectiveSelection()).isEmpty();
}

bool AppController::clipHasSeparableAudio(const orvel::Clip &clip) const
{
    if (clip.type != orvel::ClipType::video || clip.suppressEmbeddedAudio || clip.path.isEmpty())
        return false;
    const orvel::Asset *asset = m_project.asset(clip.assetId);
    if (!asset)
        return false;
    if (asset->hasAudioKnown)
        return asset->hasAudio;
    // Not probed yet: a record with audio properties has audio; one without counts as silent
    // until the asset library has looked at the file, which it is asked to do now. Its answer
    // arrives as a metadata change, which re-announces the edit capabilities.
    if (asset->channels > 0 || asset->sampleRate > 0)
        return true;
    if (m_assetLibrary)
        m_assetLibrary->ensureAudioPresence(asset->id);
    return false;
}

bool AppController::canSeparateAudioSelection() const
{
    const QList<orvel::ClipRef> refs = effectiveSelection();
    return std::any_of(refs.begin(), refs.end(), [this](const orvel::ClipRef &ref) {
        return clipHasSeparableAudio(*clipAt(ref.track, ref.clip));
    });
}

bool AppController::canUnlinkSelection() const
{
    const QList<orvel::ClipRef> refs = effectiveSelection();
    return std::any_of(refs.begin(), refs.end(), [this](const orvel::ClipRef &ref) {
        return !clipAt(ref.track, ref.clip)->linkId.isEmpty();
    });
}
