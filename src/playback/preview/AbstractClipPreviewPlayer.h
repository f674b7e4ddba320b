#pragma once

#include "core/document/model/Project.h"
#include "core/document/timing/SpeedCurve.h"

#include <QObject>
#include <QSize>

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

} // namespace orvel
