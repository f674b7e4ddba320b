// The echo blend on both paths, and the history it is given, against sums worked out here.
#include "render/effects/TimeEcho.h"
#include "CompositorTestSupport.h"
#include "catalog/EffectCatalog.h"
#include "render/effects/GpuEffectExecutor.h"

#include <QProcess>
#include <QTemporaryDir>

namespace {

using namespace orvel;
using namespace orvel::test;

} // namespace

class TimeEchoTest : public GlRuntimeTest
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_TRUE(s_dir.isValid());
        // Two seconds of one flat grey at 30 fps: every history frame decodes the same, so a sum
        // of n frames is n times one frame.
        QProcess ffmpeg;
        ffmpeg.start("ffmpeg", {"-hide_banner", "-loglevel", "error", "-y", "-f", "lavfi", "-i",
                                "color=c=0x101010:s=64x36:r=30:d=2", "-c:v", "libx264", "-pix_fmt", "yuv444p",
                                "-qp", "0", s_dir.filePath("grey.mp4")});
        ASSERT_TRUE(ffmpeg.waitForFinished(60000) && ffmpeg.exitCode() == 0);
    }

    static Clip echoClip(QVariantMap params)
    {
        Clip clip;
        clip.type = ClipType::video;
        clip.path = s_dir.filePath("grey.mp4");
        clip.timelineStartUs = 1'000'000;
        clip.timelineDurationUs = 2'000'000;
        clip.srcOutUs = 2'000'000;
        EffectInstance echo;
        echo.catalogId = "time_echo";
        echo.parameters = std::move(params);
        clip.effects = {echo};
        return clip;
    }

    static inline QTemporaryDir s_dir;
};

namespace {

// Newest first: a half-transparent newest frame over two older opaque ones.
QList<QImage> threeFrames()
{
    return {solidImage(8, 4, QColor(200, 0, 0, 128)), solidImage(8, 4, QColor(0, 200, 0)),
            solidImage(3, 3, Qt::white), solidImage(8, 4, QColor(0, 0, 200))};
}

} // namespace

TEST_F(TimeEchoTest, BlendAtDecayZeroAndInAddModeOnBothPaths)
{
    // pow(0, 1) is 0: the middle frame vanishes; the newest, at full weight, covers half. The
    // frame of another size is left out.
    const double a = 128.0 / 255.0;
    const Rgb want{200 / 255.0 * a, 0.0, 200 / 255.0 * (1.0 - a)};
    const QImage gpu = GpuEffectExecutor::instance().blendTimeEcho(threeFrames(), 0.0, 0);
    ASSERT_EQ(gpu.size(), QSize(8, 4));
    EXPECT_TRUE(pixelNear(gpu, 3, 2, want, 2));
    // The CPU fallback weighs the oldest frame too, so at decay 0 only the newest is left.
    const QImage cpu = blendEchoFramesOnCpu(threeFrames(), 0.0, 0);
    EXPECT_EQ(storedRgba(cpu, 3, 2), (std::array<int, 4>{200, 0, 0, 128}));
    const QImage cpuHalf = blendEchoFramesOnCpu(threeFrames(), 0.5, 0);
    // Blue, then green at half over it (index 2 is the wrong size), then the newest.
    const double g = 200 * 0.5 / 255.0, bl = 200 * 0.5 / 255.0;
    EXPECT_TRUE(pixelNear(cpuHalf, 3, 2, {200 / 255.0 * a, g * (1 - a), bl * (1 - a)}, 3));
    EXPECT_TRUE(blendEchoFrames({}, 0.5, 0).isNull());

    // Added, the GPU weighs only coverage and the CPU weighs everything.
    const QList<QImage> frames{solidImage(4, 4, QColor(40, 0, 0)), solidImage(4, 4, QColor(40, 0, 0)),
                               solidImage(4, 4, QColor(40, 0, 0))};
    EXPECT_TRUE(
        pixelNear(GpuEffectExecutor::instance().blendTimeEcho(frames, 0.5, 1), 1, 1, {120 / 255.0, 0, 0}, 1));
    // QPainter's plus: 40 + 0.5 * 40 + 1 * 40.
    EXPECT_TRUE(pixelNear(blendEchoFramesOnCpu(frames, 0.5, 1), 1, 1, {100 / 255.0, 0.0, 0.0}, 2));
}

TEST_F(TimeEchoTest, HistoryLengthFollowsFramesClampedAndTheLimit)
{
    ASSERT_NE(EffectCatalog::instance().find("time_echo"), nullptr) << "the shipped echo package is missing";
    const TimeUs t = 1'000'000 + 1'500'000; // well past the first eleven frames of the clip
    const QImage single = echoImage(echoClip({{"frames", 5}}), t, 64, 36, 30, 0);
    ASSERT_FALSE(single.isNull());
    const int grey = storedRgba(single, 10, 10)[0];
    ASSERT_GT(grey, 10);
    const auto added = [&](QVariant frames, int limit) {
        const QImage image =
            echoImage(echoClip({{"frames", frames}, {"blendMode", " ADD "}}), t, 64, 36, 30, limit);
        return image.isNull() ? -1 : storedRgba(image, 10, 10)[0];
    };
    EXPECT_NEAR(added(1, -1), 2 * grey, 2);
    EXPECT_NEAR(added(0, -1), 2 * grey, 2);   // at least one frame of history
    EXPECT_NEAR(added(99, -1), 11 * grey, 6); // at most ten
    EXPECT_NEAR(added(99, 3), 4 * grey, 3);   // the preview's limit wins
    // In the clip's first frame there is no history: the picture is shown as it is.
    const QImage first =
        echoImage(echoClip({{"frames", 8}, {"blendMode", "add"}}), 1'010'000, 64, 36, 30, -1);
    EXPECT_NEAR(storedRgba(first, 10, 10)[0], grey, 1);
    // Decay 0 in normal mode: only the newest frame is seen.
    const QImage plain = echoImage(echoClip({{"frames", 6}, {"decay", 0.0}}), t, 64, 36, 30, -1);
    EXPECT_NEAR(storedRgba(plain, 10, 10)[0], grey, 1);
}
