import QtQuick
import QtQuick.Layouts
import Orvel

// A colour typed as #RRGGBB or #AARRGGBB with a swatch. Malformed text is refused: it is not
// sent anywhere and a hint says what is expected.
ColumnLayout {
    id: field

    property string label: ""
    property string color: "#ffffff"
    property bool invalid: false

    signal colorEdited(string color)

    function submit(text) {
        const t = text.trim()
        invalid = !/^#([0-9a-fA-F]{6}|[0-9a-fA-F]{8})$/.test(t)
        if (!invalid && t.toLowerCase() !== field.color.toLowerCase())
            colorEdited(t)
    }

    Layout.fillWidth: true
    spacing: 2

    FieldLabel { text: field.label; visible: text.length > 0 }
    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.spacingMd
        Rectangle {
            implicitWidth: 22
            implicitHeight: 22
            radius: Theme.radiusXs
            color: field.color
            border.color: Theme.panelBorder
        }
        ThemedTextField {
            id: input
            objectName: "colorInput"
            Layout.fillWidth: true
            text: field.color
            onEditingFinished: field.submit(text)
            onTextEdited: field.invalid = false
        }
    }
    ThemedLabel {
        objectName: "colorError"
        Layout.fillWidth: true
        visible: field.invalid
        text: qsTr("Enter a color like #FF0000")
        color: Theme.destructive
        font.pixelSize: Theme.fontSizeXs
        wrapMode: Text.Wrap
    }
}
