import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

ThemedDialog {
    id: dialog

    objectName: "recoveryDialog"
    title: qsTr("Unsaved work from last session")
    width: 440
    acceptText: qsTr("Restore")
    rejectText: qsTr("New session")
    closePolicy: Popup.NoAutoClose
    onAccepted: EditorState.restoreAutosave()
    onRejected: EditorState.discardAutosave()

    ColumnLayout {
        width: parent.width
        spacing: Theme.spacingMd
        ThemedLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            elide: Text.ElideNone
            text: {
                const info = EditorState.recoveryInfo
                const name = info.projectName && info.projectName.length > 0 ? info.projectName : qsTr("Untitled project")
                return qsTr("The editor closed before “%1” was saved. Restore the work from the last autosave?").arg(name)
            }
        }
        ThemedLabel {
            Layout.fillWidth: true
            muted: true
            visible: text.length > 0
            text: EditorState.recoveryInfo.savedAt ? qsTr("Autosaved %1").arg(EditorState.recoveryInfo.savedAt) : ""
        }
    }
}
