import QtQuick
import QtQuick.Controls.Basic
import Orvel

MenuSeparator {
    topPadding: 3
    bottomPadding: 3
    contentItem: Rectangle {
        implicitHeight: 1
        color: Theme.panelBorder
    }
}
