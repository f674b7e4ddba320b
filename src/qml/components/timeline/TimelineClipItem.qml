import QtQuick
import QtQuick.Shapes
import Orvel
import "TimelineMath.js" as TM

// One clip on a track row: colour, name band, selection ring, move with the landing outline,
// trim handles and fade dots. The item
// is a recycled slot: clipIndex changes as the view scrolls, so gestures capture their indices
// on press.
Item {
    id: clipItem
    objectName: "timelineClip"

    required property Item panel
    required property Item trackRow
    property int trackIndex: -1
    property string trackType: ""
    property int sortedPos: -1
    property int clipIndex: -1

    readonly property var clipData: clipIndex >= 0 && trackRow.track && clipIndex < trackRow.track.clips.length
                                    ? trackRow.track.clips[clipIndex] : null
    readonly property real pps: panel.pxPerSecond
    readonly property real ring: Theme.clipSelectionRingWidth
    readonly property real baseX: clipData ? clipData.start * pps + ring : 0
    readonly property bool selected: {
        EditorState.selection
        return clipIndex >= 0 && EditorState.selectionContains(trackIndex, clipIndex)
    }
    readonly property bool following: panel.moveFollowActive && selected && !moving
    readonly property real minDurationSeconds: Math.max(Theme.clipMinDurationSeconds, Theme.clipMinWidth / pps)
    readonly property bool hasFades: trackType !== "text" && trackType !== "subtitle"

    // Gesture state: indices and positions captured on press.
    property bool moving: false
    property int pressTrack: -1
    property int pressClip: -1
    property real pressX: 0
    property real pressY: 0
    property real pressBaseX: 0
    property real dragDx: 0
    property real dragDy: 0
    property int cursorSide: 0

    visible: clipData !== null
    x: Math.max(ring, baseX + (moving ? dragDx : (following ? panel.moveFollowDeltaX : 0)))
    y: ring + (moving ? dragDy : 0)
    z: moving ? 10 : (selected ? 2 : 1)
    width: clipData ? Math.max(Theme.clipMinWidth, clipData.duration * pps - 2 * ring) : 0
    height: trackRow.height - 2 * ring
    opacity: moving ? 0.85 : 1

    function layerPoint(mouseArea, mouse) {
        return mouseArea.mapToItem(trackRow.parent, mouse.x, mouse.y)
    }
    function setCursor(side) {
        cursorSide = side
        EditorState.setTimelineTrimCursor(side, Math.round(height))
    }
    Component.onDestruction: {
        if (cursorSide !== 0)
            EditorState.setTimelineTrimCursor(0, 0)
    }

    // Opaque colours and no per-item clipping keep every clip body in one batched, opaque
    // draw; translucency or a scissor per clip costs a draw call each on a software renderer.
    readonly property color baseColor: clipData ? TM.clipColor(Theme, clipData.kind, trackType) : "transparent"
    // The video placeholder is near black: its edge and band go lighter, the others darker.
    readonly property bool darkBase: baseColor.hslLightness < 0.3
    readonly property color edgeColor: darkBase ? Qt.lighter(baseColor, 1.9) : Qt.darker(baseColor, 1.6)
    Rectangle {
        id: body
        anchors.fill: parent
        radius: Theme.radiusXs
        antialiasing: false
        color: clipItem.baseColor
        border.width: clipItem.selected ? clipItem.ring : 1
        border.color: clipItem.selected ? Theme.primary
                                    : (panel.effectDropTrackIndex === clipItem.trackIndex && panel.effectDropClipIndex === clipItem.clipIndex
                                       ? Theme.foreground : clipItem.edgeColor)

        Rectangle {
            id: band
            x: 1
            y: 1
            width: parent.width - 2
            height: {
                const effects = clipItem.clipData && clipItem.clipData.effects ? clipItem.clipData.effects.length : 0
                return Math.min(clipItem.height / 2, Theme.clipHeaderBandHeight * (effects > 0 ? 1.6 : 1))
            }
            color: clipItem.darkBase ? Qt.lighter(clipItem.baseColor, 1.35) : Qt.darker(clipItem.baseColor, 1.35)
            Text {
                anchors.fill: parent
                anchors.leftMargin: 5
                anchors.rightMargin: 5
                verticalAlignment: Text.AlignVCenter
                text: clipItem.clipData ? clipItem.clipData.name : ""
                color: "#f2f2f2"
                font.family: Theme.fontFamily
                font.pixelSize: Math.max(8, Math.min(Theme.fontSizeTiny + 1, parent.height - 4))
                elide: Text.ElideRight
                textFormat: Text.PlainText
                renderType: Text.NativeRendering
            }
        }

        // Fade ramps, each only as wide as its fade. They are flat-coloured shapes rather than
        // canvases: every canvas is a texture of its own and so a draw call of its own, while
        // shapes of one colour are drawn together.
        Loader {
            active: clipItem.hasFades && clipItem.clipData && clipItem.clipData.fadeIn > 0
            width: clipItem.clipData ? Math.min(clipItem.width, clipItem.clipData.fadeIn * clipItem.pps) : 0
            height: clipItem.height
            sourceComponent: FadeRamp { rising: true }
        }
        Loader {
            active: clipItem.hasFades && clipItem.clipData && clipItem.clipData.fadeOut > 0
            width: clipItem.clipData ? Math.min(clipItem.width, clipItem.clipData.fadeOut * clipItem.pps) : 0
            height: clipItem.height
            x: clipItem.width - width
            sourceComponent: FadeRamp { rising: false }
        }
    }

    component FadeRamp: Shape {
        id: ramp
        property bool rising: true
        anchors.fill: parent
        ShapePath {
            strokeWidth: -1
            fillColor: Qt.rgba(0, 0, 0, 0.35)
            startX: 0
            startY: 0
            PathLine { x: ramp.width; y: 0 }
            PathLine { x: ramp.rising ? 0 : ramp.width; y: ramp.height }
        }
    }

    MouseArea {
        id: bodyMouse
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onPressed: mouse => {
            clipItem.pressTrack = clipItem.trackIndex
            clipItem.pressClip = clipItem.clipIndex
            const p = clipItem.layerPoint(bodyMouse, mouse)
            clipItem.pressX = p.x
            clipItem.pressY = p.y
            clipItem.pressBaseX = clipItem.baseX
            clipItem.dragDx = 0
            clipItem.dragDy = 0
            if (mouse.button === Qt.RightButton) {
                if (!clipItem.selected)
                    EditorState.selectClip(clipItem.pressTrack, clipItem.pressClip)
                panel.openClipMenu(bodyMouse, mouse.x, mouse.y, clipItem.pressTrack, clipItem.pressClip,
                                   clipItem.clipData.start + mouse.x / clipItem.pps)
                return
            }
            if (mouse.modifiers & Qt.ShiftModifier)
                EditorState.addToSelection(clipItem.pressTrack, clipItem.pressClip)
            else if (!clipItem.selected)
                EditorState.selectClip(clipItem.pressTrack, clipItem.pressClip)
        }
        onPositionChanged: mouse => {
            if (!(mouse.buttons & Qt.LeftButton) || clipItem.pressClip < 0)
                return
            const p = clipItem.layerPoint(bodyMouse, mouse)
            const dx = p.x - clipItem.pressX, dy = p.y - clipItem.pressY
            if (!clipItem.moving) {
                if (Math.abs(dx) < 8 && Math.abs(dy) < 8)
                    return
                clipItem.moving = true
                clipItem.trackRow.hasMovingClip = true
                panel.moveLeaderTrack = clipItem.pressTrack
                panel.moveLeaderClip = clipItem.pressClip
                panel.moveFollowActive = clipItem.selected && EditorState.selection.length > 1
            }
            // The item stops at the ring width on the left, like a drag's minimumX.
            clipItem.dragDx = Math.max(clipItem.ring - clipItem.pressBaseX, dx)
            clipItem.dragDy = dy
            panel.moveFollowDeltaX = clipItem.dragDx
            panel.updateMovePreview(clipItem.pressTrack, clipItem.pressClip, clipItem.rawStart(), clipItem.centreY())
        }
        onReleased: {
            if (!clipItem.moving)
                return
            const start = clipItem.rawStart(), centre = clipItem.centreY()
            clipItem.endMove()
            panel.finishMove(clipItem.pressTrack, clipItem.pressClip, start, centre)
        }
        onCanceled: {
            if (clipItem.moving) {
                clipItem.endMove()
                panel.finishMoveCancelled()
            }
        }
    }
    function rawStart() {
        return Math.max(0, (pressBaseX + dragDx - ring) / pps)
    }
    function centreY() {
        return trackRow.y + ring + dragDy + height / 2
    }
    function endMove() {
        moving = false
        trackRow.hasMovingClip = false
        dragDx = 0
        dragDy = 0
    }

    // Trim handles, only on a selected clip. Trims write live on every move; there is no
    // transaction around them.
    component TrimHandle: Rectangle {
        id: handle
        property int side: -1
        width: 6
        height: clipItem.height
        x: side < 0 ? 0 : clipItem.width - width
        visible: clipItem.selected && !clipItem.moving
        color: handleMouse.containsMouse || handleMouse.pressed ? Theme.primary : Qt.rgba(1, 1, 1, 0.35)
        radius: 2
        MouseArea {
            id: handleMouse
            objectName: handle.side < 0 ? "trimLeft" : "trimRight"
            anchors.fill: parent
            anchors.margins: -2
            hoverEnabled: true
            property real grabOffset: 0
            property real startSeconds: 0
            property real endSeconds: 0
            onEntered: clipItem.setCursor(handle.side)
            onExited: {
                if (!pressed)
                    clipItem.setCursor(0)
            }
            onPressed: mouse => {
                clipItem.pressTrack = clipItem.trackIndex
                clipItem.pressClip = clipItem.clipIndex
                const p = clipItem.layerPoint(handleMouse, mouse)
                const edgeX = handle.side < 0 ? clipItem.x - clipItem.ring : clipItem.x + clipItem.width + clipItem.ring
                grabOffset = p.x - edgeX
                startSeconds = clipItem.clipData.start
                endSeconds = clipItem.clipData.start + clipItem.clipData.duration
            }
            onPositionChanged: mouse => {
                if (!pressed)
                    return
                const p = clipItem.layerPoint(handleMouse, mouse)
                const raw = (p.x - grabOffset) / clipItem.pps
                if (handle.side < 0)
                    EditorState.trimClipLeft(clipItem.pressTrack, clipItem.pressClip,
                                             Math.max(0, Math.min(raw, endSeconds - clipItem.minDurationSeconds)))
                else
                    EditorState.trimClipRight(clipItem.pressTrack, clipItem.pressClip,
                                              Math.max(raw, startSeconds + clipItem.minDurationSeconds))
            }
            onReleased: {
                if (!containsMouse)
                    clipItem.setCursor(0)
            }
        }
    }
    TrimHandle { side: -1 }
    TrimHandle { side: 1 }

    // Fade dots: one drag is one transaction.
    component FadeDot: Rectangle {
        id: dot
        property bool fadeIn: true
        readonly property real fadeSeconds: clipItem.clipData ? (fadeIn ? clipItem.clipData.fadeIn : clipItem.clipData.fadeOut) : 0
        width: 9
        height: 9
        radius: 4.5
        y: 2
        x: fadeIn ? Math.min(clipItem.width - width, 6 + fadeSeconds * clipItem.pps - width / 2)
                  : Math.max(0, clipItem.width - 6 - fadeSeconds * clipItem.pps - width / 2)
        visible: clipItem.hasFades && (clipItem.selected || bodyMouse.containsMouse) && !clipItem.moving
        color: Theme.foreground
        border.color: Theme.appBackground
        MouseArea {
            objectName: dot.fadeIn ? "fadeInDot" : "fadeOutDot"
            anchors.fill: parent
            anchors.margins: -3
            property int dotTrack: -1
            property int dotClip: -1
            property real other: 0
            onPressed: {
                dotTrack = clipItem.trackIndex
                dotClip = clipItem.clipIndex
                other = dot.fadeIn ? clipItem.clipData.fadeOut : clipItem.clipData.fadeIn
                EditorState.beginPreviewDrag("Adjust fade")
            }
            onPositionChanged: mouse => {
                const p = mapToItem(clipItem, mouse.x, mouse.y)
                const px = Math.max(0, dot.fadeIn ? p.x - 6 : clipItem.width - 6 - p.x)
                const seconds = Math.min(px / clipItem.pps, clipItem.clipData ? clipItem.clipData.duration : 0)
                if (dot.fadeIn)
                    EditorState.previewSetClipFade(dotTrack, dotClip, seconds, other)
                else
                    EditorState.previewSetClipFade(dotTrack, dotClip, other, seconds)
            }
            onReleased: EditorState.commitPreviewDrag()
            onCanceled: EditorState.cancelPreviewDrag()
        }
    }
    FadeDot { fadeIn: true }
    FadeDot { fadeIn: false }
}
