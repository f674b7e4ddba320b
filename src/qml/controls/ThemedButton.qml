import QtQuick
import QtQuick.Controls.Basic
import Orvel

// A push button in one of three looks: "secondary" (default), "primary" for the one main action
// of a place, "ghost" for quiet toolbar actions, and "destructive" for removals.
Button {
    id: control

    property string variant: "secondary"
    property string iconName: ""
    property string toolTipText: ""
    readonly property color accent: variant === "primary" ? Theme.primary
                                  : variant === "destructive" ? Theme.destructive : Theme.panelBorder

    implicitHeight: 30
    leftPadding: 12
    rightPadding: 12
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm
    hoverEnabled: true

    contentItem: Row {
        spacing: Theme.spacingMd
        IconGlyph {
            visible: control.iconName.length > 0
            name: control.iconName
            size: Theme.fontSizeBase
            color: label.color
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            id: label
            text: control.text
            font: control.font
            elide: Text.ElideRight
            anchors.verticalCenter: parent.verticalCenter
            color: !control.enabled ? Theme.mutedForeground
                 : control.variant === "primary" ? Theme.primaryForeground
                 : control.variant === "destructive" ? "#ffffff" : Theme.foreground
        }
    }

    background: Rectangle {
        radius: Theme.radiusSm
        opacity: control.enabled ? 1 : 0.5
        color: {
            if (control.variant === "primary" || control.variant === "destructive")
                return control.down ? Qt.darker(control.accent, 1.15)
                                    : control.hovered ? Qt.lighter(control.accent, 1.08) : control.accent
            if (control.variant === "ghost")
                return control.down || control.hovered ? Theme.panelBorder : "transparent"
            return control.down ? Theme.panelBorder : control.hovered ? Qt.tint(Theme.panelBackground, "#18808080")
                                                                      : Theme.panelBackground
        }
        border.width: control.visualFocus ? 2 : (control.variant === "secondary" ? 1 : 0)
        border.color: control.visualFocus ? Theme.focusRing : Theme.panelBorder
    }

    ThemedToolTip {
        visible: control.hovered && control.toolTipText.length > 0
        text: control.toolTipText
    }
}
