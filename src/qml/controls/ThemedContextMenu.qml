import QtQuick
import QtQuick.Controls.Basic
import Orvel

// A popup menu; fill it with ThemedMenuItem and ThemedMenuSeparator.
Menu {
    id: control

    padding: 4
    implicitWidth: 220
    delegate: ThemedMenuItem {}
    background: Rectangle {
        implicitWidth: 200
        radius: Theme.radiusSm
        color: Theme.panelBackground
        border.color: Theme.panelBorder
    }
}
