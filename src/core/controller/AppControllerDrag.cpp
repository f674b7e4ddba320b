// Drag transactions: a gesture writes live into the project many times and leaves one undo
// entry. beginPreviewDrag keeps the state the gesture started from; commit pushes it as
// "before", cancel puts it back.
#include "core/controller/AppController.h"

#include "core/EditValues.h"
#include "core/ProjectSnapshotCommand.h"
#include "core/document/animation/ClipProperties.h"
#include "core/document/timing/ClipTiming.h"
#include "core/document/json/ProjectJson.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

bool isNumber(const QVariant &value)
{
    switch (value.metaType().id()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}

// Only numbers can be keyed; anything else an effect takes (a colour, a choice) is stored as is.
bool writeEffectValue(orvel::EffectInstance &effect, const QString &key, const QVariant &value,
                      orvel::TimeUs localUs, bool autoKey)
{
    if (!isNumber(value)) {
        effect.parameters.insert(key, value);
        return true;
    }
    return orvel::writeEffectParameter(effect, key, localUs, value.toDouble(), autoKey, false);
}

orvel::TimeUs localTimeFloored(const orvel::Clip &clip, double atSeconds)
{
    return std::max<orvel::TimeUs>(orvel::secondsToUs(atSeconds) - clip.timelineStartUs, 0);
}

} // namespace

void AppController::beginPreviewDrag(const QString &undoText)
{
    m_dragBase = m_project;
    m_dragUndoText = undoText.isEmpty() ? tr("Edit clip") : undoText;
    if (!m_dragActive) {
        m_dragActive = true;
        emit dragActiveChanged();
    }
}

void AppController::commitPreviewDrag()
{
    if (!m_dragActive)
        return;
    m_dragActive = false;
    const orvel::Project before = std::exchange(m_dragBase, orvel::Project());
    emit dragActiveChanged();
    commitEdit(before, m_dragUndoText, m_dragUndoText);
}

void AppController::cancelPreviewDrag()
{
    if (!m_dragActive)
        return;
    // Files imported while the gesture was open stay in the library, as they do on undo.
    m_project = orvel::snapshotKeepingAssets(std::exchange(m_dragBase, orvel::Project()), m_project);
    m_dragActive = false;
    emit dragActiveChanged();
    // Edits made while the gesture was open (a paste, a duplicate) may have selected clips that
    // the restored document does not have.
    pruneSelection();
    lightRefresh();
    emit selectionChanged();
}

void AppController::ensureTransaction(const QString &undoText)
{
    if (!m_dragActive)
        beginPreviewDrag(undoText);
}

// The pattern of every live write: work on a copy of the clip, and only when the mutation
// accepts, open the transaction if needed, store it and show it.
template <typename Mutator>
void AppController::previewEditClip(int trackIndex, int clipIndex, const QString &undoText, Mutator mutate)
{
    const orvel::Clip *current = clipAt(trackIndex, clipIndex);
    if (!current)
        return;
    orvel::Clip edited = *current;
    if (!mutate(edited))
        return;
    ensureTransaction(undoText);
    m_project.tracks[trackIndex].clips[clipIndex] = edited;
    lightRefresh();
}

// Keyed writes of transform values at the playhead. Either all of them write or none does; a
// refusal is reported by transformBlocked and opens no transaction.
bool AppController::previewKeyedWrite(int trackIndex, int clipIndex, const QString &undoText,
                                      const QString &refusal, const QList<std::pair<QString, double>> &values,
                                      int textPixelSize)
{
    bool wrote = false;
    previewEditClip(trackIndex, clipIndex, undoText, [&](orvel::Clip &clip) {
        const orvel::TimeUs localUs = orvel::clipLocalTimeUs(clip, m_playheadUs);
        for (const auto &[name, value] : values) {
            if (!orvel::writeClipProperty(clip, name, localUs, value, m_autoKeyEnabled, false)) {
                emit transformBlocked(refusal);
                return false;
            }
        }
        if (textPixelSize > 0)
            clip.textStyle.pixelSize = textPixelSize;
        wrote = true;
        return true;
    });
    return wrote;
}

void AppController::previewSetClipPosition(int trackIndex, int clipIndex, double xPixels, double yPixels)
{
    previewKeyedWrite(trackIndex, clipIndex, tr("Move clip"), tr("Turn on Auto keyframes to move this"),
                      {{QStringLiteral("x"), xPixels}, {QStringLiteral("y"), yPixels}});
}

void AppController::previewSetClipSize(int trackIndex, int clipIndex, double widthPixels, double heightPixels)
{
    previewKeyedWrite(trackIndex, clipIndex, tr("Resize clip"), tr("Turn on Auto keyframes to resize this"),
                      {{QStringLiteral("width"), std::max(widthPixels, 1.0)},
                       {QStringLiteral("height"), std::max(heightPixels, 1.0)}});
}

void AppController::previewSetClipRect(int trackIndex, int clipIndex, double x, double y, double w, double h)
{
    previewKeyedWrite(trackIndex, clipIndex, tr("Transform clip"),
                      tr("Turn on Auto keyframes to change this"),
                      {{QStringLiteral("x"), x},
                       {QStringLiteral("y"), y},
                       {QStringLiteral("width"), std::max(w, 1.0)},
                       {QStringLiteral("height"), std::max(h, 1.0)}});
}

void AppController::previewSetTextRect(int trackIndex, int clipIndex, double x, double y, double w, double h,
                                       int pixelSize)
{
    previewKeyedWrite(trackIndex, clipIndex, tr("Resize text"), tr("Turn on Auto keyframes to change this"),
                      {{QStringLiteral("x"), x},
                       {QStringLiteral("y"), y},
                       {QStringLiteral("width"), std::max(w, 1.0)},
                       {QStringLiteral("height"), std::max(h, 1.0)}},
                      std::max(pixelSize, 1));
}

void AppController::previewSetClipRotation(int trackIndex, int clipIndex, double degrees)
{
    previewKeyedWrite(trackIndex, clipIndex, tr("Rotate clip"), tr("Turn on Auto keyframes to rotate this"),
                      {{QStringLiteral("rotation"), degrees}});
}

void AppController::previewSetClipKeyframe(int trackIndex, int clipIndex, const QString &prop,
                                           double atSeconds, double value)
{
    previewEditClip(trackIndex, clipIndex, tr("Edit keyframe"), [&](orvel::Clip &clip) {
        if (!isClipPropertyName(clip, prop))
            return false;
        // Effect parameters go through their own rule, which also keeps the static value.
        if (!orvel::writeClipProperty(clip, prop, localTimeFloored(clip, atSeconds), value, m_autoKeyEnabled,
                                      false)) {
            emit transformBlocked(tr("Turn on Auto keyframes to edit this"));
            return false;
        }
        return true;
    });
}

void AppController::previewMoveClipKeyframe(int trackIndex, int clipIndex, const QString &prop,
                                            double fromSeconds, double toSeconds, double value)
{
    previewEditClip(trackIndex, clipIndex, tr("Move keyframe"), [&](orvel::Clip &clip) {
        orvel::AnimatedProperty *property = orvel::clipProperty(clip, prop, true);
        if (!property)
            return false;
        // The key keeps its shape (hold, corner, handles) as it moves; only its time and value
        // change.
        std::optional<orvel::Keyframe> shape;
        if (const auto moving = orvel::nearestKeyTime(*property, localTimeFloored(clip, fromSeconds)))
            shape = property->keyframes.take(*moving);
        const orvel::TimeUs toUs = localTimeFloored(clip, toSeconds);
        orvel::setAt(*property, toUs, value);
        if (shape) {
            orvel::Keyframe &landed =
                property->keyframes[*orvel::nearestKeyTime(*property, toUs, orvel::kKeyframeSameTimeUs)];
            shape->value = landed.value;
            landed = *shape;
        }
        return true;
    });
}

void AppController::previewSetEffectParam(int trackIndex, int clipIndex, int effectIndex, const QString &key,
                                          const QVariant &value)
{
    previewEditClip(trackIndex, clipIndex, tr("Edit effect"), [&](orvel::Clip &clip) {
        if (effectIndex < 0 || effectIndex >= clip.effects.size())
            return false;
        return writeEffectValue(clip.effects[effectIndex], key, value,
                                orvel::clipLocalTimeUs(clip, m_playheadUs), m_autoKeyEnabled);
    });
}

void AppController::previewSetAudioEffectParam(int trackIndex, int clipIndex, int effectIndex,
                                               const QString &key, const QVariant &value)
{
    previewEditClip(trackIndex, clipIndex, tr("Edit audio effect"), [&](orvel::Clip &clip) {
        if (effectIndex < 0 || effectIndex >= clip.audioEffects.size())
            return false;
        clip.audioEffects[effectIndex].parameters.insert(key, value);
        return true;
    });
}

void AppController::previewSetClipSpeed(int trackIndex, int clipIndex, double speed)
{
    previewEditClip(trackIndex, clipIndex, tr("Speed changed"), [&](orvel::Clip &clip) {
        if (clip.type != orvel::ClipType::video && clip.type != orvel::ClipType::audio)
            return false;
        clip.speed = std::clamp(speed, orvel::kConstantSpeedMin, orvel::kConstantSpeedMax);
        orvel::applySpeedDurationRule(m_project, clip);
        return true;
    });
}

void AppController::previewSetClipMask(int trackIndex, int clipIndex, const QVariantMap &mask)
{
    previewEditClip(trackIndex, clipIndex, tr("Mask changed"), [&](orvel::Clip &clip) {
        clip.mask = orvel::clipMaskFromJson(orvel::jsonWithChanges(orvel::clipMaskToJson(clip.mask), mask));
        return true;
    });
}

void AppController::previewSetClipFade(int trackIndex, int clipIndex, double fadeInSeconds,
                                       double fadeOutSeconds)
{
    previewEditClip(trackIndex, clipIndex, tr("Adjust fade"), [&](orvel::Clip &clip) {
        orvel::applyFades(clip, orvel::secondsToUs(fadeInSeconds), orvel::secondsToUs(fadeOutSeconds));
        return true;
    });
}

void AppController::previewSetClipTextContent(int trackIndex, int clipIndex, const QString &text)
{
    previewEditClip(trackIndex, clipIndex, tr("Edit text"), [&](orvel::Clip &clip) {
        clip.textContent = text;
        return true;
    });
}

// Cues come as maps with the JSON key names; the clip reader sorts and sanitises them.
void AppController::previewSetSubtitleCues(int trackIndex, int clipIndex, const QVariantList &cues)
{
    previewEditClip(trackIndex, clipIndex, tr("Adjust subtitle timing"), [&](orvel::Clip &clip) {
        const QJsonObject holder{{QStringLiteral("subtitleCues"), QJsonArray::fromVariantList(cues)}};
        clip.subtitleCues = orvel::clipFromJson(holder, m_project.width, m_project.height).subtitleCues;
        return true;
    });
}

void AppController::previewSetTransitionParam(int trackIndex, const QString &transitionId, const QString &key,
                                              const QVariant &value)
{
    if (trackIndex < 0 || trackIndex >= m_project.tracks.size())
        return;
    const QList<orvel::Transition> &transitions = m_project.tracks[trackIndex].transitions;
    const auto found = std::find_if(transitions.begin(), transitions.end(),
                                    [&](const orvel::Transition &t) { return t.id == transitionId; });
    if (found == transitions.end())
        return;
    const int index = int(found - transitions.begin());
    ensureTransaction(tr("Edit transition"));
    m_project.tracks[trackIndex].transitions[index].parameters.insert(key, value);
    lightRefresh();
}
