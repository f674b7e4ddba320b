#pragma once

#include "catalog/EffectPackage.h"

#include <QList>
#include <QString>
#include <QVariantMap>

#include <cstdint>

namespace orvel {

// One loaded transition package: a shader pipeline with two source inputs, 0 the outgoing clip
// and 1 the incoming one.
struct TransitionDescriptor
{
    QString id;
    QString displayName;
    QString category = QStringLiteral("basic");
    QList<EffectParameter> parameters;
    EffectPipeline pipeline;
    QVariantMap fixedParams;
    int32_t order = 0;
    QString audioCurve = QStringLiteral("crossfade"); // "crossfade", "dip" or "hold"
    QString previewStripPath;                         // empty when the package has none
    int32_t previewFrames = 0;                        // frames laid side by side in the strip
};

// Reads `directory`/transition.json with its shaders. On failure `error` holds a lower-case
// reason and the returned descriptor has an empty id.
TransitionDescriptor parseTransitionPackage(const QString &directory, QString *error);

// How many frames a preview strip holds when the package does not say: its width over its height,
// read from the header alone, at least 1; 1 when the size cannot be read.
int32_t previewStripFrameCount(const QString &path);

} // namespace orvel
