#pragma once

#include "core/document/model/Project.h"

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

// Source length taken up when the clip's leading edge grows by timelineDeltaUs: the speed that
// plays at the clip's left edge times the time. A curve's position 0 plays there whether or not
// the clip is reversed.
TimeUs clipLeadingGrowthSourceUs(const Clip &clip, TimeUs timelineDeltaUs);

// After the constant speed has been replaced: keeps the timeline length and lets the source span
// follow, until the file's end (sourceLengthUs) cuts it; only then does the timeline length shrink.
// A curved clip plays at its curve's speeds, so its source stays and its duration is the curve's.
void applySpeedDurationRule(Clip &clip, TimeUs sourceLengthUs);
void applySpeedDurationRule(const Project &project, Clip &clip);

// Empties an active curve and gives the clip the duration its source span takes at the constant
// speed. False (nothing changed) when the clip has no active curve.
bool clearSpeedCurve(Clip &clip);

// Edges of a clip with an active curve over a source span of at least 1 microsecond. The curve
// stays pinned to the source, so every frame that remains in the clip keeps its source time.
// The left edge moves by deltaUs of timeline (positive shrinks, negative grows at the speeds
// before the old edge); the right edge stays. False for a refusal: under the minimum length, or
// more source than the file has.
bool trimCurvedClipLeft(Clip &clip, TimeUs deltaUs, TimeUs sourceLengthUs);
// The right edge at a wanted duration, limited by the file's end and the minimum length.
void applyCurvedClipDuration(Clip &clip, TimeUs wantedUs, TimeUs sourceLengthUs);
// New in and out points (already limited), the curve following the source and the duration the
// curve's.
void setCurvedClipSource(Clip &clip, TimeUs inUs, TimeUs outUs);
// Whether the curved edge rules above apply to the clip.
bool hasCurvedTiming(const Clip &clip);

} // namespace orvel
