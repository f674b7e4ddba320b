// The audio effect catalog as the browser reads it, and a clip's audio effects as the inspector
// shows and edits them.
#include "core/controller/AppController.h"

#include "catalog/AudioEffectCatalog.h"
#include "core/controller/ParameterMaps.h"

namespace {

bool clipCarriesSound(const orvel::Clip &clip)
{
    return clip.type == orvel::ClipType::audio || clip.type == orvel::ClipType::video;
}

// One inspector row per declared parameter, at the clip's value or the package's default; an
// effect the catalog lacks shows whatever values the clip stored, so nothing is hidden.
QVariantList instanceParameterMaps(const orvel::EffectInstance &effect, const orvel::AudioEffectDescriptor *d)
{
    QVariantList list;
    if (!d) {
        for (auto it = effect.parameters.cbegin(); it != effect.parameters.cend(); ++it)
            list.append(QVariantMap{{"id", it.key()},
                                    {"label", it.key()},
                                    {"isBoolean", it.value().typeId() == QMetaType::Bool},
                                    {"value", it.value()}});
        return list;
    }
    for (const orvel::EffectParameter &parameter : d->parameters) {
        const QVariant fallback =
            parameter.isBool ? QVariant(parameter.defaultValue >= 0.5) : QVariant(parameter.defaultValue);
        list.append(QVariantMap{{"id", parameter.id},
                                {"label", parameter.displayName},
                                {"isBoolean", parameter.isBool},
                                {"min", parameter.minValue},
                                {"max", parameter.maxValue},
                                {"value", effect.parameters.value(parameter.id, fallback)}});
    }
    return list;
}

} // namespace

QVariantList AppController::audioEffectCatalog() const
{
    QVariantList list;
    for (const orvel::AudioEffectDescriptor &d : orvel::AudioEffectCatalog::instance().all()) {
        list.append(QVariantMap{{"id", d.id},
                                {"label", d.displayName},
                                {"displayName", d.displayName},
                                {"category", d.category},
                                {"categoryLabel", orvel::AudioEffectCatalog::categoryLabel(d.category)},
                                {"icon", d.icon},
                                {"thumbnailPath", d.thumbnailPath},
                                {"params", orvel::parameterMaps(d.parameters)}});
    }
    return list;
}

QVariantList AppController::audioEffectCategories() const
{
    QVariantList list;
    for (const auto &[id, label] : orvel::AudioEffectCatalog::instance().categories())
        list.append(QVariantMap{{"id", id}, {"label", label}});
    return list;
}

QVariantList AppController::selectedClipAudioEffects() const
{
    const orvel::Clip *clip = clipAt(m_selectedTrack, m_selectedClip);
    if (!clip)
        return {};
    QVariantList list;
    for (const orvel::EffectInstance &effect : clip->audioEffects) {
        const orvel::AudioEffectDescriptor *d = orvel::AudioEffectCatalog::instance().find(effect.catalogId);
        QString label = d ? d->displayName : effect.name;
        if (label.isEmpty())
            label = effect.catalogId;
        list.append(QVariantMap{{"label", label},
                                {"catalogId", effect.catalogId},
                                {"icon", d ? d->icon : QString()},
                                {"thumbnailPath", d ? d->thumbnailPath : QString()},
                                {"params", instanceParameterMaps(effect, d)},
                                {"missing", !(m_audioEffectKnown && m_audioEffectKnown(effect.catalogId))}});
    }
    return list;
}

void AppController::addAudioEffect(int trackIndex, int clipIndex, const QString &catalogId)
{
    const orvel::AudioEffectDescriptor *d = orvel::AudioEffectCatalog::instance().find(catalogId);
    if (!d)
        return;
    commitClipEdit(trackIndex, clipIndex, tr("Add audio effect"), tr("Audio effect added"),
                   [&](orvel::Clip &clip) {
                       if (!clipCarriesSound(clip))
                           return false;
                       orvel::EffectInstance effect;
                       effect.name = d->displayName;
                       effect.catalogId = d->id;
                       for (const orvel::EffectParameter &parameter : d->parameters)
                           effect.parameters.insert(parameter.id,
                                                    parameter.isBool ? QVariant(parameter.defaultValue >= 0.5)
                                                                     : QVariant(parameter.defaultValue));
                       clip.audioEffects.append(effect);
                       return true;
                   });
}

void AppController::removeAudioEffect(int trackIndex, int clipIndex, int effectIndex)
{
    commitClipEdit(trackIndex, clipIndex, tr("Remove audio effect"), tr("Audio effect removed"),
                   [&](orvel::Clip &clip) {
                       if (effectIndex < 0 || effectIndex >= clip.audioEffects.size())
                           return false;
                       clip.audioEffects.removeAt(effectIndex);
                       return true;
                   });
}
