#include "core/document/timing/SpeedCurve.h"

#include "core/document/animation/Keyframes.h"

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

// The drawn curve over its own positions x, carried on past 0 and 1 at the end speeds.

double drawnSpeedAt(const SpeedCurve &curve, double x)
{
    if (x <= 0.0)
        return curve.speedTable[0];
    if (x >= 1.0)
        return curve.speedTable[kSpeedTableCells];
    const double cell = x * kSpeedTableCells;
    const int i = std::min(int(cell), kSpeedTableCells - 1);
    const double f = cell - i;
    return curve.speedTable[i] + (curve.speedTable[i + 1] - curve.speedTable[i]) * f;
}

// Integral of 1 / speed from 0 to x.
double drawnTimeAt(const SpeedCurve &curve, double x)
{
    if (x <= 0.0)
        return x / curve.speedTable[0];
    if (x >= 1.0)
        return curve.timeTable[kSpeedTableCells] + (x - 1.0) / curve.speedTable[kSpeedTableCells];
    const double cell = x * kSpeedTableCells;
    const int i = std::min(int(cell), kSpeedTableCells - 1);
    const double f = cell - i;
    const double s0 = curve.speedTable[i];
    const double sF = s0 + (curve.speedTable[i + 1] - s0) * f;
    const double dp = f * kSpeedTableStep;
    const double q = std::abs(sF - s0) < kNearEqual ? dp / s0 : dp * std::log(sF / s0) / (sF - s0);
    return q + curve.timeTable[i];
}

// The position x at which the integral of 1 / speed reaches r.
double drawnPositionAtTime(const SpeedCurve &curve, double r)
{
    if (r <= 0.0)
        return r * curve.speedTable[0];
    const double total = curve.timeTable[kSpeedTableCells];
    if (r >= total)
        return 1.0 + (r - total) * curve.speedTable[kSpeedTableCells];
    const TimelineCell cell = findTimelineCell(curve, r);
    const double s0 = curve.speedTable[cell.index];
    const double k = curve.speedTable[cell.index + 1] - s0;
    const double dp = std::abs(k) < kNearEqual
                          ? s0 * cell.q
                          : (std::exp(k * kSpeedTableCells * cell.q) * s0 - s0) / (k * kSpeedTableCells);
    return std::clamp(cell.index * kSpeedTableStep + dp, 0.0, 1.0);
}

// The clip's window on the drawn curve; the clip's normalised position p is drawn position
// start + width * p, and its timeline runs from the integral at start.
struct CurveWindow
{
    double start = 0.0;
    double width = 1.0;
    double startTime = 0.0;
    double endTime = 0.0;
};

CurveWindow curveWindow(const SpeedCurve &curve)
{
    CurveWindow window;
    window.start = curve.windowStart;
    window.width = curve.windowEnd - curve.windowStart;
    window.startTime = drawnTimeAt(curve, curve.windowStart);
    window.endTime = drawnTimeAt(curve, curve.windowEnd);
    return window;
}

// Timeline offset (as a fraction of the span) at source fraction p of the window; p unbounded.
double windowTimeAt(const SpeedCurve &curve, const CurveWindow &window, double p)
{
    return (drawnTimeAt(curve, window.start + window.width * p) - window.startTime) / window.width;
}

// Source fraction at timeline fraction t of the window; t unbounded.
double windowPositionAtTime(const SpeedCurve &curve, const CurveWindow &window, double t)
{
    return (drawnPositionAtTime(curve, window.startTime + t * window.width) - window.start) / window.width;
}

} // namespace

SpeedCurve normaliseSpeedCurve(QList<SpeedCurvePoint> points)
{
    SpeedCurve curve;
    // A non-finite value would poison the sort and every table entry after it.
    points.removeIf([](const SpeedCurvePoint &p) { return !speedCurvePointsFinite({p}); });
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
    const CurveWindow window = curveWindow(curve);
    return TimeUs(std::llround(double(sourceSpanUs) * (window.endTime - window.startTime) / window.width));
}

TimeUs timelineOffsetFromSource(const SpeedCurve &curve, TimeUs sourceOffsetUs, TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return sourceOffsetUs;
    const double p = std::clamp(double(sourceOffsetUs) / double(sourceSpanUs), 0.0, 1.0);
    return TimeUs(std::llround(windowTimeAt(curve, curveWindow(curve), p) * double(sourceSpanUs)));
}

TimeUs sourceOffsetFromTimeline(const SpeedCurve &curve, TimeUs timelineOffsetUs, TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return timelineOffsetUs;
    const CurveWindow window = curveWindow(curve);
    const double tMax = (window.endTime - window.startTime) / window.width;
    const double t = std::clamp(double(timelineOffsetUs) / double(sourceSpanUs), 0.0, tMax);
    const double p = std::clamp(windowPositionAtTime(curve, window, t), 0.0, 1.0);
    return TimeUs(std::llround(p * double(sourceSpanUs)));
}

TimeUs timelineOffsetFromSourceUnbounded(const SpeedCurve &curve, TimeUs sourceOffsetUs, TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return sourceOffsetUs;
    const double p = double(sourceOffsetUs) / double(sourceSpanUs);
    return TimeUs(std::llround(windowTimeAt(curve, curveWindow(curve), p) * double(sourceSpanUs)));
}

TimeUs sourceOffsetFromTimelineUnbounded(const SpeedCurve &curve, TimeUs timelineOffsetUs,
                                         TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return timelineOffsetUs;
    const double t = double(timelineOffsetUs) / double(sourceSpanUs);
    return TimeUs(std::llround(windowPositionAtTime(curve, curveWindow(curve), t) * double(sourceSpanUs)));
}

double speedAtSource(const SpeedCurve &curve, double position)
{
    if (!tablesUsable(curve))
        return 1.0;
    const double width = curve.windowEnd - curve.windowStart;
    return drawnSpeedAt(curve, curve.windowStart + width * std::clamp(position, 0.0, 1.0));
}

double speedAtTimeline(const SpeedCurve &curve, TimeUs timelineOffsetUs, TimeUs sourceSpanUs)
{
    if (!tablesUsable(curve) || sourceSpanUs < 1)
        return 1.0;
    const CurveWindow window = curveWindow(curve);
    const double t = std::clamp(double(timelineOffsetUs) / double(sourceSpanUs), 0.0,
                                (window.endTime - window.startTime) / window.width);
    const double r = window.startTime + t * window.width;
    // Outside the drawn range the end speeds hold.
    if (r <= 0.0)
        return curve.speedTable[0];
    if (r >= curve.timeTable[kSpeedTableCells])
        return curve.speedTable[kSpeedTableCells];
    const TimelineCell cell = findTimelineCell(curve, r);
    const double s0 = curve.speedTable[cell.index];
    const double k = curve.speedTable[cell.index + 1] - s0;
    if (std::abs(k) < kNearEqual)
        return s0;
    return std::clamp(std::exp(k * cell.q * kSpeedTableCells) * s0, kCurveSpeedMin, kCurveSpeedMax);
}

SpeedCurve subCurve(const SpeedCurve &curve, double a, double b)
{
    if (!tablesUsable(curve) || !(b - a > kNearEqual) || !std::isfinite(a) || !std::isfinite(b))
        return {};
    SpeedCurve part = curve;
    const double width = curve.windowEnd - curve.windowStart;
    part.windowStart = curve.windowStart + width * a;
    part.windowEnd = curve.windowStart + width * b;
    return part;
}

bool speedCurvePointsFinite(const QList<SpeedCurvePoint> &points)
{
    return std::all_of(points.cbegin(), points.cend(), [](const SpeedCurvePoint &p) {
        return std::isfinite(p.pos) && std::isfinite(p.speed) && std::isfinite(p.inDx) &&
               std::isfinite(p.inDy) && std::isfinite(p.outDx) && std::isfinite(p.outDy);
    });
}

} // namespace orvel
