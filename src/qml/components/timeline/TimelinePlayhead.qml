import QtQuick
import Orvel

// The playhead over the ruler and the tracks. Dragged, it follows the pointer unsnapped and
// snaps once on release.
Item {
    id: playhead
    objectName: "timelinePlayhead"

    required property Item panel
    readonly property real lineX: EditorState.playheadSeconds * panel.pxPerSecond - panel.contentX
    clip: true

    Item {
        x: playhead.lineX - width / 2
        width: 7
        height: parent.height
        visible: playhead.lineX >= -4 && playhead.lineX <= playhead.width + 4

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            y: Theme.timelineRulerHeight - 14
            width: 1.5
            height: parent.height - y
            color: Theme.primary
        }
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            y: Theme.timelineRulerHeight - 16
            width: 11
            height: 11
            radius: 2
            color: Theme.primary
        }
        MouseArea {
            objectName: "playheadGrab"
            anchors.fill: parent
            anchors.leftMargin: -2
            anchors.rightMargin: -2
            cursorShape: Qt.SizeHorCursor
            preventStealing: true
            function secondsAt(mouse) {
                const p = mapToItem(playhead, mouse.x, mouse.y)
                return Math.max(0, (p.x + playhead.panel.contentX) / playhead.panel.pxPerSecond)
            }
            onPositionChanged: mouse => {
                if (pressed)
                    EditorState.playheadSeconds = secondsAt(mouse)
            }
            onReleased: mouse => EditorState.playheadSeconds = EditorState.snapTime(secondsAt(mouse))
        }
    }
}
