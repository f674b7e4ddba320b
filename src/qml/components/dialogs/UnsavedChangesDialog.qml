import QtQuick
import Orvel

ThemedDialog {
    id: dialog

    property string projectName: ""

    signal saveChosen()
    signal discardChosen()

    objectName: "unsavedChangesDialog"
    title: qsTr("Unsaved changes")
    width: 420
    acceptText: qsTr("Save")
    rejectText: qsTr("Cancel")
    extraText: qsTr("Don't Save")
    onExtraClicked: discardChosen()
    // Saving must not close by itself: a failed save keeps the prompt up.
    closeOnAccept: false
    onAcceptClicked: saveChosen()

    ThemedLabel {
        width: parent.width
        text: qsTr("“%1” has unsaved changes. Save before continuing?").arg(dialog.projectName)
        wrapMode: Text.Wrap
        elide: Text.ElideNone
    }
}
