#pragma once

#include "core/document/model/Project.h"
#include "core/document/editing/Transitions.h"

#include <QList>
#include <QString>

#include <functional>

namespace orvel {

// The per-frame gains of the audio mix and the limiter on its sum. Everything here is pure.

// Above 0.95 the magnitude bends smoothly towards 1 and never reaches it, so a loud sum is
// rounded off instead of clipping.
float softLimit(float sample);

// A fade's shape applied to a ramp x in 0..1.
double fadeCurveValue(FadeCurve curve, double x);
// The product of the fade-in and fade-out gains at timeline time t; 1 without fades.
double clipFadeGain(const Clip &clip, TimeUs timeUs);
// Multiplies gains[i] by clipFadeGain at timeUs + offsetsUs[i], for frames frames.
void applyClipFadeGains(const Clip &clip, TimeUs timeUs, const TimeUs *offsetsUs, int frames, double *gains);
// The clip's volume keyframes at t, clamped to 0..2; 1 when it has none.
double clipVolumeGain(const Clip &clip, TimeUs timeUs);

// The transition's audio curve ("crossfade", "dip", "hold") for its kind, as the transition
// catalogue declares it.
using TransitionCurveLookup = std::function<QString(const QString &kind)>;

// One of a track's transitions, resolved once per block: where it plays and how it fades.
struct AudioTransitionWindow
{
    TransitionWindow window;
    QString fromClipId;
    QString toClipId;
    QString curve;
};

// The track's transitions that have both clips and a window, in the track's order. Without a
// lookup every curve is "crossfade".
QList<AudioTransitionWindow> audioTransitionWindows(const Track &track, const TransitionCurveLookup &curveOf);
// The first window holding t decides: the outgoing clip takes its outgoing weight, the incoming
// clip its incoming weight, any other clip 1. Outside every window, 1.
double transitionAudioGain(const QList<AudioTransitionWindow> &windows, const QString &clipId, TimeUs timeUs);

} // namespace orvel
