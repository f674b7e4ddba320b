import QtQuick
import QtQuick.Layouts
import Orvel

// How the clip mixes with the layers below it.
InspectorPage {
    id: page

    readonly property var modes: [
        { id: "normal", label: qsTr("Normal") }, { id: "multiply", label: qsTr("Multiply") },
        { id: "screen", label: qsTr("Screen") }, { id: "overlay", label: qsTr("Overlay") },
        { id: "add", label: qsTr("Add") }, { id: "darken", label: qsTr("Darken") },
        { id: "lighten", label: qsTr("Lighten") }
    ]

    applicable: kind !== "audio"
    emptyTitle: qsTr("Video only")
    emptyHint: qsTr("Audio clips are not drawn, so they have no layer mix.")

    FieldLabel { text: qsTr("Blend mode") }
    ThemedComboBox {
        objectName: "blendModeCombo"
        Layout.fillWidth: true
        model: page.modes
        textRole: "label"
        currentIndex: Math.max(0, page.modes.findIndex(m => m.id === page.clipData.blendMode))
        onActivated: i => EditorState.setClipBlendMode(page.trackIndex, page.clipIndex, page.modes[i].id)
    }
    ThemedButton {
        Layout.fillWidth: true
        text: qsTr("Reset to Normal")
        enabled: page.clipData.blendMode !== "normal"
        onClicked: EditorState.setClipBlendMode(page.trackIndex, page.clipIndex, "normal")
    }
}
