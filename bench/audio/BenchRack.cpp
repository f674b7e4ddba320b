// Throughput of every processor id on its own: 60 s of stereo 48 kHz noise through a rack holding
// that one effect, in the mixer's 1024-frame blocks, with the shipped package's default values.
// <id>_x_realtime is seconds of audio per second of CPU time; slowest_x_realtime is the least of
// them, which must stay well above real time for a clip to carry several effects.
#include "audiofx/AudioEffectRegistry.h"
#include "catalog/AudioEffectCatalog.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <vector>

using namespace orvel;

// Named, so that the unity build can put this file beside the mix benchmark.
namespace benchrack {

constexpr int kRate = 48000;
constexpr int kBlockFrames = 1024;
constexpr int kSeconds = 60;

double threadCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

// The defaults a user starts from; an id without a package runs at the processor's own values.
AudioEffectSpec defaultSpec(const QString &processorId)
{
    AudioEffectSpec spec{processorId, 0, {}};
    for (const AudioEffectDescriptor &d : AudioEffectCatalog::instance().all()) {
        if (d.processor != processorId)
            continue;
        for (const EffectParameter &p : d.parameters)
            spec.parameters.insert(p.id, float(p.defaultValue));
        break;
    }
    return spec;
}

double secondsOfCpuFor(const QString &processorId, const std::vector<float> &noise)
{
    AudioEffectRack rack;
    const QList<AudioEffectSpec> specs{defaultSpec(processorId)};
    std::vector<float> out(std::size_t(kBlockFrames) * 2);
    const std::size_t noiseBlocks = noise.size() / (std::size_t(kBlockFrames) * 2);
    const double start = threadCpuSeconds();
    for (std::size_t block = 0; block * kBlockFrames < std::size_t(kSeconds) * kRate; ++block) {
        // As the mixer does: the specs are applied to the rack before every block.
        rack.configure(specs, kRate);
        const float *in = noise.data() + (block % noiseBlocks) * kBlockFrames * 2;
        rack.process(in, out.data(), kBlockFrames);
        benchmark::DoNotOptimize(out.data());
    }
    return threadCpuSeconds() - start;
}

void BM_RackEveryProcessor(benchmark::State &state)
{
    // A second of white noise at -6 dBFS, replayed block after block.
    std::vector<float> noise(std::size_t(kRate / kBlockFrames) * kBlockFrames * 2);
    std::mt19937 random(7);
    std::uniform_real_distribution<float> uniform(-0.5f, 0.5f);
    for (float &sample : noise)
        sample = uniform(random);

    for (auto _ : state) {
        double slowest = 0.0;
        for (const QString &id : knownProcessorIds()) {
            const double cpu = secondsOfCpuFor(id, noise);
            const double speed = cpu > 0.0 ? kSeconds / cpu : 0.0;
            state.counters[(id + QStringLiteral("_x_realtime")).toStdString()] = speed;
            slowest = slowest == 0.0 ? speed : std::min(slowest, speed);
        }
        state.counters["slowest_x_realtime"] = slowest;
    }
}
BENCHMARK(BM_RackEveryProcessor)->Unit(benchmark::kSecond)->Iterations(1);

} // namespace benchrack
