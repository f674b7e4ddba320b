// Transitions between neighbouring clips of video and shape tracks.
#include "core/controller/AppController.h"

#include "catalog/TransitionCatalog.h"
#include "core/bridge/BridgeMaps.h"
#include "core/controller/ParameterMaps.h"
#include "core/document/editing/ClipEditing.h"
#include "core/document/editing/Transitions.h"

namespace {

// A kind no transition package provides becomes the plain crossfade, which always draws.
QString knownTransitionKind(const QString &kind)
{
    const QString trimmed = kind.trimmed();
    return orvel::TransitionCatalog::instance().find(trimmed) ? trimmed : QStringLiteral("crossfade");
}

// Only an empty word falls back: a project may name a kind from an addon that is not installed
// here, and keeping the word lets it come back once the addon is.
QString transitionKindOrDefault(const QString &kind)
{
    const QString trimmed = kind.trimmed();
    return trimmed.isEmpty() ? QStringLiteral("crossfade") : trimmed;
}

} // namespace

bool AppController::validTrack(int trackIndex) const
{
    return trackIndex >= 0 && trackIndex < m_project.tracks.size();
}

template <typename Mutator>
void AppController::editTransition(int trackIndex, const QString &transitionId, const QString &undoText,
                                   const QString &message, Mutator mutate)
{
    if (!validTrack(trackIndex))
        return;
    const int index = orvel::findTransitionById(std::as_const(m_project.tracks)[trackIndex], transitionId);
    if (index < 0)
        return;
    const orvel::Project before = m_project;
    if (!mutate(m_project.tracks[trackIndex], index)) {
        m_project = before;
        return;
    }
    commitEdit(before, undoText, message);
}

void AppController::addTransition(int trackIndex, int clipIndex, const QString &kind, double durationSeconds)
{
    if (!validClip(trackIndex, clipIndex) ||
        !orvel::trackTakesTransitions(std::as_const(m_project.tracks)[trackIndex].type))
        return;
    const orvel::Track &track = std::as_const(m_project.tracks)[trackIndex];
    const int partner = orvel::transitionPartnerIndex(track, clipIndex);
    if (partner < 0)
        return;
    const orvel::Clip &left = track.clips[clipIndex];
    const orvel::Clip &right = track.clips[partner];
    const orvel::TimeUs durationUs =
        orvel::newTransitionDurationUs(left, right, orvel::secondsToUs(durationSeconds));
    const int existing = orvel::findTransitionBetween(track, left.id, right.id);
    const QString fromId = left.id;
    const QString toId = right.id;

    const orvel::Project before = m_project;
    QList<orvel::Transition> &transitions = m_project.tracks[trackIndex].transitions;
    if (existing >= 0) {
        transitions[existing].kind = knownTransitionKind(kind);
        transitions[existing].parameters.clear();
    } else {
        orvel::Transition transition;
        transition.id = orvel::newUuid();
        transition.fromClipId = fromId;
        transition.toClipId = toId;
        transition.kind = knownTransitionKind(kind);
        transition.durationUs = durationUs;
        transitions.append(transition);
    }
    m_selectedTransitionTrack = trackIndex;
    m_selectedTransitionLeftClip = clipIndex;
    if (existing >= 0)
        commitEdit(before, tr("Replace transition"), tr("Transition updated"));
    else
        commitEdit(before, tr("Add transition"), tr("Transition added"));
}

void AppController::removeTransition(int trackIndex, const QString &transitionId)
{
    editTransition(trackIndex, transitionId, tr("Remove transition"), tr("Transition removed"),
                   [](orvel::Track &track, int index) {
                       track.transitions.removeAt(index);
                       return true;
                   });
}

void AppController::setTransitionDuration(int trackIndex, const QString &transitionId, double durationSeconds)
{
    if (!validTrack(trackIndex))
        return;
    const int index = orvel::findTransitionById(std::as_const(m_project.tracks)[trackIndex], transitionId);
    if (index < 0)
        return;
    const orvel::Project before = m_project;
    int movedClip = -1;
    if (!orvel::applyTransitionDuration(m_project.tracks[trackIndex], index,
                                        orvel::secondsToUs(durationSeconds), &movedClip)) {
        m_project = before;
        return;
    }
    // A moved clip takes its linked partner (the audio of a video clip) along.
    if (movedClip >= 0)
        syncLinkedPartners(trackIndex, movedClip);
    commitEdit(before, tr("Transition duration"), tr("Transition duration updated"));
}

void AppController::setTransitionKind(int trackIndex, const QString &transitionId, const QString &kind)
{
    editTransition(trackIndex, transitionId, tr("Transition kind"), tr("Transition kind updated"),
                   [&](orvel::Track &track, int index) {
                       track.transitions[index].kind = transitionKindOrDefault(kind);
                       return true;
                   });
}

void AppController::setTransitionParam(int trackIndex, const QString &transitionId, const QString &key,
                                       const QVariant &value)
{
    editTransition(trackIndex, transitionId, tr("Edit transition"), tr("Transition updated"),
                   [&](orvel::Track &track, int index) {
                       track.transitions[index].parameters.insert(key, value);
                       return true;
                   });
}

QVariantMap AppController::transitionBetweenClips(int trackIndex, int clipIndex) const
{
    const orvel::Clip *left = clipAt(trackIndex, clipIndex);
    if (!left)
        return {};
    const orvel::Track &track = m_project.tracks[trackIndex];
    int index = -1;
    const int partner = orvel::transitionPartnerIndex(track, clipIndex);
    if (partner >= 0)
        index = orvel::findTransitionBetween(track, left->id, track.clips[partner].id);
    for (int i = 0; index < 0 && i < track.transitions.size(); ++i)
        if (track.transitions[i].fromClipId == left->id)
            index = i;
    return index < 0 ? QVariantMap() : orvel::transitionToMap(track, track.transitions[index]);
}

QVariantMap AppController::selectedTransitionData() const
{
    return transitionBetweenClips(m_selectedTransitionTrack, m_selectedTransitionLeftClip);
}

QVariantList AppController::transitionKinds() const
{
    QVariantList list;
    for (const orvel::TransitionDescriptor &descriptor : orvel::TransitionCatalog::instance().all()) {
        list.append(QVariantMap{{"kind", descriptor.id},
                                {"label", descriptor.displayName},
                                {"category", descriptor.category},
                                {"previewStripPath", descriptor.previewStripPath},
                                {"previewFrames", descriptor.previewFrames},
                                {"params", orvel::parameterMaps(descriptor.parameters)}});
    }
    return list;
}

QVariantList AppController::transitionCategories() const
{
    QVariantList list;
    for (const auto &[id, label] : orvel::TransitionCatalog::instance().categories())
        list.append(QVariantMap{{"id", id}, {"label", label}});
    return list;
}
