import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// Opens when an export starts. Closing only hides it: the job goes on, and the header's badge
// brings the dialog back.
ThemedDialog {
    id: dialog

    objectName: "exportProgressDialog"
    readonly property bool running: EditorState.exportInProgress === true
    title: running ? qsTr("Exporting video") : qsTr("Export")
    width: 420
    acceptText: running ? qsTr("Cancel export") : ""
    destructiveAccept: true
    closeOnAccept: false
    rejectText: qsTr("Close")
    closePolicy: Popup.CloseOnEscape
    onAcceptClicked: EditorState.cancelExport()

    Connections {
        target: EditorState
        function onExportInProgressChanged() {
            if (EditorState.exportInProgress)
                dialog.open()
        }
    }

    ColumnLayout {
        width: parent.width
        spacing: Theme.spacingMd * 2
        LabelledProgressRing {
            objectName: "exportProgressRing"
            Layout.alignment: Qt.AlignHCenter
            value: EditorState.exportProgress
            indeterminate: dialog.running && EditorState.exportProgress <= 0
        }
        ThemedLabel {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: dialog.running ? qsTr("Rendering your video. Close to keep editing, or cancel to stop.")
                                 : qsTr("Export finished.")
        }
    }
}
