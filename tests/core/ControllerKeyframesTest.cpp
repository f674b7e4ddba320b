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

constexpr TimeUs kStartUs = 2000000; // the clip's timeline start

// Timeline seconds for a clip-local microsecond; the half keeps truncation on the right side.
double at(TimeUs localUs)
{
    return (double(kStartUs + localUs) + 0.5) / 1e6;
}

AnimatedProperty keys(std::initializer_list<std::pair<TimeUs, double>> entries)
{
    AnimatedProperty property;
    for (const auto &[t, value] : entries)
        property.keyframes.insert(t, Keyframe{value});
    return property;
}

// A 4 s video clip at 2 s with one effect whose "amount" is 0.25.
Clip videoClip()
{
    Clip clip;
    clip.id = QStringLiteral("v");
    clip.path = QStringLiteral("/media/v.mp4");
    clip.timelineStartUs = kStartUs;
    clip.timelineDurationUs = clip.srcOutUs = 4000000;
    EffectInstance blur;
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
    QByteArray json() const { return QJsonDocument(projectToJson(controller.project())).toJson(); }
    QString undoText() { return controller.undoStack()->undoText(); }
    int entries() { return controller.undoStack()->count(); }
    void playheadAt(TimeUs localUs) { controller.setPlayheadSeconds(at(localUs)); }

    AssetLibrary library;
    AppController controller{&library};
};

// Keys 20 ms apart with Auto keyframes off: 10 ms from a key edits it, 40 ms away is refused.
TEST_F(ControllerKeyframes, AutoKeyOffEditsANearKeyAndRefusesBetweenKeys)
{
    Clip animated = videoClip();
    animated.x = keys({{1000000, 10.0}, {1020000, 20.0}});
    load(animated);
    QSignalSpy blocked(&controller, &AppController::transformBlocked);

    controller.beginPreviewDrag(QStringLiteral("Move clip"));
    playheadAt(1030000);
    controller.previewSetClipPosition(0, 0, 70, 5);
    EXPECT_EQ(clip().x.keyframes.size(), 2);
    EXPECT_EQ(clip().x.keyframes.value(1020000).value, 70.0);
    EXPECT_EQ(clip().y.keyframes.value(0).value, 5.0); // static y just changes

    playheadAt(1060000);
    const QByteArray before = json();
    controller.previewSetClipPosition(0, 0, 99, 99);
    ASSERT_EQ(blocked.count(), 1);
    EXPECT_EQ(json(), before);
    EXPECT_TRUE(controller.dragActive()); // a refusal does not end the gesture

    controller.setAutoKeyEnabled(true);
    controller.previewSetClipPosition(0, 0, 99, 99);
    EXPECT_EQ(clip().x.keyframes.value(1060000).value, 99.0);
    controller.commitPreviewDrag();
    EXPECT_EQ(entries(), 1);
    EXPECT_EQ(undoText(), QStringLiteral("Move clip"));
}

// Each keyed live write refuses with its own text, opens no transaction and changes nothing.
TEST_F(ControllerKeyframes, EveryLiveTransformWriteRefusesWithItsOwnText)
{
    Clip animated = videoClip();
    for (AnimatedProperty *p :
         {&animated.x, &animated.y, &animated.width, &animated.height, &animated.rotation})
        *p = keys({{0, 1.0}, {2000000, 2.0}});
    load(animated);
    playheadAt(1000000);
    const QByteArray before = json();
    QSignalSpy blocked(&controller, &AppController::transformBlocked);

    const QList<std::pair<std::function<void()>, const char *>> writes = {
        {[&] { controller.previewSetClipPosition(0, 0, 1, 1); }, "Turn on Auto keyframes to move this"},
        {[&] { controller.previewSetClipSize(0, 0, 9, 9); }, "Turn on Auto keyframes to resize this"},
        {[&] { controller.previewSetClipRect(0, 0, 1, 1, 9, 9); }, "Turn on Auto keyframes to change this"},
        {[&] { controller.previewSetTextRect(0, 0, 1, 1, 9, 9, 40); },
         "Turn on Auto keyframes to change this"},
        {[&] { controller.previewSetClipRotation(0, 0, 30); }, "Turn on Auto keyframes to rotate this"},
        {[&] { controller.previewSetClipKeyframe(0, 0, QStringLiteral("x"), at(1000000), 5); },
         "Turn on Auto keyframes to edit this"},
    };
    for (qsizetype i = 0; i < writes.size(); ++i) {
        writes[i].first();
        ASSERT_EQ(blocked.count(), i + 1);
        EXPECT_EQ(blocked.last().at(0).toString(), QString::fromUtf8(writes[i].second));
    }
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(json(), before);
}

// A static effect parameter just stores its value; a keyed one obeys the keyed rule, silently,
// and keeps the static value in step whenever it writes.
TEST_F(ControllerKeyframes, EffectParametersFollowTheKeyedRule)
{
    load(videoClip());
    QSignalSpy blocked(&controller, &AppController::transformBlocked);
    const QString amount = QStringLiteral("amount");
    const auto stored = [&] { return clip().effects[0].parameters.value(amount).toDouble(); };

    playheadAt(1000000);
    controller.previewSetEffectParam(0, 0, 0, amount, 0.5);
    EXPECT_EQ(stored(), 0.5);
    EXPECT_TRUE(controller.clipAnimatedProperties(0, 0).isEmpty());
    controller.commitPreviewDrag();
    EXPECT_EQ(undoText(), QStringLiteral("Edit effect"));

    controller.setAutoKeyEnabled(true);
    controller.previewSetClipKeyframe(0, 0, QStringLiteral("fx.0.amount"), at(0), 0.1);
    controller.previewSetClipKeyframe(0, 0, QStringLiteral("fx.0.amount"), at(2000000), 0.9);
    controller.commitPreviewDrag();
    EXPECT_EQ(controller.clipAnimatedProperties(0, 0), QStringList{QStringLiteral("fx.0.amount")});
    EXPECT_EQ(stored(), 0.9);

    controller.setAutoKeyEnabled(false);
    const QByteArray before = json();
    controller.previewSetEffectParam(0, 0, 0, amount, 0.3); // 1 s from both keys
    EXPECT_EQ(json(), before);
    EXPECT_FALSE(controller.dragActive());
    EXPECT_EQ(blocked.count(), 0);
    playheadAt(2010000);
    controller.previewSetEffectParam(0, 0, 0, amount, 0.7);
    EXPECT_EQ(clip().effects[0].paramKeyframes.value(amount).keyframes.value(2000000).value, 0.7);
    EXPECT_EQ(stored(), 0.7);
}

TEST_F(ControllerKeyframes, KeySlotsPushTheirOwnEntriesAndSkipNoOps)
{
    Clip animated = videoClip();
    animated.opacity = keys({{0, 1.0}, {1000000, 0.5}});
    load(animated);
    const QString opacity = QStringLiteral("opacity");
    const auto expectEntry = [&](const char *text, const char *message) {
        EXPECT_EQ(undoText(), QString::fromUtf8(text));
        EXPECT_EQ(controller.lastMessage(), QString::fromUtf8(message));
    };

    controller.setClipKeyframe(0, 0, opacity, at(3000000), 0.2); // forced: off-key with auto-key off
    expectEntry("Add keyframe", "Keyframe set");
    controller.setClipKeyframe(0, 0, opacity, 0.5, 0.8); // before the clip: its first instant
    EXPECT_EQ(clip().opacity.keyframes.keys(), (QList<TimeUs>{0, 1000000, 3000000}));
    EXPECT_EQ(clip().opacity.keyframes.value(0).value, 0.8);

    controller.setKeyframeTangents(0, 0, opacity, at(1020000), 0.2, 0.1, -0.3, 0.4, true);
    expectEntry("Keyframe curve changed", "Keyframe curve updated");
    const Keyframe shaped = clip().opacity.keyframes.value(1000000);
    EXPECT_EQ(shaped.inDx, 0.0); // handles may not point the wrong way in time
    EXPECT_EQ(shaped.outDx, 0.0);
    EXPECT_EQ(shaped.outDy, 0.4);
    EXPECT_TRUE(shaped.corner);

    controller.setKeyframeHold(0, 0, opacity, at(1000000), true);
    expectEntry("Keyframe hold changed", "Keyframe holds");
    const int count = entries();
    controller.setKeyframeHold(0, 0, opacity, at(1000000), true);
    controller.removeClipKeyframe(0, 0, opacity, at(2000000)); // no key within 33 ms
    controller.setClipKeyframe(0, 0, QStringLiteral("fx.3.amount"), 1.0, 1.0);
    controller.setClipKeyframe(0, 0, QStringLiteral("scale"), 1.0, 1.0);
    EXPECT_EQ(entries(), count);
    controller.setKeyframeHold(0, 0, opacity, at(1000000), false);
    expectEntry("Keyframe hold changed", "Keyframe interpolates");

    controller.removeClipKeyframe(0, 0, opacity, at(2970000));
    expectEntry("Remove keyframe", "Keyframe removed");
    EXPECT_FALSE(clip().opacity.keyframes.contains(3000000));

    controller.toggleClipPropertyKeyframesEnabled(0, 0, opacity);
    expectEntry("Disable keyframes", "Keyframes disabled");
    EXPECT_FALSE(controller.clipPropertyKeyframesEnabled(0, 0, opacity));
    controller.setClipPropertyKeyframesEnabled(0, 0, opacity, true);
    expectEntry("Enable keyframes", "Keyframes enabled");
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
    EXPECT_EQ(undoText(), QStringLiteral("Keyframe easing changed"));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Keyframe easing updated"));
    controller.setKeyframeTangents(0, 0, x, at(0), 0, 0, 0.05, 2.0, false);
    EXPECT_EQ(easings(), (QStringList{"custom", "ease", "hold", "ease"}));

    const QVariantMap eased = controller.clipKeyframes(0, 0, x)[1].toMap();
    EXPECT_NEAR(eased.value(QStringLiteral("seconds")).toDouble(), 2.3, 1e-9); // timeline time
    EXPECT_NEAR(eased.value(QStringLiteral("inDx")).toDouble(), -0.1, 1e-9);   // a third, in seconds
    EXPECT_NEAR(eased.value(QStringLiteral("outDx")).toDouble(), 0.2, 1e-9);

    const int count = entries();
    playheadAt(600000); // no key within 33 ms
    controller.setKeyframeInterpolation(0, 0, x, QStringLiteral("linear"));
    EXPECT_EQ(entries(), count);
    // A new neighbour changes the spans, so the eased key's handles no longer read as ease.
    controller.setClipKeyframe(0, 0, x, at(600000), 15.0);
    EXPECT_EQ(easings()[1], QStringLiteral("custom"));
}

// The graph's handle drag writes in place inside the caller's transaction; a key drag opens its own.
TEST_F(ControllerKeyframes, TangentAndKeyDragsLeaveOneEntryEach)
{
    Clip animated = videoClip();
    animated.rotation = keys({{0, 0.0}, {1000000, 90.0}});
    load(animated);
    QSignalSpy mutated(&controller, &AppController::projectMutated);
    const QString rotation = QStringLiteral("rotation");

    controller.beginPreviewDrag(QStringLiteral("Keyframe curve changed"));
    controller.previewSetKeyframeTangents(0, 0, rotation, at(1000000), -0.25, -5, 0.5, 5, false);
    controller.previewSetKeyframeTangents(0, 0, rotation, at(500000), 0, 0, 0, 0, false); // no key there
    EXPECT_EQ(mutated.count(), 1);
    EXPECT_EQ(clip().rotation.keyframes.value(1000000).inDx, -250000.0);
    controller.commitPreviewDrag();
    controller.previewMoveClipKeyframe(0, 0, rotation, at(990000), 1.0, 50.0); // floored at the start
    controller.commitPreviewDrag();
    EXPECT_EQ(entries(), 2);
    EXPECT_EQ(undoText(), QStringLiteral("Move keyframe"));
    EXPECT_EQ(clip().rotation.keyframes.value(0).value, 50.0);
    EXPECT_EQ(clip().rotation.keyframes.size(), 1);
}

TEST_F(ControllerKeyframes, AnimatedPropertyListAndGraphVisibility)
{
    Clip animated = videoClip();
    animated.volume = keys({{0, 1.0}});
    animated.x = keys({{0, 1.0}});
    animated.effects[0].paramKeyframes.insert(QStringLiteral("amount"), keys({{0, 0.5}}));
    load(animated);
    EXPECT_EQ(controller.clipAnimatedProperties(0, 0), (QStringList{"x", "volume", "fx.0.amount"}));

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
