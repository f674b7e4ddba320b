// The splits. All cut through the same core; a split never lands on a clip's first instant.
#include "core/controller/AppController.h"

#include <QSet>

namespace {

// Whether a timeline time lies strictly inside a clip: [start, end) but not the start itself.
bool cutsInside(const orvel::Clip &clip, orvel::TimeUs atUs)
{
    return atUs > clip.timelineStartUs && atUs < clip.timelineEndUs();
}

} // namespace

// Splits one clip and every linked partner at a timeline time. The right halves are appended to
// their tracks and share one new link id. Returns false, changing nothing, when the clip itself
// cannot be cut there.
bool AppController::splitWithPartners(int trackIndex, int clipIndex, orvel::TimeUs atUs)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip || !cutsInside(*clip, atUs))
        return false;
    orvel::Clip left;
    orvel::Clip right;
    if (!orvel::splitClipCore(*clip, atUs - clip->timelineStartUs, left, right))
        return false;
    const QString freshLinkId = clip->linkId.isEmpty() ? QString() : orvel::newUuid();
    const QList<orvel::ClipRef> partners = orvel::linkedClips(m_project, trackIndex, clipIndex);
    right.linkId = freshLinkId;
    m_project.tracks[trackIndex].clips[clipIndex] = left;
    m_project.tracks[trackIndex].clips.append(right);
    for (const orvel::ClipRef &ref : partners) {
        const orvel::Clip partner = m_project.tracks[ref.track].clips[ref.clip];
        orvel::Clip partnerLeft;
        orvel::Clip partnerRight;
        if (!cutsInside(partner, atUs) ||
            !orvel::splitClipCore(partner, atUs - partner.timelineStartUs, partnerLeft, partnerRight))
            continue;
        partnerRight.linkId = freshLinkId;
        m_project.tracks[ref.track].clips[ref.clip] = partnerLeft;
        m_project.tracks[ref.track].clips.append(partnerRight);
    }
    return true;
}

void AppController::splitAtPlayhead()
{
    const orvel::Project before = m_project;
    QSet<QString> handledLinks;
    bool splitAny = false;
    for (int t = 0; t < m_project.tracks.size(); ++t) {
        const int clipCount = int(m_project.tracks[t].clips.size());
        for (int c = 0; c < clipCount; ++c) {
            const QString linkId = clipAt(t, c)->linkId;
            if (!linkId.isEmpty() && handledLinks.contains(linkId))
                continue;
            if (!splitWithPartners(t, c, m_playheadUs))
                continue;
            splitAny = true;
            if (!linkId.isEmpty())
                handledLinks.insert(linkId);
        }
    }
    if (!splitAny) {
        setLastMessage(tr("Nothing to split here — move to a clip first"));
        return;
    }
    commitEdit(before, tr("Split at current time"), tr("Split at current time"));
}

void AppController::splitClipAt(int trackIndex, int clipIndex, double seconds)
{
    if (!validClip(trackIndex, clipIndex))
        return;
    const orvel::Project before = m_project;
    if (!splitWithPartners(trackIndex, clipIndex, orvel::secondsToUs(seconds)))
        return;
    commitEdit(before, tr("Split clip"), tr("Split clip"));
}

// Cuts one clip (not its partners) and keeps one side in the clip's place.
void AppController::splitKeepingOneSide(int trackIndex, int clipIndex, orvel::TimeUs atUs, bool keepRight)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip || !cutsInside(*clip, atUs))
        return;
    orvel::Clip left;
    orvel::Clip right;
    if (!orvel::splitClipCore(*clip, atUs - clip->timelineStartUs, left, right))
        return;
    const orvel::Project before = m_project;
    m_project.tracks[trackIndex].clips[clipIndex] = keepRight ? right : left;
    const QString text = keepRight ? tr("Split left") : tr("Split right");
    commitEdit(before, text, text);
}

void AppController::splitClipLeftAt(int trackIndex, int clipIndex, double seconds)
{
    splitKeepingOneSide(trackIndex, clipIndex, orvel::secondsToUs(seconds), true);
}

void AppController::splitClipRightAt(int trackIndex, int clipIndex, double seconds)
{
    splitKeepingOneSide(trackIndex, clipIndex, orvel::secondsToUs(seconds), false);
}

void AppController::alignSelectedClipLeft()
{
    splitKeepingOneSide(m_selectedTrack, m_selectedClip, m_playheadUs, true);
}

void AppController::alignSelectedClipRight()
{
    splitKeepingOneSide(m_selectedTrack, m_selectedClip, m_playheadUs, false);
}
