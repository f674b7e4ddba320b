// What the scene builder puts in a frame: which clips, in which order, where, how opaque, and
// how transitions are found. No GL is needed: the built GpuScene is the result under test.
#include "../media/TestMedia.h"
#include "SceneTestSupport.h"

#include "catalog/EffectPackage.h"
#include "render/scene/FrameCompositor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace scenetest;

namespace {

constexpr TimeUs kSecond = 1'000'000;

GpuScene buildAt(const Project &project, TimeUs t, double scale = 1.0, const QString &excluded = {})
{
    FrameCompositor::RenderOptions options;
    options.previewScale = scale;
    options.excludedClipId = excluded;
    GpuScene scene;
    EXPECT_TRUE(FrameCompositor(&project).prepare(t, options, &scene));
    return scene;
}

// Every still gets its own x, so an entry is known by it; -1 marks a transition.
QList<double> entryXs(const Project &project, TimeUs t, double scale = 1.0, const QString &excluded = {})
{
    QList<double> xs;
    for (const GpuSceneEntry &entry : buildAt(project, t, scale, excluded).entries)
        xs.append(entry.isTransition ? -1.0 : entry.layer.rect.x());
    return xs;
}

Clip still(const QString &id, double x, TimeUs startUs = 0, TimeUs durationUs = 4 * kSecond)
{
    Clip clip = clipOf(ClipType::image, id, testmedia::path("small.png"), startUs, durationUs);
    place(clip, QRectF(x, 0, 100, 100));
    return clip;
}

} // namespace

TEST(SceneBuild, EntriesRunBottomFirstWithoutHiddenOrAudioTracks)
{
    Track hidden = trackOf({still("hidden", 20)});
    hidden.hidden = true;
    Track audio = trackOf({still("audio", 30)});
    audio.type = TrackType::audio;
    const Project project = projectOf(640, 360,
                                      {trackOf({still("top", 10)}), hidden, audio,
                                       trackOf({still("low", 40), still("next", 50, 3 * kSecond)})});
    EXPECT_EQ(entryXs(project, kSecond), (QList<double>{40, 10}));
    EXPECT_EQ(entryXs(project, 3 * kSecond), (QList<double>{40, 50, 10}));
    EXPECT_EQ(entryXs(project, 7 * kSecond), (QList<double>{})); // clip ends are exclusive
}

TEST(SceneBuild, BackgroundColourOrTheLowestPictureToBlur)
{
    Project project =
        projectOf(640, 360,
                  {trackOf({clipOf(ClipType::image, "sq", testmedia::path("small.png"), 0, 2 * kSecond)}),
                   trackOf({clipOf(ClipType::image, "wide", testmedia::path("still.png"), 0, kSecond)})});
    project.background.color = QColor(200, 30, 40);
    const GpuScene empty = buildAt(project, 3 * kSecond);
    EXPECT_EQ(empty.backgroundColor, QColor(200, 30, 40));
    EXPECT_TRUE(empty.entries.isEmpty() && !empty.backgroundBlur);
    EXPECT_EQ(buildAt(project, 0).entries.size(), 2);

    project.background.kind = BackgroundKind::blur;
    project.background.blurStrength = 35.0;
    const GpuScene covered = buildAt(project, 0);
    EXPECT_TRUE(covered.backgroundBlur);
    EXPECT_EQ(covered.backgroundColor, QColor(0, 0, 0));
    EXPECT_EQ(covered.blurStrength, 35.0);
    EXPECT_EQ(covered.backgroundImage.size(), QSize(640, 360)); // the bottom track's 640x360 still
    EXPECT_EQ(buildAt(project, kSecond).backgroundImage.size(), QSize(360, 360)); // 64x64 fitted
    const GpuScene bare = buildAt(project, 3 * kSecond);
    EXPECT_TRUE(bare.backgroundBlur && bare.backgroundImage.isNull());
    EXPECT_EQ(bare.backgroundColor, QColor(0, 0, 0));
}

TEST(SceneBuild, RectanglesFollowKeyframesAndScaleAndVanishBelowHalfAPixel)
{
    Clip moving = clipOf(ClipType::image, "moving", testmedia::path("small.png"), kSecond, 2 * kSecond);
    place(moving, QRectF(100, 50, 800, 600));
    setAt(moving.x, kSecond, 1100); // linear from 100 to 1100 over the first second
    const Project project = projectOf(
        1920, 1080,
        {trackOf({moving}), trackOf({clipOf(ClipType::image, "full", moving.path, 0, kSecond * 4)})});
    const GpuScene half = buildAt(project, kSecond + kSecond / 4, 0.5);
    EXPECT_EQ(half.size, QSize(960, 540));
    ASSERT_EQ(half.entries.size(), 2);
    EXPECT_EQ(half.entries[0].layer.rect, QRectF(0, 0, 960, 540)); // no keys: the whole canvas
    EXPECT_EQ(half.entries[1].layer.rect, QRectF(175, 25, 400, 300));
    EXPECT_EQ(half.entries[1].layer.localTimeUs, kSecond / 4);
    const GpuScene tiny = buildAt(project, kSecond, 0.01); // read as 0.1
    EXPECT_EQ(tiny.size, QSize(192, 108));
    EXPECT_EQ(tiny.entries[1].layer.rect, QRectF(10, 5, 80, 60));

    Clip zero = still("zero", 10), halfPixel = still("half", 20), visible = still("visible", 30);
    zero.width = constantProperty(0);
    halfPixel.height = constantProperty(1.0); // 0.5 px at scale 0.5
    visible.height = constantProperty(1.2);
    Clip missing = still("missing", 40), noPath = still("nopath", 50);
    missing.path = testmedia::missingFile();
    noPath.path.clear();
    EXPECT_EQ(entryXs(projectOf(640, 360, {trackOf({zero, halfPixel, visible, missing, noPath})}), 0, 0.5),
              (QList<double>{15}));
}

TEST(SceneBuild, OpacityCombinesFadesShapedByEachCurve)
{
    // Fade in over 1 s and out over 2 s of a 4 s clip at opacity 0.8: a quarter of each ramp is
    // reached at 0.25 s and at 3.5 s.
    const std::pair<FadeCurve, double> cases[] = {{FadeCurve::linear, 0.25},
                                                  {FadeCurve::smooth, 0.25 * 0.25 * 2.5},
                                                  {FadeCurve::equalPower, std::sin(std::numbers::pi / 8)}};
    for (const auto &[curve, ramp] : cases) {
        SCOPED_TRACE(int(curve));
        Clip clip = still("c", 10);
        clip.fadeInUs = kSecond;
        clip.fadeOutUs = 2 * kSecond;
        clip.fadeCurve = curve;
        clip.opacity = constantProperty(0.8);
        const Project project = projectOf(640, 360, {trackOf({clip})});
        const auto opacityAt = [&](TimeUs t) { return buildAt(project, t).entries.value(0).layer.opacity; };
        EXPECT_NEAR(opacityAt(kSecond / 4), 0.8 * ramp, 1e-9);
        EXPECT_NEAR(opacityAt(3 * kSecond + kSecond / 2), 0.8 * ramp, 1e-9);
        EXPECT_NEAR(opacityAt(2 * kSecond), 0.8, 1e-9);
        EXPECT_NEAR(opacityAt(0), 0.0, 1e-9); // still an entry: invisible, not absent
    }
    Clip bright = still("bright", 10);
    bright.opacity = constantProperty(1.7);
    EXPECT_EQ(buildAt(projectOf(640, 360, {trackOf({bright})}), 0).entries[0].layer.opacity, 1.0);
}

TEST(SceneBuild, TransitionWindowsProgressAndTheExcludedClip)
{
    // Overlapping: the window is the overlap, [1.5 s, 2 s). A transition whose clip is gone is
    // passed over for the next one.
    const QList<Clip> overlapping{still("a", 10, 0, 2 * kSecond), still("b", 20, 1500000, kSecond)};
    const Project overlap =
        projectOf(640, 360,
                  {trackOf(overlapping, {crossfade("a", "gone", kSecond), crossfade("a", "b", 300000)}),
                   trackOf({still("u", 30)})});
    const GpuSceneEntry mid = buildAt(overlap, 1600000).entries.value(1);
    // The shipped "crossfade" package draws it; a kind with no package has no pipeline, and the
    // compositor falls back to its own crossfade.
    EXPECT_TRUE(mid.isTransition);
    EXPECT_EQ(mid.transitionKey, "transition:crossfade");
    EXPECT_TRUE(mid.transitionPipeline && mid.transitionPipeline->valid);
    Project unknown = overlap;
    unknown.tracks[0].transitions[1].kind = "no_such_kind";
    const GpuSceneEntry fallback = buildAt(unknown, 1600000).entries.value(1);
    EXPECT_TRUE(fallback.isTransition && fallback.transitionKey.isEmpty() && !fallback.transitionPipeline);
    EXPECT_DOUBLE_EQ(mid.transitionProgress, 0.2);
    EXPECT_EQ(mid.transitionTimeUs, 100000);
    EXPECT_EQ(QPointF(mid.fromLayer.rect.x(), mid.toLayer.rect.x()), QPointF(10, 20));
    EXPECT_EQ(entryXs(overlap, 1499999), (QList<double>{30, 10}));
    EXPECT_EQ(entryXs(overlap, 2 * kSecond), (QList<double>{30, 20}));
    // The excluded clip still shows inside its transition, and only there.
    EXPECT_EQ(entryXs(overlap, 1600000, 1.0, "a"), (QList<double>{30, -1}));
    EXPECT_EQ(entryXs(overlap, kSecond, 1.0, "a"), (QList<double>{30}));

    // Butt-joined: centred on the cut with the transition's own length, [1.75 s, 2.25 s). Each
    // side is drawn outside its clip: b before its start, a after its end.
    const QList<Clip> joined{still("a", 10, 0, 2 * kSecond), still("b", 20, 2 * kSecond, kSecond)};
    const Project butt = projectOf(640, 360, {trackOf(joined, {crossfade("a", "b", 500000)})});
    const GpuSceneEntry before = buildAt(butt, 1800000).entries.value(0);
    EXPECT_DOUBLE_EQ(before.transitionProgress, 0.1);
    EXPECT_TRUE(before.toLayer.valid);
    EXPECT_EQ(before.toLayer.localTimeUs, -200000);
    const GpuSceneEntry after = buildAt(butt, 2200000).entries.value(0);
    EXPECT_DOUBLE_EQ(after.transitionProgress, 0.9);
    EXPECT_TRUE(after.fromLayer.valid);
    EXPECT_EQ(entryXs(butt, 2250000), (QList<double>{20}));
    // A transition shorter than a microsecond between touching clips has no window.
    EXPECT_EQ(entryXs(projectOf(640, 360, {trackOf(joined, {crossfade("a", "b", 0)})}), 2 * kSecond),
              (QList<double>{20}));
}

TEST(SceneBuild, LayerCarriesDecodedVideoAndEvaluatedEffects)
{
    // The clip starts at 2 s and reads its file from 1 s: at 2.4 s the source is at 1.4 s, frame 35.
    Clip video =
        clipOf(ClipType::video, "v", testmedia::path("pattern.mp4"), 2 * kSecond, 2 * kSecond, kSecond);
    video.flipH = true;
    video.rotation = constantProperty(30);
    EffectInstance blur{
        "Blur", {{"u_blurRadius", 2.0}, {"u_quality", 3}}, {}, "builtin.effects.gaussian_blur"};
    blur.paramKeyframes["u_blurRadius"] = constantProperty(0);
    setAt(blur.paramKeyframes["u_blurRadius"], kSecond, 10);
    video.effects = {blur};
    Project project = projectOf(320, 192, {trackOf({video})});
    const GpuLayer layer = buildAt(project, 2 * kSecond + 400000).entries.value(0).layer;
    ASSERT_EQ(layer.effects.size(), 1);
    EXPECT_NEAR(layer.effects[0].parameters.value("u_blurRadius").toDouble(), 4.0, 1e-9);
    EXPECT_EQ(layer.effects[0].parameters.value("u_quality").toInt(), 3);
    EXPECT_TRUE(layer.flipH && layer.valid);
    EXPECT_EQ(layer.rotationDegrees, 30);
    const Nv12Frame frame{layer.nv12, layer.nv12Width, layer.nv12Height, {}};
    ASSERT_TRUE(frame.isValid());
    EXPECT_EQ(QSize(frame.width, frame.height), QSize(testmedia::kPatternWidth, testmedia::kPatternHeight));
    EXPECT_EQ(testmedia::patternIndex(frame), 35);

    // With an echo the picture comes as an image, and the echo itself is not a drawn effect.
    project.tracks[0].clips[0].effects.prepend(EffectInstance{"Echo", {}, {}, "time_echo"});
    const GpuLayer echo = buildAt(project, 2 * kSecond + 400000).entries.value(0).layer;
    EXPECT_TRUE(echo.nv12.isEmpty());
    EXPECT_EQ(echo.image.size(), QSize(testmedia::kPatternWidth, testmedia::kPatternHeight));
    EXPECT_EQ(echo.effects.size(), 1);
}
