#include "core/SpeedCurveSession.h"

#include "core/document/timing/ClipTiming.h"
#include "core/document/timing/Retiming.h"

#include <QVariantMap>

#include <algorithm>

namespace orvel {

namespace {

double numberOr(const QVariantMap &map, const QString &key, double fallback)
{
    bool ok = false;
    const double value = map.value(key).toDouble(&ok);
    return ok ? value : fallback;
}

} // namespace

SpeedCurve sessionStartCurve(const Clip &clip)
{
    // A split or trimmed clip plays part of its drawing; the session starts from exactly that.
    if (clip.speedCurve.isActive() && clip.speedCurve.isWindowed())
        return clip.speedCurve;
    if (clip.speedCurve.isActive())
        return normaliseSpeedCurve(clip.speedCurve.points);
    const double speed = effectiveSpeed(clip.speed);
    SpeedCurvePoint start;
    start.pos = 0.0;
    start.speed = speed;
    SpeedCurvePoint end;
    end.pos = 1.0;
    end.speed = speed;
    return normaliseSpeedCurve({start, end});
}

QList<SpeedCurvePoint> speedCurvePointsFromVariant(const QVariantList &points)
{
    QList<SpeedCurvePoint> result;
    result.reserve(points.size());
    for (const QVariant &entry : points) {
        const QVariantMap map = entry.toMap();
        SpeedCurvePoint point;
        point.pos = numberOr(map, QStringLiteral("pos"), 0.0);
        point.speed = numberOr(map, QStringLiteral("speed"), 1.0);
        point.inDx = numberOr(map, QStringLiteral("inDx"), 0.0);
        point.inDy = numberOr(map, QStringLiteral("inDy"), 0.0);
        point.outDx = numberOr(map, QStringLiteral("outDx"), 0.0);
        point.outDy = numberOr(map, QStringLiteral("outDy"), 0.0);
        point.corner = map.value(QStringLiteral("corner")).toBool();
        result.append(point);
    }
    return result;
}

QVariantList speedCurvePointsToVariant(const QList<SpeedCurvePoint> &points)
{
    QVariantList result;
    result.reserve(points.size());
    for (const SpeedCurvePoint &point : points) {
        result.append(QVariantMap{{QStringLiteral("pos"), point.pos},
                                  {QStringLiteral("speed"), point.speed},
                                  {QStringLiteral("inDx"), point.inDx},
                                  {QStringLiteral("inDy"), point.inDy},
                                  {QStringLiteral("outDx"), point.outDx},
                                  {QStringLiteral("outDy"), point.outDy},
                                  {QStringLiteral("corner"), point.corner}});
    }
    return result;
}

double sourcePositionAt(const SpeedCurve &curve, TimeUs retimedUs, TimeUs sourceSpanUs)
{
    if (sourceSpanUs < 1)
        return 0.0;
    const TimeUs sourceUs = sourceOffsetFromTimeline(curve, retimedUs, sourceSpanUs);
    return std::clamp(double(sourceUs) / double(sourceSpanUs), 0.0, 1.0);
}

Clip retimedClipCopy(const Clip &original, const SpeedCurve &curve)
{
    Clip copy = original;
    copy.id = newUuid();
    copy.speedCurve = curve;
    copy.timelineDurationUs = std::max<TimeUs>(retimedDuration(curve, clipSourceSpanUs(copy)), 1);
    copy.linkId.clear();
    copy.name =
        (original.name.isEmpty() ? QStringLiteral("Clip") : original.name) + QStringLiteral(" (retimed)");
    retimeKeyframes(original, copy);
    return copy;
}

QList<SpeedCurvePoint> editableSpeedCurvePoints(const SpeedCurve &curve)
{
    if (!curve.isActive() || !curve.isWindowed())
        return curve.points;
    // The editor draws over the clip's own 0..1, so the part the clip plays is offered as a
    // polyline of its speeds; drawing on it starts a whole new curve.
    constexpr int kEditablePoints = 33;
    QList<SpeedCurvePoint> points;
    for (int i = 0; i < kEditablePoints; ++i) {
        SpeedCurvePoint point;
        point.pos = double(i) / (kEditablePoints - 1);
        point.speed = speedAtSource(curve, point.pos);
        point.corner = true;
        points.append(point);
    }
    return points;
}

} // namespace orvel
