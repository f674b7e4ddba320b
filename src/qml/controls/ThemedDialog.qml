import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T
import Orvel

// A modal dialog with a title bar and a row of buttons. `acceptText` and `rejectText` name the
// buttons; an empty text hides that button. `extraText` adds a third button on the left (for
// "Don't Save"), which emits `extraClicked` and leaves closing to the caller.
Dialog {
    id: control

    property string acceptText: qsTr("OK")
    property string rejectText: qsTr("Cancel")
    property string extraText: ""
    property bool acceptEnabled: true
    property bool destructiveAccept: false
    // With false the accept button only emits acceptClicked, for dialogs that may stay open.
    property bool closeOnAccept: true

    signal extraClicked()
    signal acceptClicked()

    modal: true
    anchors.centerIn: T.Overlay.overlay
    padding: 16
    topPadding: 8
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm
    closePolicy: Popup.CloseOnEscape

    header: Item {
        implicitHeight: control.title.length > 0 ? 44 : 0
        visible: control.title.length > 0
        Text {
            anchors.fill: parent
            anchors.leftMargin: 16
            anchors.rightMargin: 16
            text: control.title
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeBase
            font.weight: Font.DemiBold
            color: Theme.foreground
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
        }
    }
    footer: Item {
        implicitHeight: 54
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 16
            anchors.rightMargin: 16
            spacing: 8
            ThemedButton {
                objectName: "dialogExtraButton"
                visible: control.extraText.length > 0
                text: control.extraText
                onClicked: control.extraClicked()
            }
            Item { Layout.fillWidth: true }
            ThemedButton {
                objectName: "dialogRejectButton"
                visible: control.rejectText.length > 0
                text: control.rejectText
                onClicked: control.reject()
            }
            ThemedButton {
                objectName: "dialogAcceptButton"
                visible: control.acceptText.length > 0
                enabled: control.acceptEnabled
                variant: control.destructiveAccept ? "destructive" : "primary"
                text: control.acceptText
                onClicked: control.closeOnAccept ? control.accept() : control.acceptClicked()
            }
        }
    }
    background: Rectangle {
        radius: Theme.radiusLg
        color: Theme.panelBackground
        border.color: Theme.panelBorder
    }
}
