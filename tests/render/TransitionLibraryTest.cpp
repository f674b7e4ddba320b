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

namespace {

using namespace orvel;
using namespace orvel::test;

constexpr int kW = 96;
constexpr int kH = 64;

// Ramps across and down in different colours, so a picture drawn shifted, flipped or from the
// wrong side shows up at many pixels.
QImage ramps(bool incoming)
{
    QImage image(kW, kH, QImage::Format_RGBA8888);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            image.setPixelColor(x, y,
                                incoming ? QColor(220, 20 + y * 200 / kH, 240 - x * 180 / kW)
                                         : QColor(40 + x * 200 / kW, 180, 30 + y * 150 / kH));
    return image;
}

// One transition entry over a green background, so a transparent result would not pass for black.
GpuScene transitionScene(const QString &kind, double progress, const QImage &from, const QImage &to)
{
    GpuSceneEntry entry;
    entry.isTransition = true;
    entry.fromLayer = layerEntry(from, QRectF(QPointF(), from.size())).layer;
    entry.toLayer = layerEntry(to, QRectF(QPointF(), to.size())).layer;
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

TEST_F(TransitionTest, EveryShippedPackageLoadsAndShowsTheOutgoingClipFirstAndTheIncomingLast)
{
    EXPECT_GE(TransitionCatalog::instance().all().size(), 20);
    EXPECT_EQ(transitionAudioCurve("dip_to_black"), "dip");
    EXPECT_EQ(transitionAudioCurve("wipe_left"), "crossfade");
    const QImage from = ramps(false);
    const QImage to = ramps(true);
    const QStringList shipped =
        QDir(ORVEL_TRANSITIONS_SOURCE_DIR).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    ASSERT_FALSE(shipped.isEmpty());
    for (const QString &id : shipped) {
        SCOPED_TRACE(id.toStdString());
        const TransitionDescriptor *d = TransitionCatalog::instance().find(id);
        if (!d) {
            ADD_FAILURE() << "the package did not load";
            continue;
        }
        EXPECT_FALSE(d->previewStripPath.isEmpty());
        EXPECT_EQ(d->previewFrames, 8);
        for (const double p : {0.0, 0.5, 1.0}) {
            SCOPED_TRACE(p);
            WarningCapture warnings;
            const QImage frame = GpuCompositor::render(transitionScene(id, p, from, to));
            ASSERT_EQ(frame.size(), from.size());
            EXPECT_EQ(warnings.countStartingWith("GlRuntime"), 0);
            EXPECT_EQ(glError(), GLenum(GL_NO_ERROR));
            if (p != 0.5) {
                EXPECT_LE(worstDifference(frame, p == 0.0 ? from : to, 3), 3);
            }
        }
    }
}

TEST_F(TransitionTest, HalfwayWipesSplitAtTheEdgeAndDipsAreTheirColour)
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
        SCOPED_TRACE(wipe.id);
        const QImage frame = GpuCompositor::render(transitionScene(wipe.id, 0.5, red, blue));
        EXPECT_TRUE(pixelIs(frame, wipe.stays.x(), wipe.stays.y(), Qt::red));
        EXPECT_TRUE(pixelIs(frame, wipe.arrived.x(), wipe.arrived.y(), Qt::blue));
    }
    for (const auto &[id, colour] :
         {std::pair{"dip_to_black", Qt::black}, std::pair{"dip_to_white", Qt::white}}) {
        const QImage dip = GpuCompositor::render(transitionScene(id, 0.5, ramps(false), ramps(true)));
        EXPECT_LE(worstDifference(dip, solidImage(kW, kH, colour), 3), 1) << id;
    }
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
