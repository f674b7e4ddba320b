#include "playback/audio/PlaybackAudioOutput.h"

#include "playback/audio/AudioMixer.h"
#include "playback/audio/AudioPlaybackIODevice.h"
#include "playback/PlaybackClock.h"

#include <QAudioFormat>
#include <QAudioSink>
#include <QMediaDevices>

#include <algorithm>

namespace orvel {

PlaybackAudioOutput::PlaybackAudioOutput(AudioMixer *mixer, PlaybackClock *clock, QObject *parent)
    : QObject(parent), m_mixer(mixer), m_clock(clock)
{
    m_device = new AudioPlaybackIODevice(this);
    m_device->open(QIODevice::ReadOnly);
    m_thread.setObjectName(QStringLiteral("PlaybackAudio"));
    m_device->moveToThread(&m_thread);
    m_thread.start(QThread::InheritPriority);
}

PlaybackAudioOutput::~PlaybackAudioOutput()
{
    m_playing.store(false);
    QMetaObject::invokeMethod(
        m_device,
        [this] {
            if (m_sink)
                m_sink->stop();
            delete m_sink;
            m_sink = nullptr;
        },
        Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
    delete m_device;
}

void PlaybackAudioOutput::start(int sampleRate)
{
    const int rate = std::max(sampleRate, 1);
    m_sampleRate.store(rate);
    QMetaObject::invokeMethod(
        m_device, [this, rate] { openSink(rate); }, Qt::QueuedConnection);
    m_clock->start();
    QMetaObject::invokeMethod(
        m_device, [this] { startSink(); }, Qt::QueuedConnection);
}

void PlaybackAudioOutput::stop()
{
    QMetaObject::invokeMethod(
        m_device,
        [this] {
            if (m_sink)
                m_sink->stop();
        },
        Qt::BlockingQueuedConnection);
}

TimeUs PlaybackAudioOutput::deviceProcessedUs()
{
    TimeUs processedUs = -1;
    QMetaObject::invokeMethod(
        m_device,
        [this, &processedUs] {
            if (m_sink)
                processedUs = m_sink->processedUSecs();
        },
        Qt::BlockingQueuedConnection);
    return processedUs;
}

bool PlaybackAudioOutput::mixInto(float *out, int frames)
{
    if (!m_playing.load() || !m_mixer->project())
        return false;
    m_mixer->mix(m_clock->writtenUs(), frames, m_sampleRate.load(), out);
    m_clock->addFramesWritten(std::uint64_t(frames));
    if (m_sink)
        m_clock->reportDeviceProcessed(m_sink->processedUSecs());
    return true;
}

void PlaybackAudioOutput::openSink(int sampleRate)
{
    QAudioFormat format;
    format.setSampleRate(sampleRate);
    format.setChannelCount(2);
    format.setSampleFormat(QAudioFormat::Float);
    // A sink's format is fixed when it is made, so a project at another rate needs a new one.
    if (m_sink && m_sink->format() == format)
        return;
    delete m_sink;
    m_sink = new QAudioSink(QMediaDevices::defaultAudioOutput(), format);
    connect(m_sink, &QAudioSink::stateChanged, m_device,
            [this](QAudio::State state) { noteSinkState(state); });
}

void PlaybackAudioOutput::startSink()
{
    if (!m_sink)
        return;
    m_sink->start(m_device);
    noteSinkState(m_sink->state());
}

void PlaybackAudioOutput::noteSinkState(QAudio::State state)
{
    if (!m_sink || state != QAudio::StoppedState || m_sink->error() == QAudio::NoError || m_warned)
        return;
    m_warned = true;
    qWarning("PlaybackAudio: the audio output failed (error %d); playback goes on without sound",
             int(m_sink->error()));
}

} // namespace orvel
