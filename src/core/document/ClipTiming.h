#pragma once

#include "core/document/Project.h"

namespace orvel {

// How a clip's timeline time maps to its source time under constant speed, reverse or a speed
// curve, and how the timing fields follow a speed change. Every formula reads a non-positive
// speed (possible only in old files) as 1.0, and a curve over a source span below 1 microsecond
// maps as the identity.

inline TimeUs clipSourceSpanUs(const Clip &clip)
{
    return clip.srcOutUs - clip.srcInUs;
}

// Source offset, counted from the playing end, for a clip-local timeline offset. The local
// offset is first clamped to the clip's duration, so times just outside the clip read its ends.
TimeUs clipSourceOffsetUs(const Clip &clip, TimeUs localUs);

// The inverse: the clip-local timeline offset at which a source offset plays.
TimeUs clipTimelineOffsetUs(const Clip &clip, TimeUs sourceOffsetUs);

// Source time in the file for a timeline time. A reversed clip reads backward from srcOutUs and
// never before srcInUs; an empty reversed range reads srcInUs.
TimeUs clipSourceTimeUs(const Clip &clip, TimeUs timelineUs);

// Instantaneous playback speed at a clip-local time: the curve's speed there, or the constant
// speed.
double clipSpeedAtLocalUs(const Clip &clip, TimeUs localUs);

// Source length taken up when the clip's leading edge grows by timelineDeltaUs. With a curve
// this uses the speed at the leading end of the source: its end when reversed, its start
// otherwise.
TimeUs clipLeadingGrowthSourceUs(const Clip &clip, TimeUs timelineDeltaUs);

// After the constant speed has been replaced: keeps the timeline length and lets the source span
// follow, until the file's end (sourceLengthUs) cuts it; only then does the timeline length shrink.
void applySpeedDurationRule(Clip &clip, TimeUs sourceLengthUs);
void applySpeedDurationRule(const Project &project, Clip &clip);

// Empties an active curve and gives the clip the duration its source span takes at the constant
// speed. False (nothing changed) when the clip has no active curve.
bool clearSpeedCurve(Clip &clip);

} // namespace orvel
