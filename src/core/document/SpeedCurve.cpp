#include "core/document/SpeedCurve.h"

#include "core/document/Keyframes.h"

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

constexpr double kNearEqual = 1e-9;

bool tablesUsable(const SpeedCurve &curve)
{
    return curve.isActive() && curve.speedTable.size() == kSpeedTableCells + 1 &&
           curve.timeTable.size() == kSpeedTableCells + 1;
}

double segmentSpeed(const SpeedCurvePoint &left, const SpeedCurvePoint &right, double u)
{
    if (right.pos - left.pos <= kNearEqual)
        return right.speed;
    const double param =
        solveBezierParameter(left.pos, left.pos + left.outDx, right.pos + right.inDx, right.pos, u);
    return cubicBezier(left.speed, left.speed + left.outDy, right.speed + right.inDy, right.speed, param);
}

void buildTables(SpeedCurve &curve)
{
    const auto &pts = curve.points;
    curve.speedTable.resize(kSpeedTableCells + 1);
    curve.timeTable.resize(kSpeedTableCells + 1);
    qsizetype segment = 0;
    for (int i = 0; i <= kSpeedTableCells; ++i) {
        const double u = i * kSpeedTableStep;
        while (segment + 2 < pts.size() && u > pts[segment + 1].pos)
            ++segment;
        const double speed = segmentSpeed(pts[segment], pts[segment + 1], u);
        curve.speedTable[i] = std::clamp(speed, kCurveSpeedMin, kCurveSpeedMax);
    }
    curve.timeTable[0] = 0.0;
    for (int i = 0; i < kSpeedTableCells; ++i) {
        const double s0 = curve.speedTable[i];
        const double s1 = curve.speedTable[i + 1];
        // Exact integral of 1/s with s linear across the cell.
        const double cell = std::abs(s1 - s0) < kNearEqual ? kSpeedTableStep / s0
                                                           : std::log(s1 / s0) * kSpeedTableStep / (s1 - s0);
        curve.timeTable[i + 1] = curve.timeTable[i] + cell;
    }
}

struct TimelineCell
{
    int index = 0;
    double q = 0.0; // time into the cell, in table units
};

TimelineCell findTimelineCell(const SpeedCurve &curve, double r)
{
    const auto &table = curve.timeTable;
    r = std::clamp(r, 0.0, table[kSpeedTableCells]);
    const auto it = std::upper_bound(table.cbegin(), table.cend(), r);
    int index = int(it - table.cbegin()) - 1;
    index = std::clamp(index, 0, kSpeedTableCells - 1);
    return {index, r - table[index]};
}

} // namespace

SpeedCurve normaliseSpeedCurve(QList<SpeedCurvePoint> points)
{
    SpeedCurve curve;
    if (points.size() < 2)
        return curve;
    std::stable_sort(points.begin(), points.end(),
                     [](const SpeedCurvePoint &a, const SpeedCurvePoint &b) { return a.pos < b.pos; });
    for (auto &p : points) {
        p.pos = std::clamp(p.pos, 0.0, 1.0);
        p.speed = std::clamp(p.speed, kCurveSpeedMin, kCurveSpeedMax);
    }
    points.first().pos = 0.0;
    points.last().pos = 1.0;
    for (qsizetype i = 0; i < points.size(); ++i) {
        const double dPrev = i > 0 ? points[i].pos - points[i - 1].pos : 0.0;
        const double dNext = i + 1 < points.size() ? points[i + 1].pos - points[i].pos : 0.0;
        points[i].inDx = std::max(std::min(points[i].inDx, 0.0), -dPrev);
        points[i].outDx = std::max(std::min(points[i].outDx, dNext), 0.0);
    }
    curve.points = std::move(points);
    buildTables(curve);
    return curve;
}

TimeUs retimedDuration(const SpeedCurve &curve, TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return sourceSpanUs;
    return TimeUs(std::llround(double(sourceSpanUs) * curve.timeTable[kSpeedTableCells]));
}

TimeUs timelineOffsetFromSource(const SpeedCurve &curve, TimeUs sourceOffsetUs, TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return sourceOffsetUs;
    const double p = std::clamp(double(sourceOffsetUs) / double(sourceSpanUs), 0.0, 1.0);
    const double x = p * kSpeedTableCells;
    const int i = std::min(int(x), kSpeedTableCells - 1);
    const double f = x - i;
    const double s0 = curve.speedTable[i];
    const double sF = s0 + (curve.speedTable[i + 1] - s0) * f;
    const double dp = f * kSpeedTableStep;
    const double q = std::abs(sF - s0) < kNearEqual ? dp / s0 : dp * std::log(sF / s0) / (sF - s0);
    return TimeUs(std::llround((q + curve.timeTable[i]) * double(sourceSpanUs)));
}

TimeUs sourceOffsetFromTimeline(const SpeedCurve &curve, TimeUs timelineOffsetUs, TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return timelineOffsetUs;
    const TimelineCell cell = findTimelineCell(curve, double(timelineOffsetUs) / double(sourceSpanUs));
    const double s0 = curve.speedTable[cell.index];
    const double k = curve.speedTable[cell.index + 1] - s0;
    const double dp = std::abs(k) < kNearEqual
                          ? s0 * cell.q
                          : (std::exp(k * kSpeedTableCells * cell.q) * s0 - s0) / (k * kSpeedTableCells);
    const double p = std::clamp(cell.index * kSpeedTableStep + dp, 0.0, 1.0);
    return TimeUs(std::llround(p * double(sourceSpanUs)));
}

double speedAtSource(const SpeedCurve &curve, double position)
{
    if (!tablesUsable(curve))
        return 1.0;
    const double x = std::clamp(position, 0.0, 1.0) * kSpeedTableCells;
    const int i = std::min(int(x), kSpeedTableCells - 1);
    const double f = x - i;
    return curve.speedTable[i] + (curve.speedTable[i + 1] - curve.speedTable[i]) * f;
}

double speedAtTimeline(const SpeedCurve &curve, TimeUs timelineOffsetUs, TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return 1.0;
    const TimelineCell cell = findTimelineCell(curve, double(timelineOffsetUs) / double(sourceSpanUs));
    const double s0 = curve.speedTable[cell.index];
    const double k = curve.speedTable[cell.index + 1] - s0;
    if (std::abs(k) < kNearEqual)
        return s0;
    return std::clamp(std::exp(k * cell.q * kSpeedTableCells) * s0, kCurveSpeedMin, kCurveSpeedMax);
}

SpeedCurve subCurve(const SpeedCurve &curve, double a, double b)
{
    if (!tablesUsable(curve) || b - a <= kNearEqual)
        return {};
    QList<SpeedCurvePoint> points;
    points.reserve(33);
    for (int i = 0; i <= 32; ++i) {
        SpeedCurvePoint point;
        point.pos = i * 0.03125;
        point.speed = speedAtSource(curve, a + (b - a) * point.pos);
        point.corner = true;
        points.append(point);
    }
    return normaliseSpeedCurve(std::move(points));
}

} // namespace orvel
