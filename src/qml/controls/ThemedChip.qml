import QtQuick
import QtQuick.Controls.Basic
import Orvel

// A small rounded choice in a row of alternatives (aspect, quality, category).
Button {
    id: control

    checkable: true
    hoverEnabled: true
    implicitHeight: 26
    leftPadding: 10
    rightPadding: 10
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeXs

    contentItem: Text {
        text: control.text
        font: control.font
        color: control.checked ? Theme.primaryForeground : Theme.foreground
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.radiusPill
        color: control.checked ? Theme.primary : (control.hovered ? Theme.panelBorder : "transparent")
        border.width: control.checked ? 0 : 1
        border.color: control.visualFocus ? Theme.focusRing : Theme.panelBorder
    }
}
