import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// Recent projects under the status pill, with open and new at the top.
Popup {
    id: popup

    signal openRequested()
    signal newProjectRequested()
    signal recentChosen(string path)

    objectName: "recentProjectsPopup"
    width: 300
    padding: 6
    background: Rectangle {
        radius: Theme.radiusMd
        color: Theme.panelBackground
        border.color: Theme.panelBorder
    }

    contentItem: ColumnLayout {
        spacing: 2
        ThemedButton {
            Layout.fillWidth: true
            variant: "ghost"
            iconName: "open"
            text: qsTr("Open project…")
            onClicked: { popup.close(); popup.openRequested() }
        }
        ThemedButton {
            Layout.fillWidth: true
            variant: "ghost"
            iconName: "add"
            text: qsTr("New project")
            onClicked: { popup.close(); popup.newProjectRequested() }
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Theme.panelBorder
        }
        ThemedLabel {
            Layout.leftMargin: 8
            muted: true
            font.pixelSize: Theme.fontSizeXs
            text: EditorState.recentProjects.length > 0 ? qsTr("Recent") : qsTr("No recent projects")
        }
        Repeater {
            model: EditorState.recentProjects
            delegate: ThemedButton {
                required property var modelData
                Layout.fillWidth: true
                variant: "ghost"
                enabled: modelData.exists
                text: modelData.name
                toolTipText: modelData.path
                onClicked: { popup.close(); popup.recentChosen(modelData.path) }
            }
        }
        ThemedButton {
            Layout.fillWidth: true
            visible: EditorState.recentProjects.length > 0
            variant: "ghost"
            text: qsTr("Clear recent projects")
            onClicked: EditorState.clearRecentProjects()
        }
    }
}
