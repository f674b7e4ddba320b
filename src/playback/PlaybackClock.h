#pragma once

#include "core/document/model/Types.h"

#include <QMutex>

#include <atomic>
#include <cstdint>
#include <functional>

namespace orvel {

// The time base of playback. While running it follows the audio device: the device's processed
// figure, carried forward on the steady clock between reports. A device that never reports
// leaves half a second frozen and then free-running steady time, so video still plays without
// sound. The time it returns never goes back while running.
//
// Called from the main thread (reset, start, stop, nowUs) and the audio thread (frames written,
// device reports); the mutex covers only the device figures and the latch.
class PlaybackClock
{
public:
    using SteadyNs = std::function<std::int64_t()>;
    static constexpr std::int64_t kDeviceGraceNs = 500'000'000;

    // The steady clock is injectable so that tests can step time by hand.
    explicit PlaybackClock(SteadyNs steadyNs = {});

    // Stops and places the clock at positionUs, counting audio at sampleRate (at least 1).
    void reset(TimeUs positionUs, int sampleRate);
    // Runs from the position set last, with no device figure yet.
    void start();
    // Stores the current time as the position and stops.
    void stop();

    TimeUs nowUs();
    bool isRunning() const { return m_running.load(); }
    int sampleRate() const { return m_sampleRate.load(); }

    // The timeline time the mix has reached: ahead of nowUs by whatever the device buffers.
    TimeUs writtenUs() const;
    void addFramesWritten(std::uint64_t frames);
    // The device's own figure of time played since its start.
    void reportDeviceProcessed(TimeUs processedUs);

private:
    TimeUs runningTimeLocked(std::int64_t nowNs) const;

    SteadyNs m_steadyNs;
    std::atomic<TimeUs> m_baseUs{0};
    std::atomic<TimeUs> m_positionUs{0};
    std::atomic<std::uint64_t> m_framesWritten{0};
    std::atomic<bool> m_running{false};
    std::atomic<int> m_sampleRate{48000};

    QMutex m_mutex;
    TimeUs m_deviceProcessedUs = 0;
    std::int64_t m_deviceReportStamp = 0;
    std::int64_t m_startStamp = 0;
    TimeUs m_lastReturnedUs = 0;
};

} // namespace orvel
