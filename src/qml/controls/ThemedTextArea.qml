import QtQuick
import QtQuick.Controls.Basic
import Orvel

TextArea {
    id: control

    padding: 8
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm
    color: Theme.foreground
    placeholderTextColor: Theme.mutedForeground
    selectionColor: Theme.primary
    selectedTextColor: Theme.primaryForeground
    selectByMouse: true
    wrapMode: TextEdit.Wrap
    background: Rectangle {
        radius: Theme.radiusSm
        color: Theme.appBackground
        border.width: control.activeFocus ? 2 : 1
        border.color: control.activeFocus ? Theme.focusRing : Theme.panelBorder
    }
}
