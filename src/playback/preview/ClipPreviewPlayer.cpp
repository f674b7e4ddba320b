#include "playback/preview/ClipPreviewPlayer.h"

#include "core/document/timing/ClipTiming.h"
#include "playback/preview/ClipPreviewFrameStore.h"
#include "playback/preview/ClipPreviewFrameWorker.h"

#include <QAudioFormat>
#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>

#include <algorithm>
#include <cstring>

namespace orvel {

namespace {

constexpr int kPositionIntervalMs = 16;
constexpr qint64 kBytesPerFrame = 2 * sizeof(float);

// A curve decides the clip's length; without one the clip keeps the length it had on the
// timeline.
TimeUs previewDurationUs(const Clip &clip)
{
    if (clip.speedCurve.isActive())
        return std::max(retimedDuration(clip.speedCurve, clipSourceSpanUs(clip)), TimeUs(1));
    return std::max(clip.timelineDurationUs, TimeUs(0));
}

} // namespace

// What the preview's sink pulls. Like the timeline's playback device it never runs dry: while
// paused it answers silence.
class ClipPreviewAudioDevice final : public QIODevice
{
public:
    explicit ClipPreviewAudioDevice(ClipPreviewPlayer *player) : m_player(player) {}

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return QIODevice::bytesAvailable() + 1'048'576; }

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        const qint64 frames = maxSize / kBytesPerFrame;
        if (frames < 1 || !data)
            return 0;
        m_player->renderAudio(reinterpret_cast<float *>(data), int(frames));
        std::memset(data + frames * kBytesPerFrame, 0, std::size_t(maxSize - frames * kBytesPerFrame));
        return maxSize;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    ClipPreviewPlayer *m_player;
};

ClipPreviewPlayer::ClipPreviewPlayer(QObject *parent) : AbstractClipPreviewPlayer(parent)
{
    m_clip.timelineStartUs = 0;

    m_device = new ClipPreviewAudioDevice(this);
    m_device->open(QIODevice::ReadOnly);
    m_audioThread.setObjectName(QStringLiteral("ClipPreviewAudio"));
    m_device->moveToThread(&m_audioThread);
    m_audioThread.start(QThread::InheritPriority);

    m_worker = new ClipPreviewFrameWorker;
    m_decodeThread.setObjectName(QStringLiteral("ClipPreviewDecode"));
    m_worker->moveToThread(&m_decodeThread);
    connect(&m_decodeThread, &QThread::finished, m_worker, &QObject::deleteLater);
    connect(m_worker, &ClipPreviewFrameWorker::decoded, this, &ClipPreviewPlayer::showDecoded,
            Qt::QueuedConnection);
    m_decodeThread.start(QThread::InheritPriority);

    m_positionTimer.setInterval(kPositionIntervalMs);
    connect(&m_positionTimer, &QTimer::timeout, this, &ClipPreviewPlayer::onPositionTick);
    connect(&m_frameTimer, &QTimer::timeout, this, &ClipPreviewPlayer::onFrameTick);
}

ClipPreviewPlayer::~ClipPreviewPlayer()
{
    m_playing.store(false);
    m_positionTimer.stop();
    m_frameTimer.stop();
    m_clock.stop();
    QMetaObject::invokeMethod(
        m_device,
        [this] {
            if (m_sink)
                m_sink->stop();
            delete m_sink;
            m_sink = nullptr;
        },
        Qt::BlockingQueuedConnection);
    m_audioThread.quit();
    m_audioThread.wait();
    delete m_device;
    // The worker deletes itself as its thread finishes, after any decode in progress.
    m_decodeThread.quit();
    m_decodeThread.wait();
}

TimeUs ClipPreviewPlayer::durationUs() const
{
    QMutexLocker lock(&m_clipMutex);
    return m_durationUs;
}

void ClipPreviewPlayer::setClip(const Clip &clip, int sampleRate, int fps)
{
    pause();
    m_sampleRate = std::max(sampleRate, 8000);
    m_fps = std::max(fps, 1);
    {
        QMutexLocker lock(&m_clipMutex);
        m_clip = clip;
        m_clip.timelineStartUs = 0;
        m_durationUs = previewDurationUs(m_clip);
        m_clip.timelineDurationUs = m_durationUs;
    }
    m_positionUs = 0;
    dropPendingFrames();
    const bool sizeChanged = !m_frameSize.isEmpty();
    m_frameSize = QSize();
    resetClipPreviewImage();
    if (sizeChanged)
        emit frameSizeChanged();
    emit durationChanged();
    emit positionChanged();
    requestFrameAt(0);
}

void ClipPreviewPlayer::updateSpeed(const SpeedCurve &curve)
{
    TimeUs durationUs = 0;
    {
        QMutexLocker lock(&m_clipMutex);
        m_clip.speedCurve = curve;
        m_durationUs = previewDurationUs(m_clip);
        m_clip.timelineDurationUs = m_durationUs;
        durationUs = m_durationUs;
    }
    if (m_positionUs > durationUs) {
        m_positionUs = durationUs;
        if (m_playing.load()) {
            m_clock.reset(m_positionUs, m_sampleRate);
            m_clock.start();
        }
        emit positionChanged();
        requestFrameAt(m_positionUs);
    }
    emit durationChanged();
    if (!m_playing.load())
        requestFrameAt(m_positionUs);
}

void ClipPreviewPlayer::clear()
{
    pause();
    {
        QMutexLocker lock(&m_clipMutex);
        m_clip = Clip();
        m_clip.timelineStartUs = 0;
        m_durationUs = 0;
    }
    m_positionUs = 0;
    dropPendingFrames();
    const bool sizeChanged = !m_frameSize.isEmpty();
    m_frameSize = QSize();
    resetClipPreviewImage();
    if (sizeChanged)
        emit frameSizeChanged();
    emit frameChanged();
    emit durationChanged();
    emit positionChanged();
}

void ClipPreviewPlayer::play()
{
    const TimeUs durationUs = this->durationUs();
    if (m_playing.load() || durationUs <= 0)
        return;
    if (m_positionUs >= durationUs)
        m_positionUs = 0;
    const int rate = m_sampleRate;
    QMetaObject::invokeMethod(
        m_device, [this, rate] { openSink(rate); }, Qt::BlockingQueuedConnection);
    m_clock.reset(m_positionUs, m_sampleRate);
    m_clock.start();
    m_playing.store(true);
    QMetaObject::invokeMethod(
        m_device,
        [this] {
            if (m_sink)
                m_sink->start(m_device);
        },
        Qt::BlockingQueuedConnection);
    emit playingChanged();
    m_positionTimer.start();
    m_frameTimer.start(std::max(1000 / m_fps, 1));
}

void ClipPreviewPlayer::pause()
{
    if (!m_playing.load())
        return;
    m_playing.store(false);
    m_positionTimer.stop();
    m_frameTimer.stop();
    m_clock.stop();
    m_positionUs = m_clock.nowUs();
    QMetaObject::invokeMethod(
        m_device,
        [this] {
            if (m_sink)
                m_sink->stop();
        },
        Qt::BlockingQueuedConnection);
    emit playingChanged();
    emit positionChanged();
}

void ClipPreviewPlayer::seek(TimeUs positionUs)
{
    m_positionUs = std::clamp(positionUs, TimeUs(0), std::max(durationUs(), TimeUs(0)));
    if (m_playing.load()) {
        m_clock.reset(m_positionUs, m_sampleRate);
        m_clock.start();
    }
    emit positionChanged();
    requestFrameAt(m_positionUs);
}

void ClipPreviewPlayer::requestFrameAt(TimeUs timeUs)
{
    QString path;
    TimeUs sourceUs = 0;
    {
        QMutexLocker lock(&m_clipMutex);
        if (m_clip.type == ClipType::audio || m_clip.path.isEmpty())
            return;
        path = m_clip.path;
        sourceUs = clipSourceTimeUs(m_clip, std::clamp(timeUs, TimeUs(0), m_durationUs));
    }
    const quint64 token = ++m_token;
    m_worker->setLatestToken(token);
    ClipPreviewFrameWorker *worker = m_worker;
    QMetaObject::invokeMethod(
        worker,
        [worker, path, sourceUs, token] {
            worker->decode(path, sourceUs, kMaxFrameWidth, kMaxFrameHeight, token);
        },
        Qt::QueuedConnection);
}

void ClipPreviewPlayer::dropPendingFrames()
{
    const quint64 token = ++m_token;
    m_worker->setLatestToken(token);
    m_shownToken = token;
}

void ClipPreviewPlayer::showDecoded(const QImage &image, quint64 token)
{
    if (token < m_shownToken)
        return;
    m_shownToken = token;
    setClipPreviewImage(image);
    if (image.size() != m_frameSize) {
        m_frameSize = image.size();
        emit frameSizeChanged();
    }
    emit frameChanged();
}

void ClipPreviewPlayer::onPositionTick()
{
    if (!m_playing.load())
        return;
    const TimeUs nowUs = m_clock.nowUs();
    const TimeUs durationUs = this->durationUs();
    if (nowUs >= durationUs) {
        pause();
        m_positionUs = durationUs;
        emit positionChanged();
        requestFrameAt(durationUs);
        return;
    }
    m_positionUs = nowUs;
    emit positionChanged();
}

void ClipPreviewPlayer::onFrameTick()
{
    requestFrameAt(m_playing.load() ? m_clock.nowUs() : m_positionUs);
}

void ClipPreviewPlayer::openSink(int sampleRate)
{
    QAudioFormat format;
    format.setSampleRate(sampleRate);
    format.setChannelCount(2);
    format.setSampleFormat(QAudioFormat::Float);
    // A sink's format is fixed when it is made, so another rate needs a new one.
    if (m_sink && m_sink->format() == format)
        return;
    delete m_sink;
    m_sink = new QAudioSink(QMediaDevices::defaultAudioOutput(), format);
}

void ClipPreviewPlayer::renderAudio(float *out, int frames)
{
    std::fill(out, out + std::size_t(frames) * 2, 0.0f);
    if (!m_playing.load())
        return;
    Clip clip;
    {
        QMutexLocker lock(&m_clipMutex);
        clip = m_clip;
    }
    const QList<float> samples =
        m_audioReader.readClipSamples(clip, m_clock.writtenUs(), frames, m_clock.sampleRate());
    std::copy_n(samples.constData(), std::min<qsizetype>(samples.size(), qsizetype(frames) * 2), out);
    m_clock.addFramesWritten(std::uint64_t(frames));
    if (m_sink)
        m_clock.reportDeviceProcessed(m_sink->processedUSecs());
}

} // namespace orvel
