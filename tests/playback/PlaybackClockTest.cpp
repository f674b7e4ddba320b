#include "playback/PlaybackClock.h"

#include <gtest/gtest.h>

using namespace orvel;

namespace {

// A steady clock that moves only when the test says so.
struct FakeSteady
{
    std::int64_t nowNs = 1'000'000'000;
    void advanceMs(std::int64_t ms) { nowNs += ms * 1'000'000; }
    PlaybackClock::SteadyNs source()
    {
        return [this] { return nowNs; };
    }
};

} // namespace

TEST(PlaybackClock, WithoutTheDeviceItHoldsHalfASecondThenRunsFree)
{
    FakeSteady steady;
    PlaybackClock clock(steady.source());
    clock.reset(2'000'000, 48000);
    EXPECT_EQ(clock.nowUs(), 2'000'000);
    clock.start();
    steady.advanceMs(499);
    EXPECT_EQ(clock.nowUs(), 2'000'000);
    steady.advanceMs(201);
    EXPECT_EQ(clock.nowUs(), 2'200'000);
    steady.advanceMs(1000);
    EXPECT_EQ(clock.nowUs(), 3'200'000);

    // Stopping keeps the time reached; it stands still until the next start.
    clock.stop();
    steady.advanceMs(5000);
    EXPECT_EQ(clock.nowUs(), 3'200'000);
    EXPECT_FALSE(clock.isRunning());
}

TEST(PlaybackClock, FollowsTheDeviceBetweenReportsAndNeverGoesBack)
{
    FakeSteady steady;
    PlaybackClock clock(steady.source());
    clock.reset(1'000'000, 48000);
    clock.start();
    steady.advanceMs(40);
    clock.reportDeviceProcessed(30'000);
    EXPECT_EQ(clock.nowUs(), 1'030'000); // a report ends the frozen start at once
    steady.advanceMs(15);
    EXPECT_EQ(clock.nowUs(), 1'045'000); // carried forward on the steady clock
    clock.reportDeviceProcessed(50'000);
    EXPECT_EQ(clock.nowUs(), 1'050'000);

    // The device's figure goes back (a restarted stream): the clock holds until it catches up.
    clock.reportDeviceProcessed(10'000);
    EXPECT_EQ(clock.nowUs(), 1'050'000);
    steady.advanceMs(20);
    EXPECT_EQ(clock.nowUs(), 1'050'000);
    steady.advanceMs(30);
    EXPECT_EQ(clock.nowUs(), 1'060'000);
}

TEST(PlaybackClock, WrittenTimeCountsFramesFromTheLastStart)
{
    FakeSteady steady;
    PlaybackClock clock(steady.source());
    clock.reset(500'000, 44100);
    clock.start();
    clock.addFramesWritten(44100 + 441);
    EXPECT_EQ(clock.writtenUs(), 1'510'000);
    // A restart counts from the new position and forgets the frames and the device's figure.
    clock.reportDeviceProcessed(900'000);
    clock.reset(4'000'000, 0); // a rate below 1 counts as 1
    clock.start();
    clock.addFramesWritten(2);
    EXPECT_EQ(clock.writtenUs(), 6'000'000);
    steady.advanceMs(100);
    EXPECT_EQ(clock.nowUs(), 4'000'000);
}
