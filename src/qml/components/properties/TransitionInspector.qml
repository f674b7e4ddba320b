import QtQuick
import QtQuick.Layouts
import Orvel

// The transition in a selected overlap, or else the one after the selected clip. Without one it
// offers a crossfade where the clip overlaps the next; elsewhere it says what is needed.
InspectorPage {
    id: page

    // The selected overlap wins while it holds a transition; with no clip selected it is all
    // there is to show.
    readonly property bool fromRegion: {
        revision
        const selected = EditorState.selectedTransitionData
        return (selected !== undefined && selected.id !== undefined)
               || (clipData.id === undefined && EditorState.selectedTransitionTrack >= 0)
    }
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
    // One row per parameter of the kind's package, showing the stored value or the package's
    // default; values the document holds for a kind this build lacks still get a row.
    readonly property var paramRows: {
        if (!hasTransition)
            return []
        const stored = {}
        for (const p of transition.params || [])
            stored[p.id] = p.value
        const known = kinds.find(k => k.kind === transition.kind)
        const rows = (known ? known.params : []).map(p => ({
            id: p.key, label: p.label, from: p.min, to: p.max, isBoolean: p.isBoolean,
            value: stored[p.key] !== undefined ? stored[p.key] : p.default
        }))
        for (const p of transition.params || []) {
            if (!rows.some(r => r.id === p.id))
                rows.push({ id: p.id, label: p.label, from: Math.min(0, Number(p.value)),
                            to: Math.max(1, Number(p.value)), isBoolean: p.isBoolean, value: p.value })
        }
        return rows
    }
    // Rows are rebuilt only when the kind's parameters change, so a slider being dragged keeps
    // its item; the values come from `paramRows`.
    readonly property string paramShape: JSON.stringify(paramRows.map(r => r.id))
    property var paramModel: []
    onParamShapeChanged: paramModel = paramRows
    Component.onCompleted: paramModel = paramRows
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
            objectName: "transitionDuration"
            Layout.fillWidth: true
            from: 0.05
            to: 60
            decimals: 2
            value: page.hasTransition ? page.transition.duration : 0.5
            onValueModified: v => EditorState.setTransitionDuration(page.track, page.transition.id, v)
        }
        Repeater {
            model: page.paramModel
            delegate: ColumnLayout {
                id: param
                required property var modelData
                required property int index
                readonly property var live: page.paramRows[index] || modelData
                readonly property bool on: live.value === true || (typeof live.value === "number" && live.value >= 0.5)
                Layout.fillWidth: true
                spacing: 0
                FieldLabel { text: param.modelData.label; visible: !param.modelData.isBoolean }
                DragSlider {
                    Layout.fillWidth: true
                    visible: !param.modelData.isBoolean
                    from: param.modelData.from
                    to: param.modelData.to
                    value: Number(param.live.value)
                    undoText: qsTr("Edit transition")
                    preview: v => EditorState.previewSetTransitionParam(page.track, page.transition.id,
                                                                        param.modelData.id, v)
                }
                ThemedSwitch {
                    Layout.fillWidth: true
                    visible: param.modelData.isBoolean
                    text: param.modelData.label
                    checked: param.on
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
