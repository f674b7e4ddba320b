import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvel
import "TimelineMath.js" as TM

// Transport, tools and edit commands above the tracks, in the order editors expect them.
Rectangle {
    id: toolbar
    objectName: "timelineToolbar"

    required property Item panel
    implicitHeight: 36
    color: Theme.panelBackground

    component ToolbarButton: ToolButton {
        id: button
        property string tip: ""
        property bool active: false
        implicitWidth: Math.max(28, contentItem.implicitWidth + 12)
        implicitHeight: 28
        font.pixelSize: Theme.fontSizeSm
        font.family: Theme.fontFamily
        contentItem: Text {
            text: button.text
            font: button.font
            color: !button.enabled ? Theme.mutedForeground : (button.active ? Theme.primaryForeground : Theme.foreground)
            opacity: button.enabled ? 1 : 0.45
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: Theme.radiusSm
            color: button.active ? Theme.primary
                                      : (button.hovered ? (Theme.dark ? Qt.rgba(1, 1, 1, 0.08) : Qt.rgba(0, 0, 0, 0.07)) : "transparent")
        }
        ToolTip.visible: hovered && tip.length > 0
        ToolTip.text: tip
        ToolTip.delay: 500
    }
    component Divider: Rectangle {
        Layout.preferredWidth: 1
        Layout.preferredHeight: 18
        color: Theme.panelBorder
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingMd
        anchors.rightMargin: Theme.spacingMd
        spacing: 2

        ToolbarButton {
            objectName: "playButton"
            text: EditorState.playing ? "❚❚" : "▶"
            tip: EditorState.playing ? qsTr("Pause") : qsTr("Play")
            onClicked: EditorState.playing = !EditorState.playing
        }
        Text {
            objectName: "timeReadout"
            text: TM.formatClock(EditorState.playheadSeconds) + " / " + TM.formatClock(EditorState.durationSeconds)
            color: Theme.foreground
            font.family: Theme.monoFontFamily
            font.pixelSize: Theme.fontSizeXs
            Layout.leftMargin: 4
            Layout.rightMargin: 8
        }
        Divider {}
        ToolbarButton {
            objectName: "selectTool"
            text: "↖"
            active: toolbar.panel.timelineTool === ""
            tip: qsTr("Select — normal editing (V)")
            onClicked: toolbar.panel.timelineTool = ""
        }
        ToolbarButton {
            objectName: "cutTool"
            text: "✂"
            active: toolbar.panel.timelineTool === "split"
            tip: qsTr("Cut mode — click a clip to split it (B)")
            onClicked: toolbar.panel.timelineTool = "split"
        }
        ToolbarButton {
            objectName: "trimStartTool"
            text: "⇤"
            active: toolbar.panel.timelineTool === "trimStart"
            tip: qsTr("Trim start — click a clip to drop everything left of the cut")
            onClicked: toolbar.panel.timelineTool = "trimStart"
        }
        ToolbarButton {
            objectName: "trimEndTool"
            text: "⇥"
            active: toolbar.panel.timelineTool === "trimEnd"
            tip: qsTr("Trim end — click a clip to drop everything right of the cut")
            onClicked: toolbar.panel.timelineTool = "trimEnd"
        }
        Divider {}
        ToolbarButton {
            text: "⎇"
            tip: qsTr("Separate audio")
            enabled: EditorState.separateAudioAvailable
            onClicked: EditorState.separateAudioFromSelection()
        }
        ToolbarButton {
            text: "⛓"
            tip: qsTr("Unlink audio")
            enabled: EditorState.unlinkAvailable
            onClicked: EditorState.unlinkSelectedClips()
        }
        ToolbarButton {
            text: "⊕"
            tip: qsTr("Merge adjacent clips")
            enabled: EditorState.mergeAvailable
            onClicked: EditorState.mergeSelectedClips()
        }
        Divider {}
        ToolbarButton { text: "❐"; tip: qsTr("Copy"); onClicked: EditorState.copySelection() }
        ToolbarButton { text: "📋"; tip: qsTr("Paste at current time"); onClicked: EditorState.pasteAtPlayhead() }
        ToolbarButton { text: "⊞"; tip: qsTr("Duplicate"); onClicked: EditorState.duplicateSelectedClip() }
        ToolbarButton { text: "❄"; tip: qsTr("Freeze frame"); onClicked: EditorState.freezeFrameAtPlayhead() }
        ToolbarButton {
            objectName: "deleteButton"
            text: "🗑"
            tip: qsTr("Delete")
            enabled: EditorState.selection.length > 0
            onClicked: EditorState.deleteSelectedClip()
        }
        Divider {}
        ToolbarButton {
            objectName: "bookmarkButton"
            text: "⚑"
            tip: qsTr("Add a bookmark at the playhead")
            onClicked: EditorState.addBookmark(EditorState.playheadSeconds,
                                               qsTr("Mark %1").arg(EditorState.bookmarks.length + 1))
        }
        ToolbarButton {
            objectName: "undoButton"
            text: "↶"
            tip: qsTr("Undo")
            enabled: EditorState.undoAvailable
            onClicked: EditorState.undo()
        }
        ToolbarButton {
            objectName: "redoButton"
            text: "↷"
            tip: qsTr("Redo")
            enabled: EditorState.redoAvailable
            onClicked: EditorState.redo()
        }
        Divider {}
        ToolbarButton {
            text: "🧲"
            active: EditorState.snapEnabled
            tip: qsTr("Snapping")
            onClicked: EditorState.snapEnabled = !EditorState.snapEnabled
        }
        ToolbarButton {
            text: "⇉"
            active: EditorState.rippleEnabled
            tip: qsTr("Close gaps when trimming")
            onClicked: EditorState.rippleEnabled = !EditorState.rippleEnabled
        }
        Item { Layout.fillWidth: true }
        ToolbarButton {
            objectName: "zoomOut"
            text: "−"
            tip: qsTr("Zoom out")
            enabled: toolbar.panel.zoom > toolbar.panel.minZoom
            onClicked: toolbar.panel.zoomBy(1 / 1.5)
        }
        ThemedSlider {
            id: zoomSlider
            Layout.preferredWidth: 110
            from: Math.log(toolbar.panel.minZoom)
            to: Math.log(toolbar.panel.maxZoom)
            value: Math.log(toolbar.panel.zoom)
            onMoved: toolbar.panel.zoomBy(Math.exp(value) / toolbar.panel.zoom)
        }
        ToolbarButton {
            objectName: "zoomIn"
            text: "+"
            tip: qsTr("Zoom in")
            enabled: toolbar.panel.zoom < toolbar.panel.maxZoom
            onClicked: toolbar.panel.zoomBy(1.5)
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.panelBorder
    }
}
