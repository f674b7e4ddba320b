#include "AnimationReference.h"

#include "core/document/animation/ClipProperties.h"
#include "core/document/animation/KeyframeEasing.h"
#include "core/document/animation/Keyframes.h"
#include "core/document/timing/Retiming.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace orvel;

namespace {

AnimatedProperty keysAt(std::initializer_list<std::pair<TimeUs, double>> keys)
{
    AnimatedProperty property;
    for (const auto &[t, value] : keys)
        property.keyframes.insert(t, Keyframe{value});
    return property;
}

Keyframe handles(double value, double inDx, double inDy, double outDx, double outDy)
{
    Keyframe key{value};
    key.inDx = inDx;
    key.inDy = inDy;
    key.outDx = outDx;
    key.outDy = outDy;
    return key;
}

// Two keys 1 s apart with handles, and the same segment sampled densely as the reference.
struct CurvedSegment
{
    AnimatedProperty property;
    testref::DenseCurve reference;
};

CurvedSegment curvedSegment(double outDx, double outDy, double inDx, double inDy)
{
    CurvedSegment segment;
    segment.property.keyframes.insert(1000000, handles(10.0, 0, 0, outDx, outDy));
    segment.property.keyframes.insert(2000000, handles(50.0, inDx, inDy, 0, 0));
    const double x1 = std::clamp(1000000.0 + outDx, 1000000.0, 2000000.0);
    const double x2 = std::clamp(2000000.0 + inDx, 1000000.0, 2000000.0);
    segment.reference =
        testref::sampleBezier({1000000.0, x1, x2, 2000000.0}, {10.0, 10.0 + outDy, 50.0 + inDy, 50.0});
    return segment;
}

} // namespace

TEST(KeyframeEvaluation, ConstantOutsideTheKeysOnThemAndWhenDisabled)
{
    const AnimatedProperty single = keysAt({{500000, 7.5}});
    for (TimeUs t : {TimeUs(-1000000), TimeUs(0), TimeUs(500000), TimeUs(90000000)})
        EXPECT_EQ(valueAt(single, t), 7.5) << t;

    const AnimatedProperty three = keysAt({{100000, 1.0}, {200000, 3.0}, {400000, -2.0}});
    EXPECT_EQ(valueAt(three, 0), 1.0);
    EXPECT_EQ(valueAt(three, 99999), 1.0);
    EXPECT_EQ(valueAt(three, 200000), 3.0);
    EXPECT_EQ(valueAt(three, 400001), -2.0);
    EXPECT_DOUBLE_EQ(valueAt(three, 150000), 2.0);
    EXPECT_DOUBLE_EQ(valueAt(three, 350000), -0.75);
    EXPECT_EQ(valueAt(AnimatedProperty{}, 0), 0.0);

    // A disabled property is constant at its first key.
    AnimatedProperty disabled = three;
    disabled.enabled = false;
    for (TimeUs t : {TimeUs(0), TimeUs(150000), TimeUs(400000), TimeUs(5000000)})
        EXPECT_EQ(valueAt(disabled, t), 1.0) << t;
}

TEST(KeyframeEvaluation, HoldKeepsTheValueUntilTheNextKey)
{
    AnimatedProperty property = keysAt({{0, 0.0}, {1000000, 5.0}, {2000000, 9.0}});
    property.keyframes[1000000].hold = true;
    // Handles on a held segment must not matter either.
    property.keyframes[1000000].outDy = 100.0;
    property.keyframes[2000000].inDx = -300000.0;
    EXPECT_DOUBLE_EQ(valueAt(property, 500000), 2.5);
    EXPECT_EQ(valueAt(property, 1000000), 5.0);
    EXPECT_EQ(valueAt(property, 1999999), 5.0);
    EXPECT_EQ(valueAt(property, 2000000), 9.0);
}

TEST(KeyframeEvaluation, TinyHandlesTakeTheExactLinearPath)
{
    // Handles at 1e-12 count as flat: the result must be the linear formula to the last bit,
    // which the Bezier solve would not reproduce.
    AnimatedProperty property;
    property.keyframes.insert(0, handles(0.0, 0, 0, 1e-12, -1e-12));
    property.keyframes.insert(3000000, handles(1.0, -1e-12, 1e-12, 0, 0));
    for (TimeUs t = 1; t < 3000000; t += 299993)
        EXPECT_EQ(valueAt(property, t), double(t) / 3000000.0 * 1.0) << t;
}

TEST(KeyframeEvaluation, CurvedSegmentsMatchADenseSampledBezier)
{
    const CurvedSegment cases[] = {
        curvedSegment(333333, 0, -333333, 0),    // ease in and out
        curvedSegment(100000, 30, -600000, -25), // asymmetric, overshooting in value
        curvedSegment(0, 40, 0, 0),              // value handle only: x control points at the ends
        curvedSegment(900000, 0, -900000, 0),    // handles crossing in time
    };
    for (const CurvedSegment &segment : cases) {
        for (TimeUs t = 1000000; t <= 2000000; t += 12347) {
            // 24 rounds of bisection leave u within 2^-25; the values' slope in u is below 200,
            // so 1e-5 is several times the worst error and far below any wrong formula.
            EXPECT_NEAR(valueAt(segment.property, t), segment.reference.yAt(double(t)), 1e-5) << t;
        }
    }
}

TEST(KeyframeEvaluation, TimeHandlesAreClampedAtEvaluationValueHandlesAreNot)
{
    const CurvedSegment clamped = curvedSegment(2500000, 20, -4000000, -5);
    const CurvedSegment atLimit = curvedSegment(1000000, 20, -1000000, -5);
    for (TimeUs t = 1000000; t <= 2000000; t += 50000)
        EXPECT_DOUBLE_EQ(valueAt(clamped.property, t), valueAt(atLimit.property, t)) << t;

    // Value handles are not clamped: the curve may leave the keys' range.
    const CurvedSegment overshoot = curvedSegment(300000, 200, -300000, 0);
    EXPECT_GT(valueAt(overshoot.property, 1400000), 50.0);
}

TEST(KeyframeWriting, SetAtInsertsFlatKeysAndOtherwiseChangesOnlyTheValue)
{
    AnimatedProperty property;
    property.keyframes.insert(1000, handles(1.0, -5, 2, 7, 3));
    property.keyframes[1000].corner = true;
    property.keyframes[1000].hold = true;

    Keyframe expected = property.keyframes[1000];
    expected.value = 9.0;
    setAt(property, 1000, 9.0);
    EXPECT_EQ(property.keyframes[1000], expected);
    setAt(property, 2000, 4.0);
    EXPECT_EQ(property.keyframes[2000], Keyframe{4.0});
}

TEST(KeyframeWriting, KeyedWriteRulesInOrder)
{
    // Disabled with keys: to the first key, or to t when forced.
    AnimatedProperty disabled = keysAt({{100000, 1.0}, {900000, 2.0}});
    disabled.enabled = false;
    EXPECT_TRUE(keyedWrite(disabled, 500000, 7.0, true, false));
    EXPECT_EQ(disabled.keyframes.size(), 2);
    EXPECT_EQ(disabled.keyframes[100000].value, 7.0);
    EXPECT_TRUE(keyedWrite(disabled, 500000, 8.0, false, true));
    EXPECT_EQ(disabled.keyframes.value(500000).value, 8.0);

    // Auto-key or force: a key at t even far from others.
    AnimatedProperty animated = keysAt({{0, 1.0}, {1000000, 2.0}});
    EXPECT_TRUE(keyedWrite(animated, 600000, 3.0, true, false));
    EXPECT_TRUE(keyedWrite(animated, 700000, 4.0, false, true));
    EXPECT_EQ(animated.keyframes.keys(), (QList<TimeUs>{0, 600000, 700000, 1000000}));

    // No keys: a static value at 0 whatever t is.
    AnimatedProperty empty;
    EXPECT_TRUE(keyedWrite(empty, 4000000, 0.5, false, false));
    EXPECT_EQ(empty.keyframes.keys(), QList<TimeUs>{0});

    // One key: the key itself changes, wherever the edit happens.
    AnimatedProperty single = keysAt({{250000, 1.0}});
    EXPECT_TRUE(keyedWrite(single, 9000000, 6.0, false, false));
    EXPECT_EQ(single.keyframes.keys(), QList<TimeUs>{250000});
    EXPECT_EQ(single.keyframes[250000].value, 6.0);
}

TEST(KeyframeWriting, AutoKeyOffEditsOnlyNearAKey)
{
    AnimatedProperty property = keysAt({{1000000, 1.0}, {1020000, 2.0}});
    const AnimatedProperty before = property;

    EXPECT_TRUE(keyedWrite(property, 1030000, 5.0, false, false)); // 10 ms after the second key
    EXPECT_EQ(property.keyframes[1020000].value, 5.0);
    EXPECT_TRUE(keyedWrite(property, 990000, 6.0, false, false)); // 10 ms before the first
    EXPECT_EQ(property.keyframes[1000000].value, 6.0);
    EXPECT_TRUE(keyedWrite(property, 1010000, 7.0, false, false)); // halfway: the earlier key
    EXPECT_EQ(property.keyframes[1000000].value, 7.0);
    EXPECT_EQ(property.keyframes[1020000].value, 5.0);
    EXPECT_EQ(property.keyframes.size(), 2);

    AnimatedProperty refused = before;
    EXPECT_FALSE(keyedWrite(refused, 1060000, 9.0, false, false)); // 40 ms after the last key
    EXPECT_FALSE(keyedWrite(refused, 960000, 9.0, false, false));  // 40 ms before the first
    EXPECT_EQ(refused.keyframes, before.keyframes);

    // The tolerance is inclusive.
    EXPECT_TRUE(keyedWrite(refused, 1020000 + kKeyframeSnapToleranceUs, 3.0, false, false));
    EXPECT_FALSE(keyedWrite(refused, 1000000 - kKeyframeSnapToleranceUs - 1, 3.0, false, false));
    EXPECT_EQ(nearestKeyTime(before, 1010001), std::optional<TimeUs>(1020000));
    EXPECT_EQ(nearestKeyTime(before, 3000000, 2000000), std::optional<TimeUs>(1020000));
    EXPECT_EQ(nearestKeyTime(AnimatedProperty{}, 0), std::nullopt);
}

TEST(PropertyNames, EffectParameterParsing)
{
    const std::tuple<const char *, int, const char *> good[] = {
        {"fx.0.amount", 0, "amount"}, {"fx.12.color.r", 12, "color.r"}, {"fx.007.k", 7, "k"}};
    for (const auto &[name, index, id] : good) {
        const auto parsed = parseEffectParamName(name);
        ASSERT_TRUE(parsed) << name;
        EXPECT_EQ(parsed->effectIndex, index);
        EXPECT_EQ(parsed->paramId, id);
    }
    for (const char *bad : {"fx.", "fx.1", "fx.1.", "fx..a", "fx.a.b", "fx.-1.a", "fx.+1.a", "fx. 1.a",
                            "fx.1x.a", "fx.99999999999.a", "FX.1.a", "fx1.a", "opacity", ""})
        EXPECT_FALSE(parseEffectParamName(bad)) << bad;

    EXPECT_EQ(effectParamName(3, "mix"), "fx.3.mix");
    const auto roundTrip = parseEffectParamName(effectParamName(41, "a.%1"));
    ASSERT_TRUE(roundTrip);
    EXPECT_EQ(roundTrip->effectIndex, 41);
    EXPECT_EQ(roundTrip->paramId, "a.%1");
}

TEST(PropertyNames, LookupOfMembersAndEffectParameters)
{
    Clip clip;
    clip.effects.append(EffectInstance{});
    EXPECT_EQ(clipProperty(clip, "height", false), &clip.height);
    EXPECT_EQ(clipProperty(clip, "scale", true), nullptr);
    EXPECT_EQ(clipProperty(clip, "fx.1.mix", true), nullptr); // past the effect list
    EXPECT_EQ(clipProperty(clip, "fx.0.mix", false), nullptr);
    EXPECT_TRUE(clip.effects[0].paramKeyframes.isEmpty());
    AnimatedProperty *created = clipProperty(clip, "fx.0.mix", true);
    ASSERT_NE(created, nullptr);
    EXPECT_TRUE(created->isEmpty());
    EXPECT_TRUE(clip.effects[0].paramKeyframes.contains("mix"));
    const Clip &constClip = clip;
    EXPECT_EQ(clipProperty(constClip, "fx.0.mix"), &clip.effects[0].paramKeyframes["mix"]);
    EXPECT_EQ(clipProperty(constClip, "rotation"), &clip.rotation);
}

TEST(PropertyValues, BaseValuesAndEvaluationAtSeconds)
{
    Project project;
    project.width = 1280;
    project.height = 720;
    Clip clip;
    clip.timelineStartUs = 1000000;
    EffectInstance effect;
    effect.parameters.insert("amount", 0.25);
    effect.parameters.insert("label", "soft");
    clip.effects.append(effect);

    // Not a number, not stored, no such effect, no such property: the fallback.
    const std::pair<const char *, double> bases[] = {
        {"width", 1280},       {"height", 720},    {"opacity", 1},       {"volume", 1},       {"rotation", 0},
        {"fx.0.amount", 0.25}, {"fx.0.label", -1}, {"fx.0.missing", -1}, {"fx.4.amount", -1}, {"blur", -1}};
    for (const auto &[name, expected] : bases)
        EXPECT_EQ(propertyBaseValue(project, clip, name, -1), expected) << name;

    EXPECT_EQ(propertyValueAt(project, clip, "width", 3.0, -1), 1280.0);
    // Keys two microseconds apart show that seconds are rounded to the nearest microsecond, the
    // way every time from QML is read.
    clip.x = keysAt({{0, 0.0}, {2, 2.0}});
    EXPECT_EQ(propertyValueAt(project, clip, "x", 1.0000019, -1), 2.0);
    EXPECT_EQ(propertyValueAt(project, clip, "x", 1.0000014, -1), 1.0);
    clip.effects[0].paramKeyframes["amount"] = keysAt({{0, 0.0}, {1000000, 1.0}});
    EXPECT_DOUBLE_EQ(propertyValueAt(project, clip, "fx.0.amount", 1.5, -1), 0.5);
}

TEST(PropertyValues, EffectParameterWrites)
{
    EffectInstance effect;
    // Static: only the stored value, and no keyframe entry appears.
    EXPECT_TRUE(writeEffectParameter(effect, "mix", 500000, 0.3, false, false));
    EXPECT_EQ(effect.parameters.value("mix").toDouble(), 0.3);
    EXPECT_TRUE(effect.paramKeyframes.isEmpty());

    // Auto-key: a key at t, and the stored value follows.
    EXPECT_TRUE(writeEffectParameter(effect, "mix", 500000, 0.6, true, false));
    EXPECT_EQ(effect.paramKeyframes["mix"].keyframes.keys(), QList<TimeUs>{500000});
    EXPECT_EQ(effect.parameters.value("mix").toDouble(), 0.6);
    EXPECT_TRUE(writeEffectParameter(effect, "mix", 900000, 0.8, true, false));

    // Animated, auto-key off, far from both keys: refused, nothing changes.
    EXPECT_FALSE(writeEffectParameter(effect, "mix", 700000, 0.1, false, false));
    EXPECT_EQ(effect.parameters.value("mix").toDouble(), 0.8);
    EXPECT_EQ(effect.paramKeyframes["mix"].keyframes.size(), 2);

    Clip clip;
    clip.effects.append(effect);
    EXPECT_TRUE(writeClipProperty(clip, "fx.0.mix", 880000, 0.9, false, false));
    EXPECT_EQ(clip.effects[0].paramKeyframes["mix"].keyframes[900000].value, 0.9);
    EXPECT_FALSE(writeClipProperty(clip, "fx.1.mix", 0, 1.0, false, true));
    EXPECT_FALSE(writeClipProperty(clip, "zoom", 0, 1.0, false, true));
    EXPECT_TRUE(writeClipProperty(clip, "opacity", 40000, 0.5, false, false));
    EXPECT_EQ(clip.opacity.keyframes.keys(), QList<TimeUs>{0});
}

TEST(PropertyValues, AnimatedPropertyListing)
{
    Clip clip;
    clip.volume = keysAt({{0, 1.0}});
    clip.x = keysAt({{0, 1.0}});
    EffectInstance first;
    first.paramKeyframes["b"] = keysAt({{0, 1.0}});
    first.paramKeyframes["a"] = keysAt({{0, 1.0}});
    first.paramKeyframes["empty"] = AnimatedProperty{};
    clip.effects = {EffectInstance{}, first};
    EXPECT_EQ(clipAnimatedProperties(clip), (QStringList{"x", "volume", "fx.1.a", "fx.1.b"}));
}

TEST(KeyframeEasingPresets, PresetsAndTheirClassification)
{
    AnimatedProperty property = keysAt({{0, 0.0}, {300000, 1.0}, {1200000, 2.0}});
    const TimeUs middle = 300000;
    EXPECT_EQ(keySpans(property, middle).previousUs, 300000);
    EXPECT_EQ(keySpans(property, middle).nextUs, 900000);
    EXPECT_EQ(keyframeEasing(property.keyframes[middle], keySpans(property, middle)), "linear");

    property.keyframes[middle].corner = true;
    ASSERT_TRUE(applyInterpolationPreset(property, middle, "ease"));
    const Keyframe &eased = property.keyframes[middle];
    EXPECT_DOUBLE_EQ(eased.inDx, -100000.0);
    EXPECT_DOUBLE_EQ(eased.outDx, 300000.0);
    EXPECT_FALSE(eased.corner);
    EXPECT_EQ(keyframeEasing(eased, keySpans(property, middle)), "ease");

    // The first key has no previous neighbour: its incoming handle stays at 0.
    ASSERT_TRUE(applyInterpolationPreset(property, 0, "ease"));
    EXPECT_EQ(property.keyframes[0].inDx, 0.0);
    EXPECT_DOUBLE_EQ(property.keyframes[0].outDx, 100000.0);
    EXPECT_EQ(keyframeEasing(property.keyframes[0], keySpans(property, 0)), "ease");

    // Moving a neighbour changes the spans: the same handles are no longer the ease preset.
    property.keyframes.insert(2000000, property.keyframes.take(1200000));
    EXPECT_EQ(keyframeEasing(property.keyframes[middle], keySpans(property, middle)), "custom");

    property.keyframes[middle].outDy = 0.5;
    ASSERT_TRUE(applyInterpolationPreset(property, middle, "hold"));
    EXPECT_TRUE(property.keyframes[middle].hold);
    EXPECT_EQ(property.keyframes[middle].outDy, 0.0);
    EXPECT_EQ(keyframeEasing(property.keyframes[middle], keySpans(property, middle)), "hold");

    ASSERT_TRUE(applyInterpolationPreset(property, middle, "bouncy")); // unknown: linear
    EXPECT_FALSE(property.keyframes[middle].hold);
    EXPECT_EQ(keyframeEasing(property.keyframes[middle], keySpans(property, middle)), "linear");
    EXPECT_FALSE(applyInterpolationPreset(property, 123, "ease"));

    Keyframe valueHandle{1.0};
    valueHandle.outDy = 1e-9;
    EXPECT_EQ(keyframeEasing(valueHandle, KeySpans{}), "custom");
}

TEST(KeyframeRetiming, KeysFollowTheirSourceFrames)
{
    Clip oldClip;
    oldClip.srcInUs = 0;
    oldClip.srcOutUs = 8000000;
    oldClip.speed = 2.0;
    Keyframe tagged = handles(3.0, -1000, 1, 2000, 2);
    tagged.hold = true;
    oldClip.opacity.keyframes.insert(1000000, tagged);        // source 2 s
    oldClip.opacity.keyframes.insert(3000000, Keyframe{4.0}); // source 6 s
    oldClip.opacity.enabled = false;
    EffectInstance effect;
    effect.paramKeyframes["mix"] = keysAt({{500000, 0.5}});
    oldClip.effects.append(effect);

    // The new clip plays the same 8 s of source at a flat 4x.
    Clip newClip = oldClip;
    newClip.speedCurve = normaliseSpeedCurve({SpeedCurvePoint{0.0, 4.0}, SpeedCurvePoint{1.0, 4.0}});
    retimeKeyframes(oldClip, newClip);
    EXPECT_EQ(newClip.opacity.keyframes.keys(), (QList<TimeUs>{500000, 1500000}));
    const Keyframe &moved = newClip.opacity.keyframes[500000];
    EXPECT_EQ(moved.value, 3.0);
    EXPECT_EQ(moved.inDx, -1000.0);
    EXPECT_EQ(moved.outDy, 2.0);
    EXPECT_TRUE(moved.hold);
    EXPECT_FALSE(newClip.opacity.enabled);
    EXPECT_EQ(newClip.effects[0].paramKeyframes["mix"].keyframes.keys(), QList<TimeUs>{250000});

    // From a curved clip: a flat 0.5x curve puts source 2 s at 4 s on the new timeline.
    Clip curved = newClip;
    curved.speedCurve = normaliseSpeedCurve({SpeedCurvePoint{0.0, 0.5}, SpeedCurvePoint{1.0, 0.5}});
    EXPECT_EQ(retimedKeyTime(newClip, curved, 500000), 4000000);
}
