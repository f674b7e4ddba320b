import QtQuick
import QtQuick.Controls.Basic
import Orvel

ComboBox {
    id: control

    implicitHeight: 30
    hoverEnabled: true
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontSizeSm

    delegate: ItemDelegate {
        required property int index
        required property var modelData
        width: ListView.view ? ListView.view.width : implicitWidth
        highlighted: control.highlightedIndex === index
        contentItem: Text {
            text: control.textRole ? (Array.isArray(control.model) ? modelData[control.textRole]
                                                                   : model[control.textRole])
                                   : modelData
            font: control.font
            color: Theme.foreground
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: Theme.radiusXs
            color: parent.highlighted ? Theme.panelBorder : "transparent"
        }
    }
    indicator: IconGlyph {
        x: control.width - width - 8
        anchors.verticalCenter: parent.verticalCenter
        name: "chevronDown"
        size: 12
        color: Theme.mutedForeground
    }
    contentItem: Text {
        leftPadding: 8
        rightPadding: control.indicator.width + 12
        text: control.displayText
        font: control.font
        color: control.enabled ? Theme.foreground : Theme.mutedForeground
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.radiusSm
        color: control.hovered ? Qt.tint(Theme.panelBackground, "#18808080") : Theme.panelBackground
        border.width: control.visualFocus ? 2 : 1
        border.color: control.visualFocus ? Theme.focusRing : Theme.panelBorder
    }
    popup: Popup {
        y: control.height + 2
        width: control.width
        implicitHeight: Math.min(contentItem.implicitHeight + 8, 320)
        padding: 4
        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: control.popup.visible ? control.delegateModel : null
            currentIndex: control.highlightedIndex
            ScrollBar.vertical: AppScrollBar {}
        }
        background: Rectangle {
            radius: Theme.radiusSm
            color: Theme.panelBackground
            border.color: Theme.panelBorder
        }
    }
}
