// Painting a full-canvas title: once from nothing, and again from the raster cache.
#include "render/text/TextRaster.h"

#include <benchmark/benchmark.h>

#include <chrono>

namespace {

orvel::Clip titleClip()
{
    orvel::Clip clip;
    clip.type = orvel::ClipType::text;
    clip.textContent = QStringLiteral("Orvel Title Card");
    orvel::TextStyle &style = clip.textStyle;
    style.pixelSize = 120;
    style.fontWeight = 800;
    style.outlineWidth = 6;
    style.shadowEnabled = true;
    style.shadowOffsetX = 6;
    style.shadowOffsetY = 8;
    style.shadowBlur = 8;
    style.glowEnabled = true;
    style.glowColor = QColor(255, 200, 60);
    style.glowRadius = 18;
    return clip;
}

void BM_TextRaster(benchmark::State &state)
{
    using Clock = std::chrono::steady_clock;
    const orvel::Clip clip = titleClip();
    const QRectF canvas(0, 0, 1920, 1080);
    double uncachedSeconds = 0.0;
    double cachedSeconds = 0.0;
    int64_t rounds = 0;
    for (auto _ : state) {
        orvel::clearTextRasterCache();
        const auto start = Clock::now();
        const orvel::TextRaster painted = orvel::rasterClipText(clip, canvas, 1.0);
        const auto paintedAt = Clock::now();
        const orvel::TextRaster hit = orvel::rasterClipText(clip, canvas, 1.0);
        const auto hitAt = Clock::now();
        benchmark::DoNotOptimize(painted.image.constBits());
        benchmark::DoNotOptimize(hit.image.constBits());
        uncachedSeconds += std::chrono::duration<double>(paintedAt - start).count();
        cachedSeconds += std::chrono::duration<double>(hitAt - paintedAt).count();
        ++rounds;
    }
    if (rounds == 0)
        return;
    state.counters["text_raster_ms"] = uncachedSeconds / double(rounds) * 1e3;
    state.counters["text_cached_us"] = cachedSeconds / double(rounds) * 1e6;
}
BENCHMARK(BM_TextRaster)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

} // namespace
