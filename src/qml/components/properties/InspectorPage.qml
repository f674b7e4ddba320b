import QtQuick
import QtQuick.Layouts
import Orvel

// The body of one inspector: a padded column over the selected clip. `panel` is set by the
// PropertiesPanel that loads it; `clipData` and `revision` follow its selection and edits.
Item {
    id: page

    property var panel: null
    readonly property var clipData: panel ? panel.clipData : ({})
    readonly property int revision: panel ? panel.revision : 0
    readonly property int trackIndex: EditorState.selectedTrack
    readonly property int clipIndex: EditorState.selectedClip
    readonly property string kind: clipData && clipData.kind ? clipData.kind : ""
    // An inspector that has nothing to offer for this clip shows `emptyTitle` instead of its body.
    property bool applicable: true
    property string emptyTitle: ""
    property string emptyHint: ""
    default property alias content: column.data

    implicitHeight: applicable ? column.implicitHeight + 2 * Theme.pagePadding : 260

    EmptyState {
        objectName: "inspectorEmptyState"
        anchors.fill: parent
        visible: !page.applicable
        iconName: "info"
        title: page.emptyTitle
        hint: page.emptyHint
    }
    ColumnLayout {
        id: column
        visible: page.applicable
        x: Theme.pagePadding
        y: Theme.pagePadding
        width: page.width - 2 * Theme.pagePadding
        spacing: Theme.spacingMd
    }
}
