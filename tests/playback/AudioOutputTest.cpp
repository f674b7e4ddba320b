#include "ToneFiles.h"

#include "playback/audio/AudioMixer.h"
#include "playback/audio/PlaybackAudioOutput.h"
#include "playback/PlaybackClock.h"
#include "playback/PlaybackEngine.h"

#include <QAudioDevice>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMediaDevices>
#include <QTimer>

#include <gtest/gtest.h>

using namespace orvel;

// Plays a generated project through the real audio output for three seconds, sampling the clock
// every 16 ms as the playback engine's playhead timer does. The suites run as separate CTest
// entries: one with a dummy PulseAudio server that the test fixture starts, one pointed at a
// server that does not exist.

namespace {

QStringList &outputWarnings()
{
    static QStringList warnings;
    return warnings;
}

void keepOutputWarnings(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("PlaybackAudio:")))
        outputWarnings().append(message);
}

struct Sample
{
    qint64 elapsedMs = 0;      // wall time just before the clock was read
    qint64 elapsedAfterMs = 0; // and just after, so that a preempted read is bracketed
    TimeUs playheadUs = 0;
    TimeUs deviceUs = -1;
};

// Samples the playhead every 16 ms, as the playback engine's playhead timer does, for playMs.
QList<Sample> sampleFor(int playMs, const std::function<TimeUs()> &playhead,
                        const std::function<TimeUs()> &device)
{
    QList<Sample> samples;
    QElapsedTimer elapsed;
    elapsed.start();
    auto sample = [&] {
        Sample taken;
        taken.elapsedMs = elapsed.elapsed();
        taken.playheadUs = playhead();
        taken.elapsedAfterMs = elapsed.elapsed();
        taken.deviceUs = device();
        samples.append(taken);
    };
    QEventLoop loop;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, sample);
    tick.start(16);
    QTimer::singleShot(playMs, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
    sample();
    return samples;
}

class PlaybackSession
{
public:
    PlaybackSession()
    {
        Clip clip;
        clip.id = newUuid();
        clip.type = ClipType::audio;
        clip.path = tonefiles::sineFile(440.0, 5.0);
        clip.timelineDurationUs = clip.srcOutUs = 5'000'000;
        project.tracks = {Track()};
        project.tracks[0].type = TrackType::audio;
        project.tracks[0].clips = {clip};
        mixer.setProject(&project);
    }

    // Plays from 0 for playMs of wall time and stops; the samples are taken as it plays.
    QList<Sample> play(int playMs)
    {
        clock.reset(0, 48000);
        output.setPlaying(true);
        output.start(48000);
        const QList<Sample> samples = sampleFor(
            playMs, [this] { return clock.nowUs(); }, [this] { return output.deviceProcessedUs(); });
        writtenUs = clock.writtenUs();
        output.setPlaying(false);
        clock.stop();
        output.stop();
        return samples;
    }

    Project project;
    AudioMixer mixer;
    PlaybackClock clock;
    PlaybackAudioOutput output{&mixer, &clock};
    TimeUs writtenUs = 0;
};

void expectNeverBackwards(const QList<Sample> &samples)
{
    for (qsizetype i = 1; i < samples.size(); ++i)
        ASSERT_GE(samples[i].playheadUs, samples[i - 1].playheadUs) << "at " << samples[i].elapsedMs << " ms";
}

} // namespace

// Collects the output's warnings. Outside the anonymous namespace, since the test classes derive
// from it.
class AudioOutputWarningsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        outputWarnings().clear();
        m_previous = qInstallMessageHandler(keepOutputWarnings);
    }
    void TearDown() override { qInstallMessageHandler(m_previous); }

private:
    QtMessageHandler m_previous = nullptr;
};

using AudioOutputWithDevice = AudioOutputWarningsTest;
using AudioOutputWithoutDevice = AudioOutputWarningsTest;

// Never back, and within 50 ms of the device's own figure after the first half second.
static void expectOnDevice(const QList<Sample> &samples)
{
    expectNeverBackwards(samples);
    int compared = 0;
    for (const Sample &sample : samples) {
        if (sample.elapsedMs < 500 || sample.deviceUs <= 0)
            continue;
        ++compared;
        EXPECT_NEAR(double(sample.playheadUs), double(sample.deviceUs), 50'000.0)
            << "at " << sample.elapsedMs;
    }
    EXPECT_GT(compared, 100);
    EXPECT_GT(samples.last().playheadUs, 2'500'000);
    EXPECT_LE(samples.last().playheadUs, 3'050'000);
    EXPECT_TRUE(outputWarnings().isEmpty()) << outputWarnings().join(QLatin1Char('\n')).toStdString();
}

// Frozen for the first half second, then running free; a playhead moved by a timer may trail.
static void expectOnFreeClock(const QList<Sample> &samples, double trailUs)
{
    expectNeverBackwards(samples);
    for (const Sample &sample : samples) {
        const double lowUs = std::max<qint64>(sample.elapsedMs - 500, 0) * 1000.0;
        const double highUs = std::max<qint64>(sample.elapsedAfterMs - 500, 0) * 1000.0;
        EXPECT_GE(double(sample.playheadUs), lowUs - trailUs) << "at " << sample.elapsedMs;
        EXPECT_LE(double(sample.playheadUs), highUs + 20'000.0) << "at " << sample.elapsedMs;
    }
    EXPECT_EQ(outputWarnings().size(), 1);
}

TEST_F(AudioOutputWithDevice, PlayheadFollowsTheDevicesProcessedTime)
{
    ASSERT_FALSE(QMediaDevices::defaultAudioOutput().isNull())
        << "the dummy PulseAudio sink is not reachable";
    PlaybackSession session;
    const QList<Sample> samples = session.play(3000);
    expectOnDevice(samples);
    EXPECT_GE(session.writtenUs, samples.last().playheadUs); // the mix runs ahead of what is heard
}

TEST_F(AudioOutputWithoutDevice, PlaysSilentlyOnTheFreeClockWithOneWarning)
{
    PlaybackSession session;
    const QList<Sample> samples = session.play(3000);
    expectOnFreeClock(samples, 20'000.0);
    for (const Sample &sample : samples) {
        if (sample.elapsedAfterMs < 480) {
            EXPECT_EQ(sample.playheadUs, 0) << "at " << sample.elapsedMs;
        }
    }
    // Another play on the same output stays silent without repeating the warning.
    session.play(100);
    EXPECT_EQ(outputWarnings().size(), 1);
}

// The same through the whole engine, whose own 16 ms timer moves its playhead.
static QList<Sample> playEngine(int playMs)
{
    PlaybackSession session;
    PlaybackEngine engine;
    engine.setProject(&session.project);
    engine.play();
    const QList<Sample> samples = sampleFor(
        playMs, [&] { return engine.playheadUs(); },
        [&] { return engine.audioOutput()->deviceProcessedUs(); });
    engine.pause();
    return samples;
}

TEST_F(AudioOutputWithDevice, EnginePlayheadFollowsTheDevice)
{
    expectOnDevice(playEngine(3000));
}

TEST_F(AudioOutputWithoutDevice, EnginePlaysSilentlyOnTheFreeClock)
{
    expectOnFreeClock(playEngine(3000), 40'000.0);
}
