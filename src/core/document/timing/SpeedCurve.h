#pragma once

#include "core/document/model/Types.h"

#include <QList>

namespace orvel {

// A point of a user-drawn speed over normalised source position.
struct SpeedCurvePoint
{
    double pos = 0.0;   // normalised source position, 0..1
    double speed = 1.0; // 0.1..8.0
    double inDx = 0.0;
    double inDy = 0.0;
    double outDx = 0.0;
    double outDy = 0.0;
    bool corner = false;
};

// The tables are derived from the points: they are never saved and are rebuilt whenever the
// points are set or read.
struct SpeedCurve
{
    QList<SpeedCurvePoint> points;
    QList<double> speedTable; // speed at source position i / 256, 257 entries
    QList<double> timeTable;  // integral of 1 / speed from 0 to i / 256, 257 entries
    // The stretch of the drawn curve that the clip's source span plays, in the drawn curve's own
    // positions. Splits and trims move these instead of redrawing the points, so every source
    // frame keeps exactly the speed it had. Past the drawn ends the end speeds carry on, which is
    // what lets a trim grow a curved clip beyond the range the curve was drawn over.
    double windowStart = 0.0;
    double windowEnd = 1.0;

    bool isActive() const { return points.size() >= 2; }
    bool isWindowed() const { return windowStart != 0.0 || windowEnd != 1.0; }
};

inline constexpr int kSpeedTableCells = 256;
inline constexpr double kSpeedTableStep = 1.0 / kSpeedTableCells;
inline constexpr double kCurveSpeedMin = 0.1;
inline constexpr double kCurveSpeedMax = 8.0;
inline constexpr double kConstantSpeedMin = 0.25;
inline constexpr double kConstantSpeedMax = 4.0;

// Sorts and clamps the points, pins the ends to 0 and 1, shrinks handles to the gaps and
// rebuilds the tables. Fewer than two points give an empty curve.
SpeedCurve normaliseSpeedCurve(QList<SpeedCurvePoint> points);

// Timeline length of a source span D under the curve.
TimeUs retimedDuration(const SpeedCurve &curve, TimeUs sourceSpanUs);
TimeUs sourceOffsetFromTimeline(const SpeedCurve &curve, TimeUs timelineOffsetUs, TimeUs sourceSpanUs);
TimeUs timelineOffsetFromSource(const SpeedCurve &curve, TimeUs sourceOffsetUs, TimeUs sourceSpanUs);
double speedAtSource(const SpeedCurve &curve, double position);
double speedAtTimeline(const SpeedCurve &curve, TimeUs timelineOffsetUs, TimeUs sourceSpanUs);

// The curve for the source range a..b of this one (normalised positions, which may lie outside
// 0..1 to widen it): the same drawing over a different window, so it maps exactly like the
// matching part of the original.
SpeedCurve subCurve(const SpeedCurve &curve, double a, double b);

// The two mappings without the clamp to the clip: offsets before 0 or past the span follow the
// curve on beyond the window, and past the drawn ends at the end speeds. Trims use them to grow
// or shrink a curved clip without changing what its remaining frames show.
TimeUs sourceOffsetFromTimelineUnbounded(const SpeedCurve &curve, TimeUs timelineOffsetUs,
                                         TimeUs sourceSpanUs);
TimeUs timelineOffsetFromSourceUnbounded(const SpeedCurve &curve, TimeUs sourceOffsetUs, TimeUs sourceSpanUs);

// Whether every field of every point is a finite number; anything else is refused before it
// can reach a curve.
bool speedCurvePointsFinite(const QList<SpeedCurvePoint> &points);

// Old files may hold a non-positive constant speed; every formula reads it as 1.0.
inline double effectiveSpeed(double speed)
{
    return speed > 0.0 ? speed : 1.0;
}

} // namespace orvel
