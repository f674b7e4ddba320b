// The application object goes away while other threads are calling into the GL runtime and the
// decoder pool, as happens when the editor quits mid-playback. Nothing may crash, hang or touch
// freed memory, and afterwards every call is refused. Run many times under the sanitizers; each
// run is one process, since the runtime never starts twice.
#include "TestMedia.h"

#include "media/decode/ClipReaderPool.h"
#include "render/gl/GlRuntime.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QQuickWindow>
#include <QSGRendererInterface>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <semaphore>
#include <thread>
#include <vector>

namespace {

constexpr int kCallers = 4;

struct CallerTally
{
    int glRunsWhileAlive = 0;
    int framesWhileAlive = 0;
    int glRunsAfter = 0; // jobs that ran in rounds begun after the application went
    int framesAfter = 0;
};

// One round: a GL job that uses the pool and a program, a video frame, a block of audio.
void callerRound(const QString &video, int caller, int round, bool applicationGone, CallerTally &tally)
{
    GlRuntime &gl = GlRuntime::instance();
    const bool ran = gl.run([&gl] {
        orvel::GlFbo fbo = gl.acquireFbo(32, 32);
        gl.nv12ToFbo(QByteArray(32 * 48, '\x80'), 32, 32);
        gl.releaseFbo(fbo);
    });
    gl.ensureStarted();
    const orvel::TimeUs t = (round % 25) * testmedia::kFrameUs;
    const bool frame = orvel::ClipReaderPool::instance().decodeVideoNv12(video, t, 64, 64).isValid();
    std::vector<float> samples(2 * 480);
    orvel::ClipReaderPool::instance().decodeAudio(video, t, 480, 48000, samples.data(),
                                                  QString::number(caller));
    if (applicationGone) {
        tally.glRunsAfter += ran ? 1 : 0;
        tally.framesAfter += frame ? 1 : 0;
    } else {
        tally.glRunsWhileAlive += ran ? 1 : 0;
        tally.framesWhileAlive += frame ? 1 : 0;
    }
}

TEST(ShutdownStress, CallersKeepGoingWhileTheApplicationGoesAway)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    int argc = 1;
    char name[] = "test_render_shutdown_stress";
    char *argv[] = {name, nullptr};
    auto application = std::make_unique<QGuiApplication>(argc, argv);
    const QString video = testmedia::path("av.mp4");
    ASSERT_FALSE(video.isEmpty());
    // Both singletons are made here, on the GUI thread, as the editor's start-up does.
    orvel::ClipReaderPool::instance();

    // The first start comes from another thread; the surface must still be made here.
    bool started = false;
    bool surfaceOnGuiThread = false;
    QEventLoop waitForStart;
    std::thread starter([&] {
        started = GlRuntime::instance().ensureStarted();
        GlRuntime::instance().run([&] {
            auto *surface = dynamic_cast<QOffscreenSurface *>(QOpenGLContext::currentContext()->surface());
            surfaceOnGuiThread = surface && surface->thread() == qApp->thread();
        });
        QMetaObject::invokeMethod(&waitForStart, &QEventLoop::quit, Qt::QueuedConnection);
    });
    waitForStart.exec();
    starter.join();
    ASSERT_TRUE(started);
    EXPECT_TRUE(surfaceOnGuiThread);

    std::atomic_bool gone{false};
    std::atomic_bool stop{false};
    // Each finished round releases one, counted apart by whether it began before or after the
    // application went; the main thread waits for rounds without sleeping.
    std::counting_semaphore<> roundsBefore{0};
    std::counting_semaphore<> roundsAfter{0};
    const auto waitForRounds = [](std::counting_semaphore<> &rounds, int count) {
        for (int i = 0; i < count; ++i)
            rounds.acquire();
    };
    std::vector<CallerTally> tallies(kCallers);
    std::vector<std::thread> callers;
    for (int i = 0; i < kCallers; ++i) {
        callers.emplace_back([&, i] {
            for (int round = 0; !stop.load(); ++round) {
                const bool after = gone.load();
                callerRound(video, i, round, after, tallies[size_t(i)]);
                (after ? roundsAfter : roundsBefore).release();
            }
        });
    }
    waitForRounds(roundsBefore, 3 * kCallers);
    application.reset(); // the post routines shut both down while the callers are mid-call
    gone = true;
    waitForRounds(roundsAfter, 3 * kCallers);
    stop = true;
    for (std::thread &caller : callers)
        caller.join();

    for (const CallerTally &tally : tallies) {
        EXPECT_GT(tally.glRunsWhileAlive + tally.framesWhileAlive, 0);
        EXPECT_EQ(tally.glRunsAfter, 0);
        EXPECT_EQ(tally.framesAfter, 0);
    }
    EXPECT_FALSE(GlRuntime::instance().ensureStarted());
    EXPECT_EQ(orvel::ClipReaderPool::instance().workerCount(), 0);
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
