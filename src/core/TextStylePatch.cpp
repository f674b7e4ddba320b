#include "core/TextStylePatch.h"

#include "core/EditValues.h"
#include "core/document/editing/ClipEditing.h"
#include "core/document/model/EnumStrings.h"
#include "core/document/json/ProjectJson.h"

#include <algorithm>
#include <cmath>

namespace orvel {

using namespace Qt::StringLiterals;

namespace {

constexpr double kLongestAnimationSeconds = 60.0;

bool isColourKey(const QString &key)
{
    return key == "color"_L1 || key.endsWith("Color"_L1);
}

bool isColourValue(const QVariant &value)
{
    if (value.metaType().id() == QMetaType::QColor)
        return value.value<QColor>().isValid();
    return value.metaType().id() == QMetaType::QString && QColor::isValidColor(value.toString());
}

// A word is known when reading it back gives the same word; every other word would read as the
// enum's fallback and silently undo the user's earlier choice.
template <typename Enum>
bool knownWord(const QVariant &value, QString (*name)(Enum), Enum (*fromName)(const QString &))
{
    const QString word = value.toString();
    return value.metaType().id() == QMetaType::QString && name(fromName(word)) == word;
}

bool knownEnumValue(const QString &key, const QVariant &value)
{
    if (key == "align"_L1)
        return knownWord(value, textAlignName, textAlignFromName);
    if (key == "valign"_L1)
        return knownWord(value, textVAlignName, textVAlignFromName);
    if (key == "rule"_L1)
        return knownWord(value, textAccentRuleName, textAccentRuleFromName);
    if (key.endsWith("Kind"_L1))
        return knownWord(value, textAnimKindName, textAnimKindFromName);
    if (key.endsWith("Ease"_L1))
        return knownWord(value, textAnimEaseName, textAnimEaseFromName);
    if (key.endsWith("Unit"_L1))
        return knownWord(value, textAnimUnitName, textAnimUnitFromName);
    if (key.endsWith("Order"_L1))
        return knownWord(value, textAnimOrderName, textAnimOrderFromName);
    return true;
}

bool isNumber(const QVariant &value)
{
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok && std::isfinite(number) && value.metaType().id() != QMetaType::QString &&
           value.metaType().id() != QMetaType::Bool;
}

// Whole microseconds, since the saved form reads these four times as integers.
qint64 animationUs(double seconds)
{
    return secondsToUs(std::clamp(seconds, 0.0, kLongestAnimationSeconds));
}

// The keys of one level that may be written: nested objects are filtered the same way.
QVariantMap acceptedKeys(const QVariantMap &patch)
{
    QVariantMap accepted;
    for (auto it = patch.cbegin(); it != patch.cend(); ++it) {
        const QString &key = it.key();
        const QVariant &value = it.value();
        if (value.metaType().id() == QMetaType::QVariantMap)
            accepted.insert(key, acceptedKeys(value.toMap()));
        else if (isColourKey(key) ? isColourValue(value) : knownEnumValue(key, value))
            accepted.insert(key, value);
    }
    return accepted;
}

// "animIn": {duration: 0.5, ...} becomes animInDurationUs: 500000 and its siblings.
void flattenAnimation(const QString &prefix, const QVariantMap &group, QVariantMap &flat)
{
    for (const char *word : {"Kind", "Ease", "Unit", "Order"}) {
        const QString key = QString::fromLatin1(word).toLower();
        if (group.contains(key))
            flat.insert(prefix + QLatin1StringView(word), group.value(key));
    }
    if (const QVariant v = group.value(u"duration"_s); isNumber(v))
        flat.insert(prefix + "DurationUs"_L1, animationUs(v.toDouble()));
    if (const QVariant v = group.value(u"stagger"_s); isNumber(v))
        flat.insert(prefix + "StaggerUs"_L1, animationUs(v.toDouble()));
}

} // namespace

TextStyle textStyleWithPatch(const TextStyle &style, const QVariantMap &patch)
{
    QVariantMap flat = patch;
    for (const QString &prefix : {u"animIn"_s, u"animOut"_s}) {
        const QVariant group = flat.take(prefix);
        if (group.metaType().id() == QMetaType::QVariantMap)
            flattenAnimation(prefix, group.toMap(), flat);
        // The flat time keys are limited like the grouped ones and must be whole microseconds.
        for (const QString &key : {prefix + "DurationUs"_L1, prefix + "StaggerUs"_L1}) {
            if (!flat.contains(key))
                continue;
            const QVariant v = flat.take(key);
            if (isNumber(v))
                flat.insert(
                    key, qint64(std::llround(std::clamp(v.toDouble(), 0.0, kLongestAnimationSeconds * 1e6))));
        }
    }
    return textStyleFromJson(jsonWithChanges(textStyleToJson(style), acceptedKeys(flat)));
}

} // namespace orvel
