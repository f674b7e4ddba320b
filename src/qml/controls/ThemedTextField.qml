import QtQuick
import QtQuick.Controls.Basic
import Orvel

TextField {
    id: control

    implicitHeight: 30
    leftPadding: 8
    rightPadding: 8
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm
    color: Theme.foreground
    placeholderTextColor: Theme.mutedForeground
    selectionColor: Theme.primary
    selectedTextColor: Theme.primaryForeground
    selectByMouse: true
    background: Rectangle {
        radius: Theme.radiusSm
        color: Theme.appBackground
        border.width: control.activeFocus ? 2 : 1
        border.color: control.activeFocus ? Theme.focusRing : Theme.panelBorder
    }
}
