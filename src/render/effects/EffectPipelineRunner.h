#pragma once

#include "catalog/EffectPackage.h"
#include "core/document/model/Types.h"
#include "render/gl/GlFbo.h"
#include "render/scene/GpuScene.h"

#include <QList>
#include <QSize>
#include <QString>
#include <QVariantMap>
#include <QtGui/qopengl.h>

namespace orvel {

// Runs a package's passes on the GL thread inside a job. `inputs` are the run's source textures
// (the caller keeps them); `name` keys the compiled programs. Returns a canvas-sized framebuffer
// from the runtime's pool, or an invalid one when any pass could not run: the caller then goes
// on with the picture it had.
GlFbo runPipeline(const QString &name, const EffectPipeline &pipeline, const QList<GLuint> &inputs,
                  const QVariantMap &params, TimeUs timeUs, double progress, QSize canvasSize);

// The float a string parameter named `position` or `blendMode` stands for in a shader.
float namedParameterCode(const QString &text);

// Adds u_faceValid and, for a valid face, its points and sizes as u_face* floats, taken from
// the face at the parameter "faceIndex" (default 0).
void addFaceUniforms(QVariantMap &params, const QList<FaceDetection> &faces);

} // namespace orvel
