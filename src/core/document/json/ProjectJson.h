#pragma once

#include "core/document/model/Project.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QVariantMap>

namespace orvel {

// The one serialised form of a Project: autosave content, the payload of the project container
// and the input of the beat-analysis signature. The writer always emits version 3; the reader
// accepts 1, 2, 3 and any later number, and never rejects anything below the top level: missing
// keys, wrong JSON types and unknown enum words all read as defaults.

inline constexpr int kProjectJsonVersion = 3;

// Never fails: any object gives a usable project. The error, when given, is cleared.
Project projectFromJson(const QJsonObject &json, QString *error = nullptr);

QJsonObject projectToJson(const Project &project);

// Pieces used by the project form, exposed for clipboards and tools that move single records.
// canvasWidth/Height are needed to convert the old normalised transform of a clip.
QJsonObject clipToJson(const Clip &clip);
Clip clipFromJson(const QJsonObject &json, int canvasWidth, int canvasHeight);

QJsonObject animatedPropertyToJson(const AnimatedProperty &property);
// Also applies the "interpolation" word of old documents to the keys it read.
AnimatedProperty animatedPropertyFromJson(const QJsonObject &json);

QJsonArray speedCurveToJson(const SpeedCurve &curve);
// The points are normalised and the tables rebuilt.
SpeedCurve speedCurveFromJson(const QJsonArray &json);
// Reads [start, end] into the curve's window; anything else (absent, not two finite numbers in
// order) leaves the whole drawing playing.
void applySpeedCurveWindowJson(const QJsonArray &json, SpeedCurve &curve);

QJsonObject textStyleToJson(const TextStyle &style);
// The same keys and values as the JSON form, as a map for QML.
QVariantMap textStyleToVariantMap(const TextStyle &style);
TextStyle textStyleFromJson(const QJsonObject &json);

QJsonObject shapeStyleToJson(const ShapeStyle &style);
QVariantMap shapeStyleToVariantMap(const ShapeStyle &style);
ShapeStyle shapeStyleFromJson(const QJsonObject &json);

QJsonObject clipMaskToJson(const ClipMask &mask);
ClipMask clipMaskFromJson(const QJsonObject &json);

} // namespace orvel
