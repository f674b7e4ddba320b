import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// The grid of the project's media, filtered by the search text. Rows are rebuilt from the
// library on every change, which keeps filtering simple and is cheap at library sizes.
Item {
    id: library

    property string searchText: ""
    property var rows: []
    property var lastRemoved: null

    signal importRequested()
    signal filesDropped(var urls)
    signal activated(int assetIndex)

    function rebuild() {
        const needle = searchText.trim().toLowerCase()
        const list = []
        for (let i = 0; i < AssetLibrary.count; ++i) {
            const asset = AssetLibrary.assetAt(i)
            if (needle.length > 0 && asset.name.toLowerCase().indexOf(needle) < 0)
                continue
            asset.provisional = AssetLibrary.isImportingAt(i)
            asset.missing = !asset.provisional && AssetLibrary.fileMissingAt(i)
            list.push(asset)
        }
        rows = list
    }

    function removeAsset(assetIndex) {
        EditorState.removeAsset(assetIndex)
    }

    onSearchTextChanged: rebuild()
    Component.onCompleted: {
        AssetLibrary.ensureAllMedia()
        rebuild()
    }

    Connections {
        target: AssetLibrary
        function onCountChanged() { Qt.callLater(library.rebuild) }
        function onImportingChanged() { Qt.callLater(library.rebuild) }
        function onDataChanged() { Qt.callLater(library.rebuild) }
        function onModelReset() { Qt.callLater(library.rebuild) }
        function onAssetMetadataChanged() { Qt.callLater(library.rebuild) }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingMd * 2
        spacing: Theme.spacingMd

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingMd
            ThemedTextField {
                id: searchField
                objectName: "mediaSearch"
                Layout.fillWidth: true
                Layout.minimumWidth: 60
                placeholderText: qsTr("Search media")
                onTextChanged: library.searchText = text
            }
            IconButton {
                id: sortButton
                iconName: "sort"
                toolTipText: qsTr("Sort")
                onClicked: sortMenu.popup(sortButton, 0, sortButton.height + 2)
                ThemedContextMenu {
                    id: sortMenu
                    ThemedMenuItem { text: qsTr("Sort by name"); onTriggered: AssetLibrary.sortByName() }
                    ThemedMenuItem { text: qsTr("Sort by kind"); onTriggered: AssetLibrary.sortByKind() }
                }
            }
            ThemedButton {
                objectName: "importButton"
                variant: "primary"
                iconName: "import"
                text: qsTr("Import")
                onClicked: library.importRequested()
            }
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            GridView {
                id: grid
                objectName: "mediaGrid"
                anchors.fill: parent
                clip: true
                readonly property int columns: Math.max(1, Math.floor(width / 104))
                cellWidth: Math.floor(width / columns)
                cellHeight: cellWidth * 9 / 16 + 38
                model: library.rows
                ScrollBar.vertical: AppScrollBar {}
                delegate: AssetTile {
                    required property var modelData
                    asset: modelData
                    width: grid.cellWidth
                    height: grid.cellHeight
                    onActivated: library.activated(modelData.assetIndex)
                    onRemoveRequested: library.removeAsset(modelData.assetIndex)
                }
            }

            EmptyState {
                anchors.fill: parent
                visible: AssetLibrary.count === 0
                iconName: "media"
                title: qsTr("No media yet")
                hint: qsTr("Import video, audio or images, or drop files here.")
                actionText: qsTr("Import")
                onActionTriggered: library.importRequested()
            }
            ThemedLabel {
                anchors.centerIn: parent
                visible: AssetLibrary.count > 0 && library.rows.length === 0
                muted: true
                text: qsTr("Nothing matches “%1”").arg(library.searchText)
            }

            DropArea {
                id: dropArea
                anchors.fill: parent
                keys: ["text/uri-list"]
                onDropped: drop => {
                    if (drop.hasUrls) {
                        library.filesDropped(drop.urls)
                        drop.acceptProposedAction()
                    }
                }
                Rectangle {
                    anchors.fill: parent
                    visible: dropArea.containsDrag
                    radius: Theme.radiusMd
                    color: Qt.rgba(0.97, 0.72, 0.11, 0.08)
                    border.width: 2
                    border.color: Theme.primary
                }
            }
        }
    }
}
