import QtQuick
import Orvel

// A placeholder that pulses while its content loads. `animated` may be turned off where many
// boxes would be on screen at once.
Rectangle {
    id: box

    property bool animated: true

    radius: Theme.radiusXs
    color: Theme.panelBorder

    SequentialAnimation on opacity {
        running: box.animated && box.visible
        loops: Animation.Infinite
        NumberAnimation { from: 1; to: 0.45; duration: 700; easing.type: Easing.InOutQuad }
        NumberAnimation { from: 0.45; to: 1; duration: 700; easing.type: Easing.InOutQuad }
    }
}
