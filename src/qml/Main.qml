import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvel

ApplicationWindow {
    id: window

    width: 1280
    height: 800
    minimumWidth: Theme.windowMinimumWidth
    minimumHeight: Theme.windowMinimumHeight
    visible: true
    title: "Halvern Orvel"
    color: Theme.appBackground

    component PanelArea: Rectangle {
        color: Theme.panelBackground
        border.color: Theme.panelBorder
        radius: Theme.radiusMd
    }

    component SplitHandle: Rectangle {
        implicitWidth: Theme.spacingMd
        implicitHeight: Theme.spacingMd
        color: SplitHandle.pressed ? Theme.primary : (SplitHandle.hovered ? Theme.panelBorder : "transparent")
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Item {
            id: header
            objectName: "editorHeader"
            Layout.fillWidth: true
            Layout.preferredHeight: Theme.headerHeight
        }

        SplitView {
            id: outerSplit
            objectName: "outerSplit"
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.leftMargin: Theme.pagePadding
            Layout.rightMargin: Theme.pagePadding
            Layout.bottomMargin: Theme.pagePadding
            orientation: Qt.Vertical
            handle: SplitHandle {}

            SplitView {
                id: innerSplit
                objectName: "innerSplit"
                orientation: Qt.Horizontal
                handle: SplitHandle {}
                SplitView.preferredHeight: outerSplit.height * 0.5
                SplitView.minimumHeight: outerSplit.height * 0.3
                SplitView.maximumHeight: outerSplit.height * 0.85

                PanelArea {
                    objectName: "assetsPanel"
                    SplitView.preferredWidth: innerSplit.width * 0.25
                    // Minimums stay below the available size: on the first pass sizes are 0.
                    SplitView.minimumWidth: Math.min(200, Math.max(0, innerSplit.width * 0.2))
                }
                PanelArea {
                    objectName: "previewPanel"
                    SplitView.fillWidth: true
                    SplitView.minimumWidth: Math.min(320, Math.max(0, innerSplit.width * 0.3))
                }
                PanelArea {
                    objectName: "propertiesPanel"
                    SplitView.preferredWidth: innerSplit.width * 0.25
                    SplitView.minimumWidth: Math.min(240, Math.max(0, innerSplit.width * 0.2))
                }
            }

            PanelArea {
                objectName: "timelinePanel"
                SplitView.preferredHeight: outerSplit.height * 0.5
                SplitView.minimumHeight: Math.min(140, Math.max(0, outerSplit.height * 0.2))
            }
        }
    }
}
