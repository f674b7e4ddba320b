#include "core/document/animation/KeyframeEasing.h"

#include <cmath>

namespace orvel {

namespace {

constexpr double kZeroHandle = 1e-12;
// Ease handles are stored as computed here, a third of a span, rarely a whole microsecond. The
// editor reads them as seconds and may hand them back rounded to the microsecond; that half
// microsecond is far below anything visible, so such a key is still "ease".
constexpr double kEaseHandleToleranceUs = 0.5 + 1e-6;

bool isZeroHandle(double value)
{
    return std::abs(value) <= kZeroHandle;
}

double easeHandleUs(TimeUs spanUs)
{
    return double(spanUs) / 3.0;
}

} // namespace

KeySpans keySpans(const AnimatedProperty &property, TimeUs keyTime)
{
    KeySpans spans;
    const auto &keys = property.keyframes;
    const auto it = keys.constFind(keyTime);
    if (it == keys.cend())
        return spans;
    if (it != keys.cbegin())
        spans.previousUs = keyTime - std::prev(it).key();
    const auto next = std::next(it);
    if (next != keys.cend())
        spans.nextUs = next.key() - keyTime;
    return spans;
}

QString keyframeEasing(const Keyframe &key, KeySpans spans)
{
    if (key.hold)
        return QStringLiteral("hold");
    if (isZeroHandle(key.inDx) && isZeroHandle(key.inDy) && isZeroHandle(key.outDx) &&
        isZeroHandle(key.outDy))
        return QStringLiteral("linear");
    if (isZeroHandle(key.inDy) && isZeroHandle(key.outDy) &&
        std::abs(key.inDx + easeHandleUs(spans.previousUs)) <= kEaseHandleToleranceUs &&
        std::abs(key.outDx - easeHandleUs(spans.nextUs)) <= kEaseHandleToleranceUs)
        return QStringLiteral("ease");
    return QStringLiteral("custom");
}

void applyHoldPreset(Keyframe &key)
{
    applyLinearPreset(key);
    key.hold = true;
}

void applyEasePreset(Keyframe &key, KeySpans spans)
{
    key.hold = false;
    key.corner = false;
    key.inDx = -easeHandleUs(spans.previousUs);
    key.outDx = easeHandleUs(spans.nextUs);
    key.inDy = 0.0;
    key.outDy = 0.0;
}

void applyLinearPreset(Keyframe &key)
{
    key.hold = false;
    key.corner = false;
    key.inDx = 0.0;
    key.inDy = 0.0;
    key.outDx = 0.0;
    key.outDy = 0.0;
}

bool applyInterpolationPreset(AnimatedProperty &property, TimeUs keyTime, const QString &mode)
{
    const KeySpans spans = keySpans(property, keyTime);
    const auto it = property.keyframes.find(keyTime);
    if (it == property.keyframes.end())
        return false;
    if (mode == u"hold")
        applyHoldPreset(it.value());
    else if (mode == u"ease")
        applyEasePreset(it.value(), spans);
    else
        applyLinearPreset(it.value());
    return true;
}

} // namespace orvel
