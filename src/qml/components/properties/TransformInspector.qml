import QtQuick
import QtQuick.Layouts
import Orvel

// Position, size, opacity and rotation as keyframe rows, plus the one-click rotations and flips.
InspectorPage {
    id: page

    readonly property real canvasWidth: Math.max(1, EditorState.projectWidth())
    readonly property real canvasHeight: Math.max(1, EditorState.projectHeight())

    applicable: kind !== "audio"
    emptyTitle: qsTr("Video only")
    emptyHint: qsTr("Audio clips have no position or size.")

    component Row_ : PropertyKeyframeRow {
        clipData: page.clipData
        revision: page.revision
    }

    ThemedLabel {
        Layout.fillWidth: true
        muted: true
        wrapMode: Text.Wrap
        font.pixelSize: Theme.fontSizeXs
        text: qsTr("With Auto keyframes on, a change adds a key at the playhead.")
    }
    ThemedSwitch {
        objectName: "autoKeySwitch"
        text: qsTr("Auto keyframes")
        checked: EditorState.autoKeyEnabled
        onToggled: EditorState.autoKeyEnabled = checked
    }
    SectionTitle { text: qsTr("Position (px)") }
    Row_ { objectName: "row_x"; label: "X"; prop: "x"; from: -page.canvasWidth; to: 2 * page.canvasWidth; stepSize: 1; decimals: 0 }
    Row_ { objectName: "row_y"; label: "Y"; prop: "y"; from: -page.canvasHeight; to: 2 * page.canvasHeight; stepSize: 1; decimals: 0 }
    SectionTitle { text: qsTr("Size (px)") }
    Row_ { objectName: "row_width"; label: qsTr("Width"); prop: "width"; from: 1; to: 4 * page.canvasWidth; stepSize: 1; decimals: 0; fallback: page.canvasWidth }
    Row_ { objectName: "row_height"; label: qsTr("Height"); prop: "height"; from: 1; to: 4 * page.canvasHeight; stepSize: 1; decimals: 0; fallback: page.canvasHeight }
    SectionTitle { text: qsTr("Opacity & rotation") }
    Row_ { objectName: "row_opacity"; label: qsTr("Opacity"); prop: "opacity"; from: 0; to: 1; fallback: 1 }
    Row_ { objectName: "row_rotation"; label: qsTr("Rotation"); prop: "rotation"; from: -360; to: 360; stepSize: 1; decimals: 0 }
    FieldLabel { text: qsTr("Rotate 90°") }
    Flow {
        Layout.fillWidth: true
        spacing: Theme.spacingSm
        Repeater {
            model: [0, 90, 180, -90]
            ThemedButton {
                required property int modelData
                text: modelData + "°"
                onClicked: EditorState.setClipRotationSnap(page.trackIndex, page.clipIndex, modelData)
            }
        }
    }
    Flow {
        Layout.fillWidth: true
        spacing: Theme.spacingSm
        ThemedButton {
            text: qsTr("Flip H")
            onClicked: EditorState.setClipFlip(page.trackIndex, page.clipIndex, !page.clipData.flipH, page.clipData.flipV)
        }
        ThemedButton {
            text: qsTr("Flip V")
            onClicked: EditorState.setClipFlip(page.trackIndex, page.clipIndex, page.clipData.flipH, !page.clipData.flipV)
        }
    }
    ThemedButton {
        Layout.fillWidth: true
        text: qsTr("Reset position & size")
        onClicked: EditorState.resetClipTransform(page.trackIndex, page.clipIndex)
    }
}
