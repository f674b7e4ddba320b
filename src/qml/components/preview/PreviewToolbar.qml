import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvel

// The transport row under the preview. It shrinks rather than overlaps: the spacers around Play
// give way first, then the timecode elides.
Control {
    id: toolbar

    property bool fitMode: true
    property bool fullscreen: false
    signal fitModeToggled()
    signal fullscreenRequested()

    readonly property var engine: EditorState.playback
    // projectFps is a call, not a property; the duration's notify (tracksChanged) re-reads it.
    readonly property int fps: {
        EditorState.durationSeconds
        const rate = EditorState.projectFps()
        return rate > 0 ? rate : 30
    }

    implicitHeight: 40
    clip: true
    // The plain controls take their colours from the theme, in dark and light alike.
    palette.window: Theme.panelBackground
    palette.windowText: Theme.foreground
    palette.base: Theme.panelBackground
    palette.text: Theme.foreground
    palette.button: Theme.panelBackground
    palette.buttonText: Theme.foreground
    palette.mid: Theme.panelBorder
    palette.dark: Theme.panelBorder
    palette.light: Theme.panelBackground
    palette.midlight: Theme.panelBorder
    palette.highlight: Theme.primary
    palette.highlightedText: Theme.primaryForeground
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm

    // Frames are counted from the rounded total, so the last field never shows a frame rate's
    // worth of frames and the seconds roll over cleanly.
    function timecode(seconds, rate) {
        const total = Math.round(Math.max(0, seconds) * rate)
        const hours = Math.floor(total / (rate * 3600))
        const minutes = Math.floor(total / (rate * 60)) % 60
        const secs = Math.floor(total / rate) % 60
        const frames = total % rate
        const pad = n => (n < 10 ? "0" : "") + n
        return [pad(hours), pad(minutes), pad(secs), pad(frames)].join(":")
    }

    // The style's buttons are at least 100 pixels wide; these take only what their text needs.
    component FlatButton: Button {
        flat: true
        leftPadding: Theme.spacingMd
        rightPadding: Theme.spacingMd
        implicitWidth: implicitContentWidth + leftPadding + rightPadding
    }

    component ToolText: Label {
        color: Theme.foreground
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontSizeSm
    }

    readonly property var qualities: ["full", "half", "quarter"]
    readonly property var modes: ["fast", "quality"]

    leftPadding: Theme.pagePadding
    rightPadding: Theme.pagePadding
    topPadding: 0
    bottomPadding: 0

    contentItem: RowLayout {
        spacing: Theme.spacingSm

        ToolText {
            id: timecodeLabel
            objectName: "previewTimecode"
            Layout.preferredWidth: implicitWidth
            Layout.minimumWidth: 40
            elide: Text.ElideRight
            font.family: Theme.monoFontFamily
            font.pixelSize: Theme.fontSizeXs
            text: toolbar.timecode(EditorState.playheadSeconds, toolbar.fps) + " / "
                  + toolbar.timecode(EditorState.durationSeconds, toolbar.fps)
            HoverHandler { id: timecodeHover }
            ToolTip.visible: timecodeHover.hovered
            ToolTip.text: qsTr("Current time / total · %1 frames per second").arg(toolbar.fps)
        }

        Item { Layout.fillWidth: true }

        Button {
            id: playButton
            objectName: "previewPlayButton"
            text: EditorState.playing ? qsTr("Pause") : qsTr("Play")
            highlighted: true
            Layout.preferredWidth: 64
            onClicked: EditorState.togglePlayback()
        }

        Item { Layout.fillWidth: true }

        FlatButton {
            objectName: "previewFitButton"
            text: toolbar.fitMode ? qsTr("Fit") : qsTr("Fill")
            onClicked: toolbar.fitModeToggled()
        }

        ComboBox {
            id: qualityBox
            objectName: "previewQualityBox"
            textRole: "text"
            valueRole: "value"
            Layout.fillWidth: true
            Layout.preferredWidth: 76
            Layout.maximumWidth: 76
            Layout.minimumWidth: 56
            model: [
                { text: qsTr("Full"), value: "full" },
                { text: qsTr("Half"), value: "half" },
                { text: qsTr("Quarter"), value: "quarter" }
            ]
            // Looked up by hand: indexOfValue is not re-evaluated when the model arrives.
            currentIndex: toolbar.engine ? Math.max(0, toolbar.qualities.indexOf(toolbar.engine.previewQuality)) : 0
            onActivated: toolbar.engine.previewQuality = currentValue
        }

        ComboBox {
            id: modeBox
            objectName: "previewModeBox"
            textRole: "text"
            valueRole: "value"
            Layout.fillWidth: true
            Layout.preferredWidth: 76
            Layout.maximumWidth: 76
            Layout.minimumWidth: 56
            model: [
                { text: qsTr("Fast"), value: "fast" },
                { text: qsTr("Quality"), value: "quality" }
            ]
            currentIndex: toolbar.engine ? Math.max(0, toolbar.modes.indexOf(toolbar.engine.playbackMode)) : 0
            onActivated: toolbar.engine.playbackMode = currentValue
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: qsTr("Fast plays in real time with sound and skips frames it can't render in time. "
                               + "Quality shows every frame, silently and slower than real time.")
        }

        FlatButton {
            objectName: "previewGuidesButton"
            text: qsTr("Guides")
            checkable: true
            checked: EditorState.guidesEnabled
            onToggled: EditorState.guidesEnabled = checked
        }

        FlatButton {
            objectName: "previewFullscreenButton"
            text: toolbar.fullscreen ? "\u2199" : "\u2197"
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: toolbar.fullscreen ? qsTr("Leave full screen") : qsTr("Full screen")
            onClicked: toolbar.fullscreenRequested()
        }
    }
}
