// Undo entries, the refresh that follows every committed edit, and what follows undo and redo.
#include "core/controller/AppController.h"

#include "core/ProjectSnapshotCommand.h"
#include "core/document/editing/TimelineNormalise.h"

bool AppController::validClip(int trackIndex, int clipIndex) const
{
    return clipAt(trackIndex, clipIndex) != nullptr;
}

const orvel::Clip *AppController::clipAt(int trackIndex, int clipIndex) const
{
    if (trackIndex < 0 || trackIndex >= m_project.tracks.size())
        return nullptr;
    const QList<orvel::Clip> &clips = m_project.tracks[trackIndex].clips;
    if (clipIndex < 0 || clipIndex >= clips.size())
        return nullptr;
    return &clips[clipIndex];
}

orvel::SnapContext AppController::snapContext() const
{
    return orvel::SnapContext{m_snapEnabled, m_playheadUs, m_beatSnapUs};
}

orvel::TimeUs AppController::snapUs(orvel::TimeUs t) const
{
    return orvel::snapTimeUs(m_project, snapContext(), t);
}

double AppController::snapTime(double seconds) const
{
    return orvel::usToSeconds(snapUs(orvel::secondsToUs(seconds)));
}

// The live project has already been mutated; `before` is the state the edit started from. The
// entry's "after" is taken before normalising, so undo and redo restore exactly what was pushed.
void AppController::commitEdit(const orvel::Project &before, const QString &undoText, const QString &message)
{
    m_undoStack.push(new orvel::ProjectSnapshotCommand(&m_project, before, m_project, undoText));
    refreshAfterEdit(message);
}

void AppController::refreshAfterEdit(const QString &message)
{
    orvel::normaliseTimeline(m_project);
    pruneSelection();
    emit tracksChanged();
    emit selectionChanged();
    emit selectedClipDataChanged();
    if (message != m_lastMessage) {
        m_lastMessage = message;
        emit lastMessageChanged();
    }
}

void AppController::afterUndoIndexChanged()
{
    syncAssetLibraryWithProject();
    emit undoStackChanged();
    pruneSelection();
    setDirty(true);
    emit tracksChanged();
    emit bookmarksChanged();
    emit projectNameChanged();
    emit selectionChanged();
    emit backgroundChanged();
}

// The refresh of live drag writes: no normalising and no undo entry, just the new picture.
void AppController::lightRefresh()
{
    emit tracksChanged();
}

// Linked partners follow the timing of the clip at (trackIndex, clipIndex).
void AppController::syncLinkedPartners(int trackIndex, int clipIndex)
{
    const orvel::Clip *source = clipAt(trackIndex, clipIndex);
    if (!source)
        return;
    const orvel::Clip timing = *source;
    for (const orvel::ClipRef &partner : orvel::linkedClips(m_project, trackIndex, clipIndex))
        orvel::copyTiming(timing, m_project.tracks[partner.track].clips[partner.clip]);
}
