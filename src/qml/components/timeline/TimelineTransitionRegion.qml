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

    readonly property var span: leftClip && rightClip ? TM.transitionSpan(leftClip, rightClip, transitionData) : ({ start: 0, end: 0 })
    readonly property real spanWidth: (span.end - span.start) * panel.pxPerSecond
    readonly property bool selected: EditorState.selectedTransitionTrack === trackIndex
                                     && EditorState.selectedTransitionLeftClip === leftClipIndex

    width: Math.max(8, spanWidth)
    x: span.start * panel.pxPerSecond - (width - spanWidth) / 2

    // The label the row draws above all regions: the transition's first letter, or "≫".
    readonly property string label: {
        const kind = transitionData ? String(transitionData.kind || "") : ""
        return kind.length === 0 || width < 28 ? "≫" : kind.charAt(0).toUpperCase()
    }

    // The fill is opaque and the hatch one shared texture, so all regions of a row draw in two
    // batches; their labels come from a layer above, since a label between two hatches would
    // split them.
    Rectangle {
        anchors.fill: parent
        antialiasing: false
        color: region.transitionData ? Qt.darker(Theme.primary, region.selected ? 1.0 : 1.7) : (Theme.dark ? "#3a3a3a" : "#cfd2d6")
        border.color: region.selected ? Theme.primary : (Theme.dark ? "#5a5a5a" : "#a9adb3")
        Image {
            anchors.fill: parent
            anchors.margins: 1
            fillMode: Image.Tile
            // A 6-pixel diagonal tile: one shared texture, however wide the region.
            source: "TimelineHatch.png"
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
