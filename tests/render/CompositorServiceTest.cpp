// The preview service's request handling: one composite in flight, the newest waiting request
// wins, repeats are not drawn twice, and the adaptive scale follows late and on-time frames.
// A worker that waits for the test's permission stands in for the GPU.
#include "render/CompositorService.h"
#include "render/CompositorWorker.h"

#include <QMutex>
#include <QSemaphore>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace orvel;

namespace servicetest {

constexpr TimeUs kMs = 1000;

struct Composite
{
    TimeUs timeUs = 0;
    double scale = 0.0;
};

class GatedWorker : public CompositorWorker
{
public:
    QSemaphore gate;
    QMutex mutex;
    QList<Composite> composites;

protected:
    GpuFrameTexture renderFrame(const Project &, TimeUs timeUs,
                                const FrameCompositor::RenderOptions &options) override
    {
        {
            QMutexLocker lock(&mutex);
            composites.append({timeUs, options.previewScale});
        }
        gate.acquire();
        return GpuFrameTexture{7, QSize(16, 9)};
    }
};

class CompositorServiceTest : public ::testing::Test
{
protected:
    CompositorServiceTest() { service.setProject(&project); }
    // A worker still waiting would keep the service's thread from stopping.
    ~CompositorServiceTest() override { worker->gate.release(1000); }

    void request(TimeUs timeUs, double scale = 1.0, TimeUs readAheadUs = 0)
    {
        service.requestFrame(timeUs, FrameCompositor::RenderOptions{scale, -1, readAheadUs, {}});
    }

    // Lets the composite in flight finish and waits until the service has taken its result.
    void finishOne()
    {
        const qsizetype before = finished.count();
        worker->gate.release();
        while (finished.count() == before)
            ASSERT_TRUE(finished.wait(10000));
    }

    QList<Composite> composites()
    {
        QMutexLocker lock(&worker->mutex);
        return worker->composites;
    }

    QList<TimeUs> compositeTimes()
    {
        QList<TimeUs> times;
        for (const Composite &c : composites())
            times.append(c.timeUs);
        return times;
    }

    Project project;
    GatedWorker *worker = new GatedWorker;
    CompositorService service{worker};
    QSignalSpy finished{&service, &CompositorService::compositeFinished};
    QSignalSpy shown{&service, &CompositorService::frameReady};
};

} // namespace servicetest

using namespace servicetest;

TEST_F(CompositorServiceTest, NewestWaitingRequestWinsAndRepeatsAreNotDrawn)
{
    service.setAdaptive(false);
    request(0);
    for (int i = 1; i <= 100; ++i)
        request(i * 10 * kMs);
    EXPECT_TRUE(service.isBusy());
    finishOne();
    finishOne();
    EXPECT_EQ(compositeTimes(), (QList<TimeUs>{0, 1000 * kMs}));
    EXPECT_FALSE(service.isBusy()); // nothing further was dispatched
    EXPECT_EQ(shown.count(), 2);    // without adaptation even the old frame is shown

    request(500 * kMs);
    request(500 * kMs); // the same again while busy: nothing more
    finishOne();
    request(500 * kMs);
    request(500 * kMs, 1.0, 2'000'000); // the same time with other options: a new picture
    finishOne();
    finishOne();
    EXPECT_EQ(compositeTimes().mid(2), (QList<TimeUs>{500 * kMs, 500 * kMs, 500 * kMs}));
    EXPECT_FALSE(service.isBusy());
}

TEST_F(CompositorServiceTest, LateFramesShrinkTheScaleAndOnTimeFramesRestoreIt)
{
    // Every result comes back while the playhead is already 200 ms further on.
    request(0);
    const double expected[] = {0.75, 0.5625, 0.421875, 0.31640625, 0.25, 0.25};
    TimeUs t = 0;
    for (double scale : expected) {
        for (int late = 0; late < 2; ++late) {
            t += 200 * kMs;
            request(t);
            finishOne();
        }
        EXPECT_DOUBLE_EQ(service.adaptiveScale(), scale);
    }
    EXPECT_EQ(shown.count(), 0); // frames that far behind are dropped

    // Now each result is for the newest time: on time.
    finishOne();
    EXPECT_DOUBLE_EQ(composites().last().scale, 0.25);
    for (int onTime = 2; onTime <= 7; ++onTime) {
        t += 40 * kMs;
        request(t);
        finishOne();
    }
    EXPECT_DOUBLE_EQ(service.adaptiveScale(), 0.25);
    t += 40 * kMs;
    request(t);
    finishOne();
    EXPECT_DOUBLE_EQ(service.adaptiveScale(), 0.25 * 1.15);
    EXPECT_EQ(shown.count(), 8);
    // The asked scale is multiplied by the adaptive one; a result that is not a whole percent is
    // drawn once more at the rounded scale, and then the loop rests.
    request(t + 40 * kMs, 0.5);
    finishOne();
    finishOne();
    EXPECT_FALSE(service.isBusy());
    const QList<Composite> last = composites().mid(composites().size() - 2);
    EXPECT_DOUBLE_EQ(last[0].scale, 0.5 * 0.25 * 1.15);
    EXPECT_DOUBLE_EQ(last[1].scale, 0.14);

    service.setAdaptive(false);
    EXPECT_DOUBLE_EQ(service.adaptiveScale(), 1.0);
}

TEST(CompositorServiceNoGl, EmptyFramesStillReleaseTheService)
{
    Project project;
    CompositorService service;
    QSignalSpy finished(&service, &CompositorService::compositeFinished);
    QSignalSpy shown(&service, &CompositorService::frameReady);
    // Without a project nothing is drawn, and the service does not stay busy.
    service.requestFrame(0, {});
    EXPECT_FALSE(service.isBusy());

    service.setProject(&project);
    service.requestFrame(0, {});
    EXPECT_TRUE(service.isBusy());
    ASSERT_TRUE(finished.wait(20000));
    EXPECT_FALSE(service.isBusy());
    EXPECT_EQ(shown.count(), 0);
}
