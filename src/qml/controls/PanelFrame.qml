import QtQuick
import QtQuick.Layouts
import Orvel

// The rounded card that every panel sits in, with an optional header row of `title` and
// `headerActions` (any items, laid out at the right). Children go into the body below the header.
Rectangle {
    id: frame

    property string title: ""
    property alias headerActions: actionRow.data
    property bool showHeader: title.length > 0 || actionRow.children.length > 0
    default property alias content: body.data

    color: Theme.panelBackground
    border.color: Theme.panelBorder
    radius: Theme.radiusMd
    clip: true

    Item {
        id: headerBar
        visible: frame.showHeader
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        height: visible ? Theme.panelHeaderHeight : 0
        Text {
            anchors.left: parent.left
            anchors.leftMargin: Theme.pagePadding
            anchors.right: actionRow.left
            anchors.verticalCenter: parent.verticalCenter
            text: frame.title
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeSm
            font.weight: Font.DemiBold
            color: Theme.foreground
            elide: Text.ElideRight
        }
        RowLayout {
            id: actionRow
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingMd
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.spacingSm
        }
        Rectangle {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: 1
            color: Theme.panelBorder
        }
    }
    Item {
        id: body
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: headerBar.bottom
        anchors.bottom: parent.bottom
    }
}
