import QtQuick
import QtQuick.Layouts
import Orvel

// One animatable property of the selected clip: its value at the playhead as a slider and a
// number, a diamond that sets or removes the key under the playhead, and jumps to the keys on
// either side. Writes go through the drag transaction, so a slide is one undo entry.
ColumnLayout {
    id: row

    property string label: ""
    property string prop: ""
    property real from: 0
    property real to: 1
    property real stepSize: 0.01
    property int decimals: 2
    property real fallback: 0
    property int trackIndex: EditorState.selectedTrack
    property int clipIndex: EditorState.selectedClip
    // Clip map and its revision, handed down by the panel so that the value is read again after
    // every edit, not only when the selection changes.
    property var clipData: ({})
    property int revision: 0

    readonly property real clipStart: clipData.start !== undefined ? clipData.start : 0
    readonly property var keyTimes: {
        const keys = clipData.keyframes ? clipData.keyframes[prop] : undefined
        return keys ? keys.times.map(t => t + clipStart) : []
    }
    readonly property real value: {
        row.revision
        return EditorState.propertyValueAt(trackIndex, clipIndex, prop, EditorState.playheadSeconds, fallback)
    }
    readonly property bool keyAtPlayhead: keyTimes.some(t => Math.abs(t - EditorState.playheadSeconds) < 0.0005)

    function write(v) {
        EditorState.previewSetClipKeyframe(trackIndex, clipIndex, prop, EditorState.playheadSeconds, v)
    }
    function toggleKey() {
        if (keyAtPlayhead)
            EditorState.removeClipKeyframe(trackIndex, clipIndex, prop, EditorState.playheadSeconds)
        else
            EditorState.setClipKeyframe(trackIndex, clipIndex, prop, EditorState.playheadSeconds, value)
    }
    function jump(direction) {
        const now = EditorState.playheadSeconds
        const candidates = keyTimes.filter(t => direction < 0 ? t < now - 0.0005 : t > now + 0.0005)
        if (candidates.length > 0)
            EditorState.playheadSeconds = direction < 0 ? Math.max(...candidates) : Math.min(...candidates)
    }

    Layout.fillWidth: true
    spacing: 0

    RowLayout {
        Layout.fillWidth: true
        spacing: 2
        FieldLabel { text: row.label }
        IconButton {
            objectName: "previousKeyframe"
            implicitWidth: 22
            implicitHeight: 22
            iconName: "previous"
            enabled: row.keyTimes.some(t => t < EditorState.playheadSeconds - 0.0005)
            toolTipText: qsTr("Previous keyframe")
            onClicked: row.jump(-1)
        }
        IconButton {
            objectName: "keyframeToggle"
            implicitWidth: 22
            implicitHeight: 22
            iconName: row.keyAtPlayhead ? "keyframeOn" : "keyframe"
            checked: row.keyAtPlayhead
            toolTipText: row.keyAtPlayhead ? qsTr("Remove keyframe") : qsTr("Add keyframe")
            onClicked: row.toggleKey()
        }
        IconButton {
            objectName: "nextKeyframe"
            implicitWidth: 22
            implicitHeight: 22
            iconName: "next"
            enabled: row.keyTimes.some(t => t > EditorState.playheadSeconds + 0.0005)
            toolTipText: qsTr("Next keyframe")
            onClicked: row.jump(1)
        }
    }
    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.spacingMd
        DragSlider {
            objectName: "valueSlider"
            Layout.fillWidth: true
            Layout.minimumWidth: 60
            from: row.from
            to: row.to
            stepSize: row.stepSize
            value: row.value
            undoText: qsTr("Edit %1").arg(row.label)
            preview: v => row.write(v)
        }
        ThemedNumberField {
            Layout.preferredWidth: 58
            from: row.from
            to: row.to
            decimals: row.decimals
            value: row.value
            onValueModified: v => {
                EditorState.beginPreviewDrag(qsTr("Edit %1").arg(row.label))
                row.write(v)
                EditorState.commitPreviewDrag()
            }
        }
    }
}
