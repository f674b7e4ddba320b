import QtQuick
import QtQuick.Controls
import Orvel

// The track types a user can add; a new track goes to the top.
ThemedContextMenu {
    id: menu
    objectName: "newTrackMenu"
    Repeater {
        model: [
            { type: "video", label: qsTr("Video track") },
            { type: "audio", label: qsTr("Audio track") },
            { type: "text", label: qsTr("Text track") },
            { type: "subtitle", label: qsTr("Subtitle track") },
            { type: "shape", label: qsTr("Shape track") }
        ]
        delegate: ThemedMenuItem {
            required property var modelData
            text: modelData.label
            onTriggered: EditorState.addTrack(modelData.type)
        }
    }
}
