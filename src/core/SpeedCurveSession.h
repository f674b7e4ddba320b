#pragma once

#include "core/document/Project.h"
#include "core/document/SpeedCurve.h"

#include <QObject>
#include <QSize>
#include <QVariantList>

namespace orvel {

// The player the custom speed window auditions one clip with: the clip's own source, alone,
// retimed by the curve being drawn. The controller drives it only through this face, so the
// session works (and is tested) before and without the real decoding player.
class AbstractClipPreviewPlayer : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~AbstractClipPreviewPlayer() override = default;

    // Stops playback and loads the clip, whose curve (when active) sets the retimed duration.
    virtual void setClip(const Clip &clip, int sampleRate, int fps) = 0;
    // Replaces the curve of the loaded clip; the position is kept within the new duration.
    virtual void updateSpeed(const SpeedCurve &curve) = 0;
    // Stops and forgets the clip.
    virtual void clear() = 0;
    virtual void play() = 0;
    virtual void pause() = 0;
    // Seeks in retimed time, counted from the clip's start.
    virtual void seek(TimeUs positionUs) = 0;

    virtual TimeUs positionUs() const = 0;
    virtual bool isPlaying() const = 0;
    virtual QSize frameSize() const = 0;

signals:
    void frameChanged();
    void frameSizeChanged();
    void positionChanged();
    void playingChanged();
    void durationChanged();
};

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
