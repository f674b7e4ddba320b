import QtQuick
import QtQuick.Controls
import Orvel

// The timeline preview: the composited frame, shown by PreviewItem straight from the engine's
// texture, and the transport toolbar. The window and the other panels belong to Main, so the
// fullscreen button only asks for it.
Rectangle {
    id: panel

    property bool fullscreen: false
    signal fullscreenRequested()

    readonly property var engine: EditorState.playback
    property bool fitMode: true
    readonly property real aspect: {
        EditorState.durationSeconds // tracksChanged also follows a change of project size
        const w = EditorState.projectWidth()
        const h = EditorState.projectHeight()
        return w > 0 && h > 0 ? w / h : 16 / 9
    }
    readonly property real viewportMargin: Theme.pagePadding
    // Guides sit over any picture, so they are light in both themes.
    readonly property color guideMedium: Qt.rgba(1, 1, 1, 0.55)
    readonly property color guideWeak: Qt.rgba(1, 1, 1, 0.3)

    color: Theme.panelBackground
    border.color: fullscreen ? "transparent" : Theme.panelBorder
    radius: fullscreen ? 0 : Theme.radiusMd

    // The engine's texture goes to the item size first, then name, so that the item never wraps
    // a new name with the old size.
    function handOverFrame() {
        if (!engine)
            return
        previewItem.textureSize = engine.previewTextureSize
        previewItem.textureId = engine.previewTextureId
    }

    function reportRenderSize() {
        if (engine)
            engine.setPreviewRenderSize(Math.round(previewItem.width), Math.round(previewItem.height))
    }

    Item {
        id: viewport
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: scrubBar.visible ? scrubBar.top : toolbar.top
        anchors.margins: panel.viewportMargin
        clip: true

        Rectangle {
            id: canvas
            objectName: "previewCanvas"
            readonly property real baseWidth: panel.fitMode ? Math.min(viewport.width, viewport.height * panel.aspect)
                                                            : viewport.width
            readonly property real baseHeight: panel.fitMode ? baseWidth / panel.aspect : viewport.height
            width: Math.max(0, baseWidth)
            height: Math.max(0, baseHeight)
            anchors.centerIn: parent
            color: "black"

            PreviewItem {
                id: previewItem
                objectName: "previewItem"
                anchors.fill: parent
                onWidthChanged: panel.reportRenderSize()
                onHeightChanged: panel.reportRenderSize()
            }

            // Composition guides, drawn over the picture and never into it.
            Item {
                id: guides
                objectName: "previewGuides"
                anchors.fill: parent
                visible: EditorState.guidesEnabled
                readonly property string kind: EditorState.guideType
                // Hairlines at fractions of the canvas: thirds, or one pair through the centre.
                readonly property var fractions: kind === "thirds" ? [1 / 3, 2 / 3] : kind === "crosshair" ? [0.5] : []

                Repeater {
                    model: guides.fractions
                    Rectangle {
                        required property real modelData
                        x: Math.round(guides.width * modelData)
                        width: 1
                        height: guides.height
                        color: panel.guideMedium
                    }
                }
                Repeater {
                    model: guides.fractions
                    Rectangle {
                        required property real modelData
                        y: Math.round(guides.height * modelData)
                        height: 1
                        width: guides.width
                        color: panel.guideMedium
                    }
                }
                // "safe": frames at 5 % and at 2.5 % inset.
                Repeater {
                    model: guides.kind === "safe" ? [{ inset: 0.05, color: panel.guideMedium },
                                                     { inset: 0.025, color: panel.guideWeak }] : []
                    Rectangle {
                        required property var modelData
                        x: Math.round(guides.width * modelData.inset)
                        y: Math.round(guides.height * modelData.inset)
                        width: guides.width - 2 * x
                        height: guides.height - 2 * y
                        color: "transparent"
                        border.width: 1
                        border.color: modelData.color
                    }
                }
            }
        }

        Label {
            id: emptyMessage
            objectName: "previewEmptyMessage"
            anchors.centerIn: parent
            color: Theme.mutedForeground
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeSm
            // Faded rather than switched, so that scrubbing across a gap does not flicker.
            opacity: panel.engine && !panel.engine.hasFrame ? 1 : 0
            visible: opacity > 0
            Behavior on opacity { NumberAnimation { duration: Theme.durationBase; easing.type: Theme.easing } }
            text: {
                EditorState.playheadSeconds
                EditorState.durationSeconds
                const audio = EditorState.activeAudioClipAtPlayhead()
                return audio && Object.keys(audio).length > 0 ? qsTr("Audio only") : qsTr("No clip at the current time")
            }
        }
    }

    // In fullscreen the timeline is hidden; this bar stands in for its playhead.
    Slider {
        id: scrubBar
        objectName: "previewScrubBar"
        visible: panel.fullscreen
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: toolbar.top
        anchors.leftMargin: Theme.pagePadding
        anchors.rightMargin: Theme.pagePadding
        from: 0
        // A floor above zero keeps the handle still on an empty project.
        to: Math.max(0.001, EditorState.durationSeconds)
        onMoved: EditorState.playheadSeconds = value
        Binding on value {
            when: !scrubBar.pressed
            value: EditorState.playheadSeconds
            restoreMode: Binding.RestoreNone
        }
    }

    PreviewToolbar {
        id: toolbar
        objectName: "previewToolbar"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        fitMode: panel.fitMode
        fullscreen: panel.fullscreen
        onFitModeToggled: panel.fitMode = !panel.fitMode
        onFullscreenRequested: panel.fullscreenRequested()
    }

    Connections {
        target: panel.engine
        function onCurrentFrameChanged() { panel.handOverFrame() }
    }

    Connections {
        target: EditorState
        function onTracksChanged() { panel.engine.refreshFrame() }
        function onPlayheadSecondsChanged() {
            if (!EditorState.playing)
                panel.engine.refreshFrame()
        }
        function onPlayingChanged() {
            if (!EditorState.playing)
                panel.engine.refreshFrame()
        }
    }

    Component.onCompleted: {
        reportRenderSize()
        handOverFrame()
        engine.refreshFrame()
    }
}
