import QtQuick
import QtQuick.Layouts
import Orvel

// What the clip is and where it sits: start, duration, trim and its file.
InspectorPage {
    id: page

    readonly property var kindNames: ({
        video: qsTr("Video"), audio: qsTr("Audio"), image: qsTr("Image"), text: qsTr("Text"),
        subtitle: qsTr("Subtitle"), shape: qsTr("Shape"), sticker: qsTr("Sticker")
    })

    ThemedLabel {
        Layout.fillWidth: true
        text: page.clipData.name || ""
        font.weight: Font.DemiBold
    }
    ThemedLabel {
        objectName: "clipKind"
        Layout.fillWidth: true
        muted: true
        text: page.kindNames[page.kind] || page.kind
    }
    FieldLabel { text: qsTr("Starts at (s)") }
    ThemedNumberField {
        Layout.fillWidth: true
        from: 0
        to: 86400
        decimals: 2
        value: page.clipData.start || 0
        onValueModified: v => EditorState.setClipStart(page.trackIndex, page.clipIndex, v)
    }
    FieldLabel { text: qsTr("Duration (s)") }
    ThemedNumberField {
        Layout.fillWidth: true
        from: 0.1
        to: 86400
        decimals: 2
        value: page.clipData.duration || 0
        onValueModified: v => EditorState.setClipDuration(page.trackIndex, page.clipIndex, v)
    }
    SectionTitle { text: qsTr("Trim") }
    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.spacingMd
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            FieldLabel { text: qsTr("From (s)") }
            ThemedNumberField {
                Layout.fillWidth: true
                from: 0
                to: 86400
                decimals: 2
                value: page.clipData.inPoint || 0
                onValueModified: v => EditorState.setClipTrim(page.trackIndex, page.clipIndex, v, page.clipData.outPoint)
            }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            FieldLabel { text: qsTr("To (s)") }
            ThemedNumberField {
                Layout.fillWidth: true
                from: 0
                to: 86400
                decimals: 2
                value: page.clipData.outPoint || 0
                onValueModified: v => EditorState.setClipTrim(page.trackIndex, page.clipIndex, page.clipData.inPoint, v)
            }
        }
    }
    SectionTitle {
        visible: (page.clipData.path || "").length > 0
        text: qsTr("File")
    }
    Text {
        Layout.fillWidth: true
        Layout.maximumHeight: 64
        visible: text.length > 0
        clip: true
        text: page.clipData.path || ""
        wrapMode: Text.WrapAnywhere
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontSizeXs
        color: Theme.mutedForeground
    }
}
