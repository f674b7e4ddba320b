#pragma once

#include "core/document/model/Project.h"

#include <QString>

#include <optional>

namespace orvel {

// Canvas limits of a project.
inline constexpr int kMinCanvasSide = 16;
inline constexpr int kMaxCanvasWidth = 7680;
inline constexpr int kMaxCanvasHeight = 4320;
inline constexpr int kMinProjectFps = 1;
inline constexpr int kMaxProjectFps = 240;

int clampCanvasWidth(int width);
int clampCanvasHeight(int height);
int clampProjectFps(int fps);

// Clips that put pixels on the canvas: video, image, text, subtitle and shape.
bool isVisualClipType(ClipType type);
bool projectHasVisualClips(const Project &project);

// An empty width or height reads as the canvas size, so a canvas change would resize such clips.
// This gives every visual clip on a non-audio track the current canvas size as one explicit key
// at 0 where the property is empty, which keeps its picture where it is.
void pinVisualClipSizes(Project &project);

// Makes the canvas the rectangle (x, y, width, height) of the present canvas, already rounded:
// sizes are pinned first, then every x and y key shifts by -x and -y (an empty property gets one
// key at 0), and the canvas takes the clamped size. False, with nothing changed, when the
// rectangle is the canvas as it is.
bool cropCanvas(Project &project, int x, int y, int width, int height);

// The named aspect within 0.02 of a width-to-height ratio, in the order 16:9, 9:16, 4:3, 1:1,
// else "source".
QString nearestNamedAspect(double ratio);

// A track type typed by a person: surrounding blanks and case do not matter. Empty for a word
// that names no track type.
std::optional<TrackType> trackTypeFromUserText(const QString &text);

// Where a track at index lands when the track at fromIndex moves to toIndex (QList::move order).
int trackIndexAfterMove(int index, int fromIndex, int toIndex);

double clampTrackHeightScale(double scale);

} // namespace orvel
