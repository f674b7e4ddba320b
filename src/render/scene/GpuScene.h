#pragma once

#include "core/document/model/Project.h"
#include "core/document/model/Types.h"
#include "media/frames/VideoColour.h"

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QList>
#include <QRectF>
#include <QSize>
#include <QString>
#include <QVariantMap>

#include <memory>

namespace orvel {

struct EffectPipeline; // a transition package's shader passes, owned by the transition catalog

// One face in one frame, as the face tracker stores it: points normalised to the clip's picture.
struct FaceDetection
{
    bool valid = false;
    QPointF leftEye, rightEye, nose, mouth, mouthLeft, mouthRight, chin, forehead, center;
    double rx = 0.0; // half width and half height of the face, normalised
    double ry = 0.0;
    double angle = 0.0; // roll, radians
    double eyeRadius = 0.0;
    double presence = 0.0;
};

// One picture of one clip at one instant and how it lands on the canvas. Everything here has
// already been evaluated for the instant: the compositor only draws.
struct GpuLayer
{
    QImage image;    // the picture when it is not NV12
    QByteArray nv12; // tightly packed NV12; wins over `image` when not empty
    int32_t nv12Width = 0;
    int32_t nv12Height = 0;
    VideoColour nv12Colour;        // how the NV12 samples are to be read
    QList<EffectInstance> effects; // parameters with their keyframes already evaluated
    ClipMask mask;
    QString mattePath;
    TimeUs matteOffsetUs = 0;
    QImage maskImage; // the matte frame for this instant
    QRectF rect;      // placement in output pixels, top-left origin
    double rotationDegrees = 0.0;
    bool flipH = false;
    bool flipV = false;
    double opacity = 1.0;
    TimeUs localTimeUs = 0; // the instant minus the clip's start
    QList<FaceDetection> faces;
    bool valid = false;
};

// One drawing step: a plain layer, or a transition between two clips' layers.
struct GpuSceneEntry
{
    bool isTransition = false;
    int32_t blendMode = 0; // 0 normal, 1 multiply, 2 screen, 3 overlay, 4 add, 5 darken, 6 lighten
    GpuLayer layer;
    GpuLayer fromLayer;
    GpuLayer toLayer;
    QString transitionKey; // "transition:" followed by the kind
    std::shared_ptr<const EffectPipeline> transitionPipeline;
    QVariantMap transitionParams;
    double transitionProgress = 0.0; // 0..1
    TimeUs transitionTimeUs = 0;     // the instant minus the start of the transition window
};

// A plain description of one frame, built on the caller's thread and drawn on the GL thread.
struct GpuScene
{
    QSize size;
    QColor backgroundColor = QColor(0, 0, 0);
    bool backgroundBlur = false;
    double blurStrength = 20.0;
    QImage backgroundImage;
    QList<GpuSceneEntry> entries; // bottom first
};

} // namespace orvel
