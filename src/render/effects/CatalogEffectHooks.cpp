#include "render/effects/CatalogEffectHooks.h"

#include "catalog/EffectCatalog.h"
#include "render/effects/EffectPipelineRunner.h"
#include "render/effects/GpuEffectHooks.h"

namespace orvel {

namespace cataloghooksdetail {

GpuEffectInfo describeEffect(const QString &catalogId)
{
    GpuEffectInfo info;
    const EffectDescriptor *descriptor = EffectCatalog::instance().find(catalogId);
    if (!descriptor)
        return info;
    info.found = true;
    info.id = descriptor->id;
    info.backend = descriptor->isGpu            ? QStringLiteral("gpu")
                   : descriptor->compositorOnly ? QStringLiteral("compositor")
                                                : QStringLiteral("cpu");
    info.pipelineValid = descriptor->pipeline.valid;
    return info;
}

GlFbo runLayerEffect(const EffectInstance &effect, const GpuLayer &layer, GLuint input, QSize inputSize)
{
    const EffectDescriptor *descriptor = EffectCatalog::instance().find(effect.catalogId);
    if (!descriptor || !descriptor->isGpu || !descriptor->pipeline.valid)
        return {};
    QVariantMap params = EffectCatalog::mergedParams(effect, *descriptor);
    if (descriptor->requiresFace)
        addFaceUniforms(params, layer.faces);
    return runPipeline(descriptor->id, descriptor->pipeline, {input}, params, layer.localTimeUs, 0.0,
                       inputSize);
}

GlFbo runSceneTransition(const GpuSceneEntry &entry, GLuint from, GLuint to, QSize canvasSize)
{
    if (!entry.transitionPipeline || !entry.transitionPipeline->valid)
        return {};
    return runPipeline(entry.transitionKey, *entry.transitionPipeline, {from, to}, entry.transitionParams,
                       entry.transitionTimeUs, entry.transitionProgress, canvasSize);
}

} // namespace cataloghooksdetail

void installCatalogEffectHooks()
{
    GpuEffectHooks hooks;
    hooks.describe = cataloghooksdetail::describeEffect;
    hooks.runEffect = cataloghooksdetail::runLayerEffect;
    hooks.runTransition = cataloghooksdetail::runSceneTransition;
    setGpuEffectHooks(std::move(hooks));
}

} // namespace orvel
