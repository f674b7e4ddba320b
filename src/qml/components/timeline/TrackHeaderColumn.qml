import QtQuick
import QtQuick.Controls
import Orvel
import "TimelineMath.js" as TM

// The fixed column of track headers beside the scrolling tracks. Rows take their offsets and
// heights from the panel, so they line up with the track rows at every height scale.
Item {
    id: column
    objectName: "trackHeaderColumn"

    required property Item panel
    property real contentY: 0
    property real topPadding: 0
    // Grip drag: the row being moved and the index it would land on.
    property int dragFrom: -1
    property int dragTarget: -1

    function openNewTrackMenu(source, x, y) {
        const p = source.mapToItem(column, x, y)
        newTrackMenu.popup(column, p.x, p.y)
    }
    function glyphFor(type) {
        switch (type) {
        case "video": return "▶"
        case "audio": return "♪"
        case "text": return "T"
        case "subtitle": return "≡"
        case "shape": return "◆"
        }
        return "•"
    }
    // "Video 1", "Video 2"... numbered from the top among tracks of the same type.
    function nameFor(type, index) {
        const names = { video: qsTr("Video"), audio: qsTr("Audio"), text: qsTr("Text"), subtitle: qsTr("Subtitles"),
            shape: qsTr("Shapes") }
        let n = 0
        for (let i = 0; i <= index; ++i)
            n += panel.tracks[i].type === type ? 1 : 0
        return (names[type] || type) + " " + n
    }
    // The insertion index for a y in the track area: the row whose middle lies below it.
    function targetIndexAt(y) {
        for (let i = 0; i < panel.tracks.length; ++i) {
            if (y < panel.trackOffsetY(i) + panel.trackHeight(i) / 2)
                return i
        }
        return panel.tracks.length - 1
    }

    NewTrackMenu { id: newTrackMenu }

    Item {
        id: corner
        width: parent.width
        height: panel.rulerAreaHeight
        z: 2
        Rectangle {
            anchors.fill: parent
            color: Theme.panelBackground
        }
        ToolButton {
            objectName: "addTrackButton"
            anchors.left: parent.left
            anchors.leftMargin: Theme.spacingMd
            anchors.verticalCenter: parent.verticalCenter
            text: "+ " + qsTr("Track")
            font.pixelSize: Theme.fontSizeXs
            palette.buttonText: Theme.foreground
            onClicked: newTrackMenu.popup(this, 0, height)
            ToolTip.visible: hovered
            ToolTip.text: qsTr("Add a track")
        }
    }

    Item {
        id: rowsViewport
        y: panel.rulerAreaHeight
        width: parent.width
        height: parent.height - y
        clip: true

        Item {
            y: column.topPadding - column.contentY
            width: parent.width

            Repeater {
                model: column.panel.tracks.length
                delegate: Rectangle {
                    id: header
                    objectName: "trackHeader"
                    required property int index
                    readonly property var track: column.panel.tracks[index]
                    y: column.panel.trackOffsetY(index)
                    width: column.width - Theme.spacingSm
                    height: column.panel.trackHeight(index)
                    radius: Theme.radiusXs
                    color: column.dragFrom === index ? Qt.rgba(Theme.primary.r, Theme.primary.g, Theme.primary.b, 0.15)
                                                     : (Theme.dark ? Qt.rgba(1, 1, 1, 0.04) : Qt.rgba(0, 0, 0, 0.04))
                    readonly property bool compact: height < 40

                    MouseArea {
                        anchors.fill: parent
                        acceptedButtons: Qt.RightButton
                        onClicked: mouse => headerMenu.popup(header, mouse.x, mouse.y)
                    }
                    ThemedContextMenu {
                        id: headerMenu
                        ThemedMenuItem {
                            text: qsTr("Delete track")
                            destructive: true
                            onTriggered: deleteConfirm.open()
                        }
                    }
                    Dialog {
                        id: deleteConfirm
                        parent: Overlay.overlay
                        anchors.centerIn: parent
                        modal: true
                        title: qsTr("Delete this track?")
                        standardButtons: Dialog.Ok | Dialog.Cancel
                        Label { text: qsTr("Its clips are removed with it.") }
                        onAccepted: EditorState.removeTrack(header.index)
                    }

                    // Grip: drag to reorder.
                    Text {
                        id: grip
                        objectName: "trackGrip"
                        x: 1
                        width: 10
                        height: parent.height
                        verticalAlignment: Text.AlignVCenter
                        horizontalAlignment: Text.AlignHCenter
                        text: "⋮⋮"
                        color: Theme.mutedForeground
                        font.pixelSize: Theme.fontSizeTiny
                        MouseArea {
                            anchors.fill: parent
                            cursorShape: Qt.SizeVerCursor
                            preventStealing: true
                            onPressed: {
                                column.dragFrom = header.index
                                column.dragTarget = header.index
                            }
                            onPositionChanged: mouse => {
                                const p = mapToItem(header.parent, mouse.x, mouse.y)
                                column.dragTarget = column.targetIndexAt(p.y)
                            }
                            onReleased: {
                                const from = column.dragFrom, to = column.dragTarget
                                column.dragFrom = -1
                                column.dragTarget = -1
                                if (from >= 0 && to >= 0 && from !== to)
                                    EditorState.moveTrack(from, to)
                            }
                            onCanceled: {
                                column.dragFrom = -1
                                column.dragTarget = -1
                            }
                        }
                    }
                    Row {
                        x: 12
                        height: parent.height
                        width: toggles.x - x - 2
                        clip: true
                        spacing: 4
                        Text {
                            anchors.verticalCenter: parent.verticalCenter
                            text: column.glyphFor(header.track.type)
                            color: header.track.type === "video" ? Theme.foreground : TM.clipColor(Theme, header.track.type, header.track.type)
                            font.pixelSize: Theme.fontSizeXs
                        }
                        Text {
                            anchors.verticalCenter: parent.verticalCenter
                            width: parent.width - 14
                            text: column.nameFor(header.track.type, header.index)
                            color: Theme.foreground
                            elide: Text.ElideRight
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontSizeXs
                        }
                    }
                    Row {
                        id: toggles
                        anchors.right: parent.right
                        anchors.rightMargin: 2
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 0
                        HeaderToggle {
                            objectName: "muteToggle"
                            visible: header.track.type === "audio" || header.track.type === "video"
                            glyph: "M"
                            active: header.track.muted
                            tip: header.track.muted ? qsTr("Unmute track") : qsTr("Mute track")
                            onToggled: EditorState.setTrackMuted(header.index, !header.track.muted)
                        }
                        HeaderToggle {
                            objectName: "hideToggle"
                            glyph: header.track.hidden ? "◌" : "◉"
                            active: header.track.hidden
                            tip: header.track.hidden ? qsTr("Show track") : qsTr("Hide track")
                            onToggled: EditorState.setTrackHidden(header.index, !header.track.hidden)
                        }
                        HeaderToggle {
                            objectName: "waveformToggle"
                            visible: header.track.type === "audio" || header.track.type === "video"
                            glyph: "∿"
                            active: header.track.showWaveform
                            tip: qsTr("Show waveforms")
                            onToggled: EditorState.setTrackShowWaveform(header.index, !header.track.showWaveform)
                        }
                    }
                }
            }

            // Where a dragged header would land.
            Rectangle {
                visible: column.dragFrom >= 0 && column.dragTarget >= 0 && column.dragTarget !== column.dragFrom
                y: column.dragTarget > column.dragFrom
                   ? column.panel.trackOffsetY(column.dragTarget) + column.panel.trackHeight(column.dragTarget) + 1
                   : column.panel.trackOffsetY(column.dragTarget) - 3
                width: column.width
                height: 2
                color: Theme.primary
            }
        }
    }

    component HeaderToggle: Item {
        id: toggle
        property string glyph: ""
        property bool active: false
        property string tip: ""
        signal toggled()
        width: 16
        height: 20
        Rectangle {
            anchors.fill: parent
            radius: Theme.radiusXs
            color: toggleMouse.containsMouse ? (Theme.dark ? Qt.rgba(1, 1, 1, 0.08) : Qt.rgba(0, 0, 0, 0.08)) : "transparent"
        }
        Text {
            anchors.centerIn: parent
            text: toggle.glyph
            color: toggle.active ? Theme.primary : Theme.mutedForeground
            font.pixelSize: Theme.fontSizeXs
        }
        MouseArea {
            id: toggleMouse
            anchors.fill: parent
            hoverEnabled: true
            onClicked: toggle.toggled()
        }
        ToolTip.visible: toggleMouse.containsMouse
        ToolTip.text: tip
        ToolTip.delay: 500
    }
}
