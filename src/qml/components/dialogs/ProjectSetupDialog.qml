import QtQuick
import QtQuick.Layouts
import Orvel

// Asked when the first visual media lands on an empty timeline: the project takes its size and
// rate from that clip unless the user picks another shape.
ThemedDialog {
    id: dialog

    property var runner: null
    property int assetIndex: -1
    property string aspect: "source"
    property var suggestion: ({ width: 1920, height: 1080, fps: 30, aspect: "source" })

    readonly property var aspects: [
        { id: "source", label: qsTr("Match clip") }, { id: "16:9", label: "16:9" }, { id: "9:16", label: "9:16" },
        { id: "4:3", label: "4:3" }, { id: "1:1", label: "1:1" }, { id: "custom", label: qsTr("Custom") }
    ]

    function openFor(index, run) {
        assetIndex = index
        runner = run
        const s = EditorState.suggestedProjectSetupForAsset(index)
        suggestion = {
            width: s.width > 0 ? s.width : 1920,
            height: s.height > 0 ? s.height : 1080,
            fps: s.fps > 0 ? Math.round(s.fps) : 30,
            aspect: s.aspect ? s.aspect : "source"
        }
        widthField.value = suggestion.width
        heightField.value = suggestion.height
        fpsField.value = suggestion.fps
        aspect = "source"
        open()
    }

    // Height from width for a ratio a:b; "1:1" copies the width.
    function heightFor(width, ratio) {
        if (ratio === "1:1")
            return width
        const parts = ratio.split(":").map(Number)
        return Math.max(16, Math.round(width * parts[1] / parts[0]))
    }

    function chooseAspect(id) {
        aspect = id
        if (id === "source") {
            const s = EditorState.suggestedProjectSetupForAsset(assetIndex)
            if (s.width > 0) {
                widthField.value = s.width
                heightField.value = s.height
            }
        } else if (id !== "custom") {
            heightField.value = heightFor(widthField.value, id)
        }
    }

    objectName: "projectSetupDialog"
    title: qsTr("Set up your video")
    width: 460
    acceptText: qsTr("Create")
    onAccepted: {
        EditorState.setProjectSetup(widthField.value, heightField.value, fpsField.value)
        EditorState.markProjectLayoutChosen()
        const run = runner
        runner = null
        if (run)
            run()
    }
    onRejected: runner = null

    ColumnLayout {
        width: parent.width
        spacing: Theme.spacingMd * 2
        Flow {
            Layout.fillWidth: true
            spacing: Theme.spacingMd
            Repeater {
                model: dialog.aspects
                ThemedChip {
                    required property var modelData
                    text: modelData.label
                    checked: dialog.aspect === modelData.id
                    onClicked: dialog.chooseAspect(modelData.id)
                }
            }
        }
        GridLayout {
            columns: 3
            columnSpacing: Theme.spacingMd * 2
            rowSpacing: Theme.spacingSm
            ThemedLabel { text: qsTr("Width"); muted: true }
            ThemedLabel { text: qsTr("Height"); muted: true }
            ThemedLabel { text: qsTr("Frame rate"); muted: true }
            ThemedNumberField {
                id: widthField
                objectName: "setupWidth"
                Layout.preferredWidth: 110
                from: 16
                to: 16384
                onValueModified: if (dialog.aspect !== "custom" && dialog.aspect !== "source")
                                     heightField.value = dialog.heightFor(value, dialog.aspect)
            }
            ThemedNumberField {
                id: heightField
                objectName: "setupHeight"
                Layout.preferredWidth: 110
                from: 16
                to: 16384
                onValueModified: dialog.aspect = "custom"
            }
            ThemedNumberField {
                id: fpsField
                objectName: "setupFps"
                Layout.preferredWidth: 90
                from: 1
                to: 240
                suffix: ""
            }
        }
    }
}
