#pragma once

#include "core/document/model/Project.h"
#include "core/document/timing/SpeedCurve.h"
#include "playback/preview/AbstractClipPreviewPlayer.h"

#include <QObject>
#include <QSize>
#include <QVariantList>

namespace orvel {

// State of one custom speed editing session. The clip is a copy taken when the session began;
// the working curve is what the user is drawing, the initial curve what the clip had.
struct SpeedCurveSession
{
    bool active = false;
    int trackIndex = -1;
    int clipIndex = -1;
    Clip clip;
    SpeedCurve workingCurve;
    SpeedCurve initialCurve;
    TimeUs positionUs = 0; // retimed time from the clip's start
    quint64 frameRevision = 0;
};

// The curve a session starts from: the clip's own, or a flat line at its constant speed.
SpeedCurve sessionStartCurve(const Clip &clip);

// Points as QML sends and reads them: maps with pos, speed, inDx, inDy, outDx, outDy, corner.
// Missing numbers read as 0, a missing speed as 1.
QList<SpeedCurvePoint> speedCurvePointsFromVariant(const QVariantList &points);
QVariantList speedCurvePointsToVariant(const QList<SpeedCurvePoint> &points);

// Normalised source position (0..1) that a retimed offset plays under the curve.
double sourcePositionAt(const SpeedCurve &curve, TimeUs retimedUs, TimeUs sourceSpanUs);

// The clip the custom speed produces: a copy beside the original, with a fresh id, the curve,
// the curve's duration, no link, " (retimed)" on the name and its keys moved to stay on their
// source frames.
Clip retimedClipCopy(const Clip &original, const SpeedCurve &curve);

// The points the custom speed editor shows for a curve: its own, or for a curve that plays only
// part of its drawing, that part resampled over 0..1.
QList<SpeedCurvePoint> editableSpeedCurvePoints(const SpeedCurve &curve);

} // namespace orvel
