#pragma once

// Builders of speed curves shared by the speed curve suites.
#include "core/document/timing/SpeedCurve.h"

#include <random>

namespace orvel::curvefixture {

inline SpeedCurvePoint point(double pos, double speed, double outDx = 0, double outDy = 0, double inDx = 0,
                             double inDy = 0)
{
    SpeedCurvePoint p;
    p.pos = pos;
    p.speed = speed;
    p.inDx = inDx;
    p.inDy = inDy;
    p.outDx = outDx;
    p.outDy = outDy;
    return p;
}

inline SpeedCurve flatCurve(double speed)
{
    return normaliseSpeedCurve({point(0, speed), point(1, speed)});
}

inline SpeedCurve randomCurve(std::mt19937 &rng)
{
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::uniform_real_distribution<double> speed(kCurveSpeedMin, kCurveSpeedMax);
    std::uniform_int_distribution<int> count(2, 6);
    QList<SpeedCurvePoint> points;
    const int n = count(rng);
    for (int i = 0; i < n; ++i) {
        // Handles are random and partly out of range: normalising must tame them.
        points.append(point(unit(rng), speed(rng), unit(rng) * 0.4, (unit(rng) - 0.5) * 4.0, -unit(rng) * 0.4,
                            (unit(rng) - 0.5) * 4.0));
    }
    return normaliseSpeedCurve(points);
}

} // namespace orvel::curvefixture
