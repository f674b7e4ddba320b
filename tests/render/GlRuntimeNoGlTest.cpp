// Without any usable OpenGL the runtime says so once and for all, and every entry point gives
// its empty value without crashing or hanging.
#include "render/GlRuntime.h"

#include <QMetaType>
#include <QMutex>
#include <QStringList>
#include <QVariant>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

QMutex g_warningMutex;
QStringList g_warnings;

void collectWarning(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type != QtWarningMsg)
        return;
    QMutexLocker lock(&g_warningMutex);
    g_warnings.append(message);
}

int runtimeWarningCount()
{
    QMutexLocker lock(&g_warningMutex);
    int count = 0;
    for (const QString &message : g_warnings)
        count += message.startsWith("GlRuntime: ") ? 1 : 0;
    return count;
}

TEST(GlRuntimeWithoutGl, StartFailsOnceForEveryCallerAndIsNeverRetried)
{
    qInstallMessageHandler(collectWarning);
    std::atomic<int> started{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([&started] { started += GlRuntime::instance().ensureStarted() ? 1 : 0; });
    for (std::thread &caller : callers)
        caller.join();
    EXPECT_EQ(started.load(), 0);
    const int warningsAfterStart = runtimeWarningCount();
    EXPECT_EQ(warningsAfterStart, 1);

    bool ran = false;
    EXPECT_FALSE(GlRuntime::instance().run([&ran] { ran = true; }));
    EXPECT_FALSE(ran);
    EXPECT_FALSE(GlRuntime::instance().ensureStarted());
    EXPECT_EQ(runtimeWarningCount(), warningsAfterStart);
    qInstallMessageHandler(nullptr);
}

TEST(GlRuntimeWithoutGl, EveryEntryPointGivesItsEmptyValue)
{
    GlRuntime &gl = GlRuntime::instance();
    ASSERT_FALSE(gl.ensureStarted());
    EXPECT_EQ(gl.extraFunctions(), nullptr);
    EXPECT_FALSE(gl.acquireFbo(16, 16).isValid());
    orvel::GlFbo nothing;
    gl.releaseFbo(nothing);
    EXPECT_EQ(gl.pooledFboCount(), 0);
    orvel::GlFbo &slot = gl.acquirePresentTarget(16, 16);
    EXPECT_FALSE(slot.isValid());
    gl.publishPresentTarget(slot);
    EXPECT_EQ(gl.builtinProgram("__nv12__", "", ""), nullptr);
    orvel::GlPipelineSource pipeline;
    pipeline.passes = {{0, "a.frag", "void main() {}"}};
    EXPECT_EQ(gl.pipelinePrograms("fx", pipeline), nullptr);

    QImage image(4, 4, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    EXPECT_EQ(gl.uploadTexture(image, true), 0u);
    EXPECT_EQ(gl.cachedImageTexture(image), 0u);
    EXPECT_EQ(gl.cachedImageTextureCount(), 0);
    EXPECT_FALSE(gl.imageToFbo(image, {}).isValid());
    EXPECT_FALSE(gl.imageToFbo(QImage(), QSize(4, 4)).isValid());
    EXPECT_FALSE(gl.cachedImageToFbo(image, {}).isValid());
    EXPECT_FALSE(gl.nv12ToFbo(QByteArray(16 * 24, '\x80'), 16, 16).isValid());
    orvel::GlFbo target;
    EXPECT_FALSE(gl.copyTextureToFbo(1, target));
    gl.drawQuad();

    gl.shutdown();
    EXPECT_FALSE(gl.ensureStarted());
    EXPECT_FALSE(gl.run([] {}));
}

TEST(GlRuntimeWithoutGl, FrameTextureTravelsByItsRegisteredName)
{
    GlRuntime::instance();
    const QMetaType byName = QMetaType::fromName("orvel::GpuFrameTexture");
    ASSERT_TRUE(byName.isValid());
    EXPECT_EQ(byName, QMetaType::fromType<orvel::GpuFrameTexture>());
    const orvel::GpuFrameTexture frame{7, QSize(320, 180)};
    EXPECT_EQ(QVariant::fromValue(frame).value<orvel::GpuFrameTexture>(), frame);
}

} // namespace
