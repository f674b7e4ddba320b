#include "SceneTestSupport.h"

#include "render/scene/FrameCompositor.h"
#include "render/text/TextRaster.h"

#include <gtest/gtest.h>

using namespace scenetest;

namespace textscenetest {

constexpr TimeUs kMillisUs = 1000;
const QRectF kBox(100, 200, 800, 300); // project pixels

Clip textOf(const QString &text, TimeUs startUs = 1000 * kMillisUs)
{
    Clip clip = clipOf(ClipType::text, "title", QString(), startUs, 4000 * kMillisUs);
    clip.textContent = text;
    clip.textStyle.fontFamily = "DejaVu Sans";
    place(clip, kBox);
    return clip;
}

QList<GpuSceneEntry> entriesAt(const Project &project, TimeUs t, double scale = 1.0)
{
    FrameCompositor compositor(&project);
    FrameCompositor::RenderOptions options;
    options.previewScale = scale;
    GpuScene scene;
    EXPECT_TRUE(compositor.prepare(t, options, &scene));
    return scene.entries;
}

TextAnimation animation(TextAnimKind kind, TextAnimUnit unit = TextAnimUnit::block)
{
    TextAnimation anim;
    anim.kind = kind;
    anim.durationUs = 400 * kMillisUs;
    anim.ease = TextAnimEase::linear;
    anim.unit = unit;
    anim.staggerUs = 100 * kMillisUs;
    return anim;
}

QRectF scaledBox(double scale)
{
    return QRectF(kBox.topLeft() * scale, kBox.size() * scale);
}

} // namespace textscenetest

using namespace textscenetest;

TEST(TextScene, WholeTextLayersCarryTheirAnimationState)
{
    // Halfway through a linear slide-up: half the travel left, half the opacity.
    Clip slide = textOf("Hello");
    slide.textStyle.animIn = animation(TextAnimKind::slideUp);
    QList<GpuSceneEntry> entries =
        entriesAt(projectOf(1920, 1080, {trackOf({slide})}), 1200 * kMillisUs, 0.5);
    ASSERT_EQ(entries.size(), 1);
    const QRectF painted = rasterClipText(slide, scaledBox(0.5), 0.5).rect;
    EXPECT_EQ(entries[0].layer.rect, painted.translated(0, 0.5 * 0.35 * painted.height()));
    EXPECT_DOUBLE_EQ(entries[0].layer.opacity, 0.5);
    EXPECT_TRUE(entries[0].layer.effects.isEmpty());

    // A blur-in appends the blur effect with its radius.
    Clip blur = textOf("Hello");
    blur.textStyle.animIn = animation(TextAnimKind::blur);
    entries = entriesAt(projectOf(1920, 1080, {trackOf({blur})}), 1100 * kMillisUs, 0.5);
    ASSERT_EQ(entries.size(), 1);
    ASSERT_EQ(entries[0].layer.effects.size(), 1);
    EXPECT_EQ(entries[0].layer.effects[0].catalogId, "builtin.effects.gaussian_blur");
    EXPECT_DOUBLE_EQ(entries[0].layer.effects[0].parameters.value("u_blurRadius").toDouble(),
                     0.75 * 24 * 0.5);
}

TEST(TextScene, SubtitlesShowTheCueAtTheInstant)
{
    Clip subtitles = clipOf(ClipType::subtitle, "subs", QString(), 0, 10000 * kMillisUs);
    place(subtitles, kBox);
    subtitles.subtitleCues = {{1000 * kMillisUs, 2000 * kMillisUs, "first"},
                              {3000 * kMillisUs, 4000 * kMillisUs, "  "}};
    const Project project = projectOf(1920, 1080, {trackOf({subtitles})});
    const QList<GpuSceneEntry> shown = entriesAt(project, 1500 * kMillisUs);
    ASSERT_EQ(shown.size(), 1);
    EXPECT_EQ(shown[0].layer.image, rasterText(subtitles, "first", kBox, 1.0).image);
    EXPECT_TRUE(entriesAt(project, 2500 * kMillisUs).isEmpty()); // between cues
    EXPECT_TRUE(entriesAt(project, 3500 * kMillisUs).isEmpty()); // a blank cue
}

TEST(TextScene, UnitAnimationsGiveOneEntryPerUnit)
{
    // Words fade in linearly over 400 ms, 100 ms apart; at 150 ms the third has not begun.
    Clip words = textOf("one two three");
    words.textStyle.animIn = animation(TextAnimKind::fade, TextAnimUnit::word);
    words.opacity = constantProperty(0.8);
    const QList<GpuSceneEntry> entries =
        entriesAt(projectOf(1920, 1080, {trackOf({words})}), 1150 * kMillisUs);
    ASSERT_EQ(entries.size(), 2);
    EXPECT_DOUBLE_EQ(entries[0].layer.opacity, 0.8 * 150.0 / 400.0);
    EXPECT_DOUBLE_EQ(entries[1].layer.opacity, 0.8 * 50.0 / 400.0);
    const QList<TextUnitPiece> pieces = rasterUnits(words, kBox, 1.0, TextAnimUnit::word);
    EXPECT_EQ(entries[1].layer.rect, pieces[1].rect);
    EXPECT_LT(entries[0].layer.rect.right(), entries[1].layer.rect.left());
}
