import QtQuick
import QtQuick.Controls
import Orvel

// What an empty timeline shows: where to start.
Item {
    id: empty
    objectName: "timelineEmptyState"
    signal newTrackRequested()

    Column {
        anchors.centerIn: parent
        spacing: Theme.spacingMd
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Your timeline is empty")
            color: Theme.foreground
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeBase
            font.weight: Font.DemiBold
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Drag media here from the library, or add an empty track to start.")
            color: Theme.mutedForeground
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeSm
        }
        Button {
            objectName: "emptyNewTrack"
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("New track")
            onClicked: empty.newTrackRequested()
        }
    }
}
