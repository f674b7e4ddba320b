// The effect catalog as the effects panel reads it: plain maps, sorted as the catalog sorts.
#include "core/controller/AppController.h"

#include "catalog/EffectCatalog.h"
#include "core/controller/ParameterMaps.h"

QVariantList AppController::effectCatalog() const
{
    QVariantList list;
    for (const orvel::EffectDescriptor &descriptor : orvel::EffectCatalog::instance().all()) {
        list.append(QVariantMap{{"id", descriptor.id},
                                {"label", descriptor.displayName},
                                {"displayName", descriptor.displayName},
                                {"category", descriptor.category},
                                {"categoryLabel", orvel::EffectCatalog::categoryLabel(descriptor.category)},
                                {"compositorOnly", descriptor.compositorOnly},
                                {"thumbnailPath", descriptor.thumbnailPath},
                                {"params", orvel::parameterMaps(descriptor.parameters)}});
    }
    return list;
}

QVariantList AppController::effectCategories() const
{
    QVariantList list;
    for (const auto &[id, label] : orvel::EffectCatalog::instance().categories())
        list.append(QVariantMap{{"id", id}, {"label", label}});
    return list;
}
