#pragma once

#include "render/gl/GlFbo.h"
#include "render/scene/GpuScene.h"

#include <QSize>
#include <QString>
#include <QtGui/qopengl.h>

#include <functional>
#include <memory>

namespace orvel {

// What the compositor needs to know of one effect's catalog entry to decide whether it runs.
struct GpuEffectInfo
{
    bool found = false;         // the catalog has a descriptor for the id
    QString id;                 // the descriptor's own id
    QString backend;            // "gpu", "cpu" or "compositor"
    bool pipelineValid = false; // the descriptor's shader pipeline loaded
};

// The seam between the compositor's effect and transition loops and whatever runs shader
// pipelines. The compositor owns the loops and their skip rules; the installed hooks look
// effects up and run them. With nothing installed every effect is skipped and every transition
// crossfades. All three are called on the GL thread inside a compositor job.
struct GpuEffectHooks
{
    std::function<GpuEffectInfo(const QString &catalogId)> describe;
    // Runs one effect found by `describe` on `input` (a straight-alpha texture of `inputSize`):
    // merges its parameters, binds the layer's faces when the effect asks for them, and runs the
    // pipeline at the layer's local time, progress 0, at the input's size. A framebuffer from
    // the runtime's pool, or an invalid one when the effect failed.
    std::function<GlFbo(const EffectInstance &effect, const GpuLayer &layer, GLuint input, QSize inputSize)>
        runEffect;
    // Runs `entry.transitionPipeline` on the two clips' canvas-sized pictures, from then to, with
    // the entry's key, parameters, time and progress. Invalid when the pipeline failed.
    std::function<GlFbo(const GpuSceneEntry &entry, GLuint from, GLuint to, QSize canvasSize)> runTransition;
};

// Installs the hooks for all later frames; an empty value removes them. Any thread.
void setGpuEffectHooks(GpuEffectHooks hooks);
// The hooks in force, never null; taken once per frame.
std::shared_ptr<const GpuEffectHooks> gpuEffectHooks();

} // namespace orvel
