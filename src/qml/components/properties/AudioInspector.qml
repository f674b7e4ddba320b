import QtQuick
import QtQuick.Layouts
import Orvel

// Volume and the clip's audio effect rack. Each numeric parameter slides in one "Edit audio
// effect" entry; a switch is a gesture of one step.
InspectorPage {
    id: page

    readonly property var effects: { page.revision; return EditorState.selectedClipAudioEffects }
    // Rows are rebuilt only when effects or their parameters come or go: each value edit gives a
    // new `effects`, and rebuilding then would destroy the slider under the pointer. Values are
    // read from `effects` itself.
    readonly property string effectShape: JSON.stringify(effects.map(e => [e.catalogId, e.params.map(p => p.id)]))
    property var effectModel: []
    onEffectShapeChanged: effectModel = effects
    Component.onCompleted: effectModel = effects

    applicable: kind === "audio" || kind === "video"
    emptyTitle: qsTr("No audio")
    emptyHint: qsTr("This clip has no audio track.")

    function writeParam(effectIndex, key, value) {
        EditorState.previewSetAudioEffectParam(trackIndex, clipIndex, effectIndex, key, value)
    }

    PropertyKeyframeRow {
        objectName: "row_volume"
        label: qsTr("Volume")
        prop: "volume"
        from: 0
        to: 2
        fallback: 1
        clipData: page.clipData
        revision: page.revision
    }
    SectionTitle { text: qsTr("Audio effects") }
    ThemedLabel {
        Layout.fillWidth: true
        visible: page.effectModel.length === 0
        muted: true
        wrapMode: Text.Wrap
        text: qsTr("Drag an audio effect from the library onto the clip.")
    }
    Repeater {
        model: page.effectModel
        delegate: ColumnLayout {
            id: effect
            required property var modelData
            required property int index
            readonly property var live: page.effects[index] || modelData
            Layout.fillWidth: true
            spacing: Theme.spacingSm
            RowLayout {
                Layout.fillWidth: true
                ThemedLabel {
                    Layout.fillWidth: true
                    font.weight: Font.DemiBold
                    text: effect.modelData.missing ? qsTr("%1 (not installed)").arg(effect.modelData.label)
                                                   : effect.modelData.label
                }
                IconButton {
                    iconName: "trash"
                    toolTipText: qsTr("Remove audio effect")
                    onClicked: EditorState.removeAudioEffect(page.trackIndex, page.clipIndex, effect.index)
                }
            }
            Repeater {
                model: effect.modelData.params
                delegate: ColumnLayout {
                    id: param
                    required property var modelData
                    required property int index
                    readonly property var live: effect.live.params[index] || modelData
                    // The package's declared range; an effect that is not installed has none,
                    // so its slider spans a range around the stored value.
                    readonly property bool declared: modelData.min !== undefined && modelData.max !== undefined
                    objectName: "audioParam_" + effect.index + "_" + modelData.id
                    Layout.fillWidth: true
                    spacing: 0
                    FieldLabel {
                        visible: !param.modelData.isBoolean
                        text: param.modelData.label
                    }
                    DragSlider {
                        objectName: "valueSlider"
                        Layout.fillWidth: true
                        visible: !param.modelData.isBoolean
                        from: param.declared ? param.modelData.min : Math.min(0, Number(param.modelData.value))
                        to: param.declared ? param.modelData.max : Math.max(1, Number(param.modelData.value))
                        value: Number(param.live.value)
                        undoText: qsTr("Edit audio effect")
                        preview: v => page.writeParam(effect.index, param.modelData.id, v)
                    }
                    ThemedSwitch {
                        visible: param.modelData.isBoolean
                        text: param.modelData.label
                        checked: param.live.value === true
                        onToggled: {
                            EditorState.beginPreviewDrag(qsTr("Edit audio effect"))
                            page.writeParam(effect.index, param.modelData.id, checked)
                            EditorState.commitPreviewDrag()
                        }
                    }
                }
            }
        }
    }
}
