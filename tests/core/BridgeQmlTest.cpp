// The controller as QML sees it: registered under both singleton names of module Orvel, with a
// component whose bindings read tracks, the timeline model and the selected clip, and follow edits.
#include "ControllerFixture.h"

#include <QQmlComponent>
#include <QQmlEngine>

#include <gtest/gtest.h>

#include <memory>

using namespace fixture;

namespace {

const char *const kBindingComponent = R"(
import QtQml
import QtQml.Models
import Orvel

QtObject {
    property var trackList: EditorState.tracks
    property int trackCount: trackList.length
    property int firstRowClips: trackCount > 0 ? trackList[0].clips.length : -1
    property string selectedName: EditorState.selectedClipData.name !== undefined
                                  ? EditorState.selectedClipData.name : ""
    property int modelRows: rows.count
    property string topRowType: rows.count > 0 ? rows.objectAt(0).type : ""

    property Instantiator rows: Instantiator {
        model: EditorState.timelineModel
        delegate: QtObject {
            required property string type
            required property int clipCount
        }
    }

    function split(track, clip, seconds) { AppController.splitClipAt(track, clip, seconds) }
}
)";

} // namespace

class BridgeQml : public ControllerTest
{};

TEST_F(BridgeQml, BindingsFollowEditsMadeThroughTheSlots)
{
    Clip intro = makeClip("intro", 0, 4000000);
    intro.name = QStringLiteral("Intro");
    load(makeProject({makeTrack(TrackType::video, {intro})}));
    qmlRegisterSingletonInstance<AppController>("Orvel", 1, 0, "EditorState", &controller);
    qmlRegisterSingletonInstance<AppController>("Orvel", 1, 0, "AppController", &controller);

    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(kBindingComponent, QUrl(QStringLiteral("qrc:/bridge/Probe.qml")));
    std::unique_ptr<QObject> root(component.create());
    ASSERT_TRUE(root) << qPrintable(component.errorString());

    EXPECT_EQ(root->property("trackCount").toInt(), 1);
    EXPECT_EQ(root->property("modelRows").toInt(), 1);
    EXPECT_EQ(root->property("firstRowClips").toInt(), 1);
    EXPECT_EQ(root->property("selectedName").toString(), QString());

    controller.selectClip(0, 0);
    EXPECT_EQ(root->property("selectedName").toString(), QStringLiteral("Intro"));

    controller.addTrack(QStringLiteral("Audio"));
    EXPECT_EQ(root->property("trackCount").toInt(), 2);
    EXPECT_EQ(root->property("modelRows").toInt(), 2);
    EXPECT_EQ(root->property("topRowType").toString(), QStringLiteral("audio"));
    EXPECT_EQ(root->property("firstRowClips").toInt(), 0);

    // An edit called from QML itself, then undone from C++: both reach the bindings.
    QMetaObject::invokeMethod(root.get(), "split", Q_ARG(QVariant, 1), Q_ARG(QVariant, 0),
                              Q_ARG(QVariant, 1.0));
    EXPECT_EQ(root->property("trackList").toList().value(1).toMap().value("clips").toList().size(), 2);
    controller.undo();
    controller.undo();
    EXPECT_EQ(root->property("trackCount").toInt(), 1);
    EXPECT_EQ(root->property("modelRows").toInt(), 1);
    EXPECT_EQ(root->property("topRowType").toString(), QStringLiteral("video"));
    EXPECT_EQ(root->property("firstRowClips").toInt(), 1);
}
