import QtQuick
import Orvel
import "SpeedCurveMath.js" as SCM

// The curve over the source: speed on a log axis upwards, source position across. Stacked from
// the bottom: the click area (double click adds a point), the playhead, the handles, the knobs,
// so that editing the curve always wins over scrubbing, and a handle lying on its own point
// never hides the point from a drag.
Item {
    id: plot

    required property var editor
    readonly property var points: editor.points
    readonly property int selected: editor.selectedPoint
    readonly property bool handlesShown: selected >= 0 && selected < editor.pointCount
    readonly property real knobSize: 11
    readonly property real handleSize: 9

    function xOf(pos) {
        return pos * width
    }
    function yOf(speed) {
        return SCM.speedToY(speed, height)
    }
    // Where a handle of the selected point stands; side 0 incoming, 1 outgoing.
    function handlePoint(side) {
        const p = points[selected]
        if (!p)
            return Qt.point(0, 0)
        return side === 1 ? Qt.point(xOf(p.pos + p.outDx), yOf(p.speed + p.outDy))
                          : Qt.point(xOf(p.pos + p.inDx), yOf(p.speed + p.inDy))
    }

    onPointsChanged: canvas.requestPaint()
    onSelectedChanged: canvas.requestPaint()
    onWidthChanged: canvas.requestPaint()
    onHeightChanged: canvas.requestPaint()

    Canvas {
        id: canvas
        readonly property bool dark: Theme.dark
        anchors.fill: parent
        onDarkChanged: requestPaint()
        onPaint: {
            const ctx = getContext("2d")
            ctx.reset()
            ctx.lineWidth = 1
            for (const s of SCM.gridSpeeds) {
                const y = Math.round(plot.yOf(s)) + 0.5
                ctx.strokeStyle = Theme.mutedForeground
                ctx.globalAlpha = s === 1 ? 0.6 : 0.35
                ctx.beginPath()
                ctx.moveTo(0, y)
                ctx.lineTo(width, y)
                ctx.stroke()
            }
            ctx.globalAlpha = 1
            const pts = plot.points
            if (pts.length < 2)
                return
            ctx.strokeStyle = Theme.primary
            ctx.lineWidth = 2
            ctx.beginPath()
            for (let x = 0; x <= width; x += 2) {
                const y = plot.yOf(SCM.speedAt(pts, x / Math.max(1, width)))
                if (x === 0)
                    ctx.moveTo(x, y)
                else
                    ctx.lineTo(x, y)
            }
            ctx.stroke()
            if (!plot.handlesShown)
                return
            const p = pts[plot.selected]
            ctx.lineWidth = 1
            ctx.strokeStyle = Theme.foreground
            ctx.globalAlpha = 0.7
            for (const side of [0, 1]) {
                if ((side === 0 && plot.selected === 0) || (side === 1 && plot.selected === pts.length - 1))
                    continue
                const h = plot.handlePoint(side)
                ctx.beginPath()
                ctx.moveTo(plot.xOf(p.pos), plot.yOf(p.speed))
                ctx.lineTo(h.x, h.y)
                ctx.stroke()
            }
        }
    }

    Repeater {
        model: SCM.gridSpeeds
        Text {
            required property real modelData
            x: 10 // clear of the end knobs
            y: Math.min(plot.height - height, Math.max(0, plot.yOf(modelData) - height - 1))
            text: SCM.gridLabel(modelData)
            color: Theme.mutedForeground
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeTick
        }
    }

    MouseArea {
        anchors.fill: parent
        onClicked: plot.editor.selectedPoint = -1
        onDoubleClicked: mouse => plot.editor.addPointAt(mouse.x / Math.max(1, plot.width))
    }

    // Follows the source position except while it is itself being dragged; dragging scrubs.
    Item {
        id: playhead
        property real dragX: 0
        readonly property real lineX: grab.pressed ? dragX : plot.xOf(EditorState.speedCurveSourcePosition)
        objectName: "speedCurveGraphPlayhead"
        x: lineX - width / 2
        width: 9
        height: plot.height
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 1.5
            height: parent.height
            color: Theme.primary
            opacity: 0.8
        }
        MouseArea {
            id: grab
            anchors.fill: parent
            cursorShape: Qt.SizeHorCursor
            preventStealing: true
            function scrub(mouse) {
                const x = Math.max(0, Math.min(plot.width, mapToItem(plot, mouse.x, mouse.y).x))
                playhead.dragX = x
                EditorState.seekSpeedCurvePreviewAtSource(x / Math.max(1, plot.width))
            }
            onPressed: mouse => scrub(mouse)
            onPositionChanged: mouse => scrub(mouse)
        }
    }

    // Two handles, for the selected point only; a model of an integer, since a fresh array at
    // each edit would tear down the delegate that owns the live drag.
    Repeater {
        model: 2
        Rectangle {
            id: handle
            required property int index
            readonly property point at: plot.handlesShown ? plot.handlePoint(index) : Qt.point(0, 0)
            objectName: index === 1 ? "speedOutHandle" : "speedInHandle"
            readonly property var owner: plot.handlesShown ? plot.points[plot.selected] : null
            readonly property real reach: owner ? Math.hypot(at.x - plot.xOf(owner.pos), at.y - plot.yOf(owner.speed)) : 0
            // A flat handle sits under its knob; it shows again once it has length or is held.
            visible: plot.handlesShown && (index === 1 ? plot.selected < plot.editor.pointCount - 1
                                                         : plot.selected > 0)
                     && (grip.pressed || reach > 1)
            x: at.x - width / 2
            y: at.y - height / 2
            width: plot.handleSize
            height: plot.handleSize
            rotation: 45
            color: Theme.foreground
            border.color: Theme.panelBackground
            MouseArea {
                id: grip
                property point start: Qt.point(0, 0)
                property point pressAt: Qt.point(0, 0)
                property bool dragging: false
                anchors.fill: parent
                anchors.margins: -4
                preventStealing: true
                onPressed: mouse => {
                    dragging = true
                    start = handle.at
                    pressAt = mapToItem(plot, mouse.x, mouse.y)
                }
                onPositionChanged: mouse => {
                    const p = plot.points[plot.selected]
                    if (!dragging || !p)
                        return
                    const now = mapToItem(plot, mouse.x, mouse.y)
                    const x = start.x + now.x - pressAt.x
                    const y = start.y + now.y - pressAt.y
                    const dx = x / Math.max(1, plot.width) - p.pos
                    const dy = SCM.yToSpeed(y, plot.height) - p.speed
                    plot.editor.replacePoint(plot.selected,
                                             SCM.movedHandle(plot.points, plot.selected, handle.index, dx, dy))
                }
                onReleased: finish()
                onCanceled: finish()
                function finish() {
                    if (!dragging)
                        return
                    dragging = false
                    plot.editor.commit()
                }
            }
        }
    }

    Repeater {
        model: plot.editor.pointCount
        Rectangle {
            id: knob
            required property int index
            readonly property var point: plot.points[index] || SCM.copyPoint({ pos: 0, speed: 1 })
            objectName: "speedKnob" + index
            x: plot.xOf(point.pos) - width / 2
            y: plot.yOf(point.speed) - height / 2
            width: plot.knobSize
            height: plot.knobSize
            radius: width / 2
            color: plot.selected === index ? Theme.primary : Theme.panelBackground
            border.color: Theme.primary
            border.width: 2
            MouseArea {
                // Values frozen at the press: reading the live point would compound each move.
                property var start: null
                property point pressAt: Qt.point(0, 0)
                property bool moved: false
                anchors.fill: parent
                anchors.margins: -4
                preventStealing: true
                cursorShape: Qt.SizeAllCursor
                onPressed: mouse => {
                    start = SCM.copyPoint(knob.point)
                    pressAt = mapToItem(plot, mouse.x, mouse.y)
                    moved = false
                }
                onPositionChanged: mouse => {
                    if (!start)
                        return
                    const at = mapToItem(plot, mouse.x, mouse.y)
                    moved = true
                    const pos = start.pos + (at.x - pressAt.x) / Math.max(1, plot.width)
                    const speed = SCM.yToSpeed(plot.yOf(start.speed) + at.y - pressAt.y, plot.height)
                    plot.editor.replacePoint(knob.index, SCM.movedKnob(plot.points, knob.index, pos, speed))
                }
                // A click selects; a drag leaves the selection as it was and commits.
                onReleased: {
                    if (start && !moved)
                        plot.editor.selectedPoint = knob.index
                    finish()
                }
                onCanceled: finish()
                function finish() {
                    if (!start)
                        return
                    start = null
                    if (moved)
                        plot.editor.commit()
                }
            }
        }
    }
}
