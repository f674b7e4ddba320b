import QtQuick
import QtQuick.Layouts
import Orvel

ThemedDialog {
    id: dialog

    objectName: "projectPropertiesDialog"
    title: qsTr("Project properties")
    width: 460
    acceptText: qsTr("Save")

    function openDialog() {
        const meta = EditorState.projectMetadata()
        titleField.text = meta.title || ""
        authorField.text = meta.author || ""
        descriptionField.text = meta.description || ""
        open()
    }

    onAccepted: EditorState.setProjectMetadata(titleField.text, authorField.text, descriptionField.text)

    ColumnLayout {
        width: parent.width
        spacing: Theme.spacingMd
        ThemedLabel { text: qsTr("Title"); muted: true }
        ThemedTextField { id: titleField; Layout.fillWidth: true }
        ThemedLabel { text: qsTr("Author"); muted: true }
        ThemedTextField { id: authorField; Layout.fillWidth: true }
        ThemedLabel { text: qsTr("Description"); muted: true }
        ThemedTextArea {
            id: descriptionField
            Layout.fillWidth: true
            Layout.preferredHeight: 90
        }
        ThemedLabel {
            Layout.fillWidth: true
            muted: true
            text: qsTr("%1 × %2 at %3 fps").arg(EditorState.projectWidth()).arg(EditorState.projectHeight())
                                           .arg(EditorState.projectFps())
        }
    }
}
