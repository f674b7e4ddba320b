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

// Dropping an effect from the library on a clip, and the inspector's "Remove effect". Only clips
// with a picture take one: a sound-only clip has nothing for a shader to draw on.
void AppController::addEffect(int trackIndex, int clipIndex, const QString &effectId)
{
    const orvel::EffectDescriptor *d = orvel::EffectCatalog::instance().find(effectId);
    if (!d)
        return;
    commitClipEdit(trackIndex, clipIndex, tr("Add effect"), tr("Effect added"), [&](orvel::Clip &clip) {
        if (clip.type == orvel::ClipType::audio)
            return false;
        orvel::EffectInstance effect;
        effect.name = d->displayName;
        effect.catalogId = d->id;
        for (const orvel::EffectParameter &parameter : d->parameters)
            effect.parameters.insert(parameter.id, parameter.isBool ? QVariant(parameter.defaultValue >= 0.5)
                                                                    : QVariant(parameter.defaultValue));
        clip.effects.append(effect);
        return true;
    });
}

void AppController::removeEffect(int trackIndex, int clipIndex, int effectIndex)
{
    commitClipEdit(trackIndex, clipIndex, tr("Remove effect"), tr("Effect removed"), [&](orvel::Clip &clip) {
        if (effectIndex < 0 || effectIndex >= clip.effects.size())
            return false;
        clip.effects.removeAt(effectIndex);
        return true;
    });
}
