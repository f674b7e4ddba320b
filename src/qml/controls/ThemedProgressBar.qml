import QtQuick
import QtQuick.Controls.Basic
import Orvel

ProgressBar {
    id: control

    implicitHeight: 6
    background: Rectangle {
        implicitWidth: 120
        radius: height / 2
        color: Theme.panelBorder
    }
    contentItem: Item {
        Rectangle {
            width: control.indeterminate ? parent.width * 0.3 : control.visualPosition * parent.width
            height: parent.height
            radius: height / 2
            color: Theme.primary
            SequentialAnimation on x {
                running: control.indeterminate && control.visible
                loops: Animation.Infinite
                NumberAnimation { from: 0; to: control.availableWidth * 0.7; duration: 900 }
                NumberAnimation { from: control.availableWidth * 0.7; to: 0; duration: 900 }
            }
        }
    }
}
