import QtQuick
import Orvel

// A slider whose whole gesture is one undo entry: the press opens a drag transaction, every move
// writes through `preview`, the release commits. A keyboard step is a gesture of its own.
ThemedSlider {
    id: control

    property string undoText: ""
    // Called with the new value on each move while the transaction is open.
    property var preview: function (v) {}
    property bool gestureOpen: false

    function openGesture() {
        if (!gestureOpen) {
            EditorState.beginPreviewDrag(undoText)
            gestureOpen = true
        }
    }
    function closeGesture() {
        if (gestureOpen) {
            gestureOpen = false
            EditorState.commitPreviewDrag()
        }
    }

    onPressedChanged: pressed ? openGesture() : closeGesture()
    onMoved: {
        const single = !gestureOpen
        openGesture()
        preview(value)
        if (single && !pressed)
            closeGesture()
    }
    Component.onDestruction: closeGesture()
}
