#pragma once

#include "core/document/model/Types.h"

#include <QMap>

#include <optional>

namespace orvel {

// One key of an animated property. Its time is the key of the map that holds it, relative to
// the clip's timelineStartUs. Handles are offsets: dx in microseconds, dy in value units.
struct Keyframe
{
    double value = 0.0;
    double inDx = 0.0;
    double inDy = 0.0;
    double outDx = 0.0;
    double outDy = 0.0;
    bool corner = false; // editing hint only: the evaluator ignores it
    bool hold = false;   // value stays constant until the next key

    bool operator==(const Keyframe &) const = default;
};

struct AnimatedProperty
{
    QMap<TimeUs, Keyframe> keyframes;
    bool enabled = true;

    bool isEmpty() const { return keyframes.isEmpty(); }
    bool operator==(const AnimatedProperty &) const = default;
};

// A property holding one key at time 0: the form of a constant value.
AnimatedProperty constantProperty(double value);

// The cubic Bernstein form with control values p0..p3 at parameter u.
double cubicBezier(double p0, double p1, double p2, double p3, double u);

// Solves x(u) = x for a Bezier whose x control points rise from x0 to x3, by 24 rounds of plain
// bisection. Shared by the keyframe evaluator and the speed curve tables.
double solveBezierParameter(double x0, double x1, double x2, double x3, double x);

// Value of a non-empty property at clip-local time t. An empty property gives 0, so callers
// test for empty first.
double valueAt(const AnimatedProperty &property, TimeUs t);

// Inserts a key at t with zero tangents and no flags, or changes only the value of an existing
// key within kKeyframeSameTimeUs of t. Times that went through seconds in QML may come back a
// microsecond off, and such a write means the key that is there, not a new one beside it.
void setAt(AnimatedProperty &property, TimeUs t, double value);

// Keys closer than this (inclusive) to an edit time are taken as "the key being edited".
inline constexpr TimeUs kKeyframeSnapToleranceUs = 33333;
// Keys this close (inclusive) to a write time are the same key.
inline constexpr TimeUs kKeyframeSameTimeUs = 1;

// Time of the key nearest t, at most toleranceUs away (inclusive). Of two keys equally near, the
// earlier one wins.
std::optional<TimeUs> nearestKeyTime(const AnimatedProperty &property, TimeUs t,
                                     TimeUs toleranceUs = kKeyframeSnapToleranceUs);

// The keyed write behind every value edit. Returns whether it wrote; false means the edit falls
// between keys of an animated property with auto-key off and must be refused.
bool keyedWrite(AnimatedProperty &property, TimeUs t, double value, bool autoKey, bool force);

} // namespace orvel
