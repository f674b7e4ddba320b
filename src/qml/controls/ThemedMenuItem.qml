import QtQuick
import QtQuick.Controls.Basic
import Orvel

MenuItem {
    id: control

    property string shortcutText: ""
    property bool destructive: false

    implicitHeight: 28
    hoverEnabled: true
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm

    contentItem: Item {
        implicitWidth: label.implicitWidth + shortcut.implicitWidth + 32
        Text {
            id: label
            anchors.left: parent.left
            anchors.right: shortcut.left
            anchors.verticalCenter: parent.verticalCenter
            text: control.text
            font: control.font
            elide: Text.ElideRight
            color: !control.enabled ? Theme.mutedForeground
                 : control.destructive ? Theme.destructive : Theme.foreground
        }
        Text {
            id: shortcut
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: control.shortcutText
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeXs
            color: Theme.mutedForeground
        }
    }
    indicator: null
    arrow: null
    background: Rectangle {
        radius: Theme.radiusXs
        color: control.highlighted ? Theme.panelBorder : "transparent"
    }
}
