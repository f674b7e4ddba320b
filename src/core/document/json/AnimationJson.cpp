// JSON form of keyframed properties and speed curves.
#include "core/document/json/JsonValues.h"
#include "core/document/json/ProjectJson.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>

namespace orvel {

using namespace Qt::StringLiterals;
namespace animationjson {

// Kept inside this file's own namespace so that unity builds do not spread it.
using namespace jsonvalue;

// Tangents this small are noise from editing and are left out of the file.
constexpr double kTangentEpsilon = 1e-12;

bool hasTangents(const Keyframe &key)
{
    return std::abs(key.inDx) > kTangentEpsilon || std::abs(key.inDy) > kTangentEpsilon ||
           std::abs(key.outDx) > kTangentEpsilon || std::abs(key.outDy) > kTangentEpsilon;
}

QJsonObject keyframeToJson(TimeUs timeUs, const Keyframe &key)
{
    QJsonObject json;
    json.insert("timeUs"_L1, timeValue(timeUs));
    json.insert("value"_L1, key.value);
    if (hasTangents(key)) {
        json.insert("inDx"_L1, key.inDx);
        json.insert("inDy"_L1, key.inDy);
        json.insert("outDx"_L1, key.outDx);
        json.insert("outDy"_L1, key.outDy);
    }
    if (key.corner)
        json.insert("corner"_L1, true);
    if (key.hold)
        json.insert("hold"_L1, true);
    return json;
}

Keyframe keyframeFromJson(const QJsonObject &json)
{
    Keyframe key;
    key.value = readDouble(json, "value"_L1, 1.0);
    key.inDx = readDouble(json, "inDx"_L1, 0.0);
    key.inDy = readDouble(json, "inDy"_L1, 0.0);
    key.outDx = readDouble(json, "outDx"_L1, 0.0);
    key.outDy = readDouble(json, "outDy"_L1, 0.0);
    key.corner = readBool(json, "corner"_L1, false);
    key.hold = readBool(json, "hold"_L1, false);
    return key;
}

// Old documents stored one interpolation word for the whole property instead of per-key
// tangents; it is turned into the equivalent per-key form.
void applyLegacyInterpolation(AnimatedProperty &property, const QString &mode)
{
    const bool hold = mode == "hold"_L1;
    const bool ease = mode == "ease"_L1;
    if (!hold && !ease)
        return;
    auto &keys = property.keyframes;
    for (auto it = keys.begin(); it != keys.end(); ++it) {
        Keyframe &key = it.value();
        key.hold = hold;
        key.corner = false;
        key.inDx = key.inDy = key.outDx = key.outDy = 0.0;
        if (!ease)
            continue;
        if (it != keys.begin())
            key.inDx = -(double(it.key()) - double(std::prev(it).key())) / 3.0;
        if (std::next(it) != keys.end())
            key.outDx = (double(std::next(it).key()) - double(it.key())) / 3.0;
    }
}

QJsonObject speedPointToJson(const SpeedCurvePoint &point)
{
    QJsonObject json;
    json.insert("pos"_L1, point.pos);
    json.insert("speed"_L1, point.speed);
    json.insert("inDx"_L1, point.inDx);
    json.insert("inDy"_L1, point.inDy);
    json.insert("outDx"_L1, point.outDx);
    json.insert("outDy"_L1, point.outDy);
    json.insert("corner"_L1, point.corner);
    return json;
}

// Handles far outside any drawable range are cut back so that the table building stays finite;
// normalising clamps positions and speeds itself.
constexpr double kHandleLimit = 1e6;

double readHandle(const QJsonObject &json, QLatin1StringView key)
{
    return std::clamp(readDouble(json, key, 0.0), -kHandleLimit, kHandleLimit);
}

SpeedCurvePoint speedPointFromJson(const QJsonObject &json)
{
    SpeedCurvePoint point;
    point.pos = readDouble(json, "pos"_L1, 0.0);
    point.speed = readDouble(json, "speed"_L1, 1.0);
    point.inDx = readHandle(json, "inDx"_L1);
    point.inDy = readHandle(json, "inDy"_L1);
    point.outDx = readHandle(json, "outDx"_L1);
    point.outDy = readHandle(json, "outDy"_L1);
    point.corner = readBool(json, "corner"_L1, false);
    return point;
}

} // namespace animationjson

QJsonObject animatedPropertyToJson(const AnimatedProperty &property)
{
    QJsonArray keys;
    for (auto it = property.keyframes.cbegin(); it != property.keyframes.cend(); ++it)
        keys.append(animationjson::keyframeToJson(it.key(), it.value()));
    QJsonObject json;
    json.insert("keyframes"_L1, keys);
    if (!property.enabled)
        json.insert("enabled"_L1, false);
    return json;
}

AnimatedProperty animatedPropertyFromJson(const QJsonObject &json)
{
    using namespace jsonvalue;
    AnimatedProperty property;
    const QJsonArray keys = readArray(json, "keyframes"_L1);
    for (const QJsonValue &element : keys) {
        // A stray non-object reads as a key with every field missing.
        const QJsonObject keyJson = element.toObject();
        property.keyframes.insert(readTime(keyJson, "timeUs"_L1, 0),
                                  animationjson::keyframeFromJson(keyJson));
    }
    property.enabled = readBool(json, "enabled"_L1, true);
    const QJsonValue mode = json.value("interpolation"_L1);
    if (mode.isString())
        animationjson::applyLegacyInterpolation(property, mode.toString());
    return property;
}

QJsonArray speedCurveToJson(const SpeedCurve &curve)
{
    QJsonArray json;
    for (const SpeedCurvePoint &point : curve.points)
        json.append(animationjson::speedPointToJson(point));
    return json;
}

SpeedCurve speedCurveFromJson(const QJsonArray &json)
{
    QList<SpeedCurvePoint> points;
    points.reserve(json.size());
    for (const QJsonValue &element : json)
        points.append(animationjson::speedPointFromJson(element.toObject()));
    return normaliseSpeedCurve(std::move(points));
}

void applySpeedCurveWindowJson(const QJsonArray &json, SpeedCurve &curve)
{
    if (json.size() != 2 || !json.at(0).isDouble() || !json.at(1).isDouble())
        return;
    const double start = json.at(0).toDouble();
    const double end = json.at(1).toDouble();
    if (std::isfinite(start) && std::isfinite(end) && end - start > 1e-9) {
        curve.windowStart = start;
        curve.windowEnd = end;
    }
}

} // namespace orvel
