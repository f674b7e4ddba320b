import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvel

ApplicationWindow {
    id: window

    // Set once the user has settled unsaved work, so the second close goes through.
    property bool forceClose: false
    property bool previewFullscreen: false
    property int visibilityBeforeFullscreen: Window.Windowed
    readonly property alias editorHeader: editorHeader
    readonly property alias toastHost: toastHost
    // Panels delivered elsewhere are found by these names once they are in the layout.
    readonly property Item timelinePanel: timelineArea
    readonly property alias speedCurveWindow: speedCurveWindow


    width: 1280
    height: 800
    minimumWidth: Theme.windowMinimumWidth
    minimumHeight: Theme.windowMinimumHeight
    visible: true
    title: "Halvern Orvel"
    color: Theme.appBackground
    font.family: Theme.fontFamily

    function configureAndAddAsset(assetIndex, runner) {
        if (!EditorState.shouldConfigureProjectForAsset(assetIndex)) {
            runner()
            return
        }
        projectSetupDialog.openFor(assetIndex, runner)
    }

    function openLayoutChooser() {
        layoutChooserDialog.openFromSettings()
    }

    // While an export runs, the header's button and badge bring back its progress instead.
    function openExportDialog() {
        if (EditorState.exportInProgress === true)
            exportProgressDialog.open()
        else
            exportDialog.openDialog()
    }

    function openSpeedCurve(track, clip) {
        speedCurveWindow.openFor(track, clip)
    }

    function togglePreviewFullscreen() {
        if (previewFullscreen) {
            previewFullscreen = false
            window.visibility = visibilityBeforeFullscreen
        } else {
            visibilityBeforeFullscreen = window.visibility
            previewFullscreen = true
            window.visibility = Window.FullScreen
        }
    }

    // The layout prompt is skipped while anything else is asking the user something.
    function promptLayoutChooser() {
        if (EditorState.recoveryAvailable || EditorState.projectLayoutChosen)
            return
        if (recoveryDialog.visible || layoutChooserDialog.visible)
            return
        layoutChooserDialog.openFirstLaunch()
    }

    onClosing: close => {
        if (forceClose || !EditorState.hasUnsavedChanges)
            return
        close.accepted = false
        editorHeader.confirmIfDirty(function () {
            // Declining the save must not leave a recovery file behind on quit.
            EditorState.discardUnsavedChanges()
            window.forceClose = true
            window.close()
        })
    }

    Component.onCompleted: {
        if (EditorState.recoveryAvailable)
            recoveryOpenTimer.start()
        else
            layoutChooserOpenTimer.start()
    }

    Timer {
        id: layoutChooserOpenTimer
        interval: 120
        onTriggered: window.promptLayoutChooser()
    }

    // The window may not take a popup at the first tick, so opening is retried for a while.
    Timer {
        id: recoveryOpenTimer
        property int attempts: 0
        interval: 150
        repeat: true
        onTriggered: {
            if (!EditorState.recoveryAvailable) {
                stop()
                Qt.callLater(window.promptLayoutChooser)
                return
            }
            attempts += 1
            recoveryDialog.open()
            if (recoveryDialog.visible || attempts >= 20)
                stop()
        }
    }

    Connections {
        target: EditorState
        function onProjectLayoutChosenChanged() {
            if (!EditorState.projectLayoutChosen)
                layoutChooserOpenTimer.restart()
        }
    }

    ToastRouter {
        objectName: "toastRouter"
    }

    // A Shortcut is not an item, so the Repeater needs an item to put them in.
    Item {
        width: 0
        height: 0
        Repeater {
            model: EditorState.actions
            delegate: Item {
                required property var modelData
                Shortcut {
                    sequence: modelData.shortcut
                    enabled: String(modelData.shortcut).length > 0
                    context: Qt.ApplicationShortcut
                    onActivated: {
                        const tool = timelineArea.timelineTool
                        if (modelData.id === "clearSelection" && tool !== undefined && tool !== "") {
                            timelineArea.timelineTool = ""
                            return
                        }
                        EditorState.triggerAction(modelData.id)
                    }
                }
            }
        }
        Shortcut {
            sequence: "Esc"
            enabled: window.previewFullscreen
            context: Qt.ApplicationShortcut
            onActivated: window.togglePreviewFullscreen()
        }
    }

    component SplitHandle: Item {
        implicitWidth: Theme.spacingMd
        implicitHeight: Theme.spacingMd
        Rectangle {
            anchors.fill: parent
            radius: Theme.radiusXs
            color: SplitHandle.pressed ? Theme.primary : (SplitHandle.hovered ? Theme.panelBorder : "transparent")
        }
        // Three grip dots, across the handle's long side.
        Grid {
            anchors.centerIn: parent
            visible: !SplitHandle.pressed && !SplitHandle.hovered
            columns: parent.width > parent.height ? 3 : 1
            spacing: 3
            Repeater {
                model: 3
                Rectangle {
                    width: 2
                    height: 2
                    radius: 1
                    color: Theme.mutedForeground
                }
            }
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        EditorHeader {
            id: editorHeader
            objectName: "editorHeader"
            Layout.fillWidth: true
            Layout.preferredHeight: Theme.headerHeight
            visible: !window.previewFullscreen
            onExportClicked: window.openExportDialog()
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
                // Minimums stay below the available size: on the first pass sizes are 0, and a
                // minimum above a maximum makes SplitView assert.
                SplitView.minimumHeight: window.previewFullscreen ? outerSplit.height : outerSplit.height * 0.3
                SplitView.maximumHeight: window.previewFullscreen ? outerSplit.height : outerSplit.height * 0.85

                AssetsPanel {
                    id: assetsPanel
                    objectName: "assetsPanel"
                    visible: !window.previewFullscreen
                    SplitView.preferredWidth: innerSplit.width * 0.25
                    SplitView.minimumWidth: Math.min(200, Math.max(0, innerSplit.width * 0.2))
                }
                PreviewPanel {
                    id: previewArea
                    objectName: "previewPanel"
                    fullscreen: window.previewFullscreen
                    onFullscreenRequested: window.togglePreviewFullscreen()
                    SplitView.fillWidth: true
                    SplitView.minimumWidth: Math.min(320, Math.max(0, innerSplit.width * 0.3))
                }
                PropertiesPanel {
                    id: propertiesArea
                    objectName: "propertiesPanel"
                    onBrowseEffectsRequested: assetsPanel.currentTab = "effects"
                    visible: !window.previewFullscreen
                    SplitView.preferredWidth: innerSplit.width * 0.25
                    SplitView.minimumWidth: Math.min(240, Math.max(0, innerSplit.width * 0.2))
                }
            }

            PanelFrame {
                id: timelineFrame
                objectName: "timelineFrame"
                visible: !window.previewFullscreen
                SplitView.preferredHeight: outerSplit.height * 0.5
                SplitView.minimumHeight: Math.min(140, Math.max(0, outerSplit.height * 0.2))
                TimelinePanel {
                    id: timelineArea
                    objectName: "timelinePanel"
                    anchors.fill: parent
                }
            }
        }
    }

    RecoveryDialog {
        id: recoveryDialog
        onClosed: Qt.callLater(window.promptLayoutChooser)
    }
    LayoutChooserDialog {
        id: layoutChooserDialog
    }
    ProjectSetupDialog {
        id: projectSetupDialog
    }
    ExportDialog {
        id: exportDialog
    }
    ExportProgressDialog {
        id: exportProgressDialog
    }
    SpeedCurveWindow {
        id: speedCurveWindow
    }

    ToastHost {
        id: toastHost
        objectName: "toastHost"
        anchors.fill: parent
        z: 1000
    }
}
