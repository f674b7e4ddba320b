// Keyframe slots and the auto-key rule, driven the way QML calls them: timeline seconds in,
// signals, undo entries and the resulting keys out.
#include "ControllerFixture.h"

#include <QSignalSpy>

#include <functional>

using namespace fixture;

namespace {

constexpr TimeUs kStartUs = 2000000; // the clip's timeline start

// Timeline seconds for a clip-local microsecond.
double local(TimeUs localUs)
{
    return usToSeconds(kStartUs + localUs);
}

// A 4 s video clip at 2 s with one effect whose "amount" is 0.25.
Clip keyedClip()
{
    Clip clip = makeClip("v", kStartUs, 4000000);
    clip.path = QStringLiteral("/media/v.mp4");
    EffectInstance blur;
    blur.parameters.insert(QStringLiteral("amount"), 0.25);
    clip.effects.append(blur);
    return clip;
}

} // namespace

class ControllerKeyframes : public ControllerTest
{
protected:
    void loadClip(const Clip &clip)
    {
        load(makeProject({makeTrack(TrackType::video, {clip})}));
        controller.setAutoKeyEnabled(false);
    }
    const Clip &keyed() const { return clip(0, 0); }
    void playheadAt(TimeUs localUs) { controller.setPlayheadSeconds(local(localUs)); }
};

// Keys 20 ms apart with Auto keyframes off: 10 ms from a key edits it, 40 ms away is refused.
TEST_F(ControllerKeyframes, AutoKeyOffEditsANearKeyAndRefusesBetweenKeys)
{
    Clip animated = keyedClip();
    animated.x = keys({{1000000, 10.0}, {1020000, 20.0}});
    loadClip(animated);
    QSignalSpy blocked(&controller, &AppController::transformBlocked);

    controller.beginPreviewDrag(QStringLiteral("Move clip"));
    playheadAt(1030000);
    controller.previewSetClipPosition(0, 0, 70, 5);
    EXPECT_EQ(keyed().x.keyframes.size(), 2);
    EXPECT_EQ(keyed().x.keyframes.value(1020000).value, 70.0);
    EXPECT_EQ(keyed().y.keyframes.value(0).value, 5.0); // static y just changes

    playheadAt(1060000);
    const QByteArray before = documentJson();
    controller.previewSetClipPosition(0, 0, 99, 99);
    ASSERT_EQ(blocked.count(), 1);
    EXPECT_EQ(documentJson(), before);
    EXPECT_TRUE(controller.dragActive()); // a refusal does not end the gesture

    controller.setAutoKeyEnabled(true);
    controller.previewSetClipPosition(0, 0, 99, 99);
    EXPECT_EQ(keyed().x.keyframes.value(1060000).value, 99.0);
    controller.commitPreviewDrag();
    EXPECT_EQ(entries(), 1);
    EXPECT_EQ(undoText(), QStringLiteral("Move clip"));

    // A static property just changes, and a slot outside a gesture opens one under its own text.
    controller.setAutoKeyEnabled(false);
    controller.previewSetClipRotation(0, 0, 45);
    EXPECT_EQ(keyed().rotation.keyframes.value(0).value, 45.0);
    controller.commitPreviewDrag();
    EXPECT_EQ(undoText(), QStringLiteral("Rotate clip"));
}

// Each keyed live write refuses with its own text, opens no transaction and changes nothing.
TEST_F(ControllerKeyframes, EveryLiveTransformWriteRefusesWithItsOwnText)
{
    Clip animated = keyedClip();
    for (AnimatedProperty *p :
         {&animated.x, &animated.y, &animated.width, &animated.height, &animated.rotation})
        *p = keys({{0, 1.0}, {2000000, 2.0}});
    loadClip(animated);
    playheadAt(1000000);
    const QByteArray before = documentJson();
    QSignalSpy blocked(&controller, &AppController::transformBlocked);

    const QList<std::pair<std::function<void()>, const char *>> writes = {
        {[&] { controller.previewSetClipPosition(0, 0, 1, 1); }, "Turn on Auto keyframes to move this"},
        {[&] { controller.previewSetClipSize(0, 0, 9, 9); }, "Turn on Auto keyframes to resize this"},
        {[&] { controller.previewSetClipRect(0, 0, 1, 1, 9, 9); }, "Turn on Auto keyframes to change this"},
        {[&] { controller.previewSetTextRect(0, 0, 1, 1, 9, 9, 40); },
         "Turn on Auto keyframes to change this"},
        {[&] { controller.previewSetClipRotation(0, 0, 30); }, "Turn on Auto keyframes to rotate this"},
        {[&] { controller.previewSetClipKeyframe(0, 0, QStringLiteral("x"), local(1000000), 5); },
         "Turn on Auto keyframes to edit this"},
    };
    for (qsizetype i = 0; i < writes.size(); ++i) {
        writes[i].first();
        ASSERT_EQ(blocked.count(), i + 1);
        EXPECT_EQ(blocked.last().at(0).toString(), QString::fromUtf8(writes[i].second));
    }
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(documentJson(), before);
}

// A static effect parameter just stores its value; a keyed one obeys the keyed rule, silently,
// and keeps the static value in step whenever it writes.
TEST_F(ControllerKeyframes, EffectParametersFollowTheKeyedRule)
{
    loadClip(keyedClip());
    QSignalSpy blocked(&controller, &AppController::transformBlocked);
    const QString amount = QStringLiteral("amount");
    const auto stored = [&] { return keyed().effects[0].parameters.value(amount).toDouble(); };

    playheadAt(1000000);
    controller.previewSetEffectParam(0, 0, 0, amount, 0.5);
    EXPECT_EQ(stored(), 0.5);
    EXPECT_TRUE(controller.clipAnimatedProperties(0, 0).isEmpty());
    controller.commitPreviewDrag();
    EXPECT_EQ(undoText(), QStringLiteral("Edit effect"));

    controller.setAutoKeyEnabled(true);
    controller.previewSetClipKeyframe(0, 0, QStringLiteral("fx.0.amount"), local(0), 0.1);
    controller.previewSetClipKeyframe(0, 0, QStringLiteral("fx.0.amount"), local(2000000), 0.9);
    controller.commitPreviewDrag();
    EXPECT_EQ(controller.clipAnimatedProperties(0, 0), QStringList{QStringLiteral("fx.0.amount")});
    EXPECT_EQ(stored(), 0.9);

    controller.setAutoKeyEnabled(false);
    const QByteArray before = documentJson();
    controller.previewSetEffectParam(0, 0, 0, amount, 0.3); // 1 s from both keys
    EXPECT_EQ(documentJson(), before);
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(blocked.count(), 0);
    playheadAt(2010000);
    controller.previewSetEffectParam(0, 0, 0, amount, 0.7);
    EXPECT_EQ(keyed().effects[0].paramKeyframes.value(amount).keyframes.value(2000000).value, 0.7);
    EXPECT_EQ(stored(), 0.7);
}

TEST_F(ControllerKeyframes, KeySlotsPushTheirOwnEntriesAndSkipNoOps)
{
    Clip animated = keyedClip();
    animated.opacity = keys({{0, 1.0}, {1000000, 0.5}});
    loadClip(animated);
    const QString opacity = QStringLiteral("opacity");

    controller.setClipKeyframe(0, 0, opacity, local(3000000), 0.2); // forced: off-key with auto-key off
    expectWords("Add keyframe", "Keyframe set");
    controller.setClipKeyframe(0, 0, opacity, 0.5, 0.8); // before the clip: its first instant
    EXPECT_EQ(keyed().opacity.keyframes.keys(), (QList<TimeUs>{0, 1000000, 3000000}));
    EXPECT_EQ(keyed().opacity.keyframes.value(0).value, 0.8);

    controller.setKeyframeTangents(0, 0, opacity, local(1020000), 0.2, 0.1, -0.3, 0.4, true);
    expectWords("Keyframe curve changed", "Keyframe curve updated");
    const Keyframe shaped = keyed().opacity.keyframes.value(1000000);
    EXPECT_EQ(shaped.inDx, 0.0); // handles may not point the wrong way in time
    EXPECT_EQ(shaped.outDx, 0.0);
    EXPECT_EQ(shaped.outDy, 0.4);
    EXPECT_TRUE(shaped.corner);

    controller.setKeyframeHold(0, 0, opacity, local(1000000), true);
    expectWords("Keyframe hold changed", "Keyframe holds");
    const int count = entries();
    controller.setKeyframeHold(0, 0, opacity, local(1000000), true);
    controller.removeClipKeyframe(0, 0, opacity, local(2000000)); // no key within 33 ms
    controller.setClipKeyframe(0, 0, QStringLiteral("fx.3.amount"), 1.0, 1.0);
    controller.setClipKeyframe(0, 0, QStringLiteral("scale"), 1.0, 1.0);
    EXPECT_EQ(entries(), count);
    controller.setKeyframeHold(0, 0, opacity, local(1000000), false);
    expectWords("Keyframe hold changed", "Keyframe interpolates");

    controller.removeClipKeyframe(0, 0, opacity, local(2970000));
    expectWords("Remove keyframe", "Keyframe removed");
    EXPECT_FALSE(keyed().opacity.keyframes.contains(3000000));

    controller.toggleClipPropertyKeyframesEnabled(0, 0, opacity);
    expectWords("Disable keyframes", "Keyframes disabled");
    EXPECT_FALSE(controller.clipPropertyKeyframesEnabled(0, 0, opacity));
    controller.setClipPropertyKeyframesEnabled(0, 0, opacity, true);
    expectWords("Enable keyframes", "Keyframes enabled");
    controller.undo();
    EXPECT_FALSE(controller.clipPropertyKeyframesEnabled(0, 0, opacity));
}

// The easing menu works on the key under the playhead; clipKeyframes names what each key does.
TEST_F(ControllerKeyframes, EasingPresetsAndTheirClassification)
{
    Clip animated = keyedClip();
    animated.x = keys({{0, 0.0}, {300000, 10.0}, {900000, 20.0}, {1500000, 30.0}});
    loadClip(animated);
    const QString x = QStringLiteral("x");
    const auto easings = [&] {
        QStringList names;
        for (const QVariant &key : controller.clipKeyframes(0, 0, x))
            names.append(key.toMap().value(QStringLiteral("easing")).toString());
        return names;
    };

    for (const auto &[localUs, mode] : {std::pair{310000, "ease"}, {900000, "hold"}, {1500000, "ease"}}) {
        playheadAt(localUs);
        controller.setKeyframeInterpolation(0, 0, x, QString::fromUtf8(mode));
    }
    expectWords("Keyframe easing changed", "Keyframe easing updated");
    controller.setKeyframeTangents(0, 0, x, local(0), 0, 0, 0.05, 2.0, false);
    EXPECT_EQ(easings(), (QStringList{"custom", "ease", "hold", "ease"}));

    const QVariantMap eased = controller.clipKeyframes(0, 0, x)[1].toMap();
    EXPECT_NEAR(eased.value(QStringLiteral("seconds")).toDouble(), 2.3, 1e-9); // timeline time
    EXPECT_NEAR(eased.value(QStringLiteral("inDx")).toDouble(), -0.1, 1e-9);   // a third, in seconds
    EXPECT_NEAR(eased.value(QStringLiteral("outDx")).toDouble(), 0.2, 1e-9);

    const int count = entries();
    playheadAt(600000); // no key within 33 ms
    controller.setKeyframeInterpolation(0, 0, x, QStringLiteral("linear"));
    EXPECT_EQ(entries(), count);
}

// The graph's handle drag writes in place inside the caller's transaction; a key drag opens its own.
TEST_F(ControllerKeyframes, TangentAndKeyDragsLeaveOneEntryEach)
{
    Clip animated = keyedClip();
    animated.rotation = keys({{0, 0.0}, {1000000, 90.0}});
    loadClip(animated);
    QSignalSpy mutated(&controller, &AppController::projectMutated);
    const QString rotation = QStringLiteral("rotation");

    controller.beginPreviewDrag(QStringLiteral("Keyframe curve changed"));
    controller.previewSetKeyframeTangents(0, 0, rotation, local(1000000), -0.25, -5, 0.5, 5, false);
    controller.previewSetKeyframeTangents(0, 0, rotation, local(500000), 0, 0, 0, 0, false); // no key there
    EXPECT_EQ(mutated.count(), 1);
    EXPECT_EQ(keyed().rotation.keyframes.value(1000000).inDx, -250000.0);
    controller.commitPreviewDrag();
    controller.previewMoveClipKeyframe(0, 0, rotation, local(990000), 1.0, 50.0); // floored at the start
    controller.commitPreviewDrag();
    EXPECT_EQ(entries(), 2);
    EXPECT_EQ(undoText(), QStringLiteral("Move keyframe"));
    EXPECT_EQ(keyed().rotation.keyframes.value(0).value, 50.0);
    EXPECT_EQ(keyed().rotation.keyframes.size(), 1);
}

TEST_F(ControllerKeyframes, GraphVisibilityTogglesAndSignalsOnlyOnChange)
{
    QSignalSpy visibility(&controller, &AppController::keyframeGraphVisibilityChanged);
    controller.toggleKeyframeGraphPropertyVisible(QStringLiteral("x"));
    controller.toggleKeyframeGraphPropertyVisible(QStringLiteral("volume"));
    EXPECT_EQ(controller.keyframeGraphHiddenProperties(), (QStringList{"x", "volume"}));
    controller.toggleKeyframeGraphPropertyVisible(QStringLiteral("x"));
    controller.showKeyframeGraphProperty(QStringLiteral("volume"));
    controller.showKeyframeGraphProperty(QStringLiteral("volume")); // already shown: no signal
    EXPECT_TRUE(controller.keyframeGraphHiddenProperties().isEmpty());
    EXPECT_EQ(visibility.count(), 4);
}

// The editor hands back exactly what clipKeyframes reported; every such write must reach the key
// that is there. Key times are spread so that many of them read back as seconds just below the
// microsecond.
TEST_F(ControllerKeyframes, WritesAtAShownKeyTimeChangeThatKey)
{
    Clip animated = keyedClip();
    for (TimeUs t = 0; t < 3000000; t += 29989)
        animated.opacity.keyframes.insert(t, Keyframe{0.5});
    loadClip(animated);
    const int count = int(keyed().opacity.keyframes.size());
    for (const QVariant &key : controller.clipKeyframes(0, 0, QStringLiteral("opacity")))
        controller.setClipKeyframe(0, 0, QStringLiteral("opacity"), key.toMap().value("seconds").toDouble(),
                                   0.9);
    EXPECT_EQ(keyed().opacity.keyframes.size(), count);
    for (const Keyframe &key : keyed().opacity.keyframes)
        EXPECT_EQ(key.value, 0.9);

    // With auto-key on, after the playhead is put on a key the same way.
    controller.setAutoKeyEnabled(true);
    for (const QVariant &key : controller.clipKeyframes(0, 0, QStringLiteral("opacity"))) {
        controller.setPlayheadSeconds(key.toMap().value("seconds").toDouble());
        controller.previewSetClipKeyframe(0, 0, QStringLiteral("opacity"), controller.playheadSeconds(), 0.2);
    }
    controller.commitPreviewDrag();
    EXPECT_EQ(keyed().opacity.keyframes.size(), count);
    for (const Keyframe &key : keyed().opacity.keyframes)
        EXPECT_EQ(key.value, 0.2);
}

TEST_F(ControllerKeyframes, ADraggedKeyKeepsItsShapeAndAnEaseKeyStaysEase)
{
    Clip animated = keyedClip();
    Keyframe shaped{5.0, -100000.0, 1.5, 250000.0, -2.0, true, true};
    animated.rotation.keyframes = {{0, Keyframe{0.0}}, {1000000, shaped}, {3000000, Keyframe{9.0}}};
    loadClip(animated);
    controller.previewMoveClipKeyframe(0, 0, QStringLiteral("rotation"), local(1000000), local(1400000), 6.0);
    controller.commitPreviewDrag();
    ASSERT_EQ(keyed().rotation.keyframes.keys(), (QList<TimeUs>{0, 1400000, 3000000}));
    shaped.value = 6.0;
    EXPECT_EQ(keyed().rotation.keyframes.value(1400000), shaped);

    // Spans of 1.4 s and 1.6 s: the ease handles are thirds that are no whole microsecond.
    controller.setPlayheadSeconds(local(1400000));
    controller.setKeyframeInterpolation(0, 0, QStringLiteral("rotation"), QStringLiteral("ease"));
    controller.setPlayheadSeconds(local(0));
    const QVariantMap key = controller.clipKeyframes(0, 0, QStringLiteral("rotation"))[1].toMap();
    ASSERT_EQ(key.value("easing").toString(), QStringLiteral("ease"));
    controller.setKeyframeTangents(0, 0, QStringLiteral("rotation"), key.value("seconds").toDouble(),
                                   key.value("inDx").toDouble(), key.value("inDy").toDouble(),
                                   key.value("outDx").toDouble(), key.value("outDy").toDouble(), false);
    EXPECT_EQ(
        controller.clipKeyframes(0, 0, QStringLiteral("rotation"))[1].toMap().value("easing").toString(),
        QStringLiteral("ease"));
    // Rounded to the microsecond by an editor, still ease.
    controller.setKeyframeTangents(0, 0, QStringLiteral("rotation"), key.value("seconds").toDouble(),
                                   -0.466667, 0.0, 0.533333, 0.0, false);
    EXPECT_EQ(
        controller.clipKeyframes(0, 0, QStringLiteral("rotation"))[1].toMap().value("easing").toString(),
        QStringLiteral("ease"));
}
