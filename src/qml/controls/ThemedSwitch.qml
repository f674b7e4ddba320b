import QtQuick
import QtQuick.Controls.Basic
import Orvel

Switch {
    id: control

    hoverEnabled: true
    spacing: Theme.spacingMd
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm

    indicator: Rectangle {
        x: control.leftPadding
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: 30
        implicitHeight: 16
        radius: height / 2
        color: control.checked ? Theme.primary : Theme.panelBorder
        border.width: control.visualFocus ? 2 : 0
        border.color: Theme.focusRing
        Rectangle {
            width: 12
            height: 12
            radius: 6
            y: 2
            x: control.checked ? parent.width - width - 2 : 2
            color: control.checked ? Theme.primaryForeground : Theme.foreground
            Behavior on x { NumberAnimation { duration: Theme.durationBase; easing.type: Theme.easing } }
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
