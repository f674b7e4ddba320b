import QtQuick
import QtQuick.Layouts
import Orvel

// The transition in a selected overlap, or else the one after the selected clip. Without one it
// offers a crossfade where the clip overlaps the next; elsewhere it says what is needed.
InspectorPage {
    id: page

    readonly property bool fromRegion: { revision; return EditorState.selectedTransitionTrack >= 0 }
    readonly property int track: fromRegion ? EditorState.selectedTransitionTrack : trackIndex
    readonly property int leftClip: fromRegion ? EditorState.selectedTransitionLeftClip : clipIndex
    readonly property var transition: {
        page.revision
        return fromRegion ? EditorState.selectedTransitionData : EditorState.transitionBetweenClips(track, leftClip)
    }
    readonly property bool hasTransition: transition !== undefined && transition.id !== undefined
    readonly property var trackData: { page.revision; return EditorState.tracks[track] || ({}) }
    readonly property bool visualTrack: trackData.type === "video" || trackData.type === "shape"
    // Two clips form a pair when the next clip on the track starts before this one ends.
    readonly property bool hasPair: {
        const clips = trackData.clips || []
        const left = clips[leftClip]
        if (!left)
            return false
        return clips.some((c, i) => i !== leftClip && c.start > left.start && c.start < left.start + left.duration)
    }
    readonly property var kinds: EditorState.transitionKinds()
    readonly property var kindIds: {
        const ids = kinds.map(k => k.kind)
        if (hasTransition && ids.indexOf(transition.kind) < 0)
            ids.push(transition.kind)
        return ids
    }

    applicable: hasTransition || (visualTrack && hasPair)
    emptyTitle: visualTrack ? "" : qsTr("Transitions work between two clips on a video or shape track.")
    emptyHint: visualTrack ? qsTr("Select where two clips overlap (shown in purple), or drag a clip so it overlaps the next one.")
                           : ""

    ThemedButton {
        Layout.fillWidth: true
        visible: !page.hasTransition
        variant: "primary"
        text: qsTr("Add crossfade (0.5 s)")
        onClicked: EditorState.addTransition(page.track, page.leftClip, "crossfade", 0.5)
    }
    ColumnLayout {
        Layout.fillWidth: true
        visible: page.hasTransition
        spacing: Theme.spacingMd
        FieldLabel { text: qsTr("Type") }
        ThemedComboBox {
            Layout.fillWidth: true
            model: page.kindIds.map(id => {
                const known = page.kinds.find(k => k.kind === id)
                return known ? (known.label || known.displayName || id) : id
            })
            currentIndex: page.hasTransition ? page.kindIds.indexOf(page.transition.kind) : -1
            onActivated: i => EditorState.setTransitionKind(page.track, page.transition.id, page.kindIds[i])
        }
        FieldLabel { text: qsTr("Duration (s)") }
        ThemedNumberField {
            Layout.fillWidth: true
            from: 0.05
            to: 60
            decimals: 2
            value: page.hasTransition ? page.transition.duration : 0.5
            onValueModified: v => EditorState.setTransitionDuration(page.track, page.transition.id, v)
        }
        Repeater {
            model: page.hasTransition ? page.transition.params : []
            delegate: ColumnLayout {
                id: param
                required property var modelData
                Layout.fillWidth: true
                spacing: 0
                FieldLabel { text: param.modelData.label }
                DragSlider {
                    Layout.fillWidth: true
                    visible: !param.modelData.isBoolean
                    from: Math.min(0, Number(param.modelData.value))
                    to: Math.max(1, Number(param.modelData.value))
                    value: Number(param.modelData.value)
                    undoText: qsTr("Edit transition")
                    preview: v => EditorState.previewSetTransitionParam(page.track, page.transition.id,
                                                                        param.modelData.id, v)
                }
                ThemedSwitch {
                    visible: param.modelData.isBoolean
                    checked: param.modelData.value === true
                    onToggled: EditorState.setTransitionParam(page.track, page.transition.id, param.modelData.id, checked)
                }
            }
        }
        ThemedButton {
            Layout.fillWidth: true
            variant: "destructive"
            text: qsTr("Remove transition")
            onClicked: EditorState.removeTransition(page.track, page.transition.id)
        }
    }
}
