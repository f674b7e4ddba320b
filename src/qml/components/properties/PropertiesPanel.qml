import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// The right-hand pane: a rail of tabs and the inspector of the current one, each a form over the
// selected clip that writes through the editor's slots.
PanelFrame {
    id: panel

    property string currentTab: "general"
    // Counts changes of the selected clip's map. Inspectors read values through calls
    // (propertyValueAt and the like), which QML cannot track, so they bind on this instead.
    property int revision: 0
    readonly property var clipData: { panel.revision; return EditorState.selectedClipData }
    readonly property bool hasClip: clipData !== undefined && clipData.id !== undefined
    readonly property string kind: hasClip ? clipData.kind : ""

    // Raised by "Browse effects"; Main routes it to the library's effects tab.
    signal browseEffectsRequested()

    // Rail order. `only` names the clip kinds a tab exists for; the others are always there and
    // show their own empty state when the clip has nothing for them.
    readonly property var allTabs: [
        { id: "general", label: qsTr("General"), icon: "general" },
        { id: "text", label: qsTr("Text"), icon: "text", only: ["text", "subtitle"], needsTextStyle: true },
        { id: "transform", label: qsTr("Position & size"), icon: "transform" },
        { id: "audio", label: qsTr("Audio"), icon: "audio" },
        { id: "speed", label: qsTr("Speed & Fade"), icon: "speed" },
        { id: "blending", label: qsTr("Layer mix"), icon: "blend" },
        { id: "transition", label: qsTr("Transition"), icon: "transition" },
        { id: "masks", label: qsTr("Cutouts"), icon: "mask" },
        { id: "effects", label: qsTr("Effects"), icon: "effects" }
    ]
    // A selected transition region with no clip still has its inspector.
    readonly property bool hasTransition: { panel.revision; return EditorState.selectedTransitionTrack >= 0 }
    readonly property var tabs: !hasClip && hasTransition ? allTabs.filter(t => t.id === "transition")
                                                          : allTabs.filter(t => {
        if (!t.only)
            return true
        if (t.needsTextStyle)
            return hasClip && clipData.textStyle !== undefined && Object.keys(clipData.textStyle).length > 0
        return t.only.indexOf(kind) >= 0
    })
    readonly property int currentIndex: tabs.findIndex(t => t.id === currentTab)

    function selectTab(id) {
        if (tabs.some(t => t.id === id))
            currentTab = id
    }
    function stepTab(delta) {
        const next = Math.max(0, Math.min(tabs.length - 1, currentIndex + delta))
        currentTab = tabs[next].id
    }

    // The tab whose inspector is loaded. It follows `currentTab` only after a field still being
    // typed in has lost its focus, so the value it holds is written before its page goes away.
    property string shownTab: "general"
    function commitPendingEdits() {
        for (let item = panel.Window.activeFocusItem; item; item = item.parent) {
            if (item === inspectorLoader) {
                rail.forceActiveFocus()
                return
            }
        }
    }
    onCurrentTabChanged: {
        commitPendingEdits()
        shownTab = currentTab
        scroller.contentItem.contentY = 0 // each tab opens at its top
    }
    // A kind-only tab that lost its clip falls back to the first tab.
    onTabsChanged: if (!tabs.some(t => t.id === currentTab)) currentTab = tabs[0].id

    Connections {
        target: EditorState
        function onSelectedClipDataChanged() { panel.revision++ }
        function onPlayheadSecondsChanged() { panel.revision++ }
        function onSelectedTransitionDataChanged() { panel.revision++ }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        FocusScope {
            id: rail
            objectName: "propertiesRail"
            Layout.fillHeight: true
            Layout.preferredWidth: 58
            activeFocusOnTab: true
            Keys.onUpPressed: panel.stepTab(-1)
            Keys.onDownPressed: panel.stepTab(1)

            Column {
                anchors.fill: parent
                topPadding: Theme.spacingSm
                spacing: 2
                Repeater {
                    model: panel.tabs
                    delegate: AbstractButton {
                        id: tabButton
                        required property var modelData
                        objectName: "tab_" + modelData.id
                        width: 58
                        height: 42
                        focusPolicy: Qt.NoFocus
                        checked: panel.currentTab === modelData.id
                        onClicked: { panel.currentTab = modelData.id; rail.forceActiveFocus() }
                        background: Rectangle {
                            color: tabButton.checked ? Qt.tint(Theme.panelBackground, "#22808080") : "transparent"
                            border.width: rail.activeFocus && tabButton.checked ? 1 : 0
                            border.color: Theme.focusRing
                            radius: Theme.radiusSm
                        }
                        contentItem: Column {
                            spacing: 1
                            IconGlyph {
                                anchors.horizontalCenter: parent.horizontalCenter
                                name: tabButton.modelData.icon
                                color: tabButton.checked ? Theme.primary : Theme.mutedForeground
                            }
                            Text {
                                width: tabButton.width - 4
                                horizontalAlignment: Text.AlignHCenter
                                text: tabButton.modelData.label
                                wrapMode: Text.Wrap
                                maximumLineCount: 2
                                font.family: Theme.fontFamily
                                font.pixelSize: Theme.fontSizeTiny
                                lineHeight: 0.9
                                color: tabButton.checked ? Theme.foreground : Theme.mutedForeground
                            }
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
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            EmptyState {
                anchors.fill: parent
                visible: !panel.hasClip && !panel.hasTransition
                iconName: "info"
                title: qsTr("Nothing selected")
                hint: qsTr("Select a clip on the timeline to edit it here.")
            }
            ScrollView {
                id: scroller
                anchors.fill: parent
                visible: panel.hasClip || panel.hasTransition
                contentWidth: availableWidth
                ScrollBar.vertical: AppScrollBar {}
                ScrollBar.horizontal.policy: ScrollBar.AlwaysOff

                Loader {
                    id: inspectorLoader
                    objectName: "inspectorLoader"
                    width: scroller.availableWidth
                    active: panel.hasClip || panel.hasTransition
                    source: {
                        const files = {
                            general: "GeneralInspector.qml", text: "TextInspector.qml",
                            transform: "TransformInspector.qml", speed: "SpeedFadeInspector.qml",
                            blending: "BlendingInspector.qml", masks: "MasksInspector.qml",
                            effects: "EffectsInspector.qml", audio: "AudioInspector.qml",
                            transition: "TransitionInspector.qml"
                        }
                        return files[panel.shownTab] || ""
                    }
                    onLoaded: item.panel = panel
                }
            }
        }
    }
}
