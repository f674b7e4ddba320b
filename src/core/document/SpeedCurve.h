#pragma once

#include "core/document/Types.h"

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

    bool isActive() const { return points.size() >= 2; }
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

// A 33-point polyline curve for the source range a..b (normalised positions).
SpeedCurve subCurve(const SpeedCurve &curve, double a, double b);

// Old files may hold a non-positive constant speed; every formula reads it as 1.0.
inline double effectiveSpeed(double speed)
{
    return speed > 0.0 ? speed : 1.0;
}

} // namespace orvel
