import QtQuick
import QtQuick.Layouts
import Orvel
import "SpeedCurveMath.js" as SCM

// Draws a speed curve over one clip's source and auditions it. A window of its own rather than a
// dialog, so the timeline stays in view beside it. `points` mirrors the curve and is the truth
// while editing: reading it back in mid-drag would fight the drag for the same values, so the
// controller hears of a change only when a gesture ends.
Window {
    id: win

    property int trackIndex: -1
    property int clipIndex: -1
    property var points: []
    property int selectedPoint: -1
    readonly property int pointCount: points.length
    readonly property bool innerSelected: selectedPoint > 0 && selectedPoint < pointCount - 1

    objectName: "speedCurveWindow"
    title: qsTr("Custom speed")
    width: 900
    height: 720
    minimumWidth: 680
    minimumHeight: 560
    color: Theme.appBackground
    visible: false

    function openFor(track, clip) {
        EditorState.beginSpeedCurveSession(track, clip)
        if (!EditorState.speedCurveSessionActive)
            return // refused: the controller's message says why
        trackIndex = track
        clipIndex = clip
        selectedPoint = -1
        points = SCM.copyPoints(EditorState.speedCurvePoints)
        show()
        raise()
        requestActivate()
    }

    // The controller sorts, clamps and pins the ends, so what it keeps is read back.
    function commit() {
        EditorState.setSpeedCurvePoints(SCM.copyPoints(points))
        points = SCM.copyPoints(EditorState.speedCurvePoints)
        if (selectedPoint >= pointCount)
            selectedPoint = pointCount - 1
    }

    // A fresh array each move, so bindings on `points` see the change; the knob and handle
    // repeaters count by integers and keep their delegates, and with them the live drag.
    function replacePoint(index, point) {
        const next = points.slice()
        next[index] = point
        points = next
    }

    function addPointAt(pos) {
        const inserted = SCM.insertPoint(points, pos)
        points = inserted.points
        selectedPoint = inserted.index
        commit()
    }

    // The ends define the span of the ramp, so only inner points go.
    function deleteSelected() {
        if (!innerSelected)
            return
        const next = SCM.copyPoints(points)
        next.splice(selectedPoint, 1)
        points = next
        selectedPoint = -1
        commit()
    }

    function editSelected(edit) {
        if (selectedPoint < 0 || selectedPoint >= pointCount)
            return
        replacePoint(selectedPoint, edit(selectedPoint))
        commit()
    }

    function resetCurve() {
        points = SCM.resetPoints()
        selectedPoint = -1
        commit()
    }

    onVisibleChanged: {
        if (!visible && EditorState.speedCurveSessionActive)
            EditorState.endSpeedCurveSession()
    }

    Connections {
        target: EditorState
        function onSpeedCurveApplied() {
            win.close()
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pagePadding
        spacing: Theme.spacingMd

        // The clip alone, raw: no effects, no other tracks.
        Rectangle {
            id: stage
            readonly property size frame: EditorState.speedCurveFrameSize
            readonly property bool hasPicture: frame.width > 0 && frame.height > 0
            readonly property real aspect: hasPicture ? frame.width / frame.height : 16 / 9
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: 90
            Layout.preferredHeight: 220
            color: Theme.panelBackground
            radius: Theme.radiusSm
            border.color: Theme.panelBorder

            Rectangle {
                anchors.centerIn: parent
                width: Math.min(parent.width - 16, (parent.height - 16) * stage.aspect)
                height: width / stage.aspect
                color: "#000000"
                Image {
                    objectName: "speedCurvePreviewImage"
                    anchors.fill: parent
                    visible: stage.hasPicture
                    // The pixels behind the URL change each tick; the revision defeats the cache.
                    cache: false
                    fillMode: Image.PreserveAspectFit
                    source: stage.hasPicture ? "image://clippreview/frame?rev=" + EditorState.speedCurveRevision : ""
                }
                ThemedLabel {
                    anchors.centerIn: parent
                    visible: !stage.hasPicture
                    color: "#bdbdbd"
                    text: qsTr("Audio only")
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingMd
            ThemedButton {
                objectName: "speedCurvePlayButton"
                Layout.preferredWidth: 76
                text: EditorState.speedCurvePlaying ? qsTr("Pause") : qsTr("Play")
                onClicked: EditorState.speedCurvePlaying ? EditorState.pauseSpeedCurvePreview()
                                                         : EditorState.playSpeedCurvePreview()
            }
            ThemedLabel {
                objectName: "speedCurvePositionText"
                font.family: Theme.monoFontFamily
                text: SCM.seconds(EditorState.speedCurvePosition) + " / "
                      + SCM.seconds(EditorState.speedCurveRetimedDuration)
            }
            Item { Layout.fillWidth: true }
            ThemedLabel {
                objectName: "speedCurveDurationText"
                muted: true
                font.family: Theme.monoFontFamily
                text: SCM.seconds(EditorState.speedCurveSourceDuration) + " → "
                      + SCM.seconds(EditorState.speedCurveRetimedDuration)
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingMd
            ThemedButton {
                objectName: "addPointButton"
                text: qsTr("Add point")
                onClicked: win.addPointAt(EditorState.speedCurveSourcePosition)
            }
            ThemedButton {
                objectName: "deletePointButton"
                text: qsTr("Delete point")
                enabled: win.innerSelected
                onClicked: win.deleteSelected()
            }
            ThemedButton {
                objectName: "sharpPointButton"
                text: qsTr("Sharp")
                enabled: win.selectedPoint >= 0
                onClicked: win.editSelected(i => SCM.sharpPoint(win.points[i]))
            }
            ThemedButton {
                objectName: "smoothPointButton"
                text: qsTr("Smooth")
                enabled: win.selectedPoint >= 0
                onClicked: win.editSelected(i => SCM.smoothPoint(win.points, i))
            }
            ThemedButton {
                objectName: "resetPointButton"
                text: qsTr("Reset")
                onClicked: win.resetCurve()
            }
            Item { Layout.fillWidth: true }
            ThemedLabel {
                muted: true
                visible: win.selectedPoint >= 0 && win.selectedPoint < win.pointCount
                text: visible ? Number(win.points[win.selectedPoint].speed).toFixed(2) + "×" : ""
            }
        }

        SpeedCurveStrip {
            Layout.fillWidth: true
            Layout.preferredHeight: 56
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: 170
            Layout.preferredHeight: 260
            color: Theme.panelBackground
            border.color: Theme.panelBorder
            SpeedCurvePlot {
                editor: win
                // Inset vertically only: a point stands over its own frame in the strip above.
                anchors.fill: parent
                anchors.topMargin: 12
                anchors.bottomMargin: 12
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingMd
            ThemedLabel {
                Layout.fillWidth: true
                muted: true
                text: qsTr("Applied as a copy on a new track — the original clip is left alone.")
            }
            ThemedButton {
                text: qsTr("Cancel")
                onClicked: win.close()
            }
            ThemedButton {
                objectName: "applySpeedCurveButton"
                variant: "primary"
                text: qsTr("Apply")
                onClicked: EditorState.applySpeedCurve()
            }
        }
    }
}
