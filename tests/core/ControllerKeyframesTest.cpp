// Keyframe slots and the auto-key rule, driven the way QML calls them: timeline seconds in,
// signals, undo entries and the resulting keys out.
#include "core/AppController.h"
#include "core/document/ProjectJson.h"
#include "media/AssetLibrary.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QUndoStack>

#include <gtest/gtest.h>

#include <functional>

using namespace orvel;

namespace {

constexpr TimeUs kClipStartUs = 2000000;

// Seconds for an exact microsecond: the slots truncate, so a bare 2.03 could land a microsecond
// early.
double secondsAt(TimeUs us)
{
    return (double(us) + 0.5) / 1e6;
}

AnimatedProperty keys(std::initializer_list<std::pair<TimeUs, double>> entries)
{
    AnimatedProperty property;
    for (const auto &[t, value] : entries)
        property.keyframes.insert(t, Keyframe{value});
    return property;
}

// A 4 s video clip starting at 2 s, with one effect whose "amount" may be keyed.
Clip videoClip()
{
    Clip clip;
    clip.id = QStringLiteral("v");
    clip.type = ClipType::video;
    clip.path = QStringLiteral("/media/v.mp4");
    clip.timelineStartUs = kClipStartUs;
    clip.timelineDurationUs = 4000000;
    clip.srcOutUs = 4000000;
    EffectInstance blur;
    blur.name = QStringLiteral("Blur");
    blur.parameters.insert(QStringLiteral("amount"), 0.25);
    clip.effects.append(blur);
    return clip;
}

} // namespace

class ControllerKeyframes : public testing::Test
{
protected:
    void load(const Clip &clip)
    {
        Project project;
        project.tracks[0].clips = {clip};
        ASSERT_TRUE(controller.loadProjectJson(QJsonDocument(projectToJson(project)).toJson()));
        controller.setAutoKeyEnabled(false);
    }
    const Clip &clip() const { return controller.project().tracks[0].clips[0]; }
    QByteArray documentJson() const { return QJsonDocument(projectToJson(controller.project())).toJson(); }
    QString undoText() { return controller.undoStack()->undoText(); }
    int entries() { return controller.undoStack()->count(); }
    void setPlayheadLocal(TimeUs localUs)
    {
        controller.setPlayheadSeconds(secondsAt(kClipStartUs + localUs));
    }

    AssetLibrary library;
    AppController controller{&library};
};

// Keys 20 ms apart and Auto keyframes off: 10 ms from a key edits that key, 40 ms away is refused.
TEST_F(ControllerKeyframes, AutoKeyOffWritesOnANearKeyAndRefusesBetweenKeys)
{
    Clip animated = videoClip();
    animated.x = keys({{1000000, 10.0}, {1020000, 20.0}});
    load(animated);
    QSignalSpy blocked(&controller, &AppController::transformBlocked);

    controller.beginPreviewDrag(QStringLiteral("Move clip"));
    setPlayheadLocal(1030000); // 10 ms after the second key
    controller.previewSetClipPosition(0, 0, 70, 5);
    EXPECT_EQ(clip().x.keyframes.size(), 2);
    EXPECT_DOUBLE_EQ(clip().x.keyframes.value(1020000).value, 70.0);
    EXPECT_DOUBLE_EQ(clip().y.keyframes.value(0).value, 5.0); // y is static: it just changes

    setPlayheadLocal(1060000); // 40 ms after the nearest key
    const QByteArray beforeRefusal = documentJson();
    controller.previewSetClipPosition(0, 0, 99, 99);
    ASSERT_EQ(blocked.count(), 1);
    EXPECT_EQ(blocked.at(0).at(0).toString(), QStringLiteral("Turn on Auto keyframes to move this"));
    EXPECT_EQ(documentJson(), beforeRefusal);
    EXPECT_TRUE(controller.dragActive()); // a refusal does not cancel the gesture

    controller.setAutoKeyEnabled(true);
    controller.previewSetClipPosition(0, 0, 99, 99);
    EXPECT_EQ(clip().x.keyframes.size(), 3);
    EXPECT_DOUBLE_EQ(clip().x.keyframes.value(1060000).value, 99.0);
    controller.commitPreviewDrag();
    EXPECT_EQ(entries(), 1);
    EXPECT_EQ(undoText(), QStringLiteral("Move clip"));
}

// Every keyed live write refuses with its own text, opens no transaction and changes nothing.
TEST_F(ControllerKeyframes, EveryLiveTransformWriteRefusesWithItsOwnText)
{
    Clip animated = videoClip();
    for (AnimatedProperty *property :
         {&animated.x, &animated.y, &animated.width, &animated.height, &animated.rotation})
        *property = keys({{0, 1.0}, {2000000, 2.0}});
    load(animated);
    setPlayheadLocal(1000000);
    const QByteArray before = documentJson();
    QSignalSpy blocked(&controller, &AppController::transformBlocked);

    const QList<std::pair<std::function<void()>, QString>> writes = {
        {[&] { controller.previewSetClipPosition(0, 0, 1, 1); },
         QStringLiteral("Turn on Auto keyframes to move this")},
        {[&] { controller.previewSetClipSize(0, 0, 10, 10); },
         QStringLiteral("Turn on Auto keyframes to resize this")},
        {[&] { controller.previewSetClipRect(0, 0, 1, 1, 10, 10); },
         QStringLiteral("Turn on Auto keyframes to change this")},
        {[&] { controller.previewSetTextRect(0, 0, 1, 1, 10, 10, 40); },
         QStringLiteral("Turn on Auto keyframes to change this")},
        {[&] { controller.previewSetClipRotation(0, 0, 30); },
         QStringLiteral("Turn on Auto keyframes to rotate this")},
        {[&] {
             controller.previewSetClipKeyframe(0, 0, QStringLiteral("x"), secondsAt(kClipStartUs + 1000000),
                                               5);
         },
         QStringLiteral("Turn on Auto keyframes to edit this")},
    };
    for (qsizetype i = 0; i < writes.size(); ++i) {
        writes[i].first();
        ASSERT_EQ(blocked.count(), i + 1);
        EXPECT_EQ(blocked.last().at(0).toString(), writes[i].second);
    }
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(documentJson(), before);
    EXPECT_EQ(entries(), 0);
}

// Effect parameters: a static one just stores its value; a keyed one obeys the keyed rule and
// keeps the static value in step when it writes.
TEST_F(ControllerKeyframes, EffectParametersFollowTheKeyedRuleAndKeepTheirStaticValue)
{
    Clip clipWithEffect = videoClip();
    load(clipWithEffect);
    QSignalSpy blocked(&controller, &AppController::transformBlocked);
    const QString amount = QStringLiteral("amount");

    setPlayheadLocal(1000000);
    controller.previewSetEffectParam(0, 0, 0, amount, 0.5);
    EXPECT_DOUBLE_EQ(clip().effects[0].parameters.value(amount).toDouble(), 0.5);
    EXPECT_TRUE(controller.clipAnimatedProperties(0, 0).isEmpty());
    controller.previewSetEffectParam(0, 0, 0, QStringLiteral("mode"), QStringLiteral("soft"));
    EXPECT_EQ(clip().effects[0].parameters.value(QStringLiteral("mode")).toString(), QStringLiteral("soft"));
    controller.commitPreviewDrag();
    EXPECT_EQ(undoText(), QStringLiteral("Edit effect"));

    // A live keyframe write on the parameter with Auto keyframes on keys it and the static value.
    controller.setAutoKeyEnabled(true);
    controller.previewSetClipKeyframe(0, 0, QStringLiteral("fx.0.amount"), secondsAt(kClipStartUs), 0.1);
    controller.previewSetClipKeyframe(0, 0, QStringLiteral("fx.0.amount"), secondsAt(kClipStartUs + 2000000),
                                      0.9);
    controller.commitPreviewDrag();
    EXPECT_EQ(undoText(), QStringLiteral("Edit keyframe"));
    EXPECT_EQ(controller.clipAnimatedProperties(0, 0), QStringList{QStringLiteral("fx.0.amount")});
    EXPECT_DOUBLE_EQ(clip().effects[0].parameters.value(amount).toDouble(), 0.9);

    controller.setAutoKeyEnabled(false);
    const QByteArray before = documentJson();
    controller.previewSetEffectParam(0, 0, 0, amount, 0.3); // 1 s from both keys: refused silently
    EXPECT_EQ(documentJson(), before);
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(blocked.count(), 0);

    setPlayheadLocal(2010000);
    controller.previewSetEffectParam(0, 0, 0, amount, 0.7);
    EXPECT_DOUBLE_EQ(clip().effects[0].paramKeyframes.value(amount).keyframes.value(2000000).value, 0.7);
    EXPECT_DOUBLE_EQ(clip().effects[0].parameters.value(amount).toDouble(), 0.7);
    controller.cancelPreviewDrag();
}

TEST_F(ControllerKeyframes, KeySlotsPushTheirOwnEntriesAndSkipNoOps)
{
    Clip animated = videoClip();
    animated.opacity = keys({{0, 1.0}, {1000000, 0.5}});
    load(animated);
    const QString opacity = QStringLiteral("opacity");

    // A forced write keys the exact time even with Auto keyframes off; before the clip means 0.
    controller.setClipKeyframe(0, 0, opacity, secondsAt(kClipStartUs + 3000000), 0.2);
    EXPECT_EQ(undoText(), QStringLiteral("Add keyframe"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframe set"));
    EXPECT_DOUBLE_EQ(clip().opacity.keyframes.value(3000000).value, 0.2);
    controller.setClipKeyframe(0, 0, opacity, 0.5, 0.8);
    EXPECT_DOUBLE_EQ(clip().opacity.keyframes.value(0).value, 0.8);
    EXPECT_EQ(clip().opacity.keyframes.size(), 3);

    controller.setKeyframeTangents(0, 0, opacity, secondsAt(kClipStartUs + 1020000), 0.2, 0.1, -0.3, 0.4,
                                   true);
    EXPECT_EQ(undoText(), QStringLiteral("Keyframe curve changed"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframe curve updated"));
    const Keyframe shaped = clip().opacity.keyframes.value(1000000);
    EXPECT_EQ(shaped.inDx, 0.0); // an incoming handle cannot point forward
    EXPECT_EQ(shaped.outDx, 0.0);
    EXPECT_DOUBLE_EQ(shaped.inDy, 0.1);
    EXPECT_DOUBLE_EQ(shaped.outDy, 0.4);
    EXPECT_TRUE(shaped.corner);

    controller.setKeyframeHold(0, 0, opacity, secondsAt(kClipStartUs + 1000000), true);
    EXPECT_EQ(undoText(), QStringLiteral("Keyframe hold changed"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframe holds"));
    const int afterHold = entries();
    controller.setKeyframeHold(0, 0, opacity, secondsAt(kClipStartUs + 1000000), true);
    controller.removeClipKeyframe(0, 0, opacity, secondsAt(kClipStartUs + 2000000)); // no key near
    controller.setClipKeyframe(0, 0, QStringLiteral("fx.3.amount"), 1.0, 1.0);       // no such effect
    controller.setClipKeyframe(0, 0, QStringLiteral("scale"), 1.0, 1.0);             // no such property
    EXPECT_EQ(entries(), afterHold);
    controller.setKeyframeHold(0, 0, opacity, secondsAt(kClipStartUs + 1000000), false);
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframe interpolates"));

    controller.removeClipKeyframe(0, 0, opacity, secondsAt(kClipStartUs + 2970000)); // 30 ms from 3 s
    EXPECT_EQ(undoText(), QStringLiteral("Remove keyframe"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframe removed"));
    EXPECT_FALSE(clip().opacity.keyframes.contains(3000000));

    controller.toggleClipPropertyKeyframesEnabled(0, 0, opacity);
    EXPECT_EQ(undoText(), QStringLiteral("Disable keyframes"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframes disabled"));
    EXPECT_FALSE(controller.clipPropertyKeyframesEnabled(0, 0, opacity));
    controller.setClipPropertyKeyframesEnabled(0, 0, opacity, true);
    EXPECT_EQ(undoText(), QStringLiteral("Enable keyframes"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframes enabled"));
    EXPECT_TRUE(controller.clipPropertyKeyframesEnabled(0, 0, QStringLiteral("fx.0.unknown")));

    controller.undo();
    EXPECT_FALSE(controller.clipPropertyKeyframesEnabled(0, 0, opacity));
}

// The easing menu works on the key under the playhead; clipKeyframes names what each key does.
TEST_F(ControllerKeyframes, EasingPresetsAndTheirClassification)
{
    Clip animated = videoClip();
    animated.x = keys({{0, 0.0}, {300000, 10.0}, {900000, 20.0}, {1500000, 30.0}});
    load(animated);
    const QString x = QStringLiteral("x");

    setPlayheadLocal(310000);
    controller.setKeyframeInterpolation(0, 0, x, QStringLiteral("ease"));
    EXPECT_EQ(undoText(), QStringLiteral("Keyframe easing changed"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframe easing updated"));
    setPlayheadLocal(900000);
    controller.setKeyframeInterpolation(0, 0, x, QStringLiteral("hold"));
    setPlayheadLocal(1500000);
    controller.setKeyframeInterpolation(0, 0, x, QStringLiteral("ease")); // last key: no outgoing reach
    controller.setKeyframeTangents(0, 0, x, secondsAt(kClipStartUs), 0, 0, 0.05, 2.0, false);
    const int before = entries();
    setPlayheadLocal(600000); // no key within 33 ms
    controller.setKeyframeInterpolation(0, 0, x, QStringLiteral("linear"));
    EXPECT_EQ(entries(), before);

    const QVariantList list = controller.clipKeyframes(0, 0, x);
    ASSERT_EQ(list.size(), 4);
    QStringList easings;
    for (const QVariant &entry : list)
        easings.append(entry.toMap().value(QStringLiteral("easing")).toString());
    EXPECT_EQ(easings, (QStringList{"custom", "ease", "hold", "ease"}));
    const QVariantMap eased = list[1].toMap();
    EXPECT_NEAR(eased.value(QStringLiteral("seconds")).toDouble(), 2.3, 1e-9); // timeline time
    EXPECT_NEAR(eased.value(QStringLiteral("inDx")).toDouble(), -0.1, 1e-9);   // seconds
    EXPECT_NEAR(eased.value(QStringLiteral("outDx")).toDouble(), 0.2, 1e-9);
    EXPECT_TRUE(list[2].toMap().value(QStringLiteral("hold")).toBool());

    // Moving a neighbour changes the spans, so the eased key's handles no longer read as ease.
    controller.setClipKeyframe(0, 0, x, secondsAt(kClipStartUs + 600000), 15.0);
    EXPECT_EQ(controller.clipKeyframes(0, 0, x)[1].toMap().value(QStringLiteral("easing")).toString(),
              QStringLiteral("custom"));
}

TEST_F(ControllerKeyframes, TangentDragsAndKeyMovesShareOneTransaction)
{
    Clip animated = videoClip();
    animated.rotation = keys({{0, 0.0}, {1000000, 90.0}});
    animated.rotation.keyframes[1000000].hold = true;
    load(animated);
    QSignalSpy mutated(&controller, &AppController::projectMutated);
    const QString rotation = QStringLiteral("rotation");

    controller.beginPreviewDrag(QStringLiteral("Keyframe curve changed"));
    controller.previewSetKeyframeTangents(0, 0, rotation, secondsAt(kClipStartUs + 1000000), -0.25, -5, 0.5,
                                          5, false);
    controller.previewSetKeyframeTangents(0, 0, rotation, secondsAt(kClipStartUs + 500000), 0, 0, 0, 0,
                                          false);
    EXPECT_EQ(mutated.count(), 1); // the second call found no key and did nothing
    const Keyframe shaped = clip().rotation.keyframes.value(1000000);
    EXPECT_DOUBLE_EQ(shaped.inDx, -250000.0);
    EXPECT_DOUBLE_EQ(shaped.outDx, 500000.0);
    EXPECT_FALSE(shaped.hold);
    EXPECT_EQ(entries(), 0);
    controller.commitPreviewDrag();
    EXPECT_EQ(entries(), 1);

    controller.previewMoveClipKeyframe(0, 0, rotation, secondsAt(kClipStartUs + 990000),
                                       secondsAt(kClipStartUs + 1500000), 45.0);
    controller.previewMoveClipKeyframe(0, 0, rotation, secondsAt(kClipStartUs + 1500000), 1.0, 50.0);
    controller.commitPreviewDrag();
    EXPECT_EQ(undoText(), QStringLiteral("Move keyframe"));
    EXPECT_EQ(clip().rotation.keyframes.keys(), (QList<TimeUs>{0}));
    EXPECT_DOUBLE_EQ(clip().rotation.keyframes.value(0).value, 50.0); // floored at the clip's start
}

TEST_F(ControllerKeyframes, AnimatedPropertyListAndGraphVisibility)
{
    Clip animated = videoClip();
    animated.volume = keys({{0, 1.0}});
    animated.x = keys({{0, 1.0}});
    animated.effects[0].paramKeyframes.insert(QStringLiteral("amount"), keys({{0, 0.5}}));
    animated.effects[0].paramKeyframes.insert(QStringLiteral("empty"), AnimatedProperty{});
    load(animated);
    EXPECT_EQ(controller.clipAnimatedProperties(0, 0), (QStringList{"x", "volume", "fx.0.amount"}));
    EXPECT_TRUE(controller.clipAnimatedProperties(3, 0).isEmpty());

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
