// Without any usable OpenGL the runtime says so once and for all, and every entry point gives
// its empty value without crashing or hanging.
#include "GlRuntimeTestSupport.h"

#include <QVariant>

#include <atomic>
#include <thread>
#include <vector>

namespace {

TEST(GlRuntimeWithoutGl, StartFailsOnceForEveryCallerAndEveryEntryPointGivesItsEmptyValue)
{
    orvel::test::WarningCapture warnings;
    std::atomic<int> started{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([&started] { started += GlRuntime::instance().ensureStarted() ? 1 : 0; });
    for (std::thread &caller : callers)
        caller.join();
    EXPECT_EQ(started.load(), 0);
    EXPECT_EQ(warnings.countStartingWith("GlRuntime: "), 1);

    GlRuntime &gl = GlRuntime::instance();
    bool ran = false;
    EXPECT_FALSE(gl.run([&ran] { ran = true; }));
    EXPECT_FALSE(ran);
    EXPECT_FALSE(gl.ensureStarted());
    EXPECT_EQ(warnings.countStartingWith("GlRuntime: "), 1); // never retried

    EXPECT_EQ(gl.extraFunctions(), nullptr);
    EXPECT_FALSE(gl.acquireFbo(16, 16).isValid());
    orvel::GlFbo &slot = gl.acquirePresentTarget(16, 16);
    EXPECT_FALSE(slot.isValid());
    gl.publishPresentTarget(slot);
    EXPECT_EQ(gl.builtinProgram("__nv12__", "", ""), nullptr);
    EXPECT_EQ(gl.pipelinePrograms("fx", orvel::GlPipelineSource{{{0, "a.frag", "void main() {}"}}}), nullptr);
    QImage image(4, 4, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    EXPECT_EQ(gl.uploadTexture(image, true), 0u);
    EXPECT_EQ(gl.cachedImageTexture(image), 0u);
    EXPECT_FALSE(gl.imageToFbo(QImage(), QSize(4, 4)).isValid());
    EXPECT_FALSE(gl.cachedImageToFbo(image, {}).isValid());
    EXPECT_FALSE(gl.nv12ToFbo(QByteArray(16 * 24, '\x80'), 16, 16).isValid());
    orvel::GlFbo target;
    EXPECT_FALSE(gl.copyTextureToFbo(1, target));
    gl.drawQuad();
    gl.shutdown();
    EXPECT_FALSE(gl.run([] {}));

    // The frame texture still travels through queued signals by its registered name.
    const QMetaType byName = QMetaType::fromName("orvel::GpuFrameTexture");
    ASSERT_TRUE(byName.isValid());
    EXPECT_EQ(byName, QMetaType::fromType<orvel::GpuFrameTexture>());
    const orvel::GpuFrameTexture frame{7, QSize(320, 180)};
    EXPECT_EQ(QVariant::fromValue(frame).value<orvel::GpuFrameTexture>(), frame);
}

} // namespace
