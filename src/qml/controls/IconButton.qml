import QtQuick
import QtQuick.Controls.Basic
import Orvel

// A square button with one glyph and a tooltip, for toolbars and rows.
AbstractButton {
    id: control

    property string iconName: ""
    property string toolTipText: ""
    property real iconSize: Theme.fontSizeBase
    property color iconColor: checked ? Theme.primary : Theme.foreground

    implicitWidth: 28
    implicitHeight: 28
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    contentItem: IconGlyph {
        name: control.iconName
        size: control.iconSize
        color: control.enabled ? control.iconColor : Theme.mutedForeground
    }
    background: Rectangle {
        radius: Theme.radiusSm
        color: control.down ? Theme.panelBorder : (control.hovered ? Qt.tint("transparent", "#28808080") : "transparent")
        border.width: control.visualFocus ? 2 : 0
        border.color: Theme.focusRing
    }

    ThemedToolTip {
        visible: control.hovered && control.toolTipText.length > 0
        text: control.toolTipText
    }
}
