#include "core/document/animation/Keyframes.h"

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

constexpr double kFlatTangent = 1e-12;

bool isLinearSegment(const Keyframe &prev, const Keyframe &next)
{
    return std::abs(prev.outDx) <= kFlatTangent && std::abs(prev.outDy) <= kFlatTangent &&
           std::abs(next.inDx) <= kFlatTangent && std::abs(next.inDy) <= kFlatTangent;
}

} // namespace

AnimatedProperty constantProperty(double value)
{
    AnimatedProperty property;
    property.keyframes.insert(0, Keyframe{value});
    return property;
}

double cubicBezier(double p0, double p1, double p2, double p3, double u)
{
    const double v = 1.0 - u;
    return v * v * v * p0 + 3.0 * v * v * u * p1 + 3.0 * v * u * u * p2 + u * u * u * p3;
}

double solveBezierParameter(double x0, double x1, double x2, double x3, double x)
{
    double lo = 0.0;
    double hi = 1.0;
    for (int round = 0; round < 24; ++round) {
        const double mid = (lo + hi) * 0.5;
        if (x > cubicBezier(x0, x1, x2, x3, mid))
            lo = mid;
        else
            hi = mid;
    }
    return (lo + hi) * 0.5;
}

double valueAt(const AnimatedProperty &property, TimeUs t)
{
    const auto &keys = property.keyframes;
    if (keys.isEmpty())
        return 0.0;
    if (!property.enabled)
        return keys.cbegin().value().value;

    const auto next = keys.lowerBound(t);
    if (next == keys.cend())
        return std::prev(keys.cend()).value().value;
    if (next.key() == t || next == keys.cbegin())
        return next.value().value;

    const auto prev = std::prev(next);
    const Keyframe &k0 = prev.value();
    const Keyframe &k1 = next.value();
    if (k0.hold)
        return k0.value;

    const double t0 = double(prev.key());
    const double t1 = double(next.key());
    if (t1 - t0 <= 0.0)
        return k1.value;

    if (isLinearSegment(k0, k1))
        return k0.value + (double(t) - t0) / (t1 - t0) * (k1.value - k0.value);

    const double x1 = std::clamp(t0 + k0.outDx, t0, t1);
    const double x2 = std::clamp(t1 + k1.inDx, t0, t1);
    const double u = solveBezierParameter(t0, x1, x2, t1, double(t));
    return cubicBezier(k0.value, k0.value + k0.outDy, k1.value + k1.inDy, k1.value, u);
}

void setAt(AnimatedProperty &property, TimeUs t, double value)
{
    if (const auto existing = nearestKeyTime(property, t, kKeyframeSameTimeUs)) {
        property.keyframes[*existing].value = value;
        return;
    }
    property.keyframes.insert(t, Keyframe{value});
}

std::optional<TimeUs> nearestKeyTime(const AnimatedProperty &property, TimeUs t, TimeUs toleranceUs)
{
    const auto &keys = property.keyframes;
    if (keys.isEmpty())
        return std::nullopt;
    // Only the keys either side of t can be nearest: the map search keeps this O(log n).
    const auto after = keys.lowerBound(t);
    std::optional<TimeUs> best;
    TimeUs bestDistance = 0;
    if (after != keys.cbegin()) {
        const TimeUs before = std::prev(after).key();
        best = before;
        bestDistance = t - before;
    }
    if (after != keys.cend() && (!best || after.key() - t < bestDistance)) {
        best = after.key();
        bestDistance = after.key() - t;
    }
    if (bestDistance > toleranceUs)
        return std::nullopt;
    return best;
}

bool keyedWrite(AnimatedProperty &property, TimeUs t, double value, bool autoKey, bool force)
{
    auto &keys = property.keyframes;
    if (!property.enabled && !keys.isEmpty()) {
        setAt(property, force ? t : keys.firstKey(), value);
        return true;
    }
    if (force || autoKey) {
        setAt(property, t, value);
        return true;
    }
    if (keys.isEmpty()) {
        setAt(property, 0, value);
        return true;
    }
    if (keys.size() == 1) {
        setAt(property, keys.firstKey(), value);
        return true;
    }

    const std::optional<TimeUs> nearest = nearestKeyTime(property, t);
    if (!nearest)
        return false;
    setAt(property, *nearest, value);
    return true;
}

} // namespace orvel
