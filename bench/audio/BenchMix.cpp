// Throughput of the preview mix: eight audio tracks of 60 s, each clip with fades, a volume key
// and a two-effect rack, two of them at speed 1.5, mixed in 1024-frame blocks at 48 kHz as the
// audio device pulls them. mix_x_realtime is seconds of mixed audio per second of process CPU
// time, decoder threads included, so that sharing the machine does not move it much. The row
// "all" is the full load; the rows "plain", "effects", "speed" and "gains" switch on one part
// at a time, to show where the time goes.
#include "playback/audio/AudioMixer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <ctime>
#include <vector>

using namespace orvel;

namespace {

constexpr int kRate = 48000;
constexpr int kBlockFrames = 1024;
constexpr int kTracks = 8;
constexpr TimeUs kClipUs = 60'000'000;

double processCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

// A sine per track, long enough for a clip at speed 1.5; false if ffmpeg failed.
bool makeTone(const QString &path, int frequencyHz, int seconds)
{
    QProcess ffmpeg;
    ffmpeg.start(
        QStringLiteral("ffmpeg"),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
         QStringLiteral("lavfi"), QStringLiteral("-i"),
         QStringLiteral("sine=frequency=%1:sample_rate=48000:duration=%2").arg(frequencyHz).arg(seconds),
         QStringLiteral("-ac"), QStringLiteral("2"), QStringLiteral("-c:a"), QStringLiteral("pcm_s16le"),
         path});
    return ffmpeg.waitForFinished(120000) && ffmpeg.exitCode() == 0;
}

enum Feature
{
    effects = 1,
    speed = 2,
    gains = 4,
    all = effects | speed | gains
};

Clip benchClip(const QString &path, double clipSpeed, int features)
{
    const double speed = features & Feature::speed ? clipSpeed : 1.0;
    Clip clip;
    clip.id = newUuid();
    clip.type = ClipType::audio;
    clip.path = path;
    clip.timelineDurationUs = kClipUs;
    clip.srcOutUs = TimeUs(double(kClipUs) * speed);
    clip.speed = speed;
    if (features & Feature::gains) {
        clip.fadeInUs = 2'000'000;
        clip.fadeOutUs = 3'000'000;
        clip.fadeCurve = FadeCurve::equalPower;
        clip.volume = constantProperty(0.7);
    }
    if (features & Feature::effects) {
        EffectInstance echo;
        echo.catalogId = QStringLiteral("echo");
        EffectInstance muffled;
        muffled.catalogId = QStringLiteral("muffled");
        clip.audioEffects = {echo, muffled};
    }
    return clip;
}

QList<AudioEffectSpec> benchEffects(const Clip &)
{
    return {
        {QStringLiteral("echo"), 1000, {{QStringLiteral("delay"), 120.0f}, {QStringLiteral("decay"), 0.4f}}},
        {QStringLiteral("muffled"),
         0,
         {{QStringLiteral("cutoff"), 3000.0f}, {QStringLiteral("gain"), 0.9f}}}};
}

const char *featureLabel(int features)
{
    switch (features) {
    case 0:
        return "plain";
    case Feature::effects:
        return "effects";
    case Feature::speed:
        return "speed";
    case Feature::gains:
        return "gains";
    default:
        return "all";
    }
}

void BM_MixEightTracks(benchmark::State &state)
{
    // The tones are made once and shared by every row.
    static QTemporaryDir dir;
    const int features = int(state.range(0));
    state.SetLabel(featureLabel(features));
    Project project;
    project.tracks.clear();
    for (int i = 0; i < kTracks; ++i) {
        const QString path = QDir(dir.path()).filePath(QStringLiteral("tone%1.wav").arg(i));
        if (!QFile::exists(path) && !makeTone(path, 220 + 110 * i, 91)) {
            state.SkipWithError("ffmpeg could not make the test tones");
            return;
        }
        Track track;
        track.type = TrackType::audio;
        track.clips = {benchClip(path, i < 2 ? 1.5 : 1.0, features)};
        project.tracks.append(track);
    }
    std::vector<float> block(std::size_t(kBlockFrames) * 2);
    double audioSeconds = 0.0;
    double cpuSeconds = 0.0;
    for (auto _ : state) {
        AudioMixer mixer;
        mixer.setProject(&project);
        mixer.setEffectSpecResolver(benchEffects);
        const double cpuStart = processCpuSeconds();
        qint64 frame = 0;
        for (; frame * 1'000'000 / kRate < kClipUs; frame += kBlockFrames) {
            mixer.mix(frame * 1'000'000 / kRate, kBlockFrames, kRate, block.data());
            benchmark::DoNotOptimize(block.data());
        }
        cpuSeconds += processCpuSeconds() - cpuStart;
        audioSeconds += double(frame) / kRate;
    }
    state.counters["mix_x_realtime"] = cpuSeconds > 0.0 ? audioSeconds / cpuSeconds : 0.0;
}
BENCHMARK(BM_MixEightTracks)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Arg(Feature::all)
    ->Arg(0)
    ->Arg(Feature::effects)
    ->Arg(Feature::speed)
    ->Arg(Feature::gains);

} // namespace
