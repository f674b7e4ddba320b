// Cost of evaluating keyframes and speed-curve mappings, the two per-frame, per-clip calls of the
// render path. A curved keyframe segment is compared with a straight one in the same run.
#include "core/document/timing/ClipTiming.h"
#include "core/document/animation/Keyframes.h"
#include "core/document/timing/SpeedCurve.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <random>
#include <vector>

namespace {

constexpr orvel::TimeUs kKeySpacingUs = 100000;

// Keys every 100 ms with values going up and down; curved keys carry ease handles a third of the
// way to each neighbour, which sends every segment through the Bezier solve.
orvel::AnimatedProperty benchProperty(int keyCount, bool curved)
{
    orvel::AnimatedProperty property;
    for (int i = 0; i < keyCount; ++i) {
        orvel::Keyframe key{double((i * 37) % 11)};
        if (curved) {
            key.inDx = i > 0 ? -kKeySpacingUs / 3.0 : 0.0;
            key.outDx = i + 1 < keyCount ? kKeySpacingUs / 3.0 : 0.0;
            key.outDy = 0.5;
        }
        property.keyframes.insert(orvel::TimeUs(i) * kKeySpacingUs, key);
    }
    return property;
}

// Times strictly inside segments, spread over the whole property in a fixed shuffled order, so
// the map search cannot ride on one path.
std::vector<orvel::TimeUs> segmentTimes(int keyCount, std::size_t count = 4096)
{
    std::mt19937 rng(12345);
    std::uniform_int_distribution<int> segment(0, keyCount - 2);
    std::uniform_int_distribution<orvel::TimeUs> offset(1, kKeySpacingUs - 1);
    std::vector<orvel::TimeUs> times(count);
    for (orvel::TimeUs &t : times)
        t = orvel::TimeUs(segment(rng)) * kKeySpacingUs + offset(rng);
    return times;
}

double animationCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

void runValueAt(benchmark::State &state, bool curved)
{
    const int keyCount = int(state.range(0));
    const orvel::AnimatedProperty property = benchProperty(keyCount, curved);
    const std::vector<orvel::TimeUs> times = segmentTimes(keyCount);
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(orvel::valueAt(property, times[next]));
        next = (next + 1) & (times.size() - 1);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_ValueAtLinear(benchmark::State &state)
{
    runValueAt(state, false);
}

void BM_ValueAtCurved(benchmark::State &state)
{
    runValueAt(state, true);
}

// Seconds of thread CPU time for one pass of valueAt over every time.
double valueAtPassSeconds(const orvel::AnimatedProperty &property, const std::vector<orvel::TimeUs> &times)
{
    const double start = animationCpuSeconds();
    double sum = 0.0;
    for (orvel::TimeUs t : times)
        sum += orvel::valueAt(property, t);
    benchmark::DoNotOptimize(sum);
    return animationCpuSeconds() - start;
}

// The reference comparison: a 10-key property, straight against curved, timed alternately in
// every iteration so that load on the shared machine falls on both sides alike.
void BM_ValueAtCurvedVsLinear(benchmark::State &state)
{
    const orvel::AnimatedProperty linear = benchProperty(10, false);
    const orvel::AnimatedProperty curved = benchProperty(10, true);
    const std::vector<orvel::TimeUs> times = segmentTimes(10);
    double linearSeconds = 0.0;
    double curvedSeconds = 0.0;
    for (auto _ : state) {
        linearSeconds += valueAtPassSeconds(linear, times);
        curvedSeconds += valueAtPassSeconds(curved, times);
    }
    const double calls = double(state.iterations()) * double(times.size());
    state.counters["linear_ns"] = linearSeconds * 1e9 / calls;
    state.counters["curved_ns"] = curvedSeconds * 1e9 / calls;
    state.counters["linear_vs_curved"] = curvedSeconds > 0.0 ? linearSeconds / curvedSeconds : 0.0;
}

orvel::SpeedCurve benchCurve()
{
    QList<orvel::SpeedCurvePoint> points;
    const double speeds[] = {0.5, 3.0, 1.2, 6.0, 0.8};
    for (int i = 0; i < 5; ++i) {
        orvel::SpeedCurvePoint point;
        point.pos = i / 4.0;
        point.speed = speeds[i];
        point.inDx = -0.08;
        point.outDx = 0.08;
        points.append(point);
    }
    return orvel::normaliseSpeedCurve(points);
}

constexpr orvel::TimeUs kBenchSourceSpanUs = 600000000; // ten minutes of source

template <typename Call> void runMapping(benchmark::State &state, orvel::TimeUs range, Call call)
{
    std::mt19937 rng(99);
    std::uniform_int_distribution<orvel::TimeUs> pick(0, range);
    std::vector<orvel::TimeUs> inputs(4096);
    for (orvel::TimeUs &input : inputs)
        input = pick(rng);
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(call(inputs[next]));
        next = (next + 1) & (inputs.size() - 1);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_SourceOffsetFromTimeline(benchmark::State &state)
{
    const orvel::SpeedCurve curve = benchCurve();
    runMapping(state, orvel::retimedDuration(curve, kBenchSourceSpanUs), [&](orvel::TimeUs t) {
        return orvel::sourceOffsetFromTimeline(curve, t, kBenchSourceSpanUs);
    });
}

void BM_TimelineOffsetFromSource(benchmark::State &state)
{
    const orvel::SpeedCurve curve = benchCurve();
    runMapping(state, kBenchSourceSpanUs, [&](orvel::TimeUs s) {
        return orvel::timelineOffsetFromSource(curve, s, kBenchSourceSpanUs);
    });
}

void BM_SpeedAtTimeline(benchmark::State &state)
{
    const orvel::SpeedCurve curve = benchCurve();
    runMapping(state, orvel::retimedDuration(curve, kBenchSourceSpanUs),
               [&](orvel::TimeUs t) { return orvel::speedAtTimeline(curve, t, kBenchSourceSpanUs); });
}

// The whole per-frame question of a curved clip: which source time plays at this timeline time.
void BM_ClipSourceTimeCurved(benchmark::State &state)
{
    orvel::Clip clip;
    clip.srcOutUs = kBenchSourceSpanUs;
    clip.speedCurve = benchCurve();
    clip.timelineDurationUs = orvel::retimedDuration(clip.speedCurve, kBenchSourceSpanUs);
    runMapping(state, clip.timelineDurationUs,
               [&](orvel::TimeUs t) { return orvel::clipSourceTimeUs(clip, t); });
}

} // namespace

BENCHMARK(BM_ValueAtLinear)->Arg(2)->Arg(10)->Arg(1000);
BENCHMARK(BM_ValueAtCurved)->Arg(2)->Arg(10)->Arg(1000);
BENCHMARK(BM_ValueAtCurvedVsLinear);
BENCHMARK(BM_SourceOffsetFromTimeline);
BENCHMARK(BM_TimelineOffsetFromSource);
BENCHMARK(BM_SpeedAtTimeline);
BENCHMARK(BM_ClipSourceTimeCurved);
