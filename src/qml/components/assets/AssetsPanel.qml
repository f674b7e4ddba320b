import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// The media library: a tab rail with the project's media first, import by dialog or by drop,
// search, sort, removal, and the two ways media reaches the timeline (drag, double click).
PanelFrame {
    id: panel

    property string currentTab: "media"
    readonly property string mediaFilter: qsTr("Media files (*.mp4 *.mov *.mkv *.webm *.avi *.m4v *.mpg *.mpeg *.ts "
                                               + "*.mp3 *.wav *.aac *.flac *.ogg *.m4a *.wma *.aiff *.aif "
                                               + "*.png *.jpg *.jpeg *.gif *.webp *.bmp *.tiff *.tif *.svg);;"
                                               + "Video (*.mp4 *.mov *.mkv *.webm *.avi *.m4v *.mpg *.mpeg *.ts);;"
                                               + "Audio (*.mp3 *.wav *.aac *.flac *.ogg *.m4a *.wma *.aiff *.aif);;"
                                               + "Images (*.png *.jpg *.jpeg *.gif *.webp *.bmp *.tiff *.tif *.svg)")

    function importFiles(urls) {
        const list = []
        for (let i = 0; i < urls.length; ++i)
            list.push(urls[i])
        if (list.length > 0)
            AssetLibrary.importUrls(list)
    }

    function chooseAndImport() {
        importFiles(FileDialogs.openFiles(qsTr("Import media"), mediaFilter))
    }

    function addAtPlayhead(assetIndex) {
        panel.Window.window.configureAndAddAsset(assetIndex, function () { EditorState.addClipFromAsset(assetIndex) })
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        // Tab rail: later kinds of library join "Media" here.
        Column {
            Layout.fillHeight: true
            Layout.preferredWidth: 52
            topPadding: Theme.spacingMd
            spacing: Theme.spacingSm
            Repeater {
                model: [{ id: "media", icon: "media", label: qsTr("Media") }]
                delegate: AbstractButton {
                    required property var modelData
                    width: 52
                    height: 48
                    checked: panel.currentTab === modelData.id
                    onClicked: panel.currentTab = modelData.id
                    contentItem: Column {
                        spacing: 2
                        IconGlyph {
                            anchors.horizontalCenter: parent.horizontalCenter
                            name: modelData.icon
                            color: parent.parent.checked ? Theme.primary : Theme.mutedForeground
                        }
                        Text {
                            anchors.horizontalCenter: parent.horizontalCenter
                            text: modelData.label
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontSizeTiny
                            color: parent.parent.checked ? Theme.foreground : Theme.mutedForeground
                        }
                    }
                }
            }
        }
        Rectangle {
            Layout.fillHeight: true
            implicitWidth: 1
            color: Theme.panelBorder
        }
        MediaLibrary {
            id: mediaLibrary
            objectName: "mediaLibrary"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: panel.currentTab === "media"
            onImportRequested: panel.chooseAndImport()
            onFilesDropped: urls => panel.importFiles(urls)
            onActivated: index => panel.addAtPlayhead(index)
        }
    }
}
