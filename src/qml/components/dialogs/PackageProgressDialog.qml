import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// Shown while a shareable copy is written; it closes by itself when the job ends.
ThemedDialog {
    id: dialog

    objectName: "packageProgressDialog"
    title: qsTr("Creating a shareable copy")
    width: 420
    acceptText: ""
    rejectText: qsTr("Cancel")
    closePolicy: Popup.NoAutoClose
    onRejected: EditorState.cancelPackage()

    Connections {
        target: EditorState
        function onPackagingChanged() {
            if (EditorState.packaging)
                dialog.open()
            else
                dialog.close()
        }
    }

    ColumnLayout {
        width: parent.width
        spacing: Theme.spacingMd
        ThemedLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: qsTr("Copying the project and its media into one file.")
        }
        ThemedProgressBar {
            Layout.fillWidth: true
            from: 0
            to: 1
            value: EditorState.packageProgress
            indeterminate: EditorState.packageProgress <= 0
        }
        ThemedLabel {
            muted: true
            text: qsTr("%1%").arg(Math.round(EditorState.packageProgress * 100))
        }
    }
}
