// What the scene builder puts in a frame: which clips, in which order, where, how opaque, and
// how transitions are found. No GL is needed: the built GpuScene is the result under test.
#include "../media/TestMedia.h"
#include "SceneTestSupport.h"

#include "media/Nv12Frame.h"
#include "render/FrameCompositor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace orvel;
using namespace scenetest;

namespace {

constexpr TimeUs kSecond = 1'000'000;

GpuScene buildAt(const Project &project, TimeUs t, double scale = 1.0, const QString &excluded = {})
{
    FrameCompositor compositor(&project);
    FrameCompositor::RenderOptions options;
    options.previewScale = scale;
    options.excludedClipId = excluded;
    GpuScene scene;
    EXPECT_TRUE(compositor.prepare(t, options, &scene));
    return scene;
}

// The x of each plain entry's rectangle, bottom first; the tests give every clip its own x.
QList<double> entryXs(const GpuScene &scene)
{
    QList<double> xs;
    for (const GpuSceneEntry &entry : scene.entries)
        xs.append(entry.isTransition ? -1.0 : entry.layer.rect.x());
    return xs;
}

Clip placedStill(const QString &id, double x, TimeUs startUs = 0, TimeUs durationUs = 4 * kSecond)
{
    Clip clip = stillClip(id, testmedia::path("small.png"), startUs, durationUs);
    place(clip, QRectF(x, 0, 100, 100));
    return clip;
}

} // namespace

TEST(SceneBuild, EntriesRunBottomFirstWithoutHiddenOrAudioTracks)
{
    Track hidden = videoTrack({placedStill("hidden", 20)});
    hidden.hidden = true;
    Track audio = videoTrack({placedStill("audio", 30)});
    audio.type = TrackType::audio;
    const Project project =
        scenetest::project(640, 360,
                           {videoTrack({placedStill("top", 10)}), hidden, audio,
                            videoTrack({placedStill("bottom", 40), placedStill("later", 50, 3 * kSecond)})});
    EXPECT_EQ(entryXs(buildAt(project, kSecond)), (QList<double>{40, 10}));
    // Clips of one track follow their list order; a clip that has not started is absent.
    EXPECT_EQ(entryXs(buildAt(project, 3 * kSecond)), (QList<double>{40, 50, 10}));
    // The end of a clip is exclusive.
    EXPECT_TRUE(buildAt(project, 7 * kSecond).entries.isEmpty());
}

TEST(SceneBuild, BackgroundColourOnlyWhereNothingCovers)
{
    Project project = scenetest::project(640, 360, {videoTrack({placedStill("a", 10, kSecond, kSecond)})});
    project.background.color = QColor(200, 30, 40);
    const GpuScene empty = buildAt(project, 0);
    EXPECT_EQ(empty.size, QSize(640, 360));
    EXPECT_EQ(empty.backgroundColor, QColor(200, 30, 40));
    EXPECT_FALSE(empty.backgroundBlur);
    EXPECT_TRUE(empty.entries.isEmpty());
    EXPECT_EQ(buildAt(project, kSecond).entries.size(), 1);
}

TEST(SceneBuild, BlurBackgroundTakesTheLowestPictureOrNone)
{
    Clip wide = stillClip("wide", testmedia::path("still.png"), 0, kSecond);
    Clip square = stillClip("square", testmedia::path("small.png"), 0, 2 * kSecond);
    Project project = scenetest::project(640, 360, {videoTrack({square}), videoTrack({wide})});
    project.background.kind = BackgroundKind::blur;
    project.background.color = QColor(255, 0, 0);
    project.background.blurStrength = 35.0;

    const GpuScene covered = buildAt(project, 0);
    EXPECT_TRUE(covered.backgroundBlur);
    EXPECT_EQ(covered.backgroundColor, QColor(0, 0, 0));
    EXPECT_EQ(covered.blurStrength, 35.0);
    EXPECT_EQ(covered.backgroundImage.size(), QSize(640, 360)); // the bottom track's 640x360 still
    // Only the top clip is left: its 64x64 picture fitted into the canvas.
    EXPECT_EQ(buildAt(project, kSecond).backgroundImage.size(), QSize(360, 360));

    const GpuScene bare = buildAt(project, 3 * kSecond);
    EXPECT_TRUE(bare.backgroundBlur);
    EXPECT_EQ(bare.backgroundColor, QColor(0, 0, 0));
    EXPECT_TRUE(bare.backgroundImage.isNull());
}

TEST(SceneBuild, RectanglesFollowKeyframesAndTheScale)
{
    Clip moving = stillClip("moving", testmedia::path("small.png"), kSecond, 2 * kSecond);
    place(moving, QRectF(100, 50, 800, 600));
    setAt(moving.x, kSecond, 1100); // linear from 100 to 1100 over the first second
    Clip unplaced = stillClip("unplaced", testmedia::path("small.png"), 0, 4 * kSecond);
    const Project project = scenetest::project(1920, 1080, {videoTrack({moving}), videoTrack({unplaced})});

    const GpuScene half = buildAt(project, kSecond + kSecond / 4, 0.5);
    EXPECT_EQ(half.size, QSize(960, 540));
    ASSERT_EQ(half.entries.size(), 2);
    EXPECT_EQ(half.entries[0].layer.rect, QRectF(0, 0, 960, 540)); // no keys: the whole canvas
    EXPECT_EQ(half.entries[1].layer.rect, QRectF(175, 25, 400, 300));
    EXPECT_EQ(half.entries[1].layer.localTimeUs, kSecond / 4);

    // Scales below 0.1 are read as 0.1, and sizes round to whole pixels.
    const GpuScene tiny = buildAt(project, kSecond, 0.01);
    EXPECT_EQ(tiny.size, QSize(192, 108));
    EXPECT_EQ(tiny.entries[1].layer.rect, QRectF(10, 5, 80, 60));
}

TEST(SceneBuild, NoLayerForARectangleOfHalfAPixelOrLess)
{
    Clip zero = placedStill("zero", 10);
    zero.width = constantProperty(0);
    Clip half = placedStill("half", 20);
    half.height = constantProperty(1.0); // 0.5 px at scale 0.5
    Clip visible = placedStill("visible", 30);
    visible.height = constantProperty(1.2);
    const Project project = scenetest::project(640, 360, {videoTrack({zero, half, visible})});
    EXPECT_EQ(entryXs(buildAt(project, 0, 0.5)), (QList<double>{15}));
}

TEST(SceneBuild, OpacityCombinesFadesShapedByEachCurve)
{
    // Fade in over 1 s and out over 2 s of a 4 s clip at opacity 0.8; 0.25 of each ramp is
    // reached at 0.25 s and at 3.5 s.
    const double linear = 0.25;
    const double smooth = 0.25 * 0.25 * (3.0 - 2.0 * 0.25);
    const double equalPower = std::sin(0.25 * std::numbers::pi / 2.0);
    const std::pair<FadeCurve, double> cases[] = {
        {FadeCurve::linear, linear}, {FadeCurve::smooth, smooth}, {FadeCurve::equalPower, equalPower}};
    for (const auto &[curve, ramp] : cases) {
        Clip clip = placedStill("c", 10);
        clip.fadeInUs = kSecond;
        clip.fadeOutUs = 2 * kSecond;
        clip.fadeCurve = curve;
        clip.opacity = constantProperty(0.8);
        const Project project = scenetest::project(640, 360, {videoTrack({clip})});
        SCOPED_TRACE(int(curve));
        EXPECT_NEAR(buildAt(project, kSecond / 4).entries[0].layer.opacity, 0.8 * ramp, 1e-9);
        EXPECT_NEAR(buildAt(project, 3 * kSecond + kSecond / 2).entries[0].layer.opacity, 0.8 * ramp, 1e-9);
        EXPECT_NEAR(buildAt(project, 2 * kSecond).entries[0].layer.opacity, 0.8, 1e-9);
        // At the very start the fade-in gives nothing, yet the layer stays in the scene.
        EXPECT_NEAR(buildAt(project, 0).entries[0].layer.opacity, 0.0, 1e-9);
    }
    Clip bright = placedStill("bright", 10);
    bright.opacity = constantProperty(1.7);
    EXPECT_EQ(buildAt(scenetest::project(640, 360, {videoTrack({bright})}), 0).entries[0].layer.opacity, 1.0);
}

TEST(SceneBuild, TransitionWindowsAndProgress)
{
    // Overlapping: the window is the overlap, [1.5 s, 2 s).
    Track overlapping =
        videoTrack({placedStill("a", 10, 0, 2 * kSecond), placedStill("b", 20, 1500000, kSecond)});
    // A transition whose clip is gone is passed over for the next one.
    overlapping.transitions = {crossfade("a", "gone", kSecond), crossfade("a", "b", 300000)};
    const Project overlap = scenetest::project(640, 360, {overlapping});
    const GpuScene mid = buildAt(overlap, 1600000);
    ASSERT_EQ(mid.entries.size(), 1);
    EXPECT_TRUE(mid.entries[0].isTransition);
    EXPECT_DOUBLE_EQ(mid.entries[0].transitionProgress, 0.2);
    EXPECT_EQ(mid.entries[0].transitionTimeUs, 100000);
    EXPECT_EQ(mid.entries[0].fromLayer.rect.x(), 10);
    EXPECT_EQ(mid.entries[0].toLayer.rect.x(), 20);
    EXPECT_TRUE(mid.entries[0].transitionKey.isEmpty()); // no package: the compositor crossfades
    EXPECT_EQ(entryXs(buildAt(overlap, 1499999)), (QList<double>{10}));
    EXPECT_EQ(entryXs(buildAt(overlap, 2 * kSecond)), (QList<double>{20}));

    // Butt-joined: centred on the cut with the transition's own length, [1.75 s, 2.25 s).
    Track joined =
        videoTrack({placedStill("a", 10, 0, 2 * kSecond), placedStill("b", 20, 2 * kSecond, kSecond)});
    joined.transitions = {crossfade("a", "b", 500000)};
    const Project butt = scenetest::project(640, 360, {joined});
    const GpuScene before = buildAt(butt, 1800000);
    ASSERT_EQ(before.entries.size(), 1);
    EXPECT_DOUBLE_EQ(before.entries[0].transitionProgress, 0.1);
    // Each side is drawn outside its own clip: b before its start, a after its end.
    EXPECT_TRUE(before.entries[0].toLayer.valid);
    EXPECT_EQ(before.entries[0].toLayer.localTimeUs, -200000);
    const GpuScene after = buildAt(butt, 2200000);
    ASSERT_EQ(after.entries.size(), 1);
    EXPECT_DOUBLE_EQ(after.entries[0].transitionProgress, 0.9);
    EXPECT_TRUE(after.entries[0].fromLayer.valid);
    EXPECT_EQ(after.entries[0].fromLayer.localTimeUs, 2200000);
    EXPECT_EQ(entryXs(buildAt(butt, 2250000)), (QList<double>{20}));

    // Touching clips with a transition shorter than a microsecond have no window.
    joined.transitions = {crossfade("a", "b", 0)};
    EXPECT_EQ(entryXs(buildAt(scenetest::project(640, 360, {joined}), 2 * kSecond)), (QList<double>{20}));
}

TEST(SceneBuild, ExcludedClipStaysInsideItsTransition)
{
    Track track = videoTrack({placedStill("a", 10, 0, 2 * kSecond), placedStill("b", 20, 1500000, kSecond)});
    track.transitions = {crossfade("a", "b", 500000)};
    const Project project = scenetest::project(640, 360, {track, videoTrack({placedStill("under", 30)})});
    const GpuScene inWindow = buildAt(project, 1600000, 1.0, "a");
    ASSERT_EQ(inWindow.entries.size(), 2);
    EXPECT_TRUE(inWindow.entries[1].isTransition);
    EXPECT_TRUE(inWindow.entries[1].fromLayer.valid);
    EXPECT_EQ(entryXs(buildAt(project, kSecond, 1.0, "a")), (QList<double>{30}));
    EXPECT_EQ(entryXs(buildAt(project, kSecond, 1.0, "under")), (QList<double>{10}));
}

TEST(SceneBuild, LayerCarriesDecodedVideoAndEvaluatedEffects)
{
    // The clip starts at 2 s and reads its file from 1 s: at 2.4 s the source is at 1.4 s,
    // which is frame 35 of the 25 fps pattern.
    Clip video = videoClip("v", testmedia::path("pattern.mp4"), 2 * kSecond, 2 * kSecond, kSecond);
    video.flipH = true;
    video.rotation = constantProperty(30);
    EffectInstance blur;
    blur.catalogId = "builtin.effects.gaussian_blur";
    blur.parameters = {{"u_blurRadius", 2.0}, {"u_quality", 3}};
    blur.paramKeyframes["u_blurRadius"] = constantProperty(0);
    setAt(blur.paramKeyframes["u_blurRadius"], kSecond, 10);
    EffectInstance echo;
    echo.catalogId = "time_echo";
    video.effects = {echo, blur};
    const Project project = scenetest::project(320, 192, {videoTrack({video})});

    const GpuScene scene = buildAt(project, 2 * kSecond + 400000);
    ASSERT_EQ(scene.entries.size(), 1);
    const GpuLayer &layer = scene.entries[0].layer;
    // An echo clip is read as a plain picture for now, not as NV12.
    EXPECT_TRUE(layer.nv12.isEmpty());
    EXPECT_EQ(layer.image.size(), QSize(testmedia::kPatternWidth, testmedia::kPatternHeight));
    ASSERT_EQ(layer.effects.size(), 1);
    EXPECT_NEAR(layer.effects[0].parameters.value("u_blurRadius").toDouble(), 4.0, 1e-9);
    EXPECT_EQ(layer.effects[0].parameters.value("u_quality").toInt(), 3);
    EXPECT_TRUE(layer.flipH);
    EXPECT_EQ(layer.rotationDegrees, 30);

    Project plain = project;
    plain.tracks[0].clips[0].effects = {blur};
    const GpuLayer nv12 = buildAt(plain, 2 * kSecond + 400000).entries[0].layer;
    Nv12Frame frame{nv12.nv12, nv12.nv12Width, nv12.nv12Height};
    ASSERT_TRUE(frame.isValid());
    EXPECT_EQ(QSize(frame.width, frame.height), QSize(testmedia::kPatternWidth, testmedia::kPatternHeight));
    EXPECT_EQ(testmedia::patternIndex(frame), 35);
}

TEST(SceneBuild, ClipsWithoutAPictureGiveNoLayer)
{
    Clip missing = placedStill("missing", 10);
    missing.path = testmedia::missingFile();
    Clip noPath = placedStill("nopath", 20);
    noPath.path.clear();
    const Project project =
        scenetest::project(640, 360, {videoTrack({missing, noPath, placedStill("ok", 40)})});
    EXPECT_EQ(entryXs(buildAt(project, 0)), (QList<double>{40}));
    EXPECT_FALSE(FrameCompositor(nullptr).prepare(0, {}));
}
