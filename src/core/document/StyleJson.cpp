// JSON form of the clip's text style, shape style and mask.
#include "core/document/EnumStrings.h"
#include "core/document/JsonValues.h"
#include "core/document/ProjectJson.h"

#include <QJsonArray>

#include <algorithm>

namespace orvel {

using namespace Qt::StringLiterals;
namespace stylejson {

// Kept inside this file's own namespace so that unity builds do not spread it.
using namespace jsonvalue;

QJsonObject highlightToJson(const TextHighlightBox &box)
{
    QJsonObject json;
    json.insert("enabled"_L1, box.enabled);
    json.insert("color"_L1, colorValue(box.color));
    json.insert("padding"_L1, box.padding);
    json.insert("radius"_L1, box.radius);
    return json;
}

TextHighlightBox highlightFromJson(const QJsonObject &json)
{
    TextHighlightBox box;
    box.enabled = readBool(json, "enabled"_L1, box.enabled);
    box.color = readColor(json, "color"_L1, box.color);
    box.padding = readDouble(json, "padding"_L1, box.padding);
    box.radius = readDouble(json, "radius"_L1, box.radius);
    return box;
}

QJsonObject accentToJson(const TextAccent &accent)
{
    QJsonObject json;
    json.insert("rule"_L1, textAccentRuleName(accent.rule));
    json.insert("n"_L1, accent.n);
    json.insert("phase"_L1, accent.phase);
    json.insert("colorEnabled"_L1, accent.colorEnabled);
    json.insert("color"_L1, colorValue(accent.color));
    json.insert("sizeScale"_L1, accent.sizeScale);
    json.insert("outlineEnabled"_L1, accent.outlineEnabled);
    json.insert("outlineWidth"_L1, accent.outlineWidth);
    json.insert("outlineColor"_L1, colorValue(accent.outlineColor));
    json.insert("highlight"_L1, highlightToJson(accent.highlight));
    return json;
}

TextAccent accentFromJson(const QJsonObject &json)
{
    TextAccent accent;
    accent.rule = textAccentRuleFromName(readString(json, "rule"_L1));
    accent.n = readInt(json, "n"_L1, accent.n);
    accent.phase = readInt(json, "phase"_L1, accent.phase);
    accent.colorEnabled = readBool(json, "colorEnabled"_L1, accent.colorEnabled);
    accent.color = readColor(json, "color"_L1, accent.color);
    accent.sizeScale = readDouble(json, "sizeScale"_L1, accent.sizeScale);
    accent.outlineEnabled = readBool(json, "outlineEnabled"_L1, accent.outlineEnabled);
    accent.outlineWidth = readDouble(json, "outlineWidth"_L1, accent.outlineWidth);
    accent.outlineColor = readColor(json, "outlineColor"_L1, accent.outlineColor);
    accent.highlight = highlightFromJson(readObject(json, "highlight"_L1));
    return accent;
}

// The two animations are flattened into the style with an "animIn"/"animOut" prefix.
struct AnimKeys
{
    QLatin1StringView kind;
    QLatin1StringView durationUs;
    QLatin1StringView ease;
    QLatin1StringView unit;
    QLatin1StringView staggerUs;
    QLatin1StringView order;
};

const AnimKeys kAnimInKeys{"animInKind"_L1, "animInDurationUs"_L1, "animInEase"_L1,
                           "animInUnit"_L1, "animInStaggerUs"_L1,  "animInOrder"_L1};
const AnimKeys kAnimOutKeys{"animOutKind"_L1, "animOutDurationUs"_L1, "animOutEase"_L1,
                            "animOutUnit"_L1, "animOutStaggerUs"_L1,  "animOutOrder"_L1};

void writeAnimation(QJsonObject &json, const AnimKeys &keys, const TextAnimation &anim)
{
    json.insert(keys.kind, textAnimKindName(anim.kind));
    json.insert(keys.durationUs, timeValue(anim.durationUs));
    json.insert(keys.ease, textAnimEaseName(anim.ease));
    json.insert(keys.unit, textAnimUnitName(anim.unit));
    json.insert(keys.staggerUs, timeValue(anim.staggerUs));
    json.insert(keys.order, textAnimOrderName(anim.order));
}

TextAnimation readAnimation(const QJsonObject &json, const AnimKeys &keys)
{
    TextAnimation anim;
    anim.kind = textAnimKindFromName(readString(json, keys.kind));
    anim.durationUs = readTimeInteger(json, keys.durationUs, anim.durationUs);
    anim.ease = textAnimEaseFromName(readString(json, keys.ease));
    anim.unit = textAnimUnitFromName(readString(json, keys.unit));
    anim.staggerUs = readTimeInteger(json, keys.staggerUs, anim.staggerUs);
    anim.order = textAnimOrderFromName(readString(json, keys.order));
    return anim;
}

void readTextBasics(const QJsonObject &json, TextStyle &style)
{
    style.packId = readString(json, "packId"_L1, style.packId);
    style.fontFamily = readString(json, "fontFamily"_L1, style.fontFamily);
    style.pixelSize = readInt(json, "pixelSize"_L1, style.pixelSize);
    const QJsonValue weight = json.value("fontWeight"_L1);
    if (weight.isDouble())
        style.fontWeight = std::clamp(truncateToInt(weight.toDouble(), 700), 100, 900);
    else
        style.fontWeight = readBool(json, "bold"_L1, true) ? 700 : 400; // documents before weights
    style.italic = readBool(json, "italic"_L1, style.italic);
    style.color = readColor(json, "color"_L1, style.color);
    style.align = textAlignFromName(readString(json, "align"_L1));
    style.valign = textVAlignFromName(readString(json, "valign"_L1));
    style.wordWrap = readBool(json, "wordWrap"_L1, style.wordWrap);
    style.lineHeight = readDouble(json, "lineHeight"_L1, style.lineHeight);
    style.letterSpacing = readDouble(json, "letterSpacing"_L1, style.letterSpacing);
    style.outlineWidth = readDouble(json, "outlineWidth"_L1, style.outlineWidth);
    style.outlineColor = readColor(json, "outlineColor"_L1, style.outlineColor);
}

void readTextDecorations(const QJsonObject &json, TextStyle &style)
{
    style.shadowEnabled = readBool(json, "shadowEnabled"_L1, style.shadowEnabled);
    style.shadowOffsetX = readDouble(json, "shadowOffsetX"_L1, style.shadowOffsetX);
    style.shadowOffsetY = readDouble(json, "shadowOffsetY"_L1, style.shadowOffsetY);
    style.shadowBlur = readDouble(json, "shadowBlur"_L1, style.shadowBlur);
    style.shadowOpacity = readDouble(json, "shadowOpacity"_L1, style.shadowOpacity);
    style.shadowColor = readColor(json, "shadowColor"_L1, style.shadowColor);
    style.glowEnabled = readBool(json, "glowEnabled"_L1, style.glowEnabled);
    style.glowColor = readColor(json, "glowColor"_L1, style.glowColor);
    style.glowRadius = readDouble(json, "glowRadius"_L1, style.glowRadius);
    style.glowOpacity = readDouble(json, "glowOpacity"_L1, style.glowOpacity);
    style.boxEnabled = readBool(json, "boxEnabled"_L1, style.boxEnabled);
    style.boxColor = readColor(json, "boxColor"_L1, style.boxColor);
    style.boxPadding = readDouble(json, "boxPadding"_L1, style.boxPadding);
    style.boxRadius = readDouble(json, "boxRadius"_L1, style.boxRadius);
    style.wordHighlight = highlightFromJson(readObject(json, "wordHighlight"_L1));
    style.underlineEnabled = readBool(json, "underlineEnabled"_L1, style.underlineEnabled);
    style.underlineColor = readColor(json, "underlineColor"_L1, style.underlineColor);
    style.underlineWidth = readDouble(json, "underlineWidth"_L1, style.underlineWidth);
    style.underlineOffset = readDouble(json, "underlineOffset"_L1, style.underlineOffset);
}

void writeTextBasics(QJsonObject &json, const TextStyle &style)
{
    json.insert("packId"_L1, style.packId);
    json.insert("fontFamily"_L1, style.fontFamily);
    json.insert("pixelSize"_L1, style.pixelSize);
    json.insert("fontWeight"_L1, style.fontWeight);
    json.insert("italic"_L1, style.italic);
    json.insert("color"_L1, colorValue(style.color));
    json.insert("align"_L1, textAlignName(style.align));
    json.insert("valign"_L1, textVAlignName(style.valign));
    json.insert("wordWrap"_L1, style.wordWrap);
    json.insert("lineHeight"_L1, style.lineHeight);
    json.insert("letterSpacing"_L1, style.letterSpacing);
    json.insert("outlineWidth"_L1, style.outlineWidth);
    json.insert("outlineColor"_L1, colorValue(style.outlineColor));
}

void writeTextDecorations(QJsonObject &json, const TextStyle &style)
{
    json.insert("shadowEnabled"_L1, style.shadowEnabled);
    json.insert("shadowOffsetX"_L1, style.shadowOffsetX);
    json.insert("shadowOffsetY"_L1, style.shadowOffsetY);
    json.insert("shadowBlur"_L1, style.shadowBlur);
    json.insert("shadowOpacity"_L1, style.shadowOpacity);
    json.insert("shadowColor"_L1, colorValue(style.shadowColor));
    json.insert("glowEnabled"_L1, style.glowEnabled);
    json.insert("glowColor"_L1, colorValue(style.glowColor));
    json.insert("glowRadius"_L1, style.glowRadius);
    json.insert("glowOpacity"_L1, style.glowOpacity);
    json.insert("boxEnabled"_L1, style.boxEnabled);
    json.insert("boxColor"_L1, colorValue(style.boxColor));
    json.insert("boxPadding"_L1, style.boxPadding);
    json.insert("boxRadius"_L1, style.boxRadius);
    json.insert("wordHighlight"_L1, highlightToJson(style.wordHighlight));
    json.insert("underlineEnabled"_L1, style.underlineEnabled);
    json.insert("underlineColor"_L1, colorValue(style.underlineColor));
    json.insert("underlineWidth"_L1, style.underlineWidth);
    json.insert("underlineOffset"_L1, style.underlineOffset);
}

} // namespace stylejson

QJsonObject textStyleToJson(const TextStyle &style)
{
    QJsonObject json;
    stylejson::writeTextBasics(json, style);
    stylejson::writeTextDecorations(json, style);
    json.insert("accent"_L1, stylejson::accentToJson(style.accent));
    stylejson::writeAnimation(json, stylejson::kAnimInKeys, style.animIn);
    stylejson::writeAnimation(json, stylejson::kAnimOutKeys, style.animOut);
    return json;
}

TextStyle textStyleFromJson(const QJsonObject &json)
{
    using namespace jsonvalue;
    TextStyle style;
    stylejson::readTextBasics(json, style);
    stylejson::readTextDecorations(json, style);
    style.accent = stylejson::accentFromJson(readObject(json, "accent"_L1));
    style.animIn = stylejson::readAnimation(json, stylejson::kAnimInKeys);
    style.animOut = stylejson::readAnimation(json, stylejson::kAnimOutKeys);
    return style;
}

QJsonObject shapeStyleToJson(const ShapeStyle &style)
{
    using namespace jsonvalue;
    QJsonObject json;
    json.insert("kind"_L1, shapeKindName(style.kind));
    json.insert("fillKind"_L1, shapeFillKindName(style.fillKind));
    json.insert("fill"_L1, colorValue(style.fill));
    json.insert("fillSecondary"_L1, colorValue(style.fillSecondary));
    json.insert("gradientAngle"_L1, style.gradientAngle);
    json.insert("stroke"_L1, colorValue(style.stroke));
    json.insert("strokeWidth"_L1, style.strokeWidth);
    json.insert("strokeStyle"_L1, shapeStrokeStyleName(style.strokeStyle));
    json.insert("cornerRadius"_L1, style.cornerRadius);
    json.insert("points"_L1, style.points);
    json.insert("innerRatio"_L1, style.innerRatio);
    json.insert("headSize"_L1, style.headSize);
    json.insert("thickness"_L1, style.thickness);
    json.insert("tailX"_L1, style.tailX);
    json.insert("tailSize"_L1, style.tailSize);
    return json;
}

ShapeStyle shapeStyleFromJson(const QJsonObject &json)
{
    using namespace jsonvalue;
    ShapeStyle style;
    const QJsonValue kind = json.value("kind"_L1);
    if (kind.isString())
        style.kind = shapeKindFromName(kind.toString());
    style.fillKind = shapeFillKindFromName(readString(json, "fillKind"_L1));
    style.fill = readColor(json, "fill"_L1, style.fill);
    style.fillSecondary = readColor(json, "fillSecondary"_L1, style.fillSecondary);
    style.gradientAngle = readDouble(json, "gradientAngle"_L1, style.gradientAngle);
    style.stroke = readColor(json, "stroke"_L1, style.stroke);
    style.strokeWidth = readDouble(json, "strokeWidth"_L1, style.strokeWidth);
    style.strokeStyle = shapeStrokeStyleFromName(readString(json, "strokeStyle"_L1));
    style.cornerRadius = readDouble(json, "cornerRadius"_L1, style.cornerRadius);
    style.points = readInt(json, "points"_L1, style.points);
    style.innerRatio = readDouble(json, "innerRatio"_L1, style.innerRatio);
    style.headSize = readDouble(json, "headSize"_L1, style.headSize);
    style.thickness = readDouble(json, "thickness"_L1, style.thickness);
    style.tailX = readDouble(json, "tailX"_L1, style.tailX);
    style.tailSize = readDouble(json, "tailSize"_L1, style.tailSize);
    return style;
}

QJsonObject clipMaskToJson(const ClipMask &mask)
{
    using namespace jsonvalue;
    QJsonObject json;
    json.insert("shape"_L1, maskShapeName(mask.shape));
    json.insert("x"_L1, mask.x);
    json.insert("y"_L1, mask.y);
    json.insert("w"_L1, mask.w);
    json.insert("h"_L1, mask.h);
    json.insert("rotation"_L1, mask.rotation);
    json.insert("feather"_L1, mask.feather);
    json.insert("invert"_L1, mask.invert);
    QJsonArray points;
    for (const QPointF &point : mask.points)
        points.append(QJsonArray{point.x(), point.y()});
    json.insert("points"_L1, points);
    json.insert("mattePath"_L1, mask.mattePath);
    json.insert("matteSrcOffsetUs"_L1, timeValue(mask.matteSrcOffsetUs));
    return json;
}

ClipMask clipMaskFromJson(const QJsonObject &json)
{
    using namespace jsonvalue;
    ClipMask mask;
    mask.shape = maskShapeFromName(readString(json, "shape"_L1));
    mask.x = readDouble(json, "x"_L1, mask.x);
    mask.y = readDouble(json, "y"_L1, mask.y);
    mask.w = readDouble(json, "w"_L1, mask.w);
    mask.h = readDouble(json, "h"_L1, mask.h);
    mask.rotation = readDouble(json, "rotation"_L1, mask.rotation);
    mask.feather = readDouble(json, "feather"_L1, mask.feather);
    mask.invert = readBool(json, "invert"_L1, mask.invert);
    const QJsonArray points = readArray(json, "points"_L1);
    mask.points.reserve(points.size());
    for (const QJsonValue &element : points) {
        // An element without two leading numbers is dropped, not read as the origin.
        const QJsonArray pair = element.toArray();
        if (pair.size() < 2 || !pair.at(0).isDouble() || !pair.at(1).isDouble())
            continue;
        mask.points.append(QPointF(pair.at(0).toDouble(), pair.at(1).toDouble()));
    }
    mask.mattePath = readString(json, "mattePath"_L1);
    mask.matteSrcOffsetUs = readTimeInteger(json, "matteSrcOffsetUs"_L1, 0);
    return mask;
}

} // namespace orvel
