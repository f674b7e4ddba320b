#include "core/document/ClipTiming.h"

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

TimeUs roundToUs(double value)
{
    return TimeUs(std::llround(value));
}

} // namespace

TimeUs clipSourceOffsetUs(const Clip &clip, TimeUs localUs)
{
    const TimeUs local = std::clamp(localUs, TimeUs(0), std::max(clip.timelineDurationUs, TimeUs(0)));
    if (clip.speedCurve.isActive())
        return sourceOffsetFromTimeline(clip.speedCurve, local, clipSourceSpanUs(clip));
    return roundToUs(double(local) * effectiveSpeed(clip.speed));
}

TimeUs clipTimelineOffsetUs(const Clip &clip, TimeUs sourceOffsetUs)
{
    if (clip.speedCurve.isActive())
        return timelineOffsetFromSource(clip.speedCurve, sourceOffsetUs, clipSourceSpanUs(clip));
    return roundToUs(double(sourceOffsetUs) / effectiveSpeed(clip.speed));
}

TimeUs clipSourceTimeUs(const Clip &clip, TimeUs timelineUs)
{
    const TimeUs offset = clipSourceOffsetUs(clip, timelineUs - clip.timelineStartUs);
    if (!clip.reverse)
        return clip.srcInUs + offset;
    if (clip.srcOutUs <= clip.srcInUs)
        return clip.srcInUs;
    return clip.srcOutUs - std::min(offset, clipSourceSpanUs(clip));
}

double clipSpeedAtLocalUs(const Clip &clip, TimeUs localUs)
{
    if (clip.speedCurve.isActive())
        return std::clamp(speedAtTimeline(clip.speedCurve, localUs, clipSourceSpanUs(clip)), kCurveSpeedMin,
                          kCurveSpeedMax);
    return effectiveSpeed(clip.speed);
}

TimeUs clipLeadingGrowthSourceUs(const Clip &clip, TimeUs timelineDeltaUs)
{
    const double speed = clip.speedCurve.isActive() ? speedAtSource(clip.speedCurve, clip.reverse ? 1.0 : 0.0)
                                                    : effectiveSpeed(clip.speed);
    return roundToUs(double(timelineDeltaUs) * speed);
}

void applySpeedDurationRule(Clip &clip, TimeUs sourceLengthUs)
{
    const double speed = effectiveSpeed(clip.speed);
    const TimeUs span = roundToUs(double(clip.timelineDurationUs) * speed);
    clip.srcOutUs = std::min(clip.srcInUs + span, sourceLengthUs);
    clip.timelineDurationUs = std::max(roundToUs(double(clipSourceSpanUs(clip)) / speed), TimeUs(1));
}

void applySpeedDurationRule(const Project &project, Clip &clip)
{
    applySpeedDurationRule(clip, clipSourceLengthUs(project, clip));
}

bool clearSpeedCurve(Clip &clip)
{
    if (!clip.speedCurve.isActive())
        return false;
    clip.speedCurve = SpeedCurve{};
    clip.timelineDurationUs =
        std::max(roundToUs(double(clipSourceSpanUs(clip)) / effectiveSpeed(clip.speed)), TimeUs(1));
    return true;
}

} // namespace orvel
