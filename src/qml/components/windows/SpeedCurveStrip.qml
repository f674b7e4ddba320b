import QtQuick
import Orvel

// The clip's source across the full width, on the same x axis as the curve below: one pass of
// the filmstrip's frames (not the timeline's repeating tile), with the source playhead on it.
// Pressing or dragging seeks the preview to that place in the source.
Rectangle {
    id: strip

    readonly property string filmstripPath: EditorState.speedCurveFilmstripPath
    readonly property int frameCount: 8

    objectName: "speedCurveStrip"
    color: filmstripPath.length > 0 ? "#000000" : Qt.rgba(Theme.clipAudio.r, Theme.clipAudio.g, Theme.clipAudio.b, 0.35)
    border.color: Theme.panelBorder
    clip: true

    Repeater {
        model: strip.filmstripPath.length > 0 ? strip.frameCount : 0
        Image {
            required property int index
            x: index * strip.width / strip.frameCount
            width: strip.width / strip.frameCount
            height: strip.height
            fillMode: Image.PreserveAspectCrop
            asynchronous: true
            source: EditorState.filmstripFrameUrl(strip.filmstripPath, index, strip.frameCount)
        }
    }

    // Sound has no frames to show; the lane names the clip instead.
    ThemedLabel {
        anchors.verticalCenter: parent.verticalCenter
        x: 10
        width: parent.width - 20
        visible: strip.filmstripPath.length === 0
        text: EditorState.speedCurveClipName
    }

    Rectangle {
        objectName: "speedCurveSourcePlayhead"
        x: Math.round(EditorState.speedCurveSourcePosition * strip.width) - 1
        width: 2
        height: strip.height
        color: Theme.primary
    }

    MouseArea {
        anchors.fill: parent
        preventStealing: true
        function seek(x) {
            EditorState.seekSpeedCurvePreviewAtSource(Math.max(0, Math.min(1, x / Math.max(1, width))))
        }
        onPressed: mouse => seek(mouse.x)
        onPositionChanged: mouse => seek(mouse.x)
    }
}
