import QtQuick
import Orvel

// One icon by role name (see Theme.icons), drawn as a text glyph so that it scales and takes any
// colour without image assets. An unknown name draws nothing rather than a box.
Text {
    id: glyph

    property string name: ""
    property real size: Theme.fontSizeBase

    text: Theme.icons[name] !== undefined ? Theme.icons[name] : ""
    color: Theme.foreground
    font.pixelSize: size
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    width: size
    height: size
}
