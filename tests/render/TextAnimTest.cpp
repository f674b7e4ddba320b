#include "render/text/TextAnim.h"
#include "render/text/TextWords.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace orvel;

namespace textanimtest {

constexpr TimeUs kMs = 1000;
constexpr TimeUs kClipUs = 2000 * kMs;
constexpr TimeUs kAnimUs = 400 * kMs;
const QRectF kRect(0, 0, 200, 100); // slides travel 0.35 of it: 70 across, 35 down

// Eased values at the middle of an animation, worked out by hand from the curves' formulas.
constexpr double kOutCubicHalf = 0.875;     // 1 - 0.5^3
constexpr double kOutBackHalf = 1.0876975;  // 0.25 * (2.70158 * -0.5 + 1.70158) + 1
constexpr double kOutBounceHalf = 0.765625; // 7.5625 * (0.5 - 6/11)^2 + 0.75

struct Expected
{
    double opacity = 1.0;
    double offsetX = 0.0;
    double offsetY = 0.0;
    double scale = 1.0;
    double blur = 0.0;
};

void expectState(const TextAnimState &state, const Expected &expected, const std::string &what)
{
    EXPECT_NEAR(state.opacity, expected.opacity, 1e-6) << what;
    EXPECT_NEAR(state.offsetX, expected.offsetX, 1e-6) << what;
    EXPECT_NEAR(state.offsetY, expected.offsetY, 1e-6) << what;
    EXPECT_NEAR(state.scale, expected.scale, 1e-6) << what;
    EXPECT_NEAR(state.blur, expected.blur, 1e-6) << what;
}

Clip animatedClip(TextAnimKind in, TextAnimKind out, TextAnimEase ease = TextAnimEase::easeOut)
{
    Clip clip;
    clip.type = ClipType::text;
    clip.timelineDurationUs = kClipUs;
    clip.textStyle.animIn = {in, kAnimUs, ease, TextAnimUnit::block, 100 * kMs, TextAnimOrder::forward};
    clip.textStyle.animOut = {out, kAnimUs, ease, TextAnimUnit::block, 100 * kMs, TextAnimOrder::forward};
    return clip;
}

} // namespace textanimtest

using namespace textanimtest;

TEST(TextAnimation, EachKindEntersAndLeavesThroughItsStartMiddleAndEnd)
{
    const double e = kOutCubicHalf;
    const struct
    {
        TextAnimKind kind;
        Expected start;  // p = 0: entering at the clip's start, leaving at its end
        Expected middle; // p = 0.5, entering
        Expected middleOut;
    } kinds[] = {
        {TextAnimKind::fade, {0, 0, 0, 1, 0}, {e, 0, 0, 1, 0}, {e, 0, 0, 1, 0}},
        {TextAnimKind::slideUp, {0, 0, 35, 1, 0}, {e, 0, 35 * (1 - e), 1, 0}, {e, 0, -35 * (1 - e), 1, 0}},
        {TextAnimKind::slideDown, {0, 0, -35, 1, 0}, {e, 0, -35 * (1 - e), 1, 0}, {e, 0, 35 * (1 - e), 1, 0}},
        {TextAnimKind::slideLeft, {0, 70, 0, 1, 0}, {e, 70 * (1 - e), 0, 1, 0}, {e, -70 * (1 - e), 0, 1, 0}},
        {TextAnimKind::slideRight,
         {0, -70, 0, 1, 0},
         {e, -70 * (1 - e), 0, 1, 0},
         {e, 70 * (1 - e), 0, 1, 0}},
        {TextAnimKind::pop, {0, 0, 0, 0.6, 0}, {e, 0, 0, 0.6 + 0.4 * e, 0}, {e, 0, 0, 0.6 + 0.4 * e, 0}},
        {TextAnimKind::blur, {0, 0, 0, 1, 24}, {e, 0, 0, 1, 24 * (1 - e)}, {e, 0, 0, 1, 24 * (1 - e)}},
        {TextAnimKind::typewriter, {1, 0, 0, 1, 0}, {1, 0, 0, 1, 0}, {1, 0, 0, 1, 0}},
        {TextAnimKind::rise,
         {0, 0, 35, 0.9, 0},
         {e, 0, 35 * (1 - e), 0.9 + 0.1 * e, 0},
         {e, 0, -35 * (1 - e), 0.9 + 0.1 * e, 0}},
        {TextAnimKind::bounce,
         {0, 0, 35, 1, 0},
         {1, 0, 35 * (1 - kOutBounceHalf), 1, 0},
         {1, 0, -35 * (1 - kOutBounceHalf), 1, 0}},
    };
    for (const auto &k : kinds) {
        const std::string name = std::to_string(int(k.kind));
        const Clip in = animatedClip(k.kind, TextAnimKind::none);
        expectState(animStateForClip(in, 0, kRect, 1.0), k.start, "in start " + name);
        expectState(animStateForClip(in, kAnimUs / 2, kRect, 1.0), k.middle, "in middle " + name);
        expectState(animStateForClip(in, kAnimUs, kRect, 1.0), {}, "in end " + name);
        expectState(animStateForClip(in, kClipUs - 1, kRect, 1.0), {}, "in, at the clip's end " + name);

        const Clip out = animatedClip(TextAnimKind::none, k.kind);
        Expected gone = k.start;
        gone.offsetX = -gone.offsetX; // leaving goes the other way
        gone.offsetY = -gone.offsetY;
        expectState(animStateForClip(out, kClipUs, kRect, 1.0), gone, "out end " + name);
        expectState(animStateForClip(out, kClipUs - kAnimUs / 2, kRect, 1.0), k.middleOut,
                    "out middle " + name);
        expectState(animStateForClip(out, kClipUs - kAnimUs, kRect, 1.0), {}, "out start " + name);
    }
}

TEST(TextAnimation, EasingCurvesWaveCuesAndExitsOfNoLength)
{
    const std::pair<TextAnimEase, double> eases[] = {
        {TextAnimEase::linear, 0.5}, {TextAnimEase::easeInOut, 0.5}, {TextAnimEase::back, kOutBackHalf}};
    for (const auto &[ease, half] : eases) {
        const TextAnimState state = animStateForClip(
            animatedClip(TextAnimKind::slideLeft, TextAnimKind::none, ease), kAnimUs / 2, kRect, 1.0);
        EXPECT_NEAR(state.offsetX, 70 * (1 - half), 1e-6) << int(ease);
    }
    // Wave bobs for the whole clip by at most 12 % of the height or 36 px of canvas, and has no exit.
    const Clip wave = animatedClip(TextAnimKind::wave, TextAnimKind::fade);
    EXPECT_NEAR(animStateForClip(wave, 1500 * kMs, QRectF(0, 0, 200, 1000), 0.5).offsetY,
                18 * std::sin(1.5 * 6.911503837897546), 1e-6);
    EXPECT_DOUBLE_EQ(animStateForClip(wave, kClipUs, kRect, 1.0).opacity, 1.0);

    Clip instant = animatedClip(TextAnimKind::none, TextAnimKind::fade);
    instant.textStyle.animOut.durationUs = 0;
    expectState(animStateForClip(instant, kClipUs, kRect, 1.0), {}, "exit of no length");

    // A cue animates over its own span: a quarter in at 1.1 s, a quarter left at 1.7 s.
    const Clip cueClip = animatedClip(TextAnimKind::fade, TextAnimKind::fade, TextAnimEase::linear);
    const SubtitleCue cue{1000 * kMs, 1800 * kMs, "cue"};
    EXPECT_NEAR(animStateForCue(cueClip, cue, 1100 * kMs, kRect, 1.0).opacity, 0.25, 1e-9);
    EXPECT_NEAR(animStateForCue(cueClip, cue, 1700 * kMs, kRect, 1.0).opacity, 0.25, 1e-9);
}

TEST(TextAnimation, UnitsStaggerInTheirOrderAndLeaveFirstInFirstOut)
{
    // Three units, 100 ms apart, fading linearly over 400 ms.
    Clip clip = animatedClip(TextAnimKind::fade, TextAnimKind::none, TextAnimEase::linear);
    clip.textStyle.animIn.unit = TextAnimUnit::word;
    const struct
    {
        TextAnimOrder order;
        double delaysMs[3];
    } orders[] = {{TextAnimOrder::forward, {0, 100, 200}},
                  {TextAnimOrder::backward, {200, 100, 0}},
                  {TextAnimOrder::centerOut, {100, 0, 100}}};
    for (const auto &order : orders) {
        clip.textStyle.animIn.order = order.order;
        for (int unit = 0; unit < 3; ++unit) {
            const double expected = std::clamp((300.0 - order.delaysMs[unit]) / 400.0, 0.0, 1.0);
            EXPECT_NEAR(animStateForUnit(clip, 300 * kMs, unit, 3, kRect, 1.0).opacity, expected, 1e-9)
                << "order " << int(order.order) << " unit " << unit;
        }
    }
    EXPECT_EQ(textUnitOrderValue(3, 1, TextAnimOrder::backward), 0.0); // a lone unit has no delay

    // Leaving by line, forward: the first unit goes 200 ms before the last.
    Clip leaving = animatedClip(TextAnimKind::none, TextAnimKind::slideUp, TextAnimEase::linear);
    leaving.textStyle.animOut.unit = TextAnimUnit::line;
    const TimeUs t = kClipUs - 300 * kMs;
    for (int unit = 0; unit < 3; ++unit) {
        const double p = std::clamp((300.0 - 100.0 * (2 - unit)) / 400.0, 0.0, 1.0);
        const TextAnimState state = animStateForUnit(leaving, t, unit, 3, kRect, 1.0);
        EXPECT_NEAR(state.opacity, p, 1e-9) << unit;
        EXPECT_NEAR(state.offsetY, -35 * (1 - p), 1e-9) << unit;
    }
    // Centre-out leaving measures from half the span.
    leaving.textStyle.animOut.order = TextAnimOrder::centerOut;
    EXPECT_NEAR(animStateForUnit(leaving, t, 0, 3, kRect, 1.0).opacity, 300.0 / 400.0, 1e-9);
    EXPECT_NEAR(animStateForUnit(leaving, t, 1, 3, kRect, 1.0).opacity, 200.0 / 400.0, 1e-9);

    // A typewriter by character is a step at each character's own instant.
    Clip typed = animatedClip(TextAnimKind::typewriter, TextAnimKind::none);
    typed.textStyle.animIn.unit = TextAnimUnit::character;
    EXPECT_EQ(animStateForUnit(typed, 200 * kMs - 1, 2, 5, kRect, 1.0).opacity, 0.0);
    EXPECT_EQ(animStateForUnit(typed, 200 * kMs, 2, 5, kRect, 1.0).opacity, 1.0);

    // A wave moves each unit 0.6 radians after the one before.
    Clip wave = animatedClip(TextAnimKind::wave, TextAnimKind::none);
    wave.textStyle.animIn.unit = TextAnimUnit::word;
    EXPECT_NEAR(animStateForUnit(wave, 0, 2, 3, kRect, 1.0).offsetY, 12 * std::sin(1.2), 1e-9);
}

TEST(TextAnimation, WordSpansShareTimeByLettersAndNameTheKaraokeWord)
{
    const QList<SubtitleCue> spans = wordSpans({0, 1000 * kMs, "Hi  there you"});
    ASSERT_EQ(spans.size(), 3);
    // Weights 2, 5 and 3 of 10.
    EXPECT_EQ(spans[0].endUs, 200 * kMs);
    EXPECT_EQ(spans[1].startUs, 200 * kMs);
    EXPECT_EQ(spans[1].endUs, 700 * kMs);
    EXPECT_EQ(spans[2].endUs, 1000 * kMs);
    EXPECT_EQ(spans[1].text, "  there");

    // Spans too short for their words still move forward by a microsecond each.
    const QList<SubtitleCue> tight = wordSpans({10, 12, "a b c d"});
    ASSERT_EQ(tight.size(), 4);
    EXPECT_EQ(tight[1].startUs, 11);
    EXPECT_EQ(tight[2].startUs, 12);
    EXPECT_EQ(tight[3].endUs, 12);

    EXPECT_EQ(karaokeWordIndex("Hi there you", 0, 1000 * kMs, -1), -1);
    EXPECT_EQ(karaokeWordIndex("Hi there you", 0, 1000 * kMs, 199999), 0);
    EXPECT_EQ(karaokeWordIndex("Hi there you", 0, 1000 * kMs, 200 * kMs), 1);
    EXPECT_EQ(karaokeWordIndex("Hi there you", 0, 1000 * kMs, 5000 * kMs), 2);
    EXPECT_EQ(karaokeWordIndex("Hi there you", 500, 500, 500), -1);
    EXPECT_EQ(karaokeWordIndex("   ", 0, 1000 * kMs, 10), -1);
}
