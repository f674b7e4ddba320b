import QtQuick
import QtQuick.Controls.Basic
import Orvel

ToolTip {
    id: control

    delay: 500
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeXs
    contentItem: Text {
        text: control.text
        font: control.font
        color: Theme.foreground
        wrapMode: Text.Wrap
    }
    background: Rectangle {
        color: Theme.panelBackground
        border.color: Theme.panelBorder
        radius: Theme.radiusSm
    }
}
