#pragma once

#include "core/document/model/Types.h"

#include <QString>

#include <functional>

namespace orvel {

// Every document enum crosses JSON and QML as a string. A name that is not recognised reads as
// the enum's fallback value, so an old or foreign document never fails because of one word.

QString trackTypeName(TrackType value);
TrackType trackTypeFromName(const QString &name);

QString clipTypeName(ClipType value);
ClipType clipTypeFromName(const QString &name);

QString assetKindName(AssetKind value);
AssetKind assetKindFromName(const QString &name);

QString blendModeName(BlendMode value);
BlendMode blendModeFromName(const QString &name);

QString fadeCurveName(FadeCurve value);
FadeCurve fadeCurveFromName(const QString &name);

QString maskShapeName(MaskShape value);
MaskShape maskShapeFromName(const QString &name);

QString shapeFillKindName(ShapeFillKind value);
ShapeFillKind shapeFillKindFromName(const QString &name);

QString shapeStrokeStyleName(ShapeStrokeStyle value);
ShapeStrokeStyle shapeStrokeStyleFromName(const QString &name);

QString textAlignName(TextAlign value);
TextAlign textAlignFromName(const QString &name);

QString textVAlignName(TextVAlign value);
TextVAlign textVAlignFromName(const QString &name);

QString textAccentRuleName(TextAccentRule value);
TextAccentRule textAccentRuleFromName(const QString &name);

QString textAnimKindName(TextAnimKind value);
TextAnimKind textAnimKindFromName(const QString &name);

QString textAnimEaseName(TextAnimEase value);
TextAnimEase textAnimEaseFromName(const QString &name);

QString textAnimUnitName(TextAnimUnit value);
TextAnimUnit textAnimUnitFromName(const QString &name);

QString textAnimOrderName(TextAnimOrder value);
TextAnimOrder textAnimOrderFromName(const QString &name);

// Background kinds: "blur" is the blurred backdrop, every other word is a solid colour.
QString backgroundKindName(BackgroundKind value);
BackgroundKind backgroundKindFromName(const QString &name);

// Built-in shape numbers 0..27 have fixed names; a number outside that range is written as
// "rectangle".
inline constexpr int kBuiltInShapeKindCount = 28;
QString shapeKindName(int kind);

// A name outside the built-in list is handed to the resolver (the shape catalogue lives above
// the document library); -1 or no resolver gives 0. Returns the shape number.
int shapeKindFromName(const QString &name);

// Installs the lookup for shape ids the document library does not know. Pass an empty function
// to remove it. Safe to call while other threads read documents.
void setShapeKindResolver(std::function<int(const QString &)> resolver);

} // namespace orvel
