import QtQuick
import Orvel

// Body text; `muted` for secondary lines such as hints and durations.
Text {
    property bool muted: false

    color: muted ? Theme.mutedForeground : Theme.foreground
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm
    elide: Text.ElideRight
    verticalAlignment: Text.AlignVCenter
}
