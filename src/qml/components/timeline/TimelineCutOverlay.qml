import QtQuick
import Orvel

// With the Cut or a Trim tool active this overlay takes the mouse: a dashed red line at the
// snapped pointer time, a tint over the side a trim would drop, and a click that cuts.
Item {
    id: overlay
    objectName: "cutOverlay"

    required property Item panel
    // y of the track area inside the scroll content.
    property real trackTop: 0
    readonly property bool active: panel.timelineTool !== ""
    readonly property var hoverClip: panel.cutHoverTrack >= 0 && panel.cutHoverClip >= 0
                                     && panel.cutHoverTrack < panel.tracks.length
                                     ? panel.tracks[panel.cutHoverTrack].clips[panel.cutHoverClip] : null
    readonly property real lineX: panel.cutHoverSeconds * panel.pxPerSecond - panel.contentX
    visible: active
    clip: true

    function trackPoint(mouse) {
        return { x: mouse.x + panel.contentX, y: mouse.y + panel.flickable.contentY - trackTop }
    }

    MouseArea {
        anchors.fill: parent
        enabled: overlay.active
        hoverEnabled: true
        cursorShape: Qt.CrossCursor
        onPositionChanged: mouse => {
            const p = overlay.trackPoint(mouse)
            const hit = overlay.panel.clipAtPoint(p.x, p.y)
            overlay.panel.cutHoverSeconds = EditorState.snapTime(Math.max(0, p.x / overlay.panel.pxPerSecond))
            overlay.panel.cutHoverTrack = hit ? hit.track : -1
            overlay.panel.cutHoverClip = hit ? hit.clip : -1
        }
        onExited: {
            overlay.panel.cutHoverSeconds = -1
            overlay.panel.cutHoverTrack = -1
            overlay.panel.cutHoverClip = -1
        }
        onClicked: mouse => {
            const p = overlay.trackPoint(mouse)
            overlay.panel.splitWithTool(p.x, p.y)
        }
    }

    // The side a trim tool would drop, fading out 80 px from the cut, kept inside the clip.
    Rectangle {
        id: doomTint
        readonly property bool dropsLeft: overlay.panel.timelineTool === "trimStart"
        readonly property real clipLeft: overlay.hoverClip ? overlay.hoverClip.start * overlay.panel.pxPerSecond - overlay.panel.contentX : 0
        readonly property real clipRight: overlay.hoverClip ? clipLeft + overlay.hoverClip.duration * overlay.panel.pxPerSecond : 0
        visible: overlay.hoverClip !== null && overlay.panel.timelineTool !== "split" && overlay.panel.cutHoverSeconds >= 0
        x: dropsLeft ? Math.max(clipLeft, overlay.lineX - 80) : overlay.lineX
        width: dropsLeft ? overlay.lineX - x : Math.max(0, Math.min(clipRight, overlay.lineX + 80) - overlay.lineX)
        y: overlay.panel.trackOffsetY(overlay.panel.cutHoverTrack) + overlay.trackTop - overlay.panel.flickable.contentY
        height: overlay.panel.trackHeight(overlay.panel.cutHoverTrack)
        gradient: Gradient {
            orientation: Gradient.Horizontal
            GradientStop { position: 0; color: doomTint.dropsLeft ? "transparent" : Qt.rgba(0.91, 0.09, 0.09, 0.45) }
            GradientStop { position: 1; color: doomTint.dropsLeft ? Qt.rgba(0.91, 0.09, 0.09, 0.45) : "transparent" }
        }
    }

    // Dashes of 4 px, 3 apart; a pool sized to the overlay's height, not to the timeline.
    Column {
        x: Math.round(overlay.lineX)
        visible: overlay.panel.cutHoverSeconds >= 0
        spacing: 3
        Repeater {
            model: Math.max(0, Math.ceil(overlay.height / 7))
            Rectangle { width: 1.5; height: 4; color: Theme.destructive }
        }
    }
}
