#pragma once

#include <QColor>
#include <QJsonObject>
#include <QJsonValue>
#include <QVariantMap>

namespace orvel {

// A record's JSON form with the keys QML sent written over it: keys absent from the map keep
// their value, and the record's reader then applies its usual defaults and limits.
inline QJsonObject jsonWithChanges(QJsonObject json, const QVariantMap &changes)
{
    for (auto it = changes.cbegin(); it != changes.cend(); ++it) {
        const QVariant &value = it.value();
        const QJsonValue current = json.value(it.key());
        if (value.metaType().id() == QMetaType::QVariantMap && current.isObject())
            // A partial sub-object ({accent: {color: ...}}) changes only the keys it names.
            json.insert(it.key(), jsonWithChanges(current.toObject(), value.toMap()));
        else if (value.metaType().id() == QMetaType::QColor)
            json.insert(it.key(), value.value<QColor>().name(QColor::HexArgb));
        else
            json.insert(it.key(), QJsonValue::fromVariant(value));
    }
    return json;
}

} // namespace orvel
