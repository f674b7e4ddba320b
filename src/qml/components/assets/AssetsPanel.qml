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

    readonly property var tabs: [{ id: "media", icon: "media", label: qsTr("Media") },
                                 { id: "effects", icon: "effects", label: qsTr("Effects") },
                                 { id: "transitions", icon: "transition", label: qsTr("Transitions") },
                                 { id: "audioEffects", icon: "audio", label: qsTr("Audio effects") }]

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
                model: panel.tabs
                delegate: AbstractButton {
                    required property var modelData
                    width: 52
                    height: 56
                    checked: panel.currentTab === modelData.id
                    onClicked: panel.currentTab = modelData.id
                    contentItem: Column {
                        spacing: 2
                        IconGlyph {
                            anchors.horizontalCenter: parent.horizontalCenter
                            name: modelData.icon
                            color: parent.parent.checked ? Theme.primary : Theme.mutedForeground
                        }
                        // Two-word labels wrap inside the rail instead of running past its edge.
                        Text {
                            width: 50
                            anchors.horizontalCenter: parent.horizontalCenter
                            horizontalAlignment: Text.AlignHCenter
                            wrapMode: Text.WordWrap
                            maximumLineCount: 2
                            lineHeight: 0.9
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
        CatalogBrowser {
            objectName: "effectsLibrary"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: panel.currentTab === "effects"
            entries: visible ? EditorState.effectCatalog() : []
            categories: visible ? EditorState.effectCategories() : []
            mimeType: "application/x-orvel-effect"
            searchPlaceholder: qsTr("Search effects")
        }
        CatalogBrowser {
            objectName: "transitionsLibrary"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: panel.currentTab === "transitions"
            entries: visible ? EditorState.transitionKinds() : []
            mimeType: "application/x-orvel-transition"
            searchPlaceholder: qsTr("Search transitions")
        }
        CatalogBrowser {
            objectName: "audioEffectsLibrary"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: panel.currentTab === "audioEffects"
            entries: visible ? EditorState.audioEffectCatalog() : []
            categories: visible ? EditorState.audioEffectCategories() : []
            mimeType: "application/x-orvel-audio-effect"
            searchPlaceholder: qsTr("Search audio effects")
        }
    }
}
