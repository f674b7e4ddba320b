// One 1920x1080 layer through the compositor with three library effects (gaussian blur at
// radius 20, RGB split, vignette), against the same layer with none, in one run. Needs a display
// with OpenGL and the effect packages beside the program; on llvmpipe the numbers are
// informational.
#include "catalog/EffectCatalog.h"
#include "render/effects/CatalogEffectHooks.h"
#include "render/gl/GlRuntime.h"
#include "render/compositor/GpuCompositor.h"
#include "render/effects/GpuEffectHooks.h"

#include <QImage>
#include <QLinearGradient>
#include <QPainter>

#include <benchmark/benchmark.h>

#include <chrono>

namespace {

orvel::GpuScene effectScene(const QList<orvel::EffectInstance> &effects)
{
    QImage picture(1920, 1080, QImage::Format_RGBA8888);
    QPainter painter(&picture);
    QLinearGradient ramp(0, 0, 1920, 1080);
    ramp.setColorAt(0.0, QColor(20, 60, 200));
    ramp.setColorAt(1.0, QColor(250, 180, 40));
    painter.fillRect(picture.rect(), ramp);
    painter.end();
    orvel::GpuSceneEntry entry;
    entry.layer.image = picture;
    entry.layer.rect = QRectF(0, 0, 1920, 1080);
    entry.layer.effects = effects;
    entry.layer.localTimeUs = 1'000'000;
    entry.layer.valid = true;
    orvel::GpuScene scene;
    scene.size = QSize(1920, 1080);
    scene.entries = {entry};
    return scene;
}

orvel::EffectInstance libraryEffect(const QString &id, const QVariantMap &params = {})
{
    orvel::EffectInstance effect;
    effect.catalogId = id;
    effect.parameters = params;
    return effect;
}

// Seconds per frame over `frames` renders, after one untimed render that compiles and uploads.
double secondsPerFrame(const orvel::GpuScene &scene, int frames)
{
    benchmark::DoNotOptimize(orvel::GpuCompositor::render(scene));
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < frames; ++i)
        benchmark::DoNotOptimize(orvel::GpuCompositor::render(scene));
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / frames;
}

void BM_EffectChain1080p(benchmark::State &state)
{
    if (!GlRuntime::instance().ensureStarted()) {
        state.SkipWithError("OpenGL is unavailable");
        return;
    }
    orvel::installCatalogEffectHooks();
    orvel::EffectCatalog &catalog = orvel::EffectCatalog::instance();
    for (const char *id : {"builtin.effects.gaussian_blur", "rgb_split", "vignette"}) {
        if (!catalog.find(id)) {
            state.SkipWithError("the effect packages are not beside the program");
            return;
        }
    }
    const orvel::GpuScene chain =
        effectScene({libraryEffect("builtin.effects.gaussian_blur", {{"u_blurRadius", 20.0}}),
                     libraryEffect("rgb_split"), libraryEffect("vignette")});
    const orvel::GpuScene plain = effectScene({});
    constexpr int kFrames = 10;
    double chainSeconds = 0.0;
    double plainSeconds = 0.0;
    for (auto _ : state) {
        chainSeconds = secondsPerFrame(chain, kFrames);
        plainSeconds = secondsPerFrame(plain, kFrames);
    }
    orvel::setGpuEffectHooks({});
    state.counters["effect_chain_fps"] = 1.0 / chainSeconds;
    // The chain's frame rate as a fraction of the plain layer's: 1 would mean the effects are free.
    state.counters["effect_chain_vs_plain"] = plainSeconds / chainSeconds;
}
BENCHMARK(BM_EffectChain1080p)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
