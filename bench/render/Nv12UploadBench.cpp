// NV12 to RGBA for one 1920x1080 frame: the GL runtime's shader conversion with read-back,
// against a plain CPU libswscale conversion of the same frames, in the same run. Needs a display
// with OpenGL (run it under xvfb-run); on llvmpipe the figures are informational.
#include "render/gl/GlRuntime.h"

#include <benchmark/benchmark.h>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <chrono>
#include <vector>

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kFrameCount = 4;

// Frames that differ from each other, so no stage can get away with caching one result.
std::vector<QByteArray> syntheticFrames()
{
    std::vector<QByteArray> frames;
    for (int f = 0; f < kFrameCount; ++f) {
        QByteArray bytes(kWidth * kHeight * 3 / 2, '\0');
        uchar *data = reinterpret_cast<uchar *>(bytes.data());
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                data[y * kWidth + x] = uchar(16 + (x + y + 37 * f) % 220);
        uchar *uv = data + kWidth * kHeight;
        for (int i = 0; i < kWidth * kHeight / 4; ++i) {
            uv[2 * i] = uchar(64 + (i + 11 * f) % 128);
            uv[2 * i + 1] = uchar(192 - (i / 7 + f) % 128);
        }
        frames.push_back(bytes);
    }
    return frames;
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool convertOnGpu(const QByteArray &frame, QImage &out)
{
    GlRuntime &gl = GlRuntime::instance();
    return gl.run([&] {
        orvel::GlFbo fbo = gl.nv12ToFbo(frame, kWidth, kHeight);
        if (fbo.isValid())
            out = fbo.fbo->toImage(false);
        gl.releaseFbo(fbo);
    });
}

void convertWithSwscale(SwsContext *sws, const QByteArray &frame, QImage &out)
{
    const auto *planes = reinterpret_cast<const uint8_t *>(frame.constData());
    const uint8_t *src[4] = {planes, planes + kWidth * kHeight, nullptr, nullptr};
    const int srcStride[4] = {kWidth, kWidth, 0, 0};
    uint8_t *dst[4] = {out.bits(), nullptr, nullptr, nullptr};
    const int dstStride[4] = {int(out.bytesPerLine()), 0, 0, 0};
    sws_scale(sws, src, srcStride, 0, kHeight, dst, dstStride);
}

void BM_Nv12ToRgba1080p(benchmark::State &state)
{
    if (!GlRuntime::instance().ensureStarted()) {
        state.SkipWithError("no OpenGL: run under xvfb-run");
        return;
    }
    const std::vector<QByteArray> frames = syntheticFrames();
    SwsContext *sws = sws_getContext(kWidth, kHeight, AV_PIX_FMT_NV12, kWidth, kHeight, AV_PIX_FMT_RGBA,
                                     SWS_BILINEAR, nullptr, nullptr, nullptr);
    sws_setColorspaceDetails(sws, sws_getCoefficients(SWS_CS_ITU709), 0, sws_getCoefficients(SWS_CS_ITU709),
                             0, 0, 1 << 16, 1 << 16);
    QImage gpuImage;
    QImage cpuImage(kWidth, kHeight, QImage::Format_RGBA8888);
    // The first run compiles the program and fills the pool; that is start-up, not throughput.
    convertOnGpu(frames[0], gpuImage);

    double gpuSeconds = 0.0;
    double cpuSeconds = 0.0;
    int64_t converted = 0;
    for (auto _ : state) {
        const QByteArray &frame = frames[size_t(converted % kFrameCount)];
        auto start = std::chrono::steady_clock::now();
        if (!convertOnGpu(frame, gpuImage) || gpuImage.isNull()) {
            state.SkipWithError("nv12ToFbo failed");
            break;
        }
        gpuSeconds += secondsSince(start);
        start = std::chrono::steady_clock::now();
        convertWithSwscale(sws, frame, cpuImage);
        cpuSeconds += secondsSince(start);
        benchmark::DoNotOptimize(gpuImage.constBits());
        benchmark::DoNotOptimize(cpuImage.constBits());
        ++converted;
    }
    sws_freeContext(sws);
    if (converted == 0 || gpuSeconds <= 0.0 || cpuSeconds <= 0.0)
        return;
    state.counters["gl_fps"] = double(converted) / gpuSeconds;
    state.counters["swscale_fps"] = double(converted) / cpuSeconds;
    state.counters["gl_vs_swscale"] = cpuSeconds / gpuSeconds;
}
BENCHMARK(BM_Nv12ToRgba1080p)->Unit(benchmark::kMillisecond)->MinTime(1.0)->UseRealTime();

} // namespace
