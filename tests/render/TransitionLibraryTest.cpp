// Every shipped transition package drawn by the compositor between two clips, and the rules a
// transition pass's two inputs follow.
#include "../catalog/EffectPackageTestSupport.h"
#include "CompositorTestSupport.h"
#include "catalog/TransitionCatalog.h"
#include "render/effects/CatalogEffectHooks.h"
#include "render/effects/EffectPipelineRunner.h"

#include <QDir>
#include <QOpenGLExtraFunctions>
#include <QTemporaryDir>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace orvel;
using namespace orvel::test;

constexpr int kW = 96;
constexpr int kH = 64;

// Ramps across and down in different colours, so a picture drawn shifted, flipped or from the
// wrong side shows up at many pixels.
QImage outgoing()
{
    QImage image(kW, kH, QImage::Format_RGBA8888);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            image.setPixelColor(x, y, QColor(40 + x * 200 / kW, 180, 30 + y * 150 / kH));
    return image;
}

QImage incoming()
{
    QImage image(kW, kH, QImage::Format_RGBA8888);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            image.setPixelColor(x, y, QColor(220, 20 + y * 200 / kH, 240 - x * 180 / kW));
    return image;
}

GpuLayer fullLayer(const QImage &image)
{
    GpuLayer layer;
    layer.image = image;
    layer.rect = QRectF(0, 0, image.width(), image.height());
    layer.valid = true;
    return layer;
}

// One transition entry over a green background, so a transparent result would not pass for black.
GpuScene transitionScene(const QString &kind, double progress, const QImage &from, const QImage &to)
{
    GpuSceneEntry entry;
    entry.isTransition = true;
    entry.fromLayer = fullLayer(from);
    entry.toLayer = fullLayer(to);
    entry.transitionProgress = progress;
    entry.transitionTimeUs = 250'000;
    if (const std::shared_ptr<const TransitionDescriptor> d =
            TransitionCatalog::instance().findShared(kind)) {
        entry.transitionKey = "transition:" + kind;
        entry.transitionPipeline = std::shared_ptr<const EffectPipeline>(d, &d->pipeline);
        entry.transitionParams = TransitionCatalog::mergedParams(Transition{}, *d);
    }
    return sceneOf(from.size(), QColor(0, 255, 0), {entry});
}

// The largest channel difference between two pictures, over a grid of pixels.
int worstDifference(const QImage &got, const QImage &want)
{
    int worst = 0;
    for (int y = 1; y < want.height(); y += 3)
        for (int x = 1; x < want.width(); x += 3) {
            const std::array<int, 4> a = storedRgba(got, x, y);
            const QColor b = want.pixelColor(x, y);
            worst = std::max({worst, std::abs(a[0] - b.red()), std::abs(a[1] - b.green()),
                              std::abs(a[2] - b.blue()), std::abs(a[3] - 255)});
        }
    return worst;
}

std::vector<std::string> shippedIds()
{
    std::vector<std::string> ids;
    for (const auto &entry : std::filesystem::directory_iterator(ORVEL_TRANSITIONS_SOURCE_DIR))
        if (entry.is_directory())
            ids.push_back(entry.path().filename().string());
    std::sort(ids.begin(), ids.end());
    return ids;
}

} // namespace

class TransitionTest : public GlRuntimeTest
{
protected:
    static void SetUpTestSuite()
    {
        installCatalogEffectHooks();
        TransitionCatalog::instance().reload();
    }
    static GLenum glError()
    {
        GLenum error = GL_NO_ERROR;
        onGl([&] { error = gl().extraFunctions()->glGetError(); });
        return error;
    }
};

class ShippedTransition : public TransitionTest, public ::testing::WithParamInterface<std::string>
{};

TEST_P(ShippedTransition, ShowsTheOutgoingClipAtTheStartAndTheIncomingAtTheEnd)
{
    const QString id = QString::fromStdString(GetParam());
    const TransitionDescriptor *d = TransitionCatalog::instance().find(id);
    ASSERT_NE(d, nullptr) << "the package did not load";
    EXPECT_FALSE(d->previewStripPath.isEmpty());
    EXPECT_EQ(d->previewFrames, 8);
    const QImage from = outgoing();
    const QImage to = incoming();
    for (const double p : {0.0, 0.5, 1.0}) {
        WarningCapture warnings;
        const QImage frame = GpuCompositor::render(transitionScene(id, p, from, to));
        ASSERT_EQ(frame.size(), from.size());
        EXPECT_EQ(warnings.countStartingWith("GlRuntime"), 0) << p;
        EXPECT_EQ(glError(), GLenum(GL_NO_ERROR)) << p;
        if (p == 0.0) {
            EXPECT_LE(worstDifference(frame, from), 3);
        } else if (p == 1.0) {
            EXPECT_LE(worstDifference(frame, to), 3);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Library, ShippedTransition, ::testing::ValuesIn(shippedIds()),
                         [](const ::testing::TestParamInfo<std::string> &info) { return info.param; });

TEST_F(TransitionTest, LibraryCoversTheBasicKinds)
{
    EXPECT_GE(TransitionCatalog::instance().all().size(), 20);
    EXPECT_EQ(transitionAudioCurve("dip_to_black"), "dip");
    EXPECT_EQ(transitionAudioCurve("wipe_left"), "crossfade");
}

TEST_F(TransitionTest, WipesHalfwayShowEachClipOnItsSideOfTheEdge)
{
    const QImage red = solidImage(kW, kH, Qt::red);
    const QImage blue = solidImage(kW, kH, Qt::blue);
    // Where the outgoing clip still shows, then where the incoming one already does.
    const struct
    {
        const char *id;
        QPoint stays, arrived;
    } wipes[] = {{"wipe_left", {kW / 4, kH / 2}, {3 * kW / 4, kH / 2}},
                 {"wipe_right", {3 * kW / 4, kH / 2}, {kW / 4, kH / 2}},
                 {"wipe_up", {kW / 2, kH / 4}, {kW / 2, 3 * kH / 4}},
                 {"wipe_down", {kW / 2, 3 * kH / 4}, {kW / 2, kH / 4}}};
    for (const auto &wipe : wipes) {
        const QImage frame = GpuCompositor::render(transitionScene(wipe.id, 0.5, red, blue));
        EXPECT_TRUE(pixelIs(frame, wipe.stays.x(), wipe.stays.y(), Qt::red)) << wipe.id;
        EXPECT_TRUE(pixelIs(frame, wipe.arrived.x(), wipe.arrived.y(), Qt::blue)) << wipe.id;
    }
}

TEST_F(TransitionTest, DipsAreTheirColourHalfwayAndUnknownKindsCrossfade)
{
    const QImage from = outgoing();
    const QImage to = incoming();
    const QImage black = GpuCompositor::render(transitionScene("dip_to_black", 0.5, from, to));
    EXPECT_LE(worstDifference(black, solidImage(kW, kH, Qt::black)), 1);
    const QImage white = GpuCompositor::render(transitionScene("dip_to_white", 0.5, from, to));
    EXPECT_LE(worstDifference(white, solidImage(kW, kH, Qt::white)), 1);

    // No package: two source-over draws on the green background, a quarter of which shows through.
    const QImage red = solidImage(kW, kH, Qt::red);
    const QImage blue = solidImage(kW, kH, Qt::blue);
    const QImage mixed = GpuCompositor::render(transitionScene("no_such_kind", 0.5, red, blue));
    EXPECT_TRUE(pixelNear(mixed, kW / 2, kH / 2, {0.25, 0.25, 0.5}, 2));
}

TEST_F(TransitionTest, APassThatDoesNotDeclareTheIncomingClipLeavesItsSamplerAtUnitZero)
{
    QTemporaryDir dir;
    writePackage(dir.path(),
                 {{"transition.json",
                   R"({"id":"probe","pipeline":{"passes":[{"fragmentShader":"to.glsl",
                       "inputs":[{"type":"source_texture","index":0}]}]}})"},
                  {"to.glsl", "#version 330 core\nin vec2 v_texCoord;\nout vec4 fragColor;\n"
                              "uniform sampler2D u_toTexture;\n"
                              "void main() { fragColor = texture(u_toTexture, v_texCoord); }\n"}});
    QString error;
    const TransitionDescriptor probe = parseTransitionPackage(dir.path(), &error);
    ASSERT_TRUE(probe.pipeline.valid) << qPrintable(error);
    std::array<int, 4> got{};
    onGl([&] {
        GlFbo from = gl().imageToFbo(solidImage(8, 8, Qt::red), QSize(8, 8));
        GlFbo to = gl().imageToFbo(solidImage(8, 8, Qt::blue), QSize(8, 8));
        GlFbo out = runPipeline("transition:probe", probe.pipeline, {from.texture(), to.texture()}, {}, 0,
                                0.5, QSize(8, 8));
        ASSERT_TRUE(out.isValid());
        got = storedRgba(readBack(out), 4, 4);
        gl().releaseFbo(from);
        gl().releaseFbo(to);
        gl().releaseFbo(out);
    });
    // Unit 0 holds the outgoing clip, so the never-set sampler reads red, not blue.
    EXPECT_EQ(got, (std::array<int, 4>{255, 0, 0, 255}));
}
