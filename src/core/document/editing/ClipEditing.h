#pragma once

#include "core/document/model/Project.h"

#include <QList>
#include <QRectF>

namespace orvel {

// Limits shared by every timeline edit.
inline constexpr TimeUs kSnapRadiusUs = 150000;
inline constexpr TimeUs kMinClipLengthUs = 100000;
inline constexpr TimeUs kGeneratedClipMaxUs = 300000000;
inline constexpr TimeUs kDefaultClipLengthUs = 5000000;
inline constexpr TimeUs kDefaultSubtitleClipLengthUs = 30000000;

// QML speaks double seconds; the document speaks microseconds, rounded to the nearest so that a
// time read out as seconds comes back as the same microsecond. NaN reads as 0 and infinities
// saturate, so a hostile value cannot overflow.
TimeUs secondsToUs(double seconds);
inline double usToSeconds(TimeUs us)
{
    return double(us) / 1e6;
}

// A timeline time as a time inside the clip (where its keyframes live), kept within the clip.
TimeUs clipLocalTimeUs(const Clip &clip, TimeUs timelineUs);

// Image, text, subtitle and shape clips: their length is free, not bound to a media file.
bool isGeneratedClip(ClipType type);

struct SnapContext
{
    bool enabled = true;
    TimeUs playheadUs = 0;
    QList<TimeUs> beatsUs; // beat snap list, empty without beat analysis
};

// The one snap rule: the first candidate (0, playhead, every clip edge, then the beats) strictly
// nearer than the snap radius wins, ties going to the earlier candidate; floored at 0.
TimeUs snapTimeUs(const Project &project, const SnapContext &snap, TimeUs t);

// Where a span of lengthUs wanted at startUs lands on a track: snapped, then slid right past every
// clip it would overlap (except skipClip) until it fits. Never negative.
TimeUs resolvePlacementUs(const Project &project, const SnapContext &snap, int trackIndex, TimeUs startUs,
                          TimeUs lengthUs, int skipClip = -1);

// Cuts a clip offsetUs after its start. On success left is the original shortened and right a new
// clip (fresh id) holding the rest. Refused too near either end or where the source offset would
// round to nothing.
bool splitClipCore(const Clip &clip, TimeUs offsetUs, Clip &left, Clip &right);

// "Subtitles" or "Subtitles (n)" from the cue count.
void nameSubtitleClipFromCues(Clip &clip);

// Edge trims. snapped is the already snapped new start or end. Return false for a refusal (or no
// change); the clip is then untouched.
bool trimLeftEdge(const Project &project, Clip &clip, TimeUs snappedStartUs);
bool trimRightEdge(const Project &project, Clip &clip, TimeUs snappedEndUs);
// Steps shared by trim right and the duration setter: limits, then the source span that follows.
void applyWantedDuration(const Project &project, Clip &clip, TimeUs wantedUs);
// In and out points in source time, with the duration following.
void applySourceTrim(const Project &project, Clip &clip, TimeUs inUs, TimeUs outUs);
// Fade in within 0..duration, fade out within what is left.
void applyFades(Clip &clip, TimeUs fadeInUs, TimeUs fadeOutUs);

// Whether b continues a seamlessly on the timeline and in the source, so the two read as one.
bool clipsMergeable(const Clip &a, const Clip &b);
Clip mergedClip(const Clip &a, const Clip &b);

// Moves a video clip's embedded sound to a new linked audio clip (returned). The video clip gets
// the link and stops playing its own audio.
Clip separateAudioClip(Clip &videoClip);

// Default frames of new clips, in project pixels; sizes kept at or above 1.
QRectF assetClipRect(const Asset *asset, int canvasWidth, int canvasHeight);
QRectF textClipRect(int canvasWidth, int canvasHeight);
QRectF subtitleClipRect(int canvasWidth, int canvasHeight);
QRectF shapeClipRect(double aspect, int canvasWidth, int canvasHeight);
QRectF squareClipRect(int canvasWidth, int canvasHeight);
// Writes the frame as one key at time 0 on x, y, width and height, replacing what they held.
void setClipFrame(Clip &clip, const QRectF &frame);

// The clip type made from an asset kind; false for kinds that cannot go on the timeline.
bool clipTypeForAssetKind(AssetKind kind, ClipType &type);

// A clip that plays a whole asset from its start; no timeline position yet.
Clip clipFromAsset(const Asset &asset);

} // namespace orvel
