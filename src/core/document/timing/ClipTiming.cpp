#include "core/document/timing/ClipTiming.h"

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

TimeUs roundToUs(double value)
{
    return TimeUs(std::llround(value));
}

constexpr TimeUs kCurvedClipMinLengthUs = 100000;

// Moves the curve's window with the source: the playing start shifts by startShiftUs of source
// (along the direction of play) and the span becomes newSpanUs long.
void repinCurve(Clip &clip, TimeUs startShiftUs, TimeUs newSpanUs)
{
    const double spanUs = double(clipSourceSpanUs(clip));
    clip.speedCurve =
        subCurve(clip.speedCurve, double(startShiftUs) / spanUs, double(startShiftUs + newSpanUs) / spanUs);
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
    const double speed =
        clip.speedCurve.isActive() ? speedAtSource(clip.speedCurve, 0.0) : effectiveSpeed(clip.speed);
    return roundToUs(double(timelineDeltaUs) * speed);
}

void applySpeedDurationRule(Clip &clip, TimeUs sourceLengthUs)
{
    if (clip.speedCurve.isActive()) {
        clip.timelineDurationUs =
            std::max(retimedDuration(clip.speedCurve, clipSourceSpanUs(clip)), TimeUs(1));
        return;
    }
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

bool hasCurvedTiming(const Clip &clip)
{
    return clip.speedCurve.isActive() && clipSourceSpanUs(clip) >= 1;
}

bool trimCurvedClipLeft(Clip &clip, TimeUs deltaUs, TimeUs sourceLengthUs)
{
    const TimeUs spanUs = clipSourceSpanUs(clip);
    const TimeUs durationUs = clip.timelineDurationUs - deltaUs;
    if (deltaUs == 0 || durationUs < kCurvedClipMinLengthUs)
        return false;
    const TimeUs shiftUs = sourceOffsetFromTimelineUnbounded(clip.speedCurve, deltaUs, spanUs);
    if ((deltaUs > 0 && shiftUs < 1) || spanUs - shiftUs < kCurvedClipMinLengthUs)
        return false;
    if (clip.reverse ? clip.srcOutUs - shiftUs > sourceLengthUs : clip.srcInUs + shiftUs < 0)
        return false;
    repinCurve(clip, shiftUs, spanUs - shiftUs);
    if (clip.reverse)
        clip.srcOutUs -= shiftUs;
    else
        clip.srcInUs += shiftUs;
    clip.timelineStartUs += deltaUs;
    clip.timelineDurationUs = durationUs;
    return true;
}

void applyCurvedClipDuration(Clip &clip, TimeUs wantedUs, TimeUs sourceLengthUs)
{
    const TimeUs spanUs = clipSourceSpanUs(clip);
    const TimeUs roomUs = std::max(clip.reverse ? clip.srcOutUs : sourceLengthUs - clip.srcInUs, TimeUs(1));
    const TimeUs maximumUs = timelineOffsetFromSourceUnbounded(clip.speedCurve, roomUs, spanUs);
    const TimeUs durationUs = std::max(std::min(maximumUs, wantedUs), kCurvedClipMinLengthUs);
    const TimeUs newSpanUs =
        std::clamp(sourceOffsetFromTimelineUnbounded(clip.speedCurve, durationUs, spanUs), TimeUs(1), roomUs);
    repinCurve(clip, 0, newSpanUs);
    if (clip.reverse)
        clip.srcInUs = clip.srcOutUs - newSpanUs;
    else
        clip.srcOutUs = clip.srcInUs + newSpanUs;
    clip.timelineDurationUs = std::max(retimedDuration(clip.speedCurve, newSpanUs), TimeUs(1));
}

void setCurvedClipSource(Clip &clip, TimeUs inUs, TimeUs outUs)
{
    const TimeUs shiftUs = clip.reverse ? clip.srcOutUs - outUs : inUs - clip.srcInUs;
    repinCurve(clip, shiftUs, outUs - inUs);
    clip.srcInUs = inUs;
    clip.srcOutUs = outUs;
    clip.timelineDurationUs = std::max(retimedDuration(clip.speedCurve, outUs - inUs), TimeUs(1));
}

} // namespace orvel
