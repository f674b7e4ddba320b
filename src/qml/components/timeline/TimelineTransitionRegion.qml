import QtQuick
import Orvel
import "TimelineMath.js" as TM

// The hatched span where two touching clips meet. A click selects the transition there, or adds
// a half-second crossfade where none exists yet.
Item {
    id: region
    objectName: "transitionRegion"

    required property Item panel
    property int trackIndex: -1
    property int leftClipIndex: -1
    property var leftClip: null
    property var rightClip: null
    property var transitionData: null
    // The x of the owning clip item in row coordinates; the region is placed relative to it.
    property real originX: 0

    readonly property var span: leftClip && rightClip ? TM.transitionSpan(leftClip, rightClip, transitionData) : ({ start: 0, end: 0 })
    readonly property real spanWidth: (span.end - span.start) * panel.pxPerSecond
    readonly property bool selected: EditorState.selectedTransitionTrack === trackIndex
                                     && EditorState.selectedTransitionLeftClip === leftClipIndex

    width: Math.max(8, spanWidth)
    x: span.start * panel.pxPerSecond - originX - (width - spanWidth) / 2

    Rectangle {
        anchors.fill: parent
        radius: 2
        color: region.transitionData ? Qt.rgba(Theme.primary.r, Theme.primary.g, Theme.primary.b, region.selected ? 0.45 : 0.25)
                                 : Qt.rgba(1, 1, 1, 0.10)
        border.color: region.selected ? Theme.primary : Qt.rgba(1, 1, 1, 0.35)
        clip: true
        Image {
            anchors.fill: parent
            fillMode: Image.Tile
            // A 6-pixel diagonal tile: one shared texture, however wide the region.
            source: "TimelineHatch.png"
        }
        Text {
            anchors.centerIn: parent
            text: {
                const label = region.transitionData ? String(region.transitionData.kind || "") : ""
                return label.length === 0 || region.width < 28 ? "≫" : label.charAt(0).toUpperCase()
            }
            color: Theme.foreground
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeTiny
            font.bold: true
        }
    }
    MouseArea {
        anchors.fill: parent
        onClicked: {
            if (region.transitionData)
                EditorState.selectTransition(region.trackIndex, region.leftClipIndex)
            else
                EditorState.addTransition(region.trackIndex, region.leftClipIndex, "crossfade", 0.5)
        }
    }
}
