import QtQuick
import QtQuick.Layouts
import Orvel

// The toasts, stacked at the bottom right above everything. Only the cards take the mouse: the
// host itself lets every click through to the window below.
Item {
    id: host

    readonly property int visibleCount: column.children.length - 1

    function accentOf(severity) {
        return severity === "error" ? Theme.destructive
             : severity === "warning" ? Theme.warning
             : severity === "success" ? "#22c55e" : Theme.primary
    }

    Column {
        id: column
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Theme.pagePadding * 2
        spacing: Theme.spacingMd
        width: Math.min(360, host.width - 4 * Theme.pagePadding)

        Repeater {
            model: Toasts.model
            delegate: Rectangle {
                id: toast
                required property int toastId
                required property string severity
                required property string message
                required property int repeats
                required property int timeout

                objectName: "toast"
                width: column.width
                height: Math.max(44, row.implicitHeight + 16)
                radius: Theme.radiusMd
                color: Theme.panelBackground
                border.color: Theme.panelBorder

                // Swallows clicks on the card itself so they do not reach the panel behind it.
                MouseArea {
                    anchors.fill: parent
                    hoverEnabled: true
                    onContainsMouseChanged: expiry.running = !containsMouse && toast.timeout > 0
                }
                Timer {
                    id: expiry
                    interval: toast.timeout
                    running: toast.timeout > 0
                    onTriggered: Toasts.dismiss(toast.toastId)
                }
                Rectangle {
                    width: 4
                    anchors.left: parent.left
                    anchors.top: parent.top
                    anchors.bottom: parent.bottom
                    anchors.margins: 6
                    radius: 2
                    color: host.accentOf(toast.severity)
                }
                RowLayout {
                    id: row
                    anchors.fill: parent
                    anchors.leftMargin: 18
                    anchors.rightMargin: 6
                    spacing: Theme.spacingMd
                    IconGlyph {
                        Layout.alignment: Qt.AlignVCenter
                        name: toast.severity
                        color: host.accentOf(toast.severity)
                    }
                    Text {
                        Layout.fillWidth: true
                        Layout.alignment: Qt.AlignVCenter
                        text: toast.message
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontSizeSm
                        color: Theme.foreground
                        wrapMode: Text.Wrap
                        maximumLineCount: 3
                        elide: Text.ElideRight
                    }
                    Rectangle {
                        visible: toast.repeats > 1
                        Layout.alignment: Qt.AlignVCenter
                        implicitWidth: Math.max(20, countText.implicitWidth + 8)
                        implicitHeight: 18
                        radius: Theme.radiusPill
                        color: Theme.panelBorder
                        Text {
                            id: countText
                            anchors.centerIn: parent
                            text: "×" + toast.repeats
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontSizeTiny
                            color: Theme.foreground
                        }
                    }
                    IconButton {
                        Layout.alignment: Qt.AlignVCenter
                        iconName: "close"
                        iconSize: 11
                        toolTipText: qsTr("Dismiss")
                        onClicked: Toasts.dismiss(toast.toastId)
                    }
                }
            }
        }
    }
}
