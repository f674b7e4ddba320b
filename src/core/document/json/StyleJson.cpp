// JSON form of the clip's text style, shape style and mask.
#include "core/document/model/EnumStrings.h"
#include "core/document/json/JsonValues.h"
#include "core/document/json/ProjectJson.h"

#include <QJsonArray>

#include <algorithm>
#include <map>

namespace orvel {

using namespace Qt::StringLiterals;
namespace stylejson {

// Kept inside this file's own namespace so that unity builds do not spread it.
using namespace jsonvalue;

// The style writers fill any object type with an insert(QString, value) member: QJsonObject for
// files, VariantMapWriter for the maps QML reads. One key list serves both, so they cannot drift.
template <typename Object> Object highlightTo(const TextHighlightBox &box)
{
    Object json;
    json.insert(u"enabled"_s, box.enabled);
    json.insert(u"color"_s, colorText(box.color));
    json.insert(u"padding"_s, box.padding);
    json.insert(u"radius"_s, box.radius);
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

template <typename Object> Object accentTo(const TextAccent &accent)
{
    Object json;
    json.insert(u"rule"_s, textAccentRuleName(accent.rule));
    json.insert(u"n"_s, accent.n);
    json.insert(u"phase"_s, accent.phase);
    json.insert(u"colorEnabled"_s, accent.colorEnabled);
    json.insert(u"color"_s, colorText(accent.color));
    json.insert(u"sizeScale"_s, accent.sizeScale);
    json.insert(u"outlineEnabled"_s, accent.outlineEnabled);
    json.insert(u"outlineWidth"_s, accent.outlineWidth);
    json.insert(u"outlineColor"_s, colorText(accent.outlineColor));
    json.insert(u"highlight"_s, highlightTo<Object>(accent.highlight));
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

template <typename Object> void writeAnimation(Object &json, const AnimKeys &keys, const TextAnimation &anim)
{
    json.insert(QString(keys.kind), textAnimKindName(anim.kind));
    json.insert(QString(keys.durationUs), double(anim.durationUs));
    json.insert(QString(keys.ease), textAnimEaseName(anim.ease));
    json.insert(QString(keys.unit), textAnimUnitName(anim.unit));
    json.insert(QString(keys.staggerUs), double(anim.staggerUs));
    json.insert(QString(keys.order), textAnimOrderName(anim.order));
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

template <typename Object> void writeTextBasics(Object &json, const TextStyle &style)
{
    json.insert(u"packId"_s, style.packId);
    json.insert(u"fontFamily"_s, style.fontFamily);
    json.insert(u"pixelSize"_s, style.pixelSize);
    json.insert(u"fontWeight"_s, style.fontWeight);
    json.insert(u"italic"_s, style.italic);
    json.insert(u"color"_s, colorText(style.color));
    json.insert(u"align"_s, textAlignName(style.align));
    json.insert(u"valign"_s, textVAlignName(style.valign));
    json.insert(u"wordWrap"_s, style.wordWrap);
    json.insert(u"lineHeight"_s, style.lineHeight);
    json.insert(u"letterSpacing"_s, style.letterSpacing);
    json.insert(u"outlineWidth"_s, style.outlineWidth);
    json.insert(u"outlineColor"_s, colorText(style.outlineColor));
}

template <typename Object> void writeTextDecorations(Object &json, const TextStyle &style)
{
    json.insert(u"shadowEnabled"_s, style.shadowEnabled);
    json.insert(u"shadowOffsetX"_s, style.shadowOffsetX);
    json.insert(u"shadowOffsetY"_s, style.shadowOffsetY);
    json.insert(u"shadowBlur"_s, style.shadowBlur);
    json.insert(u"shadowOpacity"_s, style.shadowOpacity);
    json.insert(u"shadowColor"_s, colorText(style.shadowColor));
    json.insert(u"glowEnabled"_s, style.glowEnabled);
    json.insert(u"glowColor"_s, colorText(style.glowColor));
    json.insert(u"glowRadius"_s, style.glowRadius);
    json.insert(u"glowOpacity"_s, style.glowOpacity);
    json.insert(u"boxEnabled"_s, style.boxEnabled);
    json.insert(u"boxColor"_s, colorText(style.boxColor));
    json.insert(u"boxPadding"_s, style.boxPadding);
    json.insert(u"boxRadius"_s, style.boxRadius);
    json.insert(u"wordHighlight"_s, highlightTo<Object>(style.wordHighlight));
    json.insert(u"underlineEnabled"_s, style.underlineEnabled);
    json.insert(u"underlineColor"_s, colorText(style.underlineColor));
    json.insert(u"underlineWidth"_s, style.underlineWidth);
    json.insert(u"underlineOffset"_s, style.underlineOffset);
}

} // namespace stylejson

namespace stylejson {

template <typename Object> Object textStyleTo(const TextStyle &style)
{
    Object json;
    writeTextBasics(json, style);
    writeTextDecorations(json, style);
    json.insert(u"accent"_s, accentTo<Object>(style.accent));
    writeAnimation(json, kAnimInKeys, style.animIn);
    writeAnimation(json, kAnimOutKeys, style.animOut);
    return json;
}

template <typename Object> Object shapeStyleTo(const ShapeStyle &style)
{
    Object json;
    json.insert(u"kind"_s, shapeKindName(style.kind));
    json.insert(u"fillKind"_s, shapeFillKindName(style.fillKind));
    json.insert(u"fill"_s, colorText(style.fill));
    json.insert(u"fillSecondary"_s, colorText(style.fillSecondary));
    json.insert(u"gradientAngle"_s, style.gradientAngle);
    json.insert(u"stroke"_s, colorText(style.stroke));
    json.insert(u"strokeWidth"_s, style.strokeWidth);
    json.insert(u"strokeStyle"_s, shapeStrokeStyleName(style.strokeStyle));
    json.insert(u"cornerRadius"_s, style.cornerRadius);
    json.insert(u"points"_s, style.points);
    json.insert(u"innerRatio"_s, style.innerRatio);
    json.insert(u"headSize"_s, style.headSize);
    json.insert(u"thickness"_s, style.thickness);
    json.insert(u"tailX"_s, style.tailX);
    json.insert(u"tailSize"_s, style.tailSize);
    return json;
}

// Builds a QVariantMap the cheap way: values go straight in as variants, with no JSON value in
// between, and the map is handed over without a copy.
class VariantMapWriter
{
public:
    template <typename Value> void insert(const QString &key, const Value &value)
    {
        m_entries.insert_or_assign(key, QVariant::fromValue(value));
    }
    void insert(const QString &key, VariantMapWriter &&child)
    {
        m_entries.insert_or_assign(key, child.take());
    }
    QVariantMap take() { return QVariantMap(std::move(m_entries)); }

private:
    std::map<QString, QVariant> m_entries;
};

} // namespace stylejson

QJsonObject textStyleToJson(const TextStyle &style)
{
    return stylejson::textStyleTo<QJsonObject>(style);
}

QVariantMap textStyleToVariantMap(const TextStyle &style)
{
    return stylejson::textStyleTo<stylejson::VariantMapWriter>(style).take();
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
    return stylejson::shapeStyleTo<QJsonObject>(style);
}

QVariantMap shapeStyleToVariantMap(const ShapeStyle &style)
{
    return stylejson::shapeStyleTo<stylejson::VariantMapWriter>(style).take();
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
