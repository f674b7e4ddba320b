import QtQuick
import Orvel
import "TimelineMath.js" as TM

// The ruler and bookmark strip: one scrub area. Only the ticks that meet the viewport exist,
// from a pool whose slots are reused modulo its size, so scrolling relabels one tick at a time.
Item {
    id: ruler
    objectName: "timelineRuler"

    required property Item panel

    readonly property real stepSeconds: TM.tickStepSeconds(panel.pxPerSecond)
    readonly property real stepPx: Math.max(1, stepSeconds * panel.pxPerSecond)
    readonly property int maxIndex: Math.floor(panel.flickable.contentWidth / stepPx)
    readonly property int firstTick: Math.max(0, Math.floor(panel.contentX / stepPx) - 1)
    readonly property int tickCount: Math.max(0, Math.min(maxIndex - firstTick + 1, Math.ceil(width / stepPx) + 3))
    readonly property int poolSize: Math.ceil(width / stepPx) + 3
    clip: true

    Rectangle {
        anchors.fill: parent
        color: Theme.panelBackground
    }
    Rectangle {
        y: Theme.timelineRulerHeight
        width: parent.width
        height: Theme.timelineBookmarkRowHeight
        color: Theme.dark ? "#202020" : "#f1f2f4"
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.panelBorder
    }

    // The scrub area sits under the ticks and marks so bookmarks take their own clicks.
    MouseArea {
        objectName: "seekStrip"
        anchors.fill: parent
        function seek(x) {
            EditorState.playheadSeconds = EditorState.snapTime(Math.max(0, x + panel.contentX) / panel.pxPerSecond)
        }
        onPressed: mouse => seek(mouse.x)
        onPositionChanged: mouse => {
            if (pressed)
                seek(mouse.x)
        }
    }

    Item {
        x: -panel.contentX
        Repeater {
            model: ruler.poolSize
            delegate: Item {
                objectName: "rulerTick"
                required property int index
                readonly property int tick: ruler.firstTick + (((index - ruler.firstTick) % ruler.poolSize) + ruler.poolSize) % ruler.poolSize
                visible: tick <= ruler.firstTick + ruler.tickCount - 1
                x: tick * ruler.stepPx
                width: 1
                height: Theme.timelineRulerHeight
                Rectangle {
                    y: parent.height - 8
                    width: 1
                    height: 8
                    color: Theme.mutedForeground
                }
                Text {
                    x: 4
                    y: 4
                    text: TM.formatTick(parent.tick * ruler.stepSeconds, ruler.stepSeconds)
                    color: Theme.mutedForeground
                    font.family: Theme.monoFontFamily
                    font.pixelSize: Theme.fontSizeTick
                    textFormat: Text.PlainText
                    renderType: Text.NativeRendering
                }
            }
        }

        Repeater {
            model: EditorState.bookmarks
            delegate: Item {
                objectName: "bookmark"
                required property var modelData
                required property int index
                x: modelData.seconds * ruler.panel.pxPerSecond - width / 2
                y: Theme.timelineRulerHeight + (Theme.timelineBookmarkRowHeight - height) / 2
                width: 14
                height: 14
                visible: x + width >= ruler.panel.contentX && x <= ruler.panel.contentX + ruler.width
                Rectangle {
                    anchors.centerIn: parent
                    width: 8
                    height: 8
                    rotation: 45
                    color: Theme.warning
                }
                MouseArea {
                    anchors.fill: parent
                    onClicked: EditorState.goToBookmark(parent.index)
                }
            }
        }
    }
}
