import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// One asset in the grid: poster, name, duration and badges. Dragging it toward the timeline
// goes through the controller's library-drag state, which the timeline reads on drop.
Item {
    id: tile

    property var asset: ({})
    readonly property bool provisional: asset.provisional === true
    readonly property bool missing: asset.missing === true

    signal activated()
    signal removeRequested()

    Rectangle {
        id: card
        anchors.fill: parent
        anchors.margins: 3
        radius: Theme.radiusSm
        color: mouse.containsMouse ? Theme.panelBorder : "transparent"
        border.color: mouse.containsMouse ? Theme.mutedForeground : "transparent"

        Drag.active: mouse.drag.active
        Drag.dragType: Drag.Automatic
        Drag.supportedActions: Qt.CopyAction
        Drag.mimeData: ({ "application/x-orvel-asset": String(tile.asset.assetIndex) })
        Drag.onDragFinished: EditorState.draggingAssetIndex = -1

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: 3
            spacing: 2

            Rectangle {
                Layout.fillWidth: true
                Layout.fillHeight: true
                radius: Theme.radiusXs
                color: Theme.clipVideoPlaceholder
                clip: true

                Image {
                    id: poster
                    anchors.fill: parent
                    visible: !tile.provisional && status === Image.Ready
                    asynchronous: true
                    fillMode: Image.PreserveAspectCrop
                    sourceSize.width: 240
                    source: tile.asset.thumbnailPath ? "image://orvel/" + encodeURIComponent(tile.asset.thumbnailPath) : ""
                }
                IconGlyph {
                    anchors.centerIn: parent
                    visible: !tile.provisional && poster.status !== Image.Ready
                    name: tile.asset.kind === "audio" ? "audio" : tile.asset.kind === "image" ? "image" : "video"
                    size: 22
                    color: Theme.mutedForeground
                }
                SkeletonBox {
                    anchors.fill: parent
                    visible: tile.provisional
                }
                Row {
                    anchors.left: parent.left
                    anchors.top: parent.top
                    anchors.margins: 4
                    spacing: 3
                    Badge {
                        visible: tile.asset.kind === "audio"
                        text: qsTr("Audio")
                        tint: Theme.clipAudio
                    }
                    Badge {
                        objectName: "missingBadge"
                        visible: tile.missing
                        text: qsTr("Missing")
                        tint: Theme.destructive
                    }
                }
                Badge {
                    anchors.right: parent.right
                    anchors.bottom: parent.bottom
                    anchors.margins: 4
                    visible: (tile.asset.duration || "").length > 0
                    text: tile.asset.duration || ""
                    tint: "#000000"
                }
            }
            ThemedLabel {
                Layout.fillWidth: true
                text: tile.asset.name || ""
                font.pixelSize: Theme.fontSizeCard
                muted: tile.provisional
            }
        }

        MouseArea {
            id: mouse
            anchors.fill: parent
            hoverEnabled: true
            acceptedButtons: Qt.LeftButton | Qt.RightButton
            drag.target: tile.provisional ? null : dragProxy
            onPressed: mouseEvent => {
                if (mouseEvent.button === Qt.LeftButton && !tile.provisional)
                    EditorState.draggingAssetIndex = tile.asset.assetIndex
            }
            onReleased: if (!drag.active) EditorState.draggingAssetIndex = -1
            onDoubleClicked: if (!tile.provisional) tile.activated()
            onClicked: mouseEvent => {
                if (mouseEvent.button === Qt.RightButton)
                    tileMenu.popup()
            }
        }
        Item { id: dragProxy }

        IconButton {
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.margins: 4
            visible: mouse.containsMouse || hovered
            iconName: "trash"
            iconSize: 11
            toolTipText: qsTr("Remove from project")
            onClicked: tile.removeRequested()
        }
        ThemedContextMenu {
            id: tileMenu
            ThemedMenuItem {
                text: qsTr("Add at playhead")
                enabled: !tile.provisional
                onTriggered: tile.activated()
            }
            ThemedMenuItem {
                text: qsTr("Remove from project")
                destructive: true
                onTriggered: tile.removeRequested()
            }
        }
    }

    component Badge: Rectangle {
        property alias text: label.text
        property color tint: Theme.primary
        implicitWidth: label.implicitWidth + 8
        implicitHeight: 16
        radius: Theme.radiusXs
        color: Qt.rgba(tint.r, tint.g, tint.b, 0.85)
        Text {
            id: label
            anchors.centerIn: parent
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeTiny
            color: "#ffffff"
        }
    }
}
