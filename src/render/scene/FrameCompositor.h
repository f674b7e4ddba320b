#pragma once

#include "core/document/model/Project.h"
#include "core/document/model/Types.h"
#include "render/gl/GpuFrameTexture.h"
#include "render/scene/GpuScene.h"
#include "render/scene/SceneLayers.h"

#include <QImage>
#include <QMetaType>
#include <QSize>
#include <QString>

namespace orvel {

// Turns one instant of a project into one frame: decides what is visible, decodes and evaluates
// everything into a GpuScene on the calling thread, then hands the scene to the GPU compositor.
// It only reads the project, which the caller keeps alive and unchanged during a call.
class FrameCompositor
{
public:
    struct RenderOptions
    {
        double previewScale = 1.0;  // canvas scale, read clamped to 0.1..1.0
        int32_t maxEchoFrames = -1; // echo history limit; below 0 none
        TimeUs readAheadUs = 0;     // decoded frames kept ahead of the playhead; negative as 0
        QString excludedClipId;     // a clip left out of the frame (not out of its transition)
    };

    // The picture scale actually used for a requested one.
    static double clampScale(double previewScale);
    // Canvas size in pixels of a project at a scale already clamped.
    static QSize outputSize(const Project &project, double scale);

    explicit FrameCompositor(const Project *project) : m_project(project) {}

    QImage render(TimeUs timeUs);
    // Null when there is no project or nothing could be drawn (for instance without OpenGL).
    QImage render(TimeUs timeUs, const RenderOptions &options);
    // Empty when OpenGL is unavailable or nothing could be drawn.
    GpuFrameTexture renderToTexture(TimeUs timeUs, const RenderOptions &options);

    // Opens the readers the frame needs and starts every decode at once; with `scene` given it
    // then builds the scene. False without a project.
    bool prepare(TimeUs timeUs, const RenderOptions &options, GpuScene *scene = nullptr);
    // The building alone, for a frame whose decodes were started (or are cached already).
    GpuScene buildScene(TimeUs timeUs, QSize outputSize, double scale, const RenderOptions &options) const;

private:
    void startReaders(TimeUs timeUs) const;
    void requestDecodes(TimeUs timeUs, QSize outputSize) const;
    void fillBackground(GpuScene &scene, const SceneContext &context, TimeUs timeUs) const;
    void appendTrackEntries(GpuScene &scene, const SceneContext &context, const Track &track, TimeUs timeUs,
                            const QString &excludedClipId) const;

    const Project *m_project = nullptr;
};

} // namespace orvel

Q_DECLARE_METATYPE(orvel::FrameCompositor::RenderOptions)
