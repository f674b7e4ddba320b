#include "playback/PlaybackClock.h"

#include <QMutexLocker>

#include <algorithm>
#include <chrono>

namespace orvel {

PlaybackClock::PlaybackClock(SteadyNs steadyNs) : m_steadyNs(std::move(steadyNs))
{
    if (!m_steadyNs) {
        m_steadyNs = [] {
            return std::int64_t(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                    std::chrono::steady_clock::now().time_since_epoch())
                                    .count());
        };
    }
}

void PlaybackClock::reset(TimeUs positionUs, int sampleRate)
{
    m_running.store(false);
    m_positionUs.store(positionUs);
    m_baseUs.store(positionUs);
    m_framesWritten.store(0);
    m_sampleRate.store(std::max(sampleRate, 1));
    QMutexLocker lock(&m_mutex);
    m_deviceProcessedUs = 0;
    m_deviceReportStamp = 0;
    m_lastReturnedUs = positionUs;
}

void PlaybackClock::start()
{
    const std::int64_t now = m_steadyNs();
    {
        QMutexLocker lock(&m_mutex);
        m_deviceProcessedUs = 0;
        m_deviceReportStamp = 0;
        m_startStamp = now;
        m_lastReturnedUs = m_positionUs.load();
    }
    m_baseUs.store(m_positionUs.load());
    m_framesWritten.store(0);
    m_running.store(true);
}

void PlaybackClock::stop()
{
    if (!m_running.load())
        return;
    m_positionUs.store(nowUs());
    m_running.store(false);
}

TimeUs PlaybackClock::nowUs()
{
    if (!m_running.load())
        return m_positionUs.load();
    const std::int64_t now = m_steadyNs();
    QMutexLocker lock(&m_mutex);
    m_lastReturnedUs = std::max(m_lastReturnedUs, runningTimeLocked(now));
    return m_lastReturnedUs;
}

TimeUs PlaybackClock::runningTimeLocked(std::int64_t nowNs) const
{
    const TimeUs base = m_baseUs.load();
    if (m_deviceReportStamp != 0) {
        const std::int64_t sinceReportNs = std::max<std::int64_t>(nowNs - m_deviceReportStamp, 0);
        return base + m_deviceProcessedUs + sinceReportNs / 1000;
    }
    const std::int64_t sinceStartNs = nowNs - m_startStamp;
    if (sinceStartNs < kDeviceGraceNs)
        return base;
    return base + (sinceStartNs - kDeviceGraceNs) / 1000;
}

TimeUs PlaybackClock::writtenUs() const
{
    return m_baseUs.load() + TimeUs(m_framesWritten.load() * 1'000'000 / std::uint64_t(m_sampleRate.load()));
}

void PlaybackClock::addFramesWritten(std::uint64_t frames)
{
    m_framesWritten.fetch_add(frames);
}

void PlaybackClock::reportDeviceProcessed(TimeUs processedUs)
{
    const std::int64_t now = m_steadyNs();
    QMutexLocker lock(&m_mutex);
    m_deviceProcessedUs = processedUs;
    // A stamp of 0 means "no report yet", so a report at steady time 0 is moved by a nanosecond.
    m_deviceReportStamp = now != 0 ? now : 1;
}

} // namespace orvel
