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

namespace {

// sin(x pi / 2) for x in 0..1 by its series up to the 15th power: within 1e-11 of std::sin,
// far below what a float sample can show, at a fraction of its cost. Equal-power fades evaluate
// it for every frame they cover.
double quarterSine(double x)
{
    // 1 / (n (n + 1)) for the nested form y (1 - y^2 / 6 (1 - y^2 / 20 (1 - ...))).
    constexpr double steps[] = {1.0 / 210.0, 1.0 / 156.0, 1.0 / 110.0, 1.0 / 72.0,
                                1.0 / 42.0,  1.0 / 20.0,  1.0 / 6.0};
    const double y = x * (std::numbers::pi / 2.0);
    const double y2 = y * y;
    double nested = 1.0;
    for (const double step : steps)
        nested = 1.0 - y2 * step * nested;
    return y * nested;
}

} // namespace

double fadeCurveValue(FadeCurve curve, double x)
{
    switch (curve) {
    case FadeCurve::linear:
        return x;
    case FadeCurve::smooth:
        return x * x * (3.0 - 2.0 * x);
    case FadeCurve::equalPower:
        return x >= 1.0 ? 1.0 : quarterSine(x);
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
    // A ramp at 1 gives 1 on every curve, so only a ramp below it is evaluated: most of a clip
    // lies outside its fades, and inside one the other ramp is nearly always at 1.
    double gain = 1.0;
    if (in < 1.0)
        gain *= fadeCurveValue(clip.fadeCurve, std::max(in, 0.0));
    if (out < 1.0)
        gain *= fadeCurveValue(clip.fadeCurve, std::max(out, 0.0));
    return gain;
}

void applyClipFadeGains(const Clip &clip, TimeUs timeUs, const TimeUs *offsetsUs, int frames, double *gains)
{
    if (clip.fadeInUs <= 0 && clip.fadeOutUs <= 0)
        return;
    // The ramps first, as clipFadeGain works them out; then the curve over each in one loop
    // without calls, so that the compiler can run several frames at once.
    constexpr int kRun = 256;
    double in[kRun];
    double out[kRun];
    const TimeUs duration = std::max(clip.timelineDurationUs, TimeUs(0));
    for (int start = 0; start < frames; start += kRun) {
        const int count = std::min(kRun, frames - start);
        for (int i = 0; i < count; ++i) {
            const TimeUs local =
                std::clamp(timeUs + offsetsUs[start + i] - clip.timelineStartUs, TimeUs(0), duration);
            const TimeUs remaining = clip.timelineDurationUs - local;
            in[i] = clip.fadeInUs > 0 && local < clip.fadeInUs ? double(local) / double(clip.fadeInUs) : 1.0;
            out[i] = clip.fadeOutUs > 0 && remaining < clip.fadeOutUs
                         ? double(remaining) / double(clip.fadeOutUs)
                         : 1.0;
        }
        double *g = gains + start;
        switch (clip.fadeCurve) {
        case FadeCurve::equalPower:
            for (int i = 0; i < count; ++i) {
                const double a = in[i] < 1.0 ? quarterSine(std::max(in[i], 0.0)) : 1.0;
                const double b = out[i] < 1.0 ? quarterSine(std::max(out[i], 0.0)) : 1.0;
                g[i] *= a * b;
            }
            break;
        default:
            for (int i = 0; i < count; ++i) {
                const double a = in[i] < 1.0 ? fadeCurveValue(clip.fadeCurve, std::max(in[i], 0.0)) : 1.0;
                const double b = out[i] < 1.0 ? fadeCurveValue(clip.fadeCurve, std::max(out[i], 0.0)) : 1.0;
                g[i] *= a * b;
            }
            break;
        }
    }
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
