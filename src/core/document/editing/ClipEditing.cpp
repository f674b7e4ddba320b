#include "core/document/editing/ClipEditing.h"

#include "core/document/timing/ClipTiming.h"

#include <QtMath>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace orvel {

namespace {

// Times from QML are kept well inside the range where sums and differences cannot overflow.
constexpr double kSecondsLimitUs = 1.0e15;

TimeUs roundedUs(double value)
{
    return TimeUs(std::llround(value));
}

// Source span for a timeline length, by the curve when there is one, else by the constant speed.
TimeUs sourceSpanForTimeline(const Clip &clip, TimeUs timelineUs)
{
    if (clip.speedCurve.isActive())
        return sourceOffsetFromTimeline(clip.speedCurve, timelineUs, clip.srcOutUs - clip.srcInUs);
    return roundedUs(double(timelineUs) * effectiveSpeed(clip.speed));
}

void shiftCues(QList<SubtitleCue> &cues, TimeUs deltaUs)
{
    for (SubtitleCue &cue : cues) {
        cue.startUs += deltaUs;
        cue.endUs += deltaUs;
    }
}

void splitCues(const QList<SubtitleCue> &cues, TimeUs offsetUs, QList<SubtitleCue> &left,
               QList<SubtitleCue> &right)
{
    left.clear();
    right.clear();
    for (const SubtitleCue &cue : cues) {
        if (cue.startUs < offsetUs) {
            SubtitleCue part = cue;
            part.endUs = std::min(cue.endUs, offsetUs);
            if (part.endUs > part.startUs)
                left.append(part);
        }
        if (cue.endUs > offsetUs) {
            SubtitleCue part = cue;
            part.startUs = std::max<TimeUs>(cue.startUs - offsetUs, 0);
            part.endUs = cue.endUs - offsetUs;
            if (part.endUs > part.startUs)
                right.append(part);
        }
    }
}

bool trimGeneratedLeft(Clip &clip, TimeUs snappedStartUs, TimeUs deltaUs)
{
    const TimeUs newDurationUs = clip.timelineDurationUs - deltaUs;
    if (newDurationUs > kGeneratedClipMaxUs || newDurationUs < kMinClipLengthUs)
        return false;
    clip.timelineStartUs = snappedStartUs;
    clip.timelineDurationUs = newDurationUs;
    shiftCues(clip.subtitleCues, -deltaUs);
    clip.srcInUs = 0;
    clip.srcOutUs = std::min(newDurationUs, kGeneratedClipMaxUs);
    return true;
}

bool growMediaLeft(const Project &project, Clip &clip, TimeUs snappedStartUs, TimeUs growthUs)
{
    const TimeUs sourceDeltaUs = clipLeadingGrowthSourceUs(clip, growthUs);
    if (clip.reverse) {
        if (clip.srcOutUs + sourceDeltaUs > clipSourceLengthUs(project, clip))
            return false;
        clip.srcOutUs += sourceDeltaUs;
    } else {
        if (clip.srcInUs < sourceDeltaUs)
            return false;
        clip.srcInUs -= sourceDeltaUs;
    }
    clip.timelineDurationUs += growthUs;
    clip.timelineStartUs = snappedStartUs;
    return true;
}

bool shrinkMediaLeft(Clip &clip, TimeUs snappedStartUs, TimeUs deltaUs)
{
    if (clip.timelineDurationUs - deltaUs < kMinClipLengthUs)
        return false;
    const TimeUs sourceDeltaUs = sourceSpanForTimeline(clip, deltaUs);
    if (sourceDeltaUs < 1)
        return false;
    if (clip.srcOutUs - clip.srcInUs - sourceDeltaUs < kMinClipLengthUs)
        return false;
    if (clip.reverse)
        clip.srcOutUs -= sourceDeltaUs;
    else
        clip.srcInUs += sourceDeltaUs;
    clip.timelineDurationUs -= deltaUs;
    clip.timelineStartUs = snappedStartUs;
    return true;
}

bool sameTiming(const Clip &a, const Clip &b)
{
    return a.timelineStartUs == b.timelineStartUs && a.timelineDurationUs == b.timelineDurationUs &&
           a.srcInUs == b.srcInUs && a.srcOutUs == b.srcOutUs;
}

double atLeastOne(double value)
{
    return std::max(value, 1.0);
}

} // namespace

TimeUs secondsToUs(double seconds)
{
    if (std::isnan(seconds))
        return 0;
    return TimeUs(std::llround(std::clamp(seconds * 1e6, -kSecondsLimitUs, kSecondsLimitUs)));
}

TimeUs clipLocalTimeUs(const Clip &clip, TimeUs timelineUs)
{
    return std::clamp<TimeUs>(timelineUs - clip.timelineStartUs, 0,
                              std::max<TimeUs>(clip.timelineDurationUs, 0));
}

bool isGeneratedClip(ClipType type)
{
    return type == ClipType::image || type == ClipType::text || type == ClipType::subtitle ||
           type == ClipType::shape;
}

TimeUs snapTimeUs(const Project &project, const SnapContext &snap, TimeUs t)
{
    if (!snap.enabled)
        return std::max<TimeUs>(t, 0);
    TimeUs result = t;
    TimeUs bestDistanceUs = kSnapRadiusUs;
    const auto consider = [&](TimeUs candidate) {
        const TimeUs distance = std::llabs(candidate - t);
        if (distance < bestDistanceUs) {
            bestDistanceUs = distance;
            result = candidate;
        }
    };
    consider(0);
    consider(snap.playheadUs);
    for (const Track &track : project.tracks) {
        for (const Clip &clip : track.clips) {
            consider(clip.timelineStartUs);
            consider(clip.timelineEndUs());
        }
    }
    for (TimeUs beat : snap.beatsUs)
        consider(beat);
    return std::max<TimeUs>(result, 0);
}

TimeUs resolvePlacementUs(const Project &project, const SnapContext &snap, int trackIndex, TimeUs startUs,
                          TimeUs lengthUs, int skipClip)
{
    TimeUs t = snapTimeUs(project, snap, startUs);
    if (trackIndex < 0 || trackIndex >= project.tracks.size())
        return std::max<TimeUs>(t, 0);
    QList<std::pair<TimeUs, TimeUs>> spans;
    const QList<Clip> &clips = project.tracks[trackIndex].clips;
    for (int i = 0; i < clips.size(); ++i)
        if (i != skipClip)
            spans.append({clips[i].timelineStartUs, clips[i].timelineEndUs()});
    std::sort(spans.begin(), spans.end());
    bool changed = true;
    while (changed) {
        changed = false;
        for (const auto &[spanStart, spanEnd] : spans) {
            if (t < spanEnd && t + lengthUs > spanStart) {
                t = spanEnd;
                changed = true;
            }
        }
    }
    return std::max<TimeUs>(t, 0);
}

bool splitClipCore(const Clip &clip, TimeUs offsetUs, Clip &left, Clip &right)
{
    if (offsetUs < kMinClipLengthUs || clip.timelineDurationUs - offsetUs < kMinClipLengthUs)
        return false;
    const TimeUs spanUs = clip.srcOutUs - clip.srcInUs;
    const TimeUs sourceOffsetUs = sourceSpanForTimeline(clip, offsetUs);
    if (sourceOffsetUs < 1 || sourceOffsetUs >= spanUs)
        return false;

    left = clip;
    right = clip;
    right.id = newUuid();
    right.timelineStartUs = clip.timelineStartUs + offsetUs;
    right.timelineDurationUs = clip.timelineDurationUs - offsetUs;
    if (clip.speedCurve.isActive()) {
        const double f = double(sourceOffsetUs) / double(spanUs);
        left.speedCurve = subCurve(clip.speedCurve, 0.0, f);
        right.speedCurve = subCurve(clip.speedCurve, f, 1.0);
    }
    if (clip.reverse) {
        right.srcOutUs = clip.srcOutUs - sourceOffsetUs;
        left.srcInUs = right.srcOutUs;
    } else {
        right.srcInUs = clip.srcInUs + sourceOffsetUs;
        left.srcOutUs = right.srcInUs;
    }
    splitCues(clip.subtitleCues, offsetUs, left.subtitleCues, right.subtitleCues);
    if (clip.type == ClipType::subtitle) {
        nameSubtitleClipFromCues(left);
        nameSubtitleClipFromCues(right);
    }
    left.timelineDurationUs = offsetUs;
    return true;
}

void nameSubtitleClipFromCues(Clip &clip)
{
    clip.name = clip.subtitleCues.isEmpty() ? QStringLiteral("Subtitles")
                                            : QStringLiteral("Subtitles (%1)").arg(clip.subtitleCues.size());
}

bool trimLeftEdge(const Project &project, Clip &clip, TimeUs snappedStartUs)
{
    const TimeUs deltaUs = snappedStartUs - clip.timelineStartUs;
    if (deltaUs == 0)
        return false;
    if (isGeneratedClip(clip.type))
        return trimGeneratedLeft(clip, snappedStartUs, deltaUs);
    Clip edited = clip;
    bool applied = false;
    if (hasCurvedTiming(clip))
        applied = trimCurvedClipLeft(edited, deltaUs, clipSourceLengthUs(project, clip));
    else
        applied = deltaUs < 0 ? growMediaLeft(project, edited, snappedStartUs, -deltaUs)
                              : shrinkMediaLeft(edited, snappedStartUs, deltaUs);
    if (!applied)
        return false;
    clip = edited;
    return true;
}

bool trimRightEdge(const Project &project, Clip &clip, TimeUs snappedEndUs)
{
    Clip edited = clip;
    applyWantedDuration(project, edited, snappedEndUs - clip.timelineStartUs);
    if (sameTiming(edited, clip))
        return false;
    clip = edited;
    return true;
}

void applyWantedDuration(const Project &project, Clip &clip, TimeUs wantedUs)
{
    const bool generated = isGeneratedClip(clip.type);
    const double speed = effectiveSpeed(clip.speed);
    const TimeUs sourceLengthUs = clipSourceLengthUs(project, clip);
    if (!generated && hasCurvedTiming(clip)) {
        applyCurvedClipDuration(clip, wantedUs, sourceLengthUs);
        return;
    }
    TimeUs maximumUs = kGeneratedClipMaxUs;
    if (!generated) {
        const TimeUs roomUs = clip.reverse ? clip.srcOutUs : sourceLengthUs - clip.srcInUs;
        maximumUs = roundedUs(double(roomUs) / speed);
    }
    const TimeUs durationUs = std::max(std::min(maximumUs, wantedUs), kMinClipLengthUs);
    const TimeUs spanUs = sourceSpanForTimeline(clip, durationUs);
    if (clip.reverse)
        clip.srcInUs = std::max<TimeUs>(clip.srcOutUs - spanUs, 0);
    else
        clip.srcOutUs = std::min(clip.srcInUs + spanUs, generated ? kGeneratedClipMaxUs : sourceLengthUs);
    clip.timelineDurationUs = durationUs;
}

void applySourceTrim(const Project &project, Clip &clip, TimeUs inUs, TimeUs outUs)
{
    const TimeUs lengthUs = clipSourceLengthUs(project, clip);
    const TimeUs newInUs = std::clamp<TimeUs>(inUs, 0, std::max<TimeUs>(lengthUs - kMinClipLengthUs, 0));
    const TimeUs newOutUs = std::max(std::min(lengthUs, outUs), newInUs + kMinClipLengthUs);
    if (hasCurvedTiming(clip)) {
        setCurvedClipSource(clip, newInUs, newOutUs);
        return;
    }
    clip.srcInUs = newInUs;
    clip.srcOutUs = newOutUs;
    const TimeUs spanUs = clip.srcOutUs - clip.srcInUs;
    if (clip.speedCurve.isActive())
        clip.timelineDurationUs = retimedDuration(clip.speedCurve, spanUs);
    else
        clip.timelineDurationUs =
            std::max(roundedUs(double(spanUs) / effectiveSpeed(clip.speed)), kMinClipLengthUs);
}

void applyFades(Clip &clip, TimeUs fadeInUs, TimeUs fadeOutUs)
{
    const TimeUs durationUs = std::max<TimeUs>(clip.timelineDurationUs, 0);
    clip.fadeInUs = std::clamp<TimeUs>(fadeInUs, 0, durationUs);
    clip.fadeOutUs = std::clamp<TimeUs>(fadeOutUs, 0, durationUs - clip.fadeInUs);
}

bool clipsMergeable(const Clip &a, const Clip &b)
{
    if (a.type != b.type || a.assetId.isEmpty() || a.assetId != b.assetId || a.path != b.path)
        return false;
    if (a.reverse != b.reverse || !qFuzzyCompare(effectiveSpeed(a.speed), effectiveSpeed(b.speed)))
        return false;
    if (a.speedCurve.isActive() || b.speedCurve.isActive())
        return false;
    if (a.timelineStartUs + a.timelineDurationUs != b.timelineStartUs)
        return false;
    return a.reverse ? a.srcInUs == b.srcOutUs : a.srcOutUs == b.srcInUs;
}

Clip mergedClip(const Clip &a, const Clip &b)
{
    Clip merged = a;
    merged.timelineDurationUs = a.timelineDurationUs + b.timelineDurationUs;
    if (a.reverse)
        merged.srcInUs = b.srcInUs;
    else
        merged.srcOutUs = b.srcOutUs;
    merged.fadeOutUs = b.fadeOutUs;
    return merged;
}

Clip separateAudioClip(Clip &videoClip)
{
    if (videoClip.linkId.isEmpty())
        videoClip.linkId = newUuid();
    videoClip.suppressEmbeddedAudio = true;

    Clip audio;
    audio.id = newUuid();
    audio.type = ClipType::audio;
    audio.linkId = videoClip.linkId;
    audio.assetId = videoClip.assetId;
    audio.name = videoClip.name;
    audio.path = videoClip.path;
    audio.timelineStartUs = videoClip.timelineStartUs;
    audio.timelineDurationUs = videoClip.timelineDurationUs;
    audio.srcInUs = videoClip.srcInUs;
    audio.srcOutUs = videoClip.srcOutUs;
    audio.speed = videoClip.speed;
    audio.reverse = videoClip.reverse;
    audio.fadeInUs = videoClip.fadeInUs;
    audio.fadeOutUs = videoClip.fadeOutUs;
    audio.fadeCurve = videoClip.fadeCurve;
    audio.volume = videoClip.volume;
    return audio;
}

QRectF assetClipRect(const Asset *asset, int canvasWidth, int canvasHeight)
{
    double w = asset ? asset->width : 0;
    double h = asset ? asset->height : 0;
    const int rotation = asset ? ((asset->rotationDegrees % 360) + 360) % 360 : 0;
    if (rotation == 90 || rotation == 270)
        std::swap(w, h);
    if (w > 0 && h > 0) {
        const double scale = std::min(canvasWidth / w, canvasHeight / h);
        return QRectF(0, 0, atLeastOne(w * scale), atLeastOne(h * scale));
    }
    return QRectF(0, 0, atLeastOne(canvasWidth), atLeastOne(canvasHeight));
}

QRectF textClipRect(int canvasWidth, int canvasHeight)
{
    return QRectF(0, canvasHeight * 0.35, atLeastOne(canvasWidth), atLeastOne(canvasHeight * 0.3));
}

QRectF subtitleClipRect(int canvasWidth, int canvasHeight)
{
    return QRectF(0, canvasHeight * 0.78, atLeastOne(canvasWidth), atLeastOne(canvasHeight * 0.18));
}

QRectF shapeClipRect(double aspect, int canvasWidth, int canvasHeight)
{
    const double a = std::isfinite(aspect) && aspect > 0.01 ? aspect : 1.6;
    double height = canvasHeight * 0.3;
    double width = height * a;
    if (width > canvasWidth * 0.6) {
        width = canvasWidth * 0.6;
        height = width / a;
    }
    return QRectF(0, 0, atLeastOne(width), atLeastOne(height));
}

QRectF squareClipRect(int canvasWidth, int canvasHeight)
{
    const double side = atLeastOne(std::min(canvasWidth, canvasHeight) * 0.25);
    return QRectF(0, 0, side, side);
}

void setClipFrame(Clip &clip, const QRectF &frame)
{
    clip.x = constantProperty(frame.x());
    clip.y = constantProperty(frame.y());
    clip.width = constantProperty(atLeastOne(frame.width()));
    clip.height = constantProperty(atLeastOne(frame.height()));
}

bool clipTypeForAssetKind(AssetKind kind, ClipType &type)
{
    switch (kind) {
    case AssetKind::video:
        type = ClipType::video;
        return true;
    case AssetKind::audio:
        type = ClipType::audio;
        return true;
    case AssetKind::image:
        type = ClipType::image;
        return true;
    case AssetKind::other:
        break;
    }
    return false;
}

Clip clipFromAsset(const Asset &asset)
{
    Clip clip;
    clip.id = newUuid();
    clip.assetId = asset.id;
    clipTypeForAssetKind(asset.kind, clip.type);
    clip.name = asset.name;
    clip.path = asset.path;
    clip.thumbnailPath = asset.thumbnailPath;
    clip.filmstripPath = asset.filmstripPath;
    const TimeUs durationUs = defaultAssetDurationUs(&asset);
    clip.srcInUs = 0;
    clip.srcOutUs = durationUs;
    clip.timelineDurationUs = durationUs;
    return clip;
}

} // namespace orvel
