import QtQuick
import QtQuick.Layouts
import Orvel

// The first question of a new project: which platform and shape the video is for.
ThemedDialog {
    id: dialog

    property bool fromSettings: false
    property string category: "youtube"
    property string templateId: "yt_video"
    property string quality: "1080p"

    readonly property var categories: [
        { id: "youtube", label: "YouTube" }, { id: "instagram", label: "Instagram" },
        { id: "facebook", label: "Facebook" }, { id: "tiktok", label: "TikTok" }, { id: "more", label: qsTr("More") }
    ]
    readonly property var templates: [
        { id: "yt_video", category: "youtube", aspect: "16:9", label: qsTr("Video") },
        { id: "yt_short", category: "youtube", aspect: "9:16", label: qsTr("Short") },
        { id: "ig_reel", category: "instagram", aspect: "9:16", label: qsTr("Reel") },
        { id: "ig_story", category: "instagram", aspect: "9:16", label: qsTr("Story") },
        { id: "ig_post", category: "instagram", aspect: "1:1", label: qsTr("Post") },
        { id: "ig_feed", category: "instagram", aspect: "4:5", label: qsTr("Feed") },
        { id: "fb_reel", category: "facebook", aspect: "9:16", label: qsTr("Reel") },
        { id: "fb_video", category: "facebook", aspect: "16:9", label: qsTr("Video") },
        { id: "fb_story", category: "facebook", aspect: "9:16", label: qsTr("Story") },
        { id: "tiktok", category: "tiktok", aspect: "9:16", label: qsTr("Video") },
        { id: "snapchat", category: "more", aspect: "9:16", label: "Snapchat" },
        { id: "x_video", category: "more", aspect: "16:9", label: qsTr("X video") },
        { id: "linkedin", category: "more", aspect: "16:9", label: "LinkedIn" },
        { id: "square", category: "more", aspect: "1:1", label: qsTr("Square") },
        { id: "landscape", category: "more", aspect: "16:9", label: qsTr("Landscape") },
        { id: "portrait", category: "more", aspect: "9:16", label: qsTr("Portrait") }
    ]
    // Short side of each quality; the long side follows from the aspect.
    readonly property var sizes: ({
        "16:9": { "4K": [3840, 2160], "1080p": [1920, 1080], "720p": [1280, 720] },
        "9:16": { "4K": [2160, 3840], "1080p": [1080, 1920], "720p": [720, 1280] },
        "1:1": { "4K": [2160, 2160], "1080p": [1080, 1080], "720p": [720, 720] },
        "4:5": { "4K": [2160, 2700], "1080p": [1080, 1350], "720p": [720, 900] }
    })
    readonly property var selectedTemplate: templates.find(t => t.id === templateId) || templates[0]
    readonly property var selectedSize: sizes[selectedTemplate.aspect][quality]

    function openFirstLaunch() {
        fromSettings = false
        open()
    }
    function openFromSettings() {
        fromSettings = true
        open()
    }
    function chooseCategory(id) {
        category = id
        templateId = templates.find(t => t.category === id).id
    }

    objectName: "layoutChooserDialog"
    title: qsTr("Choose your video layout")
    width: 520
    acceptText: qsTr("Continue")
    rejectText: fromSettings ? qsTr("Cancel") : qsTr("Decide later")
    onAccepted: {
        EditorState.setProjectSetup(selectedSize[0], selectedSize[1], EditorState.projectFps())
        EditorState.markProjectLayoutChosen()
    }
    // Deciding later keeps the current size but stops the question for this project.
    onRejected: if (!fromSettings) EditorState.markProjectLayoutChosen()

    ColumnLayout {
        width: parent.width
        spacing: Theme.spacingMd * 2

        Flow {
            Layout.fillWidth: true
            spacing: Theme.spacingMd
            Repeater {
                model: dialog.categories
                ThemedChip {
                    required property var modelData
                    objectName: "category_" + modelData.id
                    text: modelData.label
                    checked: dialog.category === modelData.id
                    onClicked: dialog.chooseCategory(modelData.id)
                }
            }
        }
        Flow {
            Layout.fillWidth: true
            spacing: Theme.spacingMd
            Repeater {
                model: dialog.templates.filter(t => t.category === dialog.category)
                delegate: Rectangle {
                    required property var modelData
                    readonly property bool selected: dialog.templateId === modelData.id
                    objectName: "template_" + modelData.id
                    width: 110
                    height: 110
                    radius: Theme.radiusMd
                    color: selected ? Qt.tint(Theme.panelBackground, "#30F8B81C") : Theme.appBackground
                    border.width: selected ? 2 : 1
                    border.color: selected ? Theme.primary : Theme.panelBorder
                    Column {
                        anchors.centerIn: parent
                        spacing: Theme.spacingSm
                        Rectangle {
                            // The shape of the frame, at most 48 pixels on its long side.
                            readonly property var parts: modelData.aspect.split(":").map(Number)
                            anchors.horizontalCenter: parent.horizontalCenter
                            width: 48 * Math.min(1, parts[0] / parts[1])
                            height: 48 * Math.min(1, parts[1] / parts[0])
                            radius: Theme.radiusXs
                            color: "transparent"
                            border.color: Theme.mutedForeground
                        }
                        ThemedLabel {
                            anchors.horizontalCenter: parent.horizontalCenter
                            text: modelData.label
                        }
                        ThemedLabel {
                            anchors.horizontalCenter: parent.horizontalCenter
                            muted: true
                            font.pixelSize: Theme.fontSizeXs
                            text: modelData.aspect
                        }
                    }
                    MouseArea {
                        anchors.fill: parent
                        onClicked: dialog.templateId = modelData.id
                    }
                }
            }
        }
        RowLayout {
            spacing: Theme.spacingMd
            ThemedLabel { text: qsTr("Quality"); muted: true }
            Repeater {
                model: ["4K", "1080p", "720p"]
                ThemedChip {
                    required property string modelData
                    text: modelData
                    checked: dialog.quality === modelData
                    onClicked: dialog.quality = modelData
                }
            }
            Item { Layout.fillWidth: true }
            ThemedLabel {
                muted: true
                text: qsTr("%1 × %2").arg(dialog.selectedSize[0]).arg(dialog.selectedSize[1])
            }
        }
    }
}
