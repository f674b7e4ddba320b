import QtQuick
import Orvel

// A round progress gauge with the percentage in its middle; while indeterminate a quarter arc
// turns instead.
Item {
    id: ring

    property real value: 0
    property bool indeterminate: false
    property real lineWidth: 6

    implicitWidth: 96
    implicitHeight: 96

    Canvas {
        id: canvas
        anchors.fill: parent
        property real value: ring.value
        property bool indeterminate: ring.indeterminate
        property color track: Theme.panelBorder
        property color accent: Theme.primary
        onValueChanged: requestPaint()
        onIndeterminateChanged: requestPaint()
        onTrackChanged: requestPaint()
        onAccentChanged: requestPaint()
        onPaint: {
            const ctx = getContext("2d")
            ctx.reset()
            const r = Math.min(width, height) / 2 - ring.lineWidth
            ctx.lineWidth = ring.lineWidth
            ctx.lineCap = "round"
            ctx.strokeStyle = track
            ctx.beginPath()
            ctx.arc(width / 2, height / 2, r, 0, 2 * Math.PI)
            ctx.stroke()
            ctx.strokeStyle = accent
            ctx.beginPath()
            if (indeterminate)
                ctx.arc(width / 2, height / 2, r, 0, Math.PI / 2)
            else
                ctx.arc(width / 2, height / 2, r, -Math.PI / 2, -Math.PI / 2 + 2 * Math.PI * Math.max(0, Math.min(1, value)))
            ctx.stroke()
        }
        RotationAnimator on rotation {
            running: ring.indeterminate && ring.visible
            from: 0
            to: 360
            duration: 1200
            loops: Animation.Infinite
        }
    }
    Text {
        anchors.centerIn: parent
        visible: !ring.indeterminate
        text: Math.round(ring.value * 100) + "%"
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontSizeBase
        font.weight: Font.DemiBold
        color: Theme.foreground
    }
}
