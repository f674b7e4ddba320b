import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// One catalog of the library (effects, transitions, audio effects): a category chooser, a search
// field and a list whose rows drag onto the timeline carrying their id under `mimeType`.
Item {
    id: browser

    // Entries with at least `id`, a label (`label` or `displayName`) and `category`.
    property var entries: []
    // Category ids and labels, as { id, label }.
    property var categories: []
    property string mimeType: ""
    property string searchPlaceholder: ""
    property string category: ""
    property string searchText: ""

    readonly property var rows: {
        const needle = searchText.trim().toLowerCase()
        return entries.filter(e => (category === "" || e.category === category)
                              && (needle === "" || browser.labelOf(e).toLowerCase().indexOf(needle) >= 0))
    }
    readonly property var categoryChoices: [{ id: "", label: qsTr("All categories") }].concat(categories)

    function labelOf(entry) {
        return entry.label || entry.displayName || entry.name || entry.id
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingMd * 2
        spacing: Theme.spacingMd

        ThemedTextField {
            objectName: "catalogSearch"
            Layout.fillWidth: true
            placeholderText: browser.searchPlaceholder
            onTextChanged: browser.searchText = text
        }
        ThemedComboBox {
            objectName: "catalogCategory"
            Layout.fillWidth: true
            visible: browser.categories.length > 0
            model: browser.categoryChoices
            textRole: "label"
            onActivated: i => browser.category = browser.categoryChoices[i].id
        }
        ListView {
            id: list
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: browser.rows.length > 0
            clip: true
            spacing: 2
            model: browser.rows
            ScrollBar.vertical: AppScrollBar {}
            delegate: Rectangle {
                id: entry
                required property var modelData
                width: list.width
                height: 34
                radius: Theme.radiusSm
                color: area.containsMouse ? Theme.panelBorder : "transparent"

                Drag.active: area.drag.active
                Drag.dragType: Drag.Automatic
                Drag.supportedActions: Qt.CopyAction
                Drag.mimeData: {
                    const data = {}
                    data[browser.mimeType] = entry.modelData.id || entry.modelData.kind
                    return data
                }
                ThemedLabel {
                    anchors.fill: parent
                    anchors.leftMargin: Theme.spacingMd * 2
                    anchors.rightMargin: Theme.spacingMd
                    text: browser.labelOf(entry.modelData)
                }
                MouseArea {
                    id: area
                    anchors.fill: parent
                    hoverEnabled: true
                    drag.target: entry
                    drag.threshold: 4
                    // The row itself stays in the list; only the drag image travels.
                    onReleased: { entry.x = 0; entry.y = 0 }
                }
            }
        }
        EmptyState {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: browser.rows.length === 0
            iconName: "search"
            title: browser.entries.length === 0 ? qsTr("Nothing installed") : qsTr("Nothing matches")
        }
    }
}
