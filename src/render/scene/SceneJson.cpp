#include "render/scene/SceneJson.h"

#include "core/document/model/EnumStrings.h"

#include <QJsonArray>

namespace orvel {

namespace {

QJsonArray sizeToJson(QSize size)
{
    return QJsonArray{size.width(), size.height()};
}

QJsonArray rectToJson(const QRectF &rect)
{
    return QJsonArray{rect.x(), rect.y(), rect.width(), rect.height()};
}

QJsonArray effectsToJson(const QList<EffectInstance> &effects)
{
    QJsonArray array;
    for (const EffectInstance &effect : effects) {
        array.append(QJsonObject{{"catalogId", effect.catalogId},
                                 {"name", effect.name},
                                 {"parameters", QJsonObject::fromVariantMap(effect.parameters)}});
    }
    return array;
}

} // namespace

QJsonObject layerToJson(const GpuLayer &layer)
{
    QJsonObject json{{"valid", layer.valid},
                     {"rect", rectToJson(layer.rect)},
                     {"rotationDegrees", layer.rotationDegrees},
                     {"flipH", layer.flipH},
                     {"flipV", layer.flipV},
                     {"opacity", layer.opacity},
                     {"localTimeUs", double(layer.localTimeUs)},
                     {"effects", effectsToJson(layer.effects)},
                     {"mask", maskShapeName(layer.mask.shape)}};
    if (!layer.nv12.isEmpty())
        json.insert("nv12Size", sizeToJson(QSize(layer.nv12Width, layer.nv12Height)));
    else if (!layer.image.isNull())
        json.insert("imageSize", sizeToJson(layer.image.size()));
    if (!layer.maskImage.isNull())
        json.insert("maskImageSize", sizeToJson(layer.maskImage.size()));
    if (!layer.faces.isEmpty())
        json.insert("faceCount", int(layer.faces.size()));
    return json;
}

QJsonObject sceneToJson(const GpuScene &scene)
{
    QJsonArray entries;
    for (const GpuSceneEntry &entry : scene.entries) {
        if (!entry.isTransition) {
            entries.append(QJsonObject{
                {"kind", "layer"}, {"blendMode", entry.blendMode}, {"layer", layerToJson(entry.layer)}});
            continue;
        }
        entries.append(QJsonObject{{"kind", "transition"},
                                   {"transitionKey", entry.transitionKey},
                                   {"hasPipeline", entry.transitionPipeline != nullptr},
                                   {"transitionParams", QJsonObject::fromVariantMap(entry.transitionParams)},
                                   {"transitionProgress", entry.transitionProgress},
                                   {"transitionTimeUs", double(entry.transitionTimeUs)},
                                   {"fromLayer", layerToJson(entry.fromLayer)},
                                   {"toLayer", layerToJson(entry.toLayer)}});
    }
    QJsonObject json{{"size", sizeToJson(scene.size)},
                     {"backgroundColor", scene.backgroundColor.name(QColor::HexArgb)},
                     {"backgroundBlur", scene.backgroundBlur},
                     {"blurStrength", scene.blurStrength},
                     {"entries", entries}};
    if (!scene.backgroundImage.isNull())
        json.insert("backgroundImageSize", sizeToJson(scene.backgroundImage.size()));
    return json;
}

} // namespace orvel
