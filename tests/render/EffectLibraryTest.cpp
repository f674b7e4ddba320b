// Every shipped effect package, loaded from "effects" beside this program as the editor loads
// it, and a project using three of them rendered by orvel-render.
#include "CompositorTestSupport.h"
#include "SceneTestSupport.h"
#include "catalog/EffectCatalog.h"
#include "core/document/json/ProjectJson.h"
#include "render/effects/GpuEffectExecutor.h"

#include <QDir>
#include <QJsonDocument>
#include <QOpenGLExtraFunctions>
#include <QProcess>
#include <QSaveFile>
#include <QTemporaryDir>

#include <cmath>
#include <functional>

namespace {

using namespace orvel;
using namespace orvel::test;

// Smooth colour and level ramps with a hard edge down the middle.
QImage libraryPicture(int width, int height)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixelColor(x, y,
                                x < width / 2 ? QColor(x * 255 / width, y * 255 / height, 90)
                                              : QColor(230, 40 + y * 150 / height, 255 - x * 200 / width));
    return image;
}

QImage runEffect(const QString &id, const QImage &image, const QVariantMap &params)
{
    const EffectDescriptor *d = EffectCatalog::instance().find(id);
    if (!d)
        return {};
    EffectInstance instance;
    instance.parameters = params;
    return GpuEffectExecutor::instance().applyChain(
        image, {{d->id, &d->pipeline, EffectCatalog::mergedParams(instance, *d)}}, 0);
}

// The shader's result against `expected` applied to every pixel of the input.
int worstAgainst(const QImage &got, const QImage &input, const std::function<QColor(QColor)> &expected)
{
    QImage want(input.size(), QImage::Format_RGBA8888);
    for (int y = 0; y < input.height(); ++y)
        for (int x = 0; x < input.width(); ++x)
            want.setPixelColor(x, y, expected(input.pixelColor(x, y)));
    return worstDifference(got, want);
}

int unit(double v)
{
    return int(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
}

} // namespace

class EffectLibraryTest : public GlRuntimeTest
{
protected:
    void SetUp() override
    {
        GlRuntimeTest::SetUp();
        WarningCapture warnings;
        EffectCatalog::instance().reload();
        loadWarnings = warnings.startingWith("EffectPackageLoader");
    }
    QStringList loadWarnings;
};

TEST_F(EffectLibraryTest, EveryPackageRendersWithoutGlErrorsAndColourEffectsMatchTheirFormulas)
{
    EXPECT_TRUE(loadWarnings.isEmpty()) << qPrintable(loadWarnings.join('\n'));
    const QList<EffectDescriptor> all = EffectCatalog::instance().all();
    EXPECT_GE(all.size(), 30);
    ASSERT_NE(EffectCatalog::instance().find("builtin.effects.gaussian_blur"), nullptr);
    const EffectDescriptor *echo = EffectCatalog::instance().find("time_echo");
    ASSERT_NE(echo, nullptr);
    EXPECT_TRUE(echo->compositorOnly);

    const QImage picture = libraryPicture(640, 360);
    int multiPass = 0;
    QSet<QString> categories;
    for (const EffectDescriptor &d : all) {
        categories.insert(d.category);
        EXPECT_FALSE(d.thumbnailPath.isEmpty()) << qPrintable(d.id);
        for (const EffectParameter &p : d.parameters)
            EXPECT_LE(p.minValue, p.defaultValue) << qPrintable(d.id + "." + p.id);
        if (!d.isGpu)
            continue;
        const bool reduced = std::any_of(d.pipeline.buffers.cbegin(), d.pipeline.buffers.cend(),
                                         [](const PipelineBuffer &b) { return b.scale < 1.0; });
        multiPass += d.pipeline.passes.size() > 1 || reduced ? 1 : 0;
        WarningCapture warnings;
        const QImage out = runEffect(d.id, picture, {});
        EXPECT_EQ(warnings.countStartingWith("GlRuntime"), 0) << qPrintable(d.id);
        EXPECT_EQ(out.size(), picture.size()) << qPrintable(d.id);
        GLenum error = GL_NO_ERROR;
        onGl([&] { error = gl().extraFunctions()->glGetError(); });
        EXPECT_EQ(error, GLenum(GL_NO_ERROR)) << qPrintable(d.id);
    }
    EXPECT_GE(multiPass, 3);
    for (const char *category :
         {"colour", "blurs_distortions", "glitch", "retro", "dreamy", "impact", "artistic"})
        EXPECT_TRUE(categories.contains(category)) << category;

    // Colour effects match their formulas; the blur keeps flat pictures flat.
    const QImage small = libraryPicture(160, 90);
    const QImage bright =
        runEffect("brightness_contrast", small, {{"u_brightness", 0.1}, {"u_contrast", 1.4}});
    EXPECT_LE(worstAgainst(bright, small,
                           [](QColor c) {
                               const auto f = [](double v) { return unit((v - 0.5) * 1.4 + 0.5 + 0.1); };
                               return QColor(f(c.redF()), f(c.greenF()), f(c.blueF()));
                           }),
              1);
    const QImage inverted = runEffect("invert", small, {});
    EXPECT_LE(worstAgainst(inverted, small,
                           [](QColor c) { return QColor(255 - c.red(), 255 - c.green(), 255 - c.blue()); }),
              1);
    const QImage grey = runEffect("black_white", small, {});
    EXPECT_LE(worstAgainst(grey, small,
                           [](QColor c) {
                               const int l =
                                   unit(0.2126 * c.redF() + 0.7152 * c.greenF() + 0.0722 * c.blueF());
                               return QColor(l, l, l);
                           }),
              1);

    const QImage flat = solidImage(200, 120, QColor(120, 200, 40));
    const QImage blurred = runEffect("builtin.effects.gaussian_blur", flat, {{"u_blurRadius", 20.0}});
    EXPECT_LE(worstDifference(blurred, flat), 1);
    // A real blur: the hard edge of the ramp picture is spread over many pixels.
    const QImage edge = runEffect("builtin.effects.gaussian_blur", small, {{"u_blurRadius", 20.0}});
    EXPECT_GT(std::abs(storedRgba(edge, 78, 45)[0] - storedRgba(small, 78, 45)[0]), 20);
}

TEST(EffectLibraryCli, RenderedFrameShowsThreeLibraryEffectsInOrder)
{
    QTemporaryDir dir;
    const QImage picture = libraryPicture(320, 180);
    ASSERT_TRUE(picture.save(dir.filePath("picture.png")));
    Clip clip = scenetest::clipOf(ClipType::image, "p", dir.filePath("picture.png"), 0, 2'000'000);
    EffectInstance contrast;
    contrast.catalogId = "brightness_contrast";
    contrast.parameters = {{"u_brightness", -0.1}, {"u_contrast", 1.2}};
    EffectInstance invert;
    invert.catalogId = "invert";
    EffectInstance grey;
    grey.catalogId = "black_white";
    grey.parameters = {{"u_intensity", 0.5}};
    clip.effects = {contrast, invert, grey};
    QSaveFile project(dir.filePath("project.json"));
    ASSERT_TRUE(project.open(QIODevice::WriteOnly));
    project.write(
        QJsonDocument(projectToJson(scenetest::projectOf(320, 180, {scenetest::trackOf({clip})}))).toJson());
    ASSERT_TRUE(project.commit());

    QProcess cli;
    cli.start(ORVEL_RENDER_CLI,
              {dir.filePath("project.json"), "--frame", "1", "--out", dir.filePath("f.png")});
    ASSERT_TRUE(cli.waitForFinished(120000));
    ASSERT_EQ(cli.exitCode(), 0) << cli.readAllStandardError().constData();
    const QImage frame = QImage(dir.filePath("f.png")).convertToFormat(QImage::Format_RGBA8888);
    ASSERT_EQ(frame.size(), picture.size());
    if (!qEnvironmentVariableIsEmpty("ORVEL_KEEP_FRAMES"))
        frame.save(qEnvironmentVariable("ORVEL_KEEP_FRAMES") + "/three_effects.png");
    // Each effect rounds to 8 bits before the next, so the expectation does too.
    const int worst = worstAgainst(frame, picture, [](QColor c) {
        const auto step1 = [](double v) { return unit((v - 0.5) * 1.2 + 0.5 - 0.1) / 255.0; };
        const double r = 1.0 - step1(c.redF()), g = 1.0 - step1(c.greenF()), b = 1.0 - step1(c.blueF());
        const double l = 0.2126 * r + 0.7152 * g + 0.0722 * b;
        return QColor(unit(r + (l - r) * 0.5), unit(g + (l - g) * 0.5), unit(b + (l - b) * 0.5));
    });
    EXPECT_LE(worst, 3);
}
