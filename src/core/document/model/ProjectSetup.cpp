#include "core/document/model/ProjectSetup.h"

#include "core/document/model/EnumStrings.h"

#include <algorithm>
#include <cmath>

namespace orvel {

int clampCanvasWidth(int width)
{
    return std::clamp(width, kMinCanvasSide, kMaxCanvasWidth);
}

int clampCanvasHeight(int height)
{
    return std::clamp(height, kMinCanvasSide, kMaxCanvasHeight);
}

int clampProjectFps(int fps)
{
    return std::clamp(fps, kMinProjectFps, kMaxProjectFps);
}

bool isVisualClipType(ClipType type)
{
    return type != ClipType::audio;
}

bool projectHasVisualClips(const Project &project)
{
    for (const Track &track : project.tracks)
        for (const Clip &clip : track.clips)
            if (isVisualClipType(clip.type))
                return true;
    return false;
}

namespace {

// Visits every visual clip on a non-audio track, detaching only the tracks that hold one.
template <typename Visit> void forEachCanvasClip(Project &project, Visit visit)
{
    for (int t = 0; t < project.tracks.size(); ++t) {
        const Track &track = std::as_const(project.tracks)[t];
        if (track.type == TrackType::audio)
            continue;
        for (int c = 0; c < track.clips.size(); ++c)
            if (isVisualClipType(track.clips[c].type))
                visit(project.tracks[t].clips[c]);
    }
}

void pinIfEmpty(AnimatedProperty &property, double value)
{
    if (property.isEmpty())
        property = constantProperty(value);
}

void shiftProperty(AnimatedProperty &property, double delta)
{
    if (std::abs(delta) < 1e-12)
        return;
    if (property.isEmpty()) {
        property = constantProperty(delta);
        return;
    }
    for (Keyframe &key : property.keyframes)
        key.value += delta;
}

} // namespace

void pinVisualClipSizes(Project &project)
{
    const double width = project.width;
    const double height = project.height;
    forEachCanvasClip(project, [&](Clip &clip) {
        pinIfEmpty(clip.width, width);
        pinIfEmpty(clip.height, height);
    });
}

bool cropCanvas(Project &project, int x, int y, int width, int height)
{
    const int newWidth = clampCanvasWidth(width);
    const int newHeight = clampCanvasHeight(height);
    if (x == 0 && y == 0 && newWidth == project.width && newHeight == project.height)
        return false;
    pinVisualClipSizes(project);
    forEachCanvasClip(project, [&](Clip &clip) {
        shiftProperty(clip.x, -double(x));
        shiftProperty(clip.y, -double(y));
    });
    project.width = newWidth;
    project.height = newHeight;
    return true;
}

QString nearestNamedAspect(double ratio)
{
    struct NamedAspect
    {
        const char *name;
        double ratio;
    };
    static constexpr NamedAspect kAspects[] = {
        {"16:9", 16.0 / 9.0}, {"9:16", 9.0 / 16.0}, {"4:3", 4.0 / 3.0}, {"1:1", 1.0}};
    for (const NamedAspect &aspect : kAspects)
        if (std::abs(ratio - aspect.ratio) <= 0.02)
            return QString::fromLatin1(aspect.name);
    return QStringLiteral("source");
}

std::optional<TrackType> trackTypeFromUserText(const QString &text)
{
    const QString word = text.trimmed().toLower();
    for (TrackType type :
         {TrackType::video, TrackType::audio, TrackType::text, TrackType::subtitle, TrackType::shape})
        if (trackTypeName(type) == word)
            return type;
    return std::nullopt;
}

int trackIndexAfterMove(int index, int fromIndex, int toIndex)
{
    if (index == fromIndex)
        return toIndex;
    if (fromIndex < toIndex && index > fromIndex && index <= toIndex)
        return index - 1;
    if (fromIndex > toIndex && index >= toIndex && index < fromIndex)
        return index + 1;
    return index;
}

double clampTrackHeightScale(double scale)
{
    if (std::isnan(scale))
        return kTrackHeightScaleMin;
    return std::clamp(scale, kTrackHeightScaleMin, kTrackHeightScaleMax);
}

} // namespace orvel
