import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvel

// The top bar: project status and recent projects, save, extras, export and the scheme toggle.
// It also runs the saving flows, so every path that could lose work goes through confirmIfDirty.
Rectangle {
    id: header

    readonly property string projectFilter: qsTr("Orvel project (*.orvel)")
    property int nameRevision: 0
    readonly property string projectName: {
        nameRevision
        EditorState.currentProjectPath
        const title = EditorState.projectMetadata().title
        if (title && title.length > 0)
            return title
        const path = EditorState.currentProjectPath
        if (path.length > 0)
            return path.substring(path.lastIndexOf("/") + 1).replace(/\.orvel$/, "")
        return qsTr("Untitled project")
    }
    // The pending action of the unsaved-changes prompt, run once the user has decided.
    property var pendingAction: null
    // File choosers, replaceable where no desktop dialog can be shown.
    property var chooseSaveUrl: function (title) {
        return FileDialogs.saveFile(title, projectFilter, "orvel", header.projectName + ".orvel")
    }
    property var chooseOpenUrl: function () {
        return FileDialogs.openFile(qsTr("Open project"), projectFilter)
    }

    signal exportClicked()

    color: Theme.appBackground

    function confirmIfDirty(action) {
        if (!EditorState.hasUnsavedChanges) {
            action()
            return
        }
        pendingAction = action
        unsavedDialog.open()
    }

    function saveProject() {
        const path = EditorState.currentProjectPath
        const url = path.length > 0 ? FileDialogs.urlFromPath(path) : chooseSaveUrl(qsTr("Save project"))
        if (!url || String(url).length === 0)
            return false
        EditorState.saveProject(url)
        return !EditorState.hasUnsavedChanges
    }

    function openProject() {
        confirmIfDirty(function () {
            const url = header.chooseOpenUrl()
            if (url && String(url).length > 0)
                EditorState.loadProject(url)
        })
    }

    function requestNewProject() {
        confirmIfDirty(function () { EditorState.newProject() })
    }

    function openRecent(path) {
        confirmIfDirty(function () { EditorState.openRecentProject(path) })
    }

    function packageProject() {
        const url = chooseSaveUrl(qsTr("Save a shareable copy"))
        if (url && String(url).length > 0)
            EditorState.packageProject(url)
    }

    function exportVideo() {
        exportClicked()
    }

    Connections {
        target: EditorState
        function onSaveRequested() { header.saveProject() }
        function onOpenRequested() { header.openProject() }
        function onNewProjectRequested() { header.requestNewProject() }
        function onProjectNameChanged() { header.nameRevision += 1 }
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.pagePadding
        anchors.rightMargin: Theme.pagePadding
        spacing: Theme.spacingMd

        // Status pill: saved state, project name, recent projects.
        Rectangle {
            id: statusPill
            objectName: "statusPill"
            Layout.alignment: Qt.AlignVCenter
            implicitHeight: 32
            implicitWidth: pillRow.implicitWidth + 20
            radius: Theme.radiusPill
            color: pillMouse.containsMouse ? Theme.panelBorder : Theme.panelBackground
            border.color: Theme.panelBorder
            RowLayout {
                id: pillRow
                anchors.centerIn: parent
                spacing: Theme.spacingMd
                Rectangle {
                    objectName: "dirtyDot"
                    implicitWidth: 8
                    implicitHeight: 8
                    radius: 4
                    color: EditorState.hasUnsavedChanges ? Theme.warning : "#22c55e"
                    ThemedToolTip {
                        visible: pillMouse.containsMouse
                        text: EditorState.hasUnsavedChanges ? qsTr("Unsaved changes") : qsTr("All changes saved")
                    }
                }
                ThemedLabel {
                    Layout.maximumWidth: Math.max(80, header.width * 0.22)
                    text: header.projectName
                    font.weight: Font.DemiBold
                }
                IconGlyph {
                    name: "chevronDown"
                    size: 12
                    color: Theme.mutedForeground
                }
            }
            MouseArea {
                id: pillMouse
                anchors.fill: parent
                hoverEnabled: true
                onClicked: recentPopup.opened ? recentPopup.close() : recentPopup.open()
            }
            RecentProjectsPopup {
                id: recentPopup
                y: statusPill.height + 4
                onOpenRequested: header.openProject()
                onNewProjectRequested: header.requestNewProject()
                onRecentChosen: path => header.openRecent(path)
            }
        }

        IconButton {
            objectName: "saveButton"
            iconName: "save"
            // Reading actions makes the text follow a change of the shortcut.
            toolTipText: {
                EditorState.actions
                return qsTr("Save project (%1)").arg(EditorState.shortcutFor("save"))
            }
            onClicked: header.saveProject()
        }

        Item { Layout.fillWidth: true }

        IconButton {
            id: extrasButton
            objectName: "extrasButton"
            iconName: "more"
            toolTipText: qsTr("More")
            onClicked: extrasMenu.popup(extrasButton, 0, extrasButton.height + 4)
            ThemedContextMenu {
                id: extrasMenu
                ThemedMenuItem {
                    text: qsTr("New project")
                    shortcutText: EditorState.shortcutFor("newProject")
                    onTriggered: header.requestNewProject()
                }
                ThemedMenuItem {
                    text: qsTr("Open project…")
                    shortcutText: EditorState.shortcutFor("open")
                    onTriggered: header.openProject()
                }
                ThemedMenuItem {
                    text: qsTr("Save project as…")
                    onTriggered: {
                        const url = header.chooseSaveUrl(qsTr("Save project as"))
                        if (url && String(url).length > 0)
                            EditorState.saveProject(url)
                    }
                }
                ThemedMenuSeparator {}
                ThemedMenuItem {
                    text: qsTr("Save a shareable copy…")
                    enabled: !EditorState.packaging
                    onTriggered: header.packageProject()
                }
                ThemedMenuItem {
                    text: qsTr("Project properties…")
                    onTriggered: propertiesDialog.openDialog()
                }
                ThemedMenuItem {
                    text: qsTr("Video layout…")
                    onTriggered: header.Window.window.openLayoutChooser()
                }
            }
        }

        IconButton {
            objectName: "updateBadge"
            visible: typeof Updates !== "undefined" && Updates.updateAvailable === true
            iconName: "update"
            iconColor: Theme.primary
            toolTipText: qsTr("Orvel %1 is available").arg(visible ? Updates.latestVersion : "")
        }

        // Export progress: a ring that reopens the progress dialog while an export runs.
        Item {
            id: exportBadge
            objectName: "exportBadge"
            readonly property real progress: EditorState.exportProgress !== undefined ? EditorState.exportProgress : 0
            visible: EditorState.exportInProgress === true
            implicitWidth: 28
            implicitHeight: 28
            Canvas {
                id: ring
                anchors.fill: parent
                property real progress: exportBadge.progress
                onProgressChanged: requestPaint()
                onPaint: {
                    const ctx = getContext("2d")
                    ctx.reset()
                    ctx.lineWidth = 3
                    ctx.strokeStyle = Theme.panelBorder
                    ctx.beginPath()
                    ctx.arc(width / 2, height / 2, width / 2 - 3, 0, 2 * Math.PI)
                    ctx.stroke()
                    ctx.strokeStyle = Theme.primary
                    ctx.beginPath()
                    ctx.arc(width / 2, height / 2, width / 2 - 3, -Math.PI / 2, -Math.PI / 2 + 2 * Math.PI * progress)
                    ctx.stroke()
                }
            }
            MouseArea {
                id: badgeMouse
                anchors.fill: parent
                hoverEnabled: true
                onClicked: header.exportClicked()
            }
            ThemedToolTip {
                visible: badgeMouse.containsMouse
                text: qsTr("Export in progress (%1%) — click to view").arg(Math.round(exportBadge.progress * 100))
            }
        }

        ThemedButton {
            objectName: "exportButton"
            variant: "primary"
            iconName: "export"
            text: qsTr("Export")
            onClicked: header.exportVideo()
        }

        IconButton {
            objectName: "darkModeToggle"
            iconName: Theme.dark ? "sun" : "moon"
            toolTipText: Theme.dark ? qsTr("Light mode") : qsTr("Dark mode")
            onClicked: Theme.toggleDarkMode()
        }
    }

    UnsavedChangesDialog {
        id: unsavedDialog
        projectName: header.projectName
        // The pending action is taken before close(): closing rejects, and the reject handler
        // would wipe it.
        onSaveChosen: {
            if (!header.saveProject())
                return
            const action = header.pendingAction
            header.pendingAction = null
            close()
            if (action)
                action()
        }
        onDiscardChosen: {
            const action = header.pendingAction
            header.pendingAction = null
            close()
            if (action)
                action()
        }
        onRejected: header.pendingAction = null
    }
    ProjectPropertiesDialog {
        id: propertiesDialog
    }
    PackageProgressDialog {
        id: packageDialog
    }
}
