// The CPU path through libavfilter against the ffmpeg tool running the same filter.
#include "CompositorTestSupport.h"
#include "render/effects/CpuEffectChain.h"

#include <QProcess>
#include <QTemporaryDir>

namespace {

using namespace orvel;
using orvel::test::worstDifference;

// A picture with every hue and a range of levels, so the filter has real work everywhere.
QImage gradientPicture()
{
    QImage image(96, 48, QImage::Format_RGBA8888);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixelColor(x, y, QColor::fromHsv(x * 359 / 95, 255, 60 + y * 4));
    return image;
}

QImage ffmpegFiltered(const QString &input, const QString &filter, const QString &output)
{
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-hide_banner", "-loglevel", "error", "-y", "-i", input, "-vf",
                            filter + ",format=rgba", "-frames:v", "1", output});
    if (!ffmpeg.waitForFinished(60000) || ffmpeg.exitCode() != 0)
        return {};
    return QImage(output).convertToFormat(QImage::Format_RGBA8888);
}

} // namespace

TEST(LibavEffectTest, AnEffectWithoutPackageRunsAsItsFilterLikeFfmpeg)
{
    QTemporaryDir dir;
    const QImage picture = gradientPicture();
    ASSERT_TRUE(picture.save(dir.filePath("in.png")));
    const QImage expected = ffmpegFiltered(dir.filePath("in.png"), "hue=h=90:s=0.5", dir.filePath("out.png"));
    ASSERT_EQ(expected.size(), picture.size());

    EffectInstance hue;
    hue.name = "hue";
    hue.parameters = {{"h", 90}, {"s", 0.5}};
    const QImage got = applyEffectChain(picture, {hue}, 0, {});
    ASSERT_EQ(got.size(), picture.size());
    EXPECT_LE(worstDifference(got, expected), 3);
    EXPECT_GT(worstDifference(got, picture), 40); // it did change the picture

    // A filter that does not exist leaves the picture as it was.
    EffectInstance bogus;
    bogus.name = "no_such_filter_here";
    EXPECT_EQ(worstDifference(applyEffectChain(picture, {bogus}, 0, {}), picture), 0);
    EXPECT_EQ(runFilterGraph(picture, "[in] hue=h=[out]").size(), picture.size());
}
