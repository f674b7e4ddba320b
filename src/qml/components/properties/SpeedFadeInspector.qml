import QtQuick
import QtQuick.Layouts
import Orvel

// Playback speed (for clips with a source to retime), reverse, and the fades with their curve.
InspectorPage {
    id: page

    readonly property bool retimable: kind === "video" || kind === "audio"
    readonly property real fadeMax: Math.max(0, page.clipData.duration || 0)
    readonly property var curves: [
        { id: "linear", label: qsTr("Linear") }, { id: "smooth", label: qsTr("Smooth") },
        { id: "equalPower", label: qsTr("Equal power") }
    ]

    function setFades(fadeIn, fadeOut) {
        EditorState.setClipFade(trackIndex, clipIndex, fadeIn, fadeOut)
    }

    SectionTitle {
        visible: page.retimable
        text: qsTr("Playback speed")
    }
    ThemedButton {
        Layout.fillWidth: true
        visible: page.retimable && page.clipData.hasSpeedCurve === true
        text: qsTr("Custom speed active — remove")
        onClicked: EditorState.clearClipSpeedCurve(page.trackIndex, page.clipIndex)
    }
    ColumnLayout {
        Layout.fillWidth: true
        visible: page.retimable && page.clipData.hasSpeedCurve !== true
        spacing: Theme.spacingSm
        RowLayout {
            Layout.fillWidth: true
            DragSlider {
                objectName: "speedSlider"
                Layout.fillWidth: true
                from: 0.25
                to: 4.0
                stepSize: 0.05
                value: page.clipData.speed || 1
                undoText: qsTr("Change speed")
                preview: v => EditorState.previewSetClipSpeed(page.trackIndex, page.clipIndex, v)
            }
            ThemedLabel {
                Layout.preferredWidth: 40
                horizontalAlignment: Text.AlignRight
                text: Number(page.clipData.speed || 1).toFixed(2) + "×"
            }
        }
        Flow {
            Layout.fillWidth: true
            spacing: Theme.spacingSm
            Repeater {
                model: [0.5, 1, 1.5, 2, 3]
                ThemedButton {
                    required property real modelData
                    leftPadding: 8
                    rightPadding: 8
                    text: modelData + "×"
                    onClicked: EditorState.setClipSpeed(page.trackIndex, page.clipIndex, modelData)
                }
            }
        }
        // The curve editor is a window of the main window, which is found through this item.
        ThemedButton {
            objectName: "customSpeedButton"
            Layout.fillWidth: true
            text: qsTr("Custom speed…")
            onClicked: {
                const main = page.Window.window
                if (main && main.openSpeedCurve)
                    main.openSpeedCurve(page.trackIndex, page.clipIndex)
            }
        }
    }
    ThemedSwitch {
        visible: page.retimable
        text: qsTr("Reverse")
        checked: page.clipData.reverse === true
        onToggled: EditorState.setClipReverse(page.trackIndex, page.clipIndex, checked)
    }
    SectionTitle { text: qsTr("Fades") }
    Flow {
        Layout.fillWidth: true
        spacing: Theme.spacingSm
        ThemedButton {
            text: qsTr("Fade in")
            onClicked: page.setFades(Math.min(0.5, page.fadeMax), page.clipData.fadeOut)
        }
        ThemedButton {
            text: qsTr("Fade out")
            onClicked: page.setFades(page.clipData.fadeIn, Math.min(0.5, page.fadeMax))
        }
        ThemedButton {
            text: qsTr("Clear")
            onClicked: page.setFades(0, 0)
        }
    }
    FieldLabel { text: qsTr("Fade in (s): %1").arg(Number(page.clipData.fadeIn || 0).toFixed(2)) }
    DragSlider {
        Layout.fillWidth: true
        from: 0
        to: page.fadeMax
        stepSize: 0.05
        value: page.clipData.fadeIn || 0
        undoText: qsTr("Adjust fade")
        preview: v => EditorState.previewSetClipFade(page.trackIndex, page.clipIndex, v, page.clipData.fadeOut)
    }
    FieldLabel { text: qsTr("Fade out (s): %1").arg(Number(page.clipData.fadeOut || 0).toFixed(2)) }
    DragSlider {
        Layout.fillWidth: true
        from: 0
        to: page.fadeMax
        stepSize: 0.05
        value: page.clipData.fadeOut || 0
        undoText: qsTr("Adjust fade")
        preview: v => EditorState.previewSetClipFade(page.trackIndex, page.clipIndex, page.clipData.fadeIn, v)
    }
    FieldLabel { text: qsTr("Fade curve") }
    ThemedComboBox {
        Layout.fillWidth: true
        model: page.curves
        textRole: "label"
        currentIndex: Math.max(0, page.curves.findIndex(c => c.id === page.clipData.fadeCurve))
        onActivated: i => EditorState.setClipFadeCurve(page.trackIndex, page.clipIndex, page.curves[i].id)
    }
}
