#include "playback/audio/AudioMixGain.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orvel {

float softLimit(float sample)
{
    constexpr float knee = 0.95f;
    const float magnitude = std::fabs(sample);
    if (magnitude <= knee)
        return sample;
    const float width = 1.0f - knee;
    const float limited = knee + width * std::tanh((magnitude - knee) / width);
    // Far above the knee the curve is within an ulp of 1 and rounds up to it in float; hold it
    // one step below, so that the sum never reaches full scale.
    const float belowOne = std::nextafter(1.0f, 0.0f);
    return std::copysign(std::min(limited, belowOne), sample);
}

double fadeCurveValue(FadeCurve curve, double x)
{
    switch (curve) {
    case FadeCurve::linear:
        return x;
    case FadeCurve::smooth:
        return x * x * (3.0 - 2.0 * x);
    case FadeCurve::equalPower:
        return std::sin(x * std::numbers::pi / 2.0);
    }
    return x;
}

double clipFadeGain(const Clip &clip, TimeUs timeUs)
{
    if (clip.fadeInUs <= 0 && clip.fadeOutUs <= 0)
        return 1.0;
    const TimeUs local =
        std::clamp(timeUs - clip.timelineStartUs, TimeUs(0), std::max(clip.timelineDurationUs, TimeUs(0)));
    double in = 1.0;
    if (clip.fadeInUs > 0 && local < clip.fadeInUs)
        in = double(local) / double(clip.fadeInUs);
    double out = 1.0;
    const TimeUs remaining = clip.timelineDurationUs - local;
    if (clip.fadeOutUs > 0 && remaining < clip.fadeOutUs)
        out = double(remaining) / double(clip.fadeOutUs);
    // Most of a clip lies outside its fades, where both ramps are 1 and every curve gives 1.
    if (in >= 1.0 && out >= 1.0)
        return 1.0;
    return fadeCurveValue(clip.fadeCurve, std::clamp(in, 0.0, 1.0)) *
           fadeCurveValue(clip.fadeCurve, std::clamp(out, 0.0, 1.0));
}

double clipVolumeGain(const Clip &clip, TimeUs timeUs)
{
    if (clip.volume.isEmpty())
        return 1.0;
    const TimeUs local = std::max(timeUs - clip.timelineStartUs, TimeUs(0));
    return std::clamp(valueAt(clip.volume, local), 0.0, 2.0);
}

QList<AudioTransitionWindow> audioTransitionWindows(const Track &track, const TransitionCurveLookup &curveOf)
{
    QList<AudioTransitionWindow> windows;
    for (const Transition &transition : track.transitions) {
        const Clip *from = clipById(track, transition.fromClipId);
        const Clip *to = clipById(track, transition.toClipId);
        if (!from || !to)
            continue;
        const std::optional<TransitionWindow> window = transitionWindow(*from, *to, transition.durationUs);
        if (!window)
            continue;
        const QString curve = curveOf ? curveOf(transition.kind) : QString();
        windows.append({*window, transition.fromClipId, transition.toClipId,
                        curve.isEmpty() ? QStringLiteral("crossfade") : curve});
    }
    return windows;
}

double transitionAudioGain(const QList<AudioTransitionWindow> &windows, const QString &clipId, TimeUs timeUs)
{
    for (const AudioTransitionWindow &entry : windows) {
        if (timeUs < entry.window.startUs || timeUs >= entry.window.endUs)
            continue;
        const TransitionWeights weights =
            transitionWeights(entry.curve, transitionProgress(entry.window, timeUs));
        if (clipId == entry.fromClipId)
            return weights.outgoing;
        if (clipId == entry.toClipId)
            return weights.incoming;
        return 1.0;
    }
    return 1.0;
}

} // namespace orvel
