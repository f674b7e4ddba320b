#include "core/document/model/EnumStrings.h"

#include <QLatin1StringView>

#include <iterator>
#include <mutex>

namespace orvel {

namespace enumnames {

template <std::size_t N> QString nameAt(const QLatin1StringView (&names)[N], int index, int fallback)
{
    if (index < 0 || index >= int(N))
        index = fallback;
    return QString(names[index]);
}

template <std::size_t N> int indexOf(const QLatin1StringView (&names)[N], const QString &name, int fallback)
{
    for (std::size_t i = 0; i < N; ++i) {
        if (name == names[i])
            return int(i);
    }
    return fallback;
}

using L = QLatin1StringView;

const L kTrackTypes[] = {L("video"), L("audio"), L("text"), L("subtitle"), L("shape")};
const L kClipTypes[] = {L("video"), L("audio"), L("image"), L("text"), L("subtitle"), L("shape")};
const L kAssetKinds[] = {L("video"), L("audio"), L("image"), L("other")};
const L kBlendModes[] = {L("normal"), L("multiply"), L("screen"), L("overlay"),
                         L("add"),    L("darken"),   L("lighten")};
const L kFadeCurves[] = {L("linear"), L("smooth"), L("equalPower")};
const L kMaskShapes[] = {L("none"),  L("rectangle"), L("ellipse"),  L("star"),
                         L("heart"), L("bars"),      L("freeform"), L("matte")};
const L kFillKinds[] = {L("none"), L("solid"), L("linear"), L("radial")};
const L kStrokeStyles[] = {L("none"), L("solid"), L("dash"), L("dot"), L("dashdot")};
const L kAligns[] = {L("left"), L("center"), L("right")};
const L kVAligns[] = {L("top"), L("middle"), L("bottom")};
const L kAccentRules[] = {L("none"),     L("firstWord"),   L("lastWord"),     L("everyOther"),
                          L("everyNth"), L("longestWord"), L("randomStable"), L("karaoke")};
const L kAnimKinds[] = {L("none"),       L("fade"),       L("slideUp"), L("slideDown"),
                        L("slideLeft"),  L("slideRight"), L("pop"),     L("blur"),
                        L("typewriter"), L("rise"),       L("bounce"),  L("wave")};
const L kAnimEases[] = {L("linear"), L("easeOut"), L("easeInOut"), L("back")};
const L kAnimUnits[] = {L("block"), L("word"), L("character"), L("line")};
const L kAnimOrders[] = {L("forward"), L("backward"), L("centerOut"), L("random")};
const L kBackgroundKinds[] = {L("color"), L("blur")};
const L kShapeKinds[] = {L("rectangle"),
                         L("rounded-rectangle"),
                         L("square"),
                         L("ellipse"),
                         L("triangle"),
                         L("right-triangle"),
                         L("diamond"),
                         L("pentagon"),
                         L("hexagon"),
                         L("octagon"),
                         L("parallelogram"),
                         L("trapezoid"),
                         L("arrow"),
                         L("double-arrow"),
                         L("block-arrow"),
                         L("curved-arrow"),
                         L("chevron"),
                         L("speech-bubble"),
                         L("speech-bubble-rect"),
                         L("thought-bubble"),
                         L("callout"),
                         L("star"),
                         L("lightning-bolt"),
                         L("cloud"),
                         L("heart"),
                         L("cross"),
                         L("burst"),
                         L("banner")};
static_assert(std::size(kShapeKinds) == kBuiltInShapeKindCount);

std::mutex resolverMutex;
std::function<int(const QString &)> shapeResolver;

} // namespace enumnames

// Each enum's fallback is the value an unknown word reads as; the writer uses the same one for a
// value outside the table.
#define ORVEL_ENUM_STRINGS(Type, nameFn, fromFn, table, fallback)                                            \
    QString nameFn(Type value)                                                                               \
    {                                                                                                        \
        return enumnames::nameAt(enumnames::table, int(value), int(fallback));                               \
    }                                                                                                        \
    Type fromFn(const QString &name)                                                                         \
    {                                                                                                        \
        return Type(enumnames::indexOf(enumnames::table, name, int(fallback)));                              \
    }

ORVEL_ENUM_STRINGS(TrackType, trackTypeName, trackTypeFromName, kTrackTypes, TrackType::video)
ORVEL_ENUM_STRINGS(ClipType, clipTypeName, clipTypeFromName, kClipTypes, ClipType::video)
ORVEL_ENUM_STRINGS(AssetKind, assetKindName, assetKindFromName, kAssetKinds, AssetKind::other)
ORVEL_ENUM_STRINGS(BlendMode, blendModeName, blendModeFromName, kBlendModes, BlendMode::normal)
ORVEL_ENUM_STRINGS(FadeCurve, fadeCurveName, fadeCurveFromName, kFadeCurves, FadeCurve::smooth)
ORVEL_ENUM_STRINGS(MaskShape, maskShapeName, maskShapeFromName, kMaskShapes, MaskShape::none)
ORVEL_ENUM_STRINGS(ShapeFillKind, shapeFillKindName, shapeFillKindFromName, kFillKinds, ShapeFillKind::solid)
ORVEL_ENUM_STRINGS(ShapeStrokeStyle, shapeStrokeStyleName, shapeStrokeStyleFromName, kStrokeStyles,
                   ShapeStrokeStyle::solid)
ORVEL_ENUM_STRINGS(TextAlign, textAlignName, textAlignFromName, kAligns, TextAlign::center)
ORVEL_ENUM_STRINGS(TextVAlign, textVAlignName, textVAlignFromName, kVAligns, TextVAlign::middle)
ORVEL_ENUM_STRINGS(TextAccentRule, textAccentRuleName, textAccentRuleFromName, kAccentRules,
                   TextAccentRule::none)
ORVEL_ENUM_STRINGS(TextAnimKind, textAnimKindName, textAnimKindFromName, kAnimKinds, TextAnimKind::none)
ORVEL_ENUM_STRINGS(TextAnimEase, textAnimEaseName, textAnimEaseFromName, kAnimEases, TextAnimEase::easeOut)
ORVEL_ENUM_STRINGS(TextAnimUnit, textAnimUnitName, textAnimUnitFromName, kAnimUnits, TextAnimUnit::block)
ORVEL_ENUM_STRINGS(TextAnimOrder, textAnimOrderName, textAnimOrderFromName, kAnimOrders,
                   TextAnimOrder::forward)
ORVEL_ENUM_STRINGS(BackgroundKind, backgroundKindName, backgroundKindFromName, kBackgroundKinds,
                   BackgroundKind::color)

#undef ORVEL_ENUM_STRINGS

QString shapeKindName(int kind)
{
    return enumnames::nameAt(enumnames::kShapeKinds, kind, 0);
}

int shapeKindFromName(const QString &name)
{
    const int builtIn = enumnames::indexOf(enumnames::kShapeKinds, name, -1);
    if (builtIn >= 0)
        return builtIn;
    std::function<int(const QString &)> resolver;
    {
        const std::lock_guard lock(enumnames::resolverMutex);
        resolver = enumnames::shapeResolver;
    }
    if (!resolver)
        return 0;
    const int resolved = resolver(name);
    return resolved >= 0 ? resolved : 0;
}

void setShapeKindResolver(std::function<int(const QString &)> resolver)
{
    const std::lock_guard lock(enumnames::resolverMutex);
    enumnames::shapeResolver = std::move(resolver);
}

} // namespace orvel
