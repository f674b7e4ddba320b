import QtQuick
import QtQuick.Controls.Basic
import Orvel

// A thin scroll bar that widens and darkens while hovered or dragged.
ScrollBar {
    id: control

    hoverEnabled: true
    minimumSize: 0.05
    padding: 2
    // Nothing to scroll, nothing to show.
    visible: size < 1.0
    contentItem: Rectangle {
        implicitWidth: control.hovered || control.pressed ? 8 : 5
        implicitHeight: control.hovered || control.pressed ? 8 : 5
        radius: Theme.radiusPill
        color: control.pressed ? Theme.primary : Theme.mutedForeground
        opacity: control.policy === ScrollBar.AlwaysOn || control.active ? 0.8 : 0.35
        Behavior on opacity { NumberAnimation { duration: Theme.durationBase } }
    }
    background: null
}
