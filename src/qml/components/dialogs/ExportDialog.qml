import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// Size, encoders and quality of an export. The lists come from the editor each time the dialog
// opens, since the project's size and the installed encoders decide what is offered.
ThemedDialog {
    id: dialog

    objectName: "exportDialog"
    title: qsTr("Export video")
    acceptText: qsTr("Export")
    width: 500

    property var scaleOptions: []
    property var videoCodecs: []
    property var audioCodecs: []
    property string scaleId: ""
    property int targetHeight: 0
    property string videoCodecId: "h264"
    property string rateControl: "crf"
    property int crf: 23
    property int videoBitrateKbps: 12000
    property string videoPreset: "medium"
    property string audioCodecId: "aac"
    property int audioBitrateKbps: 192
    property bool advancedOpen: false
    readonly property var videoCodec: codecById(videoCodecs, videoCodecId)
    readonly property var audioCodec: codecById(audioCodecs, audioCodecId)
    readonly property bool lossless: videoCodec !== null && videoCodec.lossless === true
    // The save chooser, replaceable where no desktop dialog can be shown.
    property var chooseExportUrl: function (filters, suffix) {
        const title = EditorState.projectMetadata().title
        const name = title && title.length > 0 ? title : qsTr("Untitled project")
        return FileDialogs.saveFile(qsTr("Export Video"), filters.join(";;"), suffix, name + "." + suffix)
    }

    function codecById(list, id) {
        for (let i = 0; i < list.length; ++i) {
            if (list[i].id === id)
                return list[i]
        }
        return null
    }
    function firstAvailableId(list, preferred) {
        const wanted = codecById(list, preferred)
        if (wanted && wanted.available)
            return preferred
        for (let i = 0; i < list.length; ++i) {
            if (list[i].available)
                return list[i].id
        }
        return preferred
    }
    function selectScale(row) {
        scaleId = row.id
        targetHeight = row.targetHeight
        if (row.videoBitrateKbps !== undefined)
            videoBitrateKbps = row.videoBitrateKbps
    }
    function applyVideoCodecDefaults(codec) {
        if (!codec)
            return
        if (codec.defaultCrf !== undefined && codec.supportsCrf)
            crf = codec.defaultCrf
        videoPreset = codec.defaultPreset || ""
        rateControl = codec.lossless || codec.supportsCrf ? "crf" : "bitrate"
    }
    // Keeps a bitrate choice on a codec that offers both ways; forces the only way otherwise.
    function refreshCodecMeta() {
        const codec = videoCodec
        if (!codec)
            return
        if (rateControl === "bitrate" && !codec.supportsBitrate)
            rateControl = "crf"
        else if (rateControl === "crf" && !codec.supportsCrf && !codec.lossless)
            rateControl = "bitrate"
        if (codec.presets.indexOf(videoPreset) < 0)
            videoPreset = codec.defaultPreset || ""
    }
    function openDialog() {
        scaleOptions = EditorState.exportScaleOptions()
        videoCodecs = EditorState.exportVideoCodecs()
        audioCodecs = EditorState.exportAudioCodecs()
        const defaults = EditorState.exportDefaultSettings()
        rateControl = defaults.rateControl
        crf = defaults.crf
        videoBitrateKbps = defaults.videoBitrateKbps
        audioBitrateKbps = defaults.audioBitrateKbps
        videoCodecId = firstAvailableId(videoCodecs, defaults.videoCodecId)
        audioCodecId = firstAvailableId(audioCodecs, defaults.audioCodecId)
        if (scaleOptions.length > 0)
            selectScale(scaleOptions[0])
        applyVideoCodecDefaults(videoCodec)
        advancedOpen = false
        open()
    }
    function buildSettings() {
        return {
            "targetHeight": targetHeight,
            "videoCodecId": videoCodecId,
            "rateControl": lossless ? "crf" : rateControl,
            "crf": crf,
            "videoBitrateKbps": videoBitrateKbps,
            "videoPreset": videoPreset,
            "audioCodecId": audioCodecId,
            "audioBitrateKbps": audioBitrateKbps
        }
    }

    onVideoCodecsChanged: refreshCodecMeta()
    onAccepted: {
        const container = EditorState.exportPreferredContainer(videoCodecId, audioCodecId)
        const url = chooseExportUrl(EditorState.exportSaveFilters(container),
                                    EditorState.exportDefaultSuffix(container))
        if (url && url.toString().length > 0) {
            EditorState.exportWithSettings(url, buildSettings())
            Toasts.info(qsTr("Export started…"))
        } else {
            Toasts.info(qsTr("Export cancelled."))
        }
    }

    ColumnLayout {
        width: parent.width
        spacing: Theme.spacingMd * 2

        ThemedLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            muted: true
            text: qsTr("Saves what you see in the preview. Pick a size — the picture shape stays the same.")
        }
        ThemedLabel { text: qsTr("Downscale") }
        Flow {
            Layout.fillWidth: true
            spacing: Theme.spacingMd
            Repeater {
                model: dialog.scaleOptions
                ThemedChip {
                    required property var modelData
                    objectName: "scaleChip_" + modelData.id
                    text: modelData.label
                    checked: dialog.scaleId === modelData.id
                    onClicked: dialog.selectScale(modelData)
                    ThemedToolTip {
                        visible: parent.hovered
                        text: qsTr("Export at %1×%2").arg(parent.modelData.width).arg(parent.modelData.height)
                    }
                }
            }
        }

        ThemedButton {
            objectName: "advancedToggle"
            text: qsTr("Advanced")
            iconName: dialog.advancedOpen ? "chevronDown" : "chevronRight"
            onClicked: dialog.advancedOpen = !dialog.advancedOpen
        }

        GridLayout {
            objectName: "advancedSection"
            visible: dialog.advancedOpen
            Layout.fillWidth: true
            columns: 2
            columnSpacing: Theme.spacingMd * 2
            rowSpacing: Theme.spacingMd

            ThemedLabel { text: qsTr("Video encoder") }
            ThemedComboBox {
                objectName: "videoCodecBox"
                Layout.fillWidth: true
                model: dialog.videoCodecs
                textRole: "label"
                valueRole: "id"
                currentIndex: indexOfValue(dialog.videoCodecId)
                onActivated: index => {
                    const row = dialog.videoCodecs[index]
                    // An encoder that is not installed cannot be chosen: snap back.
                    if (!row.available) {
                        currentIndex = indexOfValue(dialog.videoCodecId)
                        return
                    }
                    dialog.videoCodecId = row.id
                    dialog.applyVideoCodecDefaults(row)
                }
            }

            ThemedLabel { text: qsTr("Rate control"); visible: !dialog.lossless }
            RowLayout {
                visible: !dialog.lossless
                spacing: Theme.spacingMd
                ThemedToggleButton {
                    objectName: "crfToggle"
                    text: qsTr("Constant Quality")
                    enabled: dialog.videoCodec !== null && dialog.videoCodec.supportsCrf === true
                    checked: dialog.rateControl === "crf"
                    onClicked: dialog.rateControl = "crf"
                }
                ThemedToggleButton {
                    objectName: "bitrateToggle"
                    text: qsTr("Bitrate")
                    enabled: dialog.videoCodec !== null && dialog.videoCodec.supportsBitrate === true
                    checked: dialog.rateControl === "bitrate"
                    onClicked: dialog.rateControl = "bitrate"
                }
            }

            ThemedLabel {
                text: qsTr("RF %1").arg(dialog.crf)
                visible: !dialog.lossless && dialog.rateControl === "crf"
            }
            ColumnLayout {
                visible: !dialog.lossless && dialog.rateControl === "crf"
                Layout.fillWidth: true
                spacing: 0
                ThemedSlider {
                    objectName: "crfSlider"
                    Layout.fillWidth: true
                    from: 0
                    to: 51
                    stepSize: 1
                    snapMode: Slider.SnapAlways
                    value: dialog.crf
                    onMoved: dialog.crf = Math.round(value)
                }
                RowLayout {
                    Layout.fillWidth: true
                    ThemedLabel { text: qsTr("Higher quality"); muted: true; font.pixelSize: Theme.fontSizeXs }
                    Item { Layout.fillWidth: true }
                    ThemedLabel { text: qsTr("Lower quality"); muted: true; font.pixelSize: Theme.fontSizeXs }
                }
            }

            ThemedLabel {
                text: qsTr("Bitrate (kbps)")
                visible: !dialog.lossless && dialog.rateControl === "bitrate"
            }
            ThemedNumberField {
                objectName: "videoBitrateField"
                visible: !dialog.lossless && dialog.rateControl === "bitrate"
                Layout.preferredWidth: 140
                from: 100
                to: 100000
                value: dialog.videoBitrateKbps
                suffix: qsTr(" kbps")
                onValueModified: v => dialog.videoBitrateKbps = Math.round(v / 100) * 100
            }

            ThemedLabel {
                text: qsTr("Preset")
                visible: dialog.videoCodec !== null && dialog.videoCodec.supportsPreset === true
            }
            ThemedComboBox {
                objectName: "presetBox"
                visible: dialog.videoCodec !== null && dialog.videoCodec.supportsPreset === true
                Layout.fillWidth: true
                model: dialog.videoCodec ? dialog.videoCodec.presets : []
                currentIndex: dialog.videoCodec ? dialog.videoCodec.presets.indexOf(dialog.videoPreset) : -1
                onActivated: index => dialog.videoPreset = dialog.videoCodec.presets[index]
            }

            ThemedLabel { text: qsTr("Audio encoder") }
            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.spacingMd
                ThemedComboBox {
                    objectName: "audioCodecBox"
                    Layout.fillWidth: true
                    model: dialog.audioCodecs
                    textRole: "label"
                    valueRole: "id"
                    currentIndex: indexOfValue(dialog.audioCodecId)
                    onActivated: index => {
                        if (!dialog.audioCodecs[index].available) {
                            currentIndex = indexOfValue(dialog.audioCodecId)
                            return
                        }
                        dialog.audioCodecId = dialog.audioCodecs[index].id
                    }
                }
                ThemedLabel {
                    text: qsTr("Bitrate (kbps)")
                    visible: dialog.audioCodec !== null && !dialog.audioCodec.lossless
                }
                ThemedNumberField {
                    objectName: "audioBitrateField"
                    visible: dialog.audioCodec !== null && !dialog.audioCodec.lossless
                    Layout.preferredWidth: 80
                    from: 32
                    to: 512
                    value: dialog.audioBitrateKbps
                    onValueModified: v => dialog.audioBitrateKbps = Math.round(v / 16) * 16
                }
            }
        }
    }
}
