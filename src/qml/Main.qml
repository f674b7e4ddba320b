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

    property bool previewFullscreen: false
    property int visibilityBeforeFullscreen: Window.Windowed

    // The preview alone fills the screen; the window's own state comes back afterwards, so a
    // maximised window stays maximised.
    function togglePreviewFullscreen() {
        if (!previewFullscreen) {
            visibilityBeforeFullscreen = window.visibility
            previewFullscreen = true
            window.visibility = Window.FullScreen
        } else {
            previewFullscreen = false
            window.visibility = visibilityBeforeFullscreen
        }
    }

    Shortcut {
        sequence: "Esc"
        enabled: window.previewFullscreen
        onActivated: window.togglePreviewFullscreen()
    }

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
            visible: !window.previewFullscreen
            Layout.fillWidth: true
            Layout.preferredHeight: Theme.headerHeight
        }

        SplitView {
            id: outerSplit
            objectName: "outerSplit"
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.leftMargin: window.previewFullscreen ? 0 : Theme.pagePadding
            Layout.rightMargin: window.previewFullscreen ? 0 : Theme.pagePadding
            Layout.bottomMargin: window.previewFullscreen ? 0 : Theme.pagePadding
            orientation: Qt.Vertical
            handle: SplitHandle {}

            SplitView {
                id: innerSplit
                objectName: "innerSplit"
                orientation: Qt.Horizontal
                handle: SplitHandle {}
                SplitView.preferredHeight: window.previewFullscreen ? outerSplit.height : outerSplit.height * 0.5
                SplitView.minimumHeight: outerSplit.height * 0.3
                SplitView.maximumHeight: window.previewFullscreen ? outerSplit.height : outerSplit.height * 0.85

                PanelArea {
                    objectName: "assetsPanel"
                    visible: !window.previewFullscreen
                    SplitView.preferredWidth: innerSplit.width * 0.25
                    // Minimums stay below the available size: on the first pass sizes are 0.
                    SplitView.minimumWidth: Math.min(200, Math.max(0, innerSplit.width * 0.2))
                }
                PreviewPanel {
                    objectName: "previewPanel"
                    SplitView.fillWidth: true
                    SplitView.minimumWidth: Math.min(320, Math.max(0, innerSplit.width * 0.3))
                    fullscreen: window.previewFullscreen
                    onFullscreenRequested: window.togglePreviewFullscreen()
                }
                PanelArea {
                    objectName: "propertiesPanel"
                    visible: !window.previewFullscreen
                    SplitView.preferredWidth: innerSplit.width * 0.25
                    SplitView.minimumWidth: Math.min(240, Math.max(0, innerSplit.width * 0.2))
                }
            }

            PanelArea {
                objectName: "timelinePanel"
                visible: !window.previewFullscreen
                SplitView.preferredHeight: outerSplit.height * 0.5
                SplitView.minimumHeight: Math.min(140, Math.max(0, outerSplit.height * 0.2))
            }
        }
    }
}
