#pragma once

#include "catalog/EffectPackage.h"

#include <QList>
#include <QVariantList>
#include <QVariantMap>

namespace orvel {

// A package's parameters as the browsers read them: one map per parameter, in file order.
inline QVariantList parameterMaps(const QList<EffectParameter> &parameters)
{
    QVariantList list;
    for (const EffectParameter &parameter : parameters) {
        list.append(QVariantMap{{"key", parameter.id},
                                {"label", parameter.displayName},
                                {"min", parameter.minValue},
                                {"max", parameter.maxValue},
                                {"default", parameter.defaultValue},
                                {"isBoolean", parameter.isBool}});
    }
    return list;
}

} // namespace orvel
