import QtQuick
import QtQuick.Layouts
import Orvel

// A group heading inside an inspector, with a rule above it to separate the groups.
ColumnLayout {
    property alias text: label.text

    Layout.fillWidth: true
    Layout.topMargin: Theme.spacingMd
    spacing: Theme.spacingSm
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: Theme.panelBorder
    }
    ThemedLabel {
        id: label
        Layout.fillWidth: true
        font.weight: Font.DemiBold
    }
}
