#include "core/document/timing/Retiming.h"

#include "core/document/animation/ClipProperties.h"
#include "core/document/timing/ClipTiming.h"

#include <cmath>

namespace orvel {

namespace {

void retimeEffectKeyframes(QList<EffectInstance> &effects, const Clip &oldClip, const Clip &newClip)
{
    for (EffectInstance &effect : effects) {
        for (auto it = effect.paramKeyframes.begin(); it != effect.paramKeyframes.end(); ++it)
            it.value() = retimeProperty(it.value(), oldClip, newClip);
    }
}

} // namespace

TimeUs retimedKeyTime(const Clip &oldClip, const Clip &newClip, TimeUs keyUs)
{
    const TimeUs sourceUs =
        oldClip.speedCurve.isActive()
            ? sourceOffsetFromTimeline(oldClip.speedCurve, keyUs, clipSourceSpanUs(oldClip))
            : TimeUs(std::llround(double(keyUs) * effectiveSpeed(oldClip.speed)));
    return timelineOffsetFromSource(newClip.speedCurve, sourceUs, clipSourceSpanUs(newClip));
}

AnimatedProperty retimeProperty(const AnimatedProperty &property, const Clip &oldClip, const Clip &newClip)
{
    AnimatedProperty moved;
    moved.enabled = property.enabled;
    for (auto it = property.keyframes.cbegin(); it != property.keyframes.cend(); ++it)
        moved.keyframes.insert(retimedKeyTime(oldClip, newClip, it.key()), it.value());
    return moved;
}

void retimeKeyframes(const Clip &oldClip, Clip &newClip)
{
    // The seven members are addressed through their names so the list lives in one place.
    for (const QString &name : clipMemberPropertyNames()) {
        AnimatedProperty *property = clipProperty(newClip, name, false);
        *property = retimeProperty(*property, oldClip, newClip);
    }
    retimeEffectKeyframes(newClip.effects, oldClip, newClip);
    retimeEffectKeyframes(newClip.audioEffects, oldClip, newClip);
}

} // namespace orvel
