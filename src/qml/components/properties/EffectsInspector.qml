import QtQuick
import QtQuick.Layouts
import Orvel

// The clip's effect stack. Numeric parameters animate like any clip property, so each is a
// keyframe row; a boolean has nothing to interpolate and stays a plain switch.
InspectorPage {
    id: page

    readonly property var effects: { page.revision; return EditorState.selectedClipEffects }
    // The list's items are rebuilt only when effects or their parameters come or go: every value
    // edit gives a new `effects`, and rebuilding then would destroy a slider under the pointer.
    // Values are read from `effects` itself.
    readonly property string effectShape: JSON.stringify(effects.map(e => [e.catalogId, e.params.map(p => p.id)]))
    property var effectModel: []
    onEffectShapeChanged: effectModel = effects
    Component.onCompleted: effectModel = effects
    readonly property var catalog: EditorState.effectCatalog()

    // The package's declared range for a parameter, or a range around its value when the
    // package is not installed.
    function paramSpec(catalogId, key, value) {
        const entry = catalog.find(e => e.id === catalogId)
        const spec = entry ? entry.params.find(p => p.key === key) : undefined
        return spec ? { min: spec.min, max: spec.max }
                    : { min: Math.min(0, Number(value)), max: Math.max(1, Number(value)) }
    }

    applicable: kind !== "audio"
    emptyTitle: qsTr("Video only")
    emptyHint: qsTr("Effects change the picture, and audio clips have none.")

    ThemedSwitch {
        text: qsTr("Auto keyframes")
        checked: EditorState.autoKeyEnabled
        onToggled: EditorState.autoKeyEnabled = checked
    }
    EmptyState {
        objectName: "noEffects"
        Layout.fillWidth: true
        Layout.preferredHeight: implicitHeight + 24
        visible: page.effectModel.length === 0
        iconName: "effects"
        title: qsTr("No effects yet")
        hint: qsTr("Drag an effect from the library onto the clip.")
        actionText: qsTr("Browse effects")
        onActionTriggered: if (page.panel) page.panel.browseEffectsRequested()
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
                SectionTitle {
                    Layout.fillWidth: true
                    text: effect.modelData.label
                }
                IconButton {
                    iconName: "trash"
                    toolTipText: qsTr("Remove effect")
                    onClicked: EditorState.removeEffect(page.trackIndex, page.clipIndex, effect.index)
                }
            }
            Repeater {
                model: effect.modelData.params
                delegate: Loader {
                    id: param
                    required property var modelData
                    required property int index
                    readonly property var live: effect.live.params[index] || modelData
                    Layout.fillWidth: true
                    sourceComponent: modelData.isBoolean ? switchRow : keyRow
                    Component {
                        id: keyRow
                        PropertyKeyframeRow {
                            objectName: "row_" + param.modelData.prop
                            label: param.modelData.label
                            prop: param.modelData.prop
                            readonly property var spec: page.paramSpec(effect.modelData.catalogId,
                                                                       param.modelData.id, param.modelData.value)
                            from: spec.min
                            to: spec.max
                            fallback: Number(param.live.value)
                            clipData: page.clipData
                            revision: page.revision
                        }
                    }
                    Component {
                        id: switchRow
                        ThemedSwitch {
                            text: param.modelData.label
                            checked: param.live.value === true
                            onToggled: {
                                EditorState.beginPreviewDrag(qsTr("Edit effect"))
                                EditorState.previewSetEffectParam(page.trackIndex, page.clipIndex, effect.index,
                                                                  param.modelData.id, checked)
                                EditorState.commitPreviewDrag()
                            }
                        }
                    }
                }
            }
        }
    }
}
