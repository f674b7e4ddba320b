import QtQuick
import QtQuick.Controls.Basic
import Orvel

// A numeric entry that keeps `value` inside `from`..`to`. Typing commits on Enter or when focus
// leaves; a value out of range is clamped instead of refused, so the field never shows a number
// that the model does not hold.
ThemedTextField {
    id: control

    property real value: 0
    property real from: 0
    property real to: 100
    property int decimals: 0
    property string suffix: ""

    signal valueModified(real value)

    function display(v) {
        return Number(v).toFixed(decimals) + suffix
    }
    function commit() {
        const parsed = parseFloat(text)
        if (isNaN(parsed)) {
            text = display(value)
            return
        }
        const clamped = Math.min(to, Math.max(from, parsed))
        const rounded = Number(clamped.toFixed(decimals))
        text = display(rounded)
        if (rounded !== value) {
            value = rounded
            valueModified(rounded)
        }
    }

    horizontalAlignment: TextInput.AlignRight
    inputMethodHints: Qt.ImhFormattedNumbersOnly
    text: display(value)
    onValueChanged: if (!activeFocus) text = display(value)
    onEditingFinished: commit()
    Keys.onUpPressed: { text = display(Math.min(to, value + 1)); commit() }
    Keys.onDownPressed: { text = display(Math.max(from, value - 1)); commit() }
}
