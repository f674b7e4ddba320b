import QtQuick
import QtQuick.Layouts
import Orvel

// What a panel shows while it has nothing: a glyph, a line, a hint and optionally one action.
Item {
    id: empty

    property string iconName: ""
    property string title: ""
    property string hint: ""
    property string actionText: ""

    signal actionTriggered()

    implicitWidth: column.implicitWidth
    implicitHeight: column.implicitHeight

    ColumnLayout {
        id: column
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.pagePadding, 320)
        spacing: Theme.spacingMd

        IconGlyph {
            Layout.alignment: Qt.AlignHCenter
            visible: empty.iconName.length > 0
            name: empty.iconName
            size: 28
            color: Theme.mutedForeground
        }
        Text {
            Layout.fillWidth: true
            visible: text.length > 0
            text: empty.title
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeBase
            font.weight: Font.DemiBold
            color: Theme.foreground
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        Text {
            Layout.fillWidth: true
            visible: text.length > 0
            text: empty.hint
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeXs
            color: Theme.mutedForeground
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        ThemedButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacingSm
            visible: empty.actionText.length > 0
            variant: "primary"
            text: empty.actionText
            onClicked: empty.actionTriggered()
        }
    }
}
