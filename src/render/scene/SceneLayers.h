#pragma once

#include "core/document/model/Project.h"
#include "core/document/editing/Transitions.h"
#include "render/scene/GpuScene.h"

#include <QImage>
#include <QList>
#include <QSize>

#include <optional>

namespace orvel {

// What every layer of one frame shares: the document, the canvas size in pixels and the scale
// from project pixels to canvas pixels.
struct SceneContext
{
    const Project *project = nullptr;
    QSize outputSize;
    double scale = 1.0;
    int32_t maxEchoFrames = -1; // below 0: no limit
};

// Opacity of a clip at a clip-local time: its opacity curve times the fade-in and fade-out
// ramps, each shaped by the clip's fade curve.
double clipOpacityAt(const Clip &clip, TimeUs localUs);

// A fade ramp value v in 0..1 shaped by the curve.
double shapedFade(FadeCurve curve, double v);

// The clip's effects at a clip-local time with every keyframed parameter evaluated. The echo
// effect is left out: it changes which pictures a layer is made of, not how one is drawn.
QList<EffectInstance> effectsAt(const Clip &clip, TimeUs localUs);
bool hasTimeEcho(const Clip &clip);

// The transition of a track that plays at t, with both its clips.
struct TransitionAtTime
{
    const Transition *transition = nullptr;
    const Clip *from = nullptr;
    const Clip *to = nullptr;
    TransitionWindow window;
    double progress = 0.0;
};
std::optional<TransitionAtTime> transitionAt(const Track &track, TimeUs t);

// The picture and placement of one clip at timeline time t. Not valid when the clip is too
// small to see or has no picture at t.
GpuLayer buildLayer(const SceneContext &context, const Clip &clip, TimeUs t);

// One clip as a finished image at the canvas size, effects and mask applied on the CPU; used
// for the blurred background. Null when the clip has no picture at t.
QImage renderClipImage(const SceneContext &context, const Clip &clip, TimeUs t);

// Multiplies the alpha of a straight RGBA8888 image by a Grayscale8 mask of the same size.
void multiplyAlphaByMask(QImage &rgba, const QImage &mask);

} // namespace orvel
