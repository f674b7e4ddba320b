// Keyframe slots: setting, removing and shaping single keys, switching a property's animation
// on and off, what the keyframe graph reads, and which properties it hides.
#include "core/controller/AppController.h"

#include "core/document/animation/ClipProperties.h"
#include "core/document/animation/KeyframeEasing.h"

#include <algorithm>
#include <cmath>

namespace {

// Keys live in clip-local time; a time before the clip's start means its first instant.
orvel::TimeUs keyframeLocalUs(const orvel::Clip &clip, double atSeconds)
{
    return std::max<orvel::TimeUs>(orvel::secondsToUs(atSeconds) - clip.timelineStartUs, 0);
}

// Handle offsets keep their fraction of a microsecond: an ease handle is a third of a span, and
// rounding it would turn the key "custom".
double keyframeHandleUs(double seconds)
{
    return std::isfinite(seconds) ? std::clamp(seconds * 1e6, -1e15, 1e15) : 0.0;
}

QVariantMap keyframeMap(const orvel::AnimatedProperty &property, orvel::TimeUs keyUs,
                        orvel::TimeUs clipStartUs)
{
    const orvel::Keyframe key = property.keyframes.value(keyUs);
    return QVariantMap{
        {QStringLiteral("seconds"), orvel::usToSeconds(clipStartUs + keyUs)},
        {QStringLiteral("value"), key.value},
        {QStringLiteral("inDx"), key.inDx / 1e6},
        {QStringLiteral("inDy"), key.inDy},
        {QStringLiteral("outDx"), key.outDx / 1e6},
        {QStringLiteral("outDy"), key.outDy},
        {QStringLiteral("corner"), key.corner},
        {QStringLiteral("hold"), key.hold},
        {QStringLiteral("easing"), orvel::keyframeEasing(key, orvel::keySpans(property, keyUs))},
    };
}

} // namespace

bool AppController::isClipPropertyName(const orvel::Clip &clip, const QString &name)
{
    if (const auto param = orvel::parseEffectParamName(name))
        return param->effectIndex < clip.effects.size();
    return orvel::clipMemberPropertyNames().contains(name);
}

// The ordinary edit of one clip: the mutation works on a copy, and only an accepted change is
// stored, pushed and refreshed.
void AppController::commitClipEdit(int trackIndex, int clipIndex, const QString &undoText,
                                   const QString &message, const std::function<bool(orvel::Clip &)> &mutate)
{
    const orvel::Clip *current = clipAt(trackIndex, clipIndex);
    if (!current)
        return;
    orvel::Clip edited = *current;
    if (!mutate(edited))
        return;
    const orvel::Project before = m_project;
    m_project.tracks[trackIndex].clips[clipIndex] = edited;
    commitEdit(before, undoText, message);
}

void AppController::setClipKeyframe(int trackIndex, int clipIndex, const QString &prop, double atSeconds,
                                    double value)
{
    commitClipEdit(trackIndex, clipIndex, tr("Add keyframe"), tr("Keyframe set"), [&](orvel::Clip &clip) {
        return isClipPropertyName(clip, prop) &&
               orvel::writeClipProperty(clip, prop, keyframeLocalUs(clip, atSeconds), value, m_autoKeyEnabled,
                                        true);
    });
}

void AppController::removeClipKeyframe(int trackIndex, int clipIndex, const QString &prop, double atSeconds)
{
    commitClipEdit(trackIndex, clipIndex, tr("Remove keyframe"), tr("Keyframe removed"),
                   [&](orvel::Clip &clip) {
                       orvel::AnimatedProperty *property = orvel::clipProperty(clip, prop, false);
                       if (!property)
                           return false;
                       const auto keyUs = orvel::nearestKeyTime(*property, keyframeLocalUs(clip, atSeconds));
                       if (!keyUs)
                           return false;
                       property->keyframes.remove(*keyUs);
                       return true;
                   });
}

// Handle offsets arrive in seconds; incoming handles may only point back in time and outgoing
// ones forward. Shaping a key by hand ends a hold.
void AppController::applyKeyframeTangents(orvel::Clip &clip, const QString &prop, double atSeconds,
                                          double inDx, double inDy, double outDx, double outDy, bool corner,
                                          bool *found) const
{
    *found = false;
    orvel::AnimatedProperty *property = orvel::clipProperty(clip, prop, false);
    if (!property)
        return;
    const auto keyUs = orvel::nearestKeyTime(*property, keyframeLocalUs(clip, atSeconds));
    if (!keyUs)
        return;
    orvel::Keyframe &key = property->keyframes[*keyUs];
    key.inDx = std::min(keyframeHandleUs(inDx), 0.0);
    key.inDy = inDy;
    key.outDx = std::max(keyframeHandleUs(outDx), 0.0);
    key.outDy = outDy;
    key.corner = corner;
    key.hold = false;
    *found = true;
}

void AppController::setKeyframeTangents(int trackIndex, int clipIndex, const QString &prop, double atSeconds,
                                        double inDx, double inDy, double outDx, double outDy, bool corner)
{
    commitClipEdit(trackIndex, clipIndex, tr("Keyframe curve changed"), tr("Keyframe curve updated"),
                   [&](orvel::Clip &clip) {
                       bool found = false;
                       applyKeyframeTangents(clip, prop, atSeconds, inDx, inDy, outDx, outDy, corner, &found);
                       return found;
                   });
}

// Changes one key's handles in place. The caller owns the transaction (the graph editor opens
// one per handle drag), so this neither opens nor pushes anything.
void AppController::previewSetKeyframeTangents(int trackIndex, int clipIndex, const QString &prop,
                                               double atSeconds, double inDx, double inDy, double outDx,
                                               double outDy, bool corner)
{
    const orvel::Clip *current = clipAt(trackIndex, clipIndex);
    if (!current)
        return;
    orvel::Clip edited = *current;
    bool found = false;
    applyKeyframeTangents(edited, prop, atSeconds, inDx, inDy, outDx, outDy, corner, &found);
    if (!found)
        return;
    m_project.tracks[trackIndex].clips[clipIndex] = edited;
    emit tracksChanged();
    emit selectedClipDataChanged();
    emit projectMutated();
}

void AppController::setKeyframeHold(int trackIndex, int clipIndex, const QString &prop, double atSeconds,
                                    bool hold)
{
    const QString message = hold ? tr("Keyframe holds") : tr("Keyframe interpolates");
    commitClipEdit(trackIndex, clipIndex, tr("Keyframe hold changed"), message, [&](orvel::Clip &clip) {
        orvel::AnimatedProperty *property = orvel::clipProperty(clip, prop, false);
        if (!property)
            return false;
        const auto keyUs = orvel::nearestKeyTime(*property, keyframeLocalUs(clip, atSeconds));
        if (!keyUs || property->keyframes[*keyUs].hold == hold)
            return false;
        property->keyframes[*keyUs].hold = hold;
        return true;
    });
}

// The key edited is the one under the playhead, as the inspector's easing menu shows it.
void AppController::setKeyframeInterpolation(int trackIndex, int clipIndex, const QString &prop,
                                             const QString &mode)
{
    commitClipEdit(trackIndex, clipIndex, tr("Keyframe easing changed"), tr("Keyframe easing updated"),
                   [&](orvel::Clip &clip) {
                       orvel::AnimatedProperty *property = orvel::clipProperty(clip, prop, false);
                       if (!property)
                           return false;
                       const auto keyUs =
                           orvel::nearestKeyTime(*property, m_playheadUs - clip.timelineStartUs);
                       return keyUs && orvel::applyInterpolationPreset(*property, *keyUs, mode);
                   });
}

void AppController::setClipPropertyKeyframesEnabled(int trackIndex, int clipIndex, const QString &prop,
                                                    bool enabled)
{
    const QString undoText = enabled ? tr("Enable keyframes") : tr("Disable keyframes");
    const QString message = enabled ? tr("Keyframes enabled") : tr("Keyframes disabled");
    commitClipEdit(trackIndex, clipIndex, undoText, message, [&](orvel::Clip &clip) {
        orvel::AnimatedProperty *property = orvel::clipProperty(clip, prop, true);
        if (!property)
            return false;
        property->enabled = enabled;
        return true;
    });
}

void AppController::toggleClipPropertyKeyframesEnabled(int trackIndex, int clipIndex, const QString &prop)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip)
        return;
    const orvel::AnimatedProperty *property = orvel::clipProperty(*clip, prop);
    setClipPropertyKeyframesEnabled(trackIndex, clipIndex, prop, property ? !property->enabled : true);
}

// A property that does not exist yet reads as enabled, which is what it will be once keyed.
bool AppController::clipPropertyKeyframesEnabled(int trackIndex, int clipIndex, const QString &prop) const
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    const orvel::AnimatedProperty *property = clip ? orvel::clipProperty(*clip, prop) : nullptr;
    return property ? property->enabled : true;
}

QStringList AppController::clipAnimatedProperties(int trackIndex, int clipIndex) const
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    return clip ? orvel::clipAnimatedProperties(*clip) : QStringList();
}

QVariantList AppController::clipKeyframes(int trackIndex, int clipIndex, const QString &prop) const
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    const orvel::AnimatedProperty *property = clip ? orvel::clipProperty(*clip, prop) : nullptr;
    QVariantList keys;
    if (!property)
        return keys;
    for (auto it = property->keyframes.cbegin(); it != property->keyframes.cend(); ++it)
        keys.append(keyframeMap(*property, it.key(), clip->timelineStartUs));
    return keys;
}

void AppController::toggleKeyframeGraphPropertyVisible(const QString &prop)
{
    if (!m_keyframeGraphHiddenProperties.removeOne(prop))
        m_keyframeGraphHiddenProperties.append(prop);
    emit keyframeGraphVisibilityChanged();
}

void AppController::showKeyframeGraphProperty(const QString &prop)
{
    if (m_keyframeGraphHiddenProperties.removeAll(prop) > 0)
        emit keyframeGraphVisibilityChanged();
}

double AppController::propertyBaseValue(int trackIndex, int clipIndex, const QString &prop,
                                        double fallback) const
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    return clip ? orvel::propertyBaseValue(m_project, *clip, prop, fallback) : fallback;
}

double AppController::propertyValueAt(int trackIndex, int clipIndex, const QString &prop, double atSeconds,
                                      double fallback) const
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    return clip ? orvel::propertyValueAt(m_project, *clip, prop, atSeconds, fallback) : fallback;
}
