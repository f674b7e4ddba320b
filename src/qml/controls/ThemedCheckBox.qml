import QtQuick
import QtQuick.Controls.Basic
import Orvel

CheckBox {
    id: control

    hoverEnabled: true
    spacing: Theme.spacingMd
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm

    indicator: Rectangle {
        x: control.leftPadding
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: 16
        implicitHeight: 16
        radius: Theme.radiusXs
        color: control.checked ? Theme.primary : "transparent"
        border.width: control.checked ? 0 : 1
        border.color: control.visualFocus || control.hovered ? Theme.focusRing : Theme.mutedForeground
        IconGlyph {
            anchors.centerIn: parent
            visible: control.checked
            name: "check"
            size: 12
            color: Theme.primaryForeground
        }
    }
    contentItem: Text {
        leftPadding: control.indicator.width + control.spacing
        text: control.text
        font: control.font
        color: control.enabled ? Theme.foreground : Theme.mutedForeground
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
}
