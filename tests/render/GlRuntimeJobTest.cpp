// Starting the runtime, its context and how jobs are run.
#include "GlRuntimeTestSupport.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QThread>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using orvel::test::GlRuntimeTest;

TEST(GlRuntimeStart, ConcurrentFirstCallersAllSeeOneSuccessfulStart)
{
    // The GUI thread asks too, as the editor's start-up does. Whichever thread starts, the
    // surface is made on the GUI thread, even while that thread is blocked in its own call.
    std::atomic<int> started{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([&started] { started += GlRuntime::instance().ensureStarted() ? 1 : 0; });
    const bool startedHere = GlRuntime::instance().ensureStarted();
    for (std::thread &caller : callers)
        caller.join();
    EXPECT_TRUE(startedHere);
    EXPECT_EQ(started.load(), 4);
    QObject *surface = nullptr;
    ASSERT_TRUE(GlRuntime::instance().run([&surface] {
        surface = dynamic_cast<QOffscreenSurface *>(QOpenGLContext::currentContext()->surface());
    }));
    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->thread(), qApp->thread());
}

TEST_F(GlRuntimeTest, JobRunsOnTheGlThreadWithASharedCoreContextAndCannotNestJobs)
{
    QString threadName;
    QSurfaceFormat format;
    bool sharing = false;
    bool haveFunctions = false;
    onGl([&] {
        threadName = QThread::currentThread()->objectName();
        QOpenGLContext *current = QOpenGLContext::currentContext();
        ASSERT_NE(current, nullptr);
        format = current->format();
        sharing = QOpenGLContext::areSharing(current, QOpenGLContext::globalShareContext());
        haveFunctions = gl().extraFunctions() != nullptr;
    });
    EXPECT_EQ(threadName, QStringLiteral("OrvelGL"));
    EXPECT_GE(qMakePair(format.majorVersion(), format.minorVersion()), qMakePair(3, 3));
    EXPECT_EQ(format.profile(), QSurfaceFormat::CoreProfile);
    EXPECT_TRUE(sharing);
    EXPECT_TRUE(haveFunctions);
    // Between jobs the context is current nowhere, and this thread never had it.
    EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);

    // A job that asks for another job is refused rather than deadlocked, and the context survives.
    orvel::test::WarningCapture warnings;
    bool innerRan = false;
    bool innerResult = true;
    bool current = false;
    onGl([&] { innerResult = gl().run([&] { innerRan = true; }); });
    onGl([&] { current = QOpenGLContext::currentContext() != nullptr; });
    EXPECT_FALSE(innerResult);
    EXPECT_FALSE(innerRan);
    EXPECT_EQ(warnings.countStartingWith("GlRuntime: run called from a job"), 1);
    EXPECT_TRUE(current);
}

TEST_F(GlRuntimeTest, JobsFromSeveralThreadsRunStrictlyOneAfterAnother)
{
    constexpr int kThreads = 4;
    constexpr int kJobsEach = 25;
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    std::atomic<int> ranJobs{0};
    std::atomic<int> failedOrUnfinished{0};
    std::vector<std::thread> callers;
    for (int t = 0; t < kThreads; ++t) {
        callers.emplace_back([&] {
            for (int j = 0; j < kJobsEach; ++j) {
                bool finished = false; // on the caller's stack: the job may use it because run blocks
                const bool ran = GlRuntime::instance().run([&] {
                    overlaps += inside.fetch_add(1) != 0 ? 1 : 0;
                    orvel::GlFbo fbo = GlRuntime::instance().acquireFbo(16, 16);
                    GlRuntime::instance().extraFunctions()->glFinish();
                    GlRuntime::instance().releaseFbo(fbo);
                    ++ranJobs;
                    inside.fetch_sub(1);
                    finished = true;
                });
                failedOrUnfinished += ran && finished ? 0 : 1;
            }
        });
    }
    for (std::thread &caller : callers)
        caller.join();
    EXPECT_EQ(failedOrUnfinished.load(), 0);
    EXPECT_EQ(ranJobs.load(), kThreads * kJobsEach);
    EXPECT_EQ(overlaps.load(), 0);
}

} // namespace
