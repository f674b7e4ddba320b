// Edits of one clip: moves, trims, timing setters and the plain field writers.
#include "core/controller/AppController.h"

#include "core/EditValues.h"
#include "core/ProjectSnapshotCommand.h"
#include "core/TextStylePatch.h"
#include "core/document/model/EnumStrings.h"
#include "core/document/json/ProjectJson.h"
#include "core/document/editing/TimelineNormalise.h"

#include <algorithm>

void AppController::moveClip(int trackIndex, int clipIndex, double newStart)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip)
        return;
    const orvel::TimeUs deltaUs = orvel::secondsToUs(newStart) - clip->timelineStartUs;
    const QList<orvel::ClipRef> moved = selectionContains(trackIndex, clipIndex)
                                            ? effectiveSelection()
                                            : QList<orvel::ClipRef>{orvel::ClipRef{trackIndex, clipIndex}};
    const orvel::Project before = m_project;
    for (const orvel::ClipRef &ref : moved) {
        orvel::Clip &target = m_project.tracks[ref.track].clips[ref.clip];
        target.timelineStartUs = std::max<orvel::TimeUs>(target.timelineStartUs + deltaUs, 0);
    }
    for (const orvel::ClipRef &ref : moved)
        syncLinkedPartners(ref.track, ref.clip);
    commitEdit(before, tr("Clip moved"), tr("Clip moved"));
}

void AppController::moveClipToTrack(int trackIndex, int clipIndex, int newTrackIndex, double newStart)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip || newTrackIndex < 0 || newTrackIndex >= m_project.tracks.size())
        return;
    if (!orvel::trackAcceptsClipType(m_project.tracks[newTrackIndex].type, clip->type))
        return;
    orvel::Clip moving = *clip;
    const orvel::Project before = m_project;
    m_project.tracks[trackIndex].clips.removeAt(clipIndex);
    QList<orvel::ClipRef> kept;
    for (orvel::ClipRef ref : std::as_const(m_selection)) {
        if (ref.track == trackIndex && ref.clip == clipIndex)
            continue;
        if (ref.track == trackIndex && ref.clip > clipIndex)
            --ref.clip;
        kept.append(ref);
    }
    m_selection = kept;
    moving.timelineStartUs = orvel::resolvePlacementUs(
        m_project, snapContext(), newTrackIndex, orvel::secondsToUs(newStart), moving.timelineDurationUs);
    m_project.tracks[newTrackIndex].clips.append(moving);
    const int newClipIndex = int(m_project.tracks[newTrackIndex].clips.size()) - 1;
    syncLinkedPartners(newTrackIndex, newClipIndex);
    setSelectionRefs({orvel::ClipRef{newTrackIndex, newClipIndex}});
    commitEdit(before, tr("Clip moved"), tr("Clip moved"));
}

// Trims run on every mouse move: they write straight into the live project, with no entry and
// no dirty flag; the next undoable edit's snapshot carries the result.
void AppController::trimClipLeft(int trackIndex, int clipIndex, double newStart)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip)
        return;
    orvel::Clip edited = *clip;
    if (!orvel::trimLeftEdge(m_project, edited, snapUs(orvel::secondsToUs(newStart))))
        return;
    commitTrim(trackIndex, clipIndex, edited, QStringLiteral("left"));
}

void AppController::trimClipRight(int trackIndex, int clipIndex, double newEnd)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip)
        return;
    orvel::Clip edited = *clip;
    if (!orvel::trimRightEdge(m_project, edited, snapUs(orvel::secondsToUs(newEnd))))
        return;
    commitTrim(trackIndex, clipIndex, edited, QStringLiteral("right"));
}

// The timeline calls a trim on every mouse move and says nothing when the gesture ends. Each
// move pushes an entry keyed by clip and edge, and the stack merges consecutive moves of the same
// edge into the first one, so the gesture leaves one undo step and marks the document changed.
// No message: a toast per mouse move would be noise.
void AppController::commitTrim(int trackIndex, int clipIndex, const orvel::Clip &edited, const QString &edge)
{
    const orvel::Project before = m_project;
    m_project.tracks[trackIndex].clips[clipIndex] = edited;
    syncLinkedPartners(trackIndex, clipIndex);
    const QString mergeKey = QStringLiteral("trim:%1:%2").arg(edited.id, edge);
    m_undoStack.push(
        new orvel::ProjectSnapshotCommand(&m_project, before, m_project, tr("Trim clip"), mergeKey));
    orvel::normaliseTimeline(m_project);
    emit tracksChanged();
}

void AppController::setClipStart(int trackIndex, int clipIndex, double start)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip)
        return;
    const orvel::TimeUs startUs = std::max<orvel::TimeUs>(orvel::secondsToUs(start), 0);
    const orvel::TimeUs deltaUs = startUs - clip->timelineStartUs;
    const orvel::Project before = m_project;
    QList<orvel::Clip> &clips = m_project.tracks[trackIndex].clips;
    clips[clipIndex].timelineStartUs = startUs;
    if (m_rippleEnabled && deltaUs != 0) {
        for (int c = clipIndex + 1; c < clips.size(); ++c)
            clips[c].timelineStartUs = std::max<orvel::TimeUs>(clips[c].timelineStartUs + deltaUs, 0);
    }
    commitEdit(before, tr("Start updated"), tr("Start updated"));
}

void AppController::setClipDuration(int trackIndex, int clipIndex, double duration)
{
    commitClipEdit(trackIndex, clipIndex, tr("Duration updated"), tr("Duration updated"),
                   [&](orvel::Clip &clip) {
                       orvel::applyWantedDuration(m_project, clip, orvel::secondsToUs(duration));
                       if (orvel::isGeneratedClip(clip.type)) {
                           clip.srcInUs = 0;
                           clip.srcOutUs = std::min(clip.timelineDurationUs, orvel::kGeneratedClipMaxUs);
                       }
                       return true;
                   });
}

void AppController::setClipTrim(int trackIndex, int clipIndex, double inPoint, double outPoint)
{
    commitClipEdit(trackIndex, clipIndex, tr("Trim updated"), tr("Trim updated"), [&](orvel::Clip &clip) {
        orvel::applySourceTrim(m_project, clip, orvel::secondsToUs(inPoint), orvel::secondsToUs(outPoint));
        return true;
    });
}

void AppController::setClipFade(int trackIndex, int clipIndex, double fadeInSeconds, double fadeOutSeconds)
{
    commitClipEdit(trackIndex, clipIndex, tr("Fade updated"), tr("Fade updated"), [&](orvel::Clip &clip) {
        orvel::applyFades(clip, orvel::secondsToUs(fadeInSeconds), orvel::secondsToUs(fadeOutSeconds));
        return true;
    });
}

void AppController::setClipFadeCurve(int trackIndex, int clipIndex, const QString &curve)
{
    commitClipEdit(trackIndex, clipIndex, tr("Fade curve changed"), tr("Fade curve updated"),
                   [&](orvel::Clip &clip) {
                       clip.fadeCurve = orvel::fadeCurveFromName(curve);
                       return true;
                   });
}

void AppController::setClipBlendMode(int trackIndex, int clipIndex, const QString &mode)
{
    commitClipEdit(trackIndex, clipIndex, tr("Blend mode changed"), tr("Blend mode updated"),
                   [&](orvel::Clip &clip) {
                       clip.blendMode = orvel::blendModeFromName(mode);
                       return true;
                   });
}

void AppController::setClipFlip(int trackIndex, int clipIndex, bool flipH, bool flipV)
{
    commitClipEdit(trackIndex, clipIndex, tr("Flip changed"), tr("Clip flip updated"),
                   [&](orvel::Clip &clip) {
                       clip.flipH = flipH;
                       clip.flipV = flipV;
                       return true;
                   });
}

void AppController::setClipMask(int trackIndex, int clipIndex, const QVariantMap &mask)
{
    commitClipEdit(
        trackIndex, clipIndex, tr("Mask changed"), tr("Clip mask updated"), [&](orvel::Clip &clip) {
            clip.mask =
                orvel::clipMaskFromJson(orvel::jsonWithChanges(orvel::clipMaskToJson(clip.mask), mask));
            return true;
        });
}

void AppController::setShapeStyle(int trackIndex, int clipIndex, const QVariantMap &style)
{
    commitClipEdit(trackIndex, clipIndex, tr("Shape style changed"), tr("Shape style updated"),
                   [&](orvel::Clip &clip) {
                       clip.shapeStyle = orvel::shapeStyleFromJson(
                           orvel::jsonWithChanges(orvel::shapeStyleToJson(clip.shapeStyle), style));
                       return true;
                   });
}

void AppController::setTextStyle(int trackIndex, int clipIndex, const QVariantMap &style)
{
    commitClipEdit(trackIndex, clipIndex, tr("Edit text style"), tr("Text style updated"),
                   [&](orvel::Clip &clip) {
                       const orvel::TextStyle patched = orvel::textStyleWithPatch(clip.textStyle, style);
                       // A patch whose every key was refused leaves no undo entry behind.
                       if (orvel::textStyleToJson(patched) == orvel::textStyleToJson(clip.textStyle))
                           return false;
                       clip.textStyle = patched;
                       return true;
                   });
}

void AppController::setClipTextContent(int trackIndex, int clipIndex, const QString &text)
{
    commitClipEdit(trackIndex, clipIndex, tr("Text updated"), tr("Text updated"), [&](orvel::Clip &clip) {
        clip.textContent = text;
        return true;
    });
}

void AppController::resetClipTransform(int trackIndex, int clipIndex)
{
    commitClipEdit(trackIndex, clipIndex, tr("Reset transform"), tr("Transform reset"),
                   [](orvel::Clip &clip) {
                       clip.x = orvel::AnimatedProperty();
                       clip.y = orvel::AnimatedProperty();
                       clip.width = orvel::AnimatedProperty();
                       clip.height = orvel::AnimatedProperty();
                       clip.rotation = orvel::AnimatedProperty();
                       return true;
                   });
}

void AppController::setClipRotationSnap(int trackIndex, int clipIndex, double degrees)
{
    const QString message = tr("Rotation set to %1").arg(degrees);
    commitClipEdit(trackIndex, clipIndex, tr("Rotation snapped"), message, [&](orvel::Clip &clip) {
        const orvel::TimeUs localUs = orvel::clipLocalTimeUs(clip, m_playheadUs);
        if (orvel::keyedWrite(clip.rotation, localUs, degrees, m_autoKeyEnabled, false))
            return true;
        emit transformBlocked(tr("Turn on Auto keyframes to rotate this"));
        return false;
    });
}
