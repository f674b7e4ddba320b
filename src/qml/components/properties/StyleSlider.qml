import QtQuick
import QtQuick.Layouts
import Orvel

// A captioned slider with its value, for plain (not animatable) numbers. `committed` fires once
// the value has settled: on release, or on a keyboard step.
ColumnLayout {
    id: row

    property string label: ""
    property alias from: slider.from
    property alias to: slider.to
    property alias stepSize: slider.stepSize
    property real value: 0
    property int decimals: 2

    signal committed(real value)

    Layout.fillWidth: true
    spacing: 0
    RowLayout {
        Layout.fillWidth: true
        FieldLabel { text: row.label }
        ThemedLabel {
            text: Number(slider.value).toFixed(row.decimals)
            font.pixelSize: Theme.fontSizeXs
        }
    }
    ThemedSlider {
        id: slider
        Layout.fillWidth: true
        value: row.value
        onPressedChanged: if (!pressed) row.committed(value)
        onMoved: if (!pressed) row.committed(value)
    }
}
