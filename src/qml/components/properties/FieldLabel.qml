import QtQuick
import QtQuick.Layouts
import Orvel

// The small caption above a control or a group of controls.
ThemedLabel {
    Layout.fillWidth: true
    font.pixelSize: Theme.fontSizeXs
    muted: true
}
