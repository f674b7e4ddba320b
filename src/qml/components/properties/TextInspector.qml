import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvel

// The text of a text or subtitle clip and its style. Every control sends a patch of one key, so
// two controls never overwrite each other's values.
InspectorPage {
    id: page

    readonly property var style: clipData.textStyle || ({})
    readonly property var anims: ["none", "fade", "slideUp", "slideDown", "slideLeft", "slideRight", "pop",
                                  "blur", "typewriter", "rise", "bounce", "wave"]
    readonly property var eases: ["linear", "easeOut", "easeInOut", "back"]
    readonly property var units: ["block", "word", "character", "line"]
    readonly property var rules: ["none", "firstWord", "lastWord", "everyOther", "everyNth", "longestWord",
                                  "randomStable", "karaoke"]

    function patch(key, value) {
        const change = {}
        change[key] = value
        EditorState.setTextStyle(trackIndex, clipIndex, change)
    }
    function patchGroup(group, key, value) {
        const change = {}
        change[group] = {}
        change[group][key] = value
        EditorState.setTextStyle(trackIndex, clipIndex, change)
    }

    component Colour : ColorField {
        property string key: ""
        color: page.style[key] || "#ffffff"
        onColorEdited: c => page.patch(key, c)
    }
    component Number_ : StyleSlider {
        property string key: ""
        value: page.style[key] || 0
        onCommitted: v => page.patch(key, v)
    }
    component Toggle : ThemedSwitch {
        property string key: ""
        Layout.fillWidth: true
        checked: page.style[key] === true
        onToggled: page.patch(key, checked)
    }
    component Choice : ColumnLayout {
        property alias label: caption.text
        property string key: ""
        property var options: []
        Layout.fillWidth: true
        spacing: 2
        FieldLabel { id: caption }
        ThemedComboBox {
            Layout.fillWidth: true
            model: parent.options
            currentIndex: Math.max(0, parent.options.indexOf(page.style[parent.key]))
            onActivated: i => page.patch(parent.key, parent.options[i])
        }
    }

    // 1. Content
    SectionTitle { text: qsTr("Text content") }
    ThemedTextArea {
        objectName: "textContent"
        Layout.fillWidth: true
        Layout.preferredHeight: 64
        text: page.clipData.textContent || ""
        property bool editing: false
        onTextChanged: {
            if (!activeFocus || text === page.clipData.textContent)
                return
            if (!editing) {
                editing = true
                EditorState.beginPreviewDrag(qsTr("Edit text"))
            }
            EditorState.previewSetClipTextContent(page.trackIndex, page.clipIndex, text)
        }
        onActiveFocusChanged: if (!activeFocus && editing) { editing = false; EditorState.commitPreviewDrag() }
    }
    // 3. Font
    SectionTitle { text: qsTr("Font") }
    ThemedComboBox {
        Layout.fillWidth: true
        model: Qt.fontFamilies()
        currentIndex: Qt.fontFamilies().indexOf(page.style.fontFamily)
        displayText: page.style.fontFamily || ""
        onActivated: i => page.patch("fontFamily", Qt.fontFamilies()[i])
    }
    Number_ { label: qsTr("Size"); key: "pixelSize"; from: 6; to: 400; stepSize: 1; decimals: 0 }
    Colour { objectName: "textColor"; label: qsTr("Color"); key: "color" }
    // 4. Style
    SectionTitle { text: qsTr("Style") }
    Toggle { text: qsTr("Bold"); key: "bold" }
    Toggle { text: qsTr("Italic"); key: "italic" }
    Choice { label: qsTr("Alignment"); key: "align"; options: ["left", "center", "right"] }
    Choice { label: qsTr("Vertical alignment"); key: "valign"; options: ["top", "middle", "bottom"] }
    Number_ { label: qsTr("Line height"); key: "lineHeight"; from: 0.5; to: 3; stepSize: 0.05 }
    Number_ { label: qsTr("Letter spacing"); key: "letterSpacing"; from: -20; to: 100; stepSize: 0.5; decimals: 1 }
    Toggle { text: qsTr("Word wrap"); key: "wordWrap" }
    // 5. Decorations
    SectionTitle { text: qsTr("Outline") }
    Toggle { text: qsTr("Outline"); key: "outlineEnabled" }
    Number_ { label: qsTr("Width"); key: "outlineWidth"; from: 0; to: 50; stepSize: 0.5; decimals: 1 }
    Colour { label: qsTr("Outline color"); key: "outlineColor" }
    SectionTitle { text: qsTr("Shadow") }
    Toggle { text: qsTr("Shadow"); key: "shadowEnabled" }
    Number_ { label: qsTr("Offset X"); key: "shadowOffsetX"; from: -100; to: 100; stepSize: 1; decimals: 0 }
    Number_ { label: qsTr("Offset Y"); key: "shadowOffsetY"; from: -100; to: 100; stepSize: 1; decimals: 0 }
    Number_ { label: qsTr("Blur"); key: "shadowBlur"; from: 0; to: 100; stepSize: 1; decimals: 0 }
    Number_ { label: qsTr("Opacity"); key: "shadowOpacity"; from: 0; to: 1; stepSize: 0.01 }
    Colour { label: qsTr("Shadow color"); key: "shadowColor" }
    SectionTitle { text: qsTr("Background") }
    Toggle { text: qsTr("Background"); key: "boxEnabled" }
    Colour { label: qsTr("Background color"); key: "boxColor" }
    Number_ { label: qsTr("Padding"); key: "boxPadding"; from: 0; to: 200; stepSize: 1; decimals: 0 }
    Number_ { label: qsTr("Corner radius"); key: "boxRadius"; from: 0; to: 200; stepSize: 1; decimals: 0 }
    SectionTitle { text: qsTr("Glow") }
    Toggle { text: qsTr("Glow"); key: "glowEnabled" }
    Number_ { label: qsTr("Radius"); key: "glowRadius"; from: 0; to: 100; stepSize: 1; decimals: 0 }
    Number_ { label: qsTr("Opacity"); key: "glowOpacity"; from: 0; to: 1; stepSize: 0.01 }
    Colour { label: qsTr("Glow colour"); key: "glowColor" }
    SectionTitle { text: qsTr("Underline") }
    Toggle { text: qsTr("Underline"); key: "underlineEnabled" }
    Number_ { label: qsTr("Thickness"); key: "underlineWidth"; from: 0; to: 100; stepSize: 1; decimals: 0 }
    Number_ { label: qsTr("Offset"); key: "underlineOffset"; from: -200; to: 200; stepSize: 1; decimals: 0 }
    Colour { label: qsTr("Underline colour"); key: "underlineColor" }
    // 6. Word accent
    SectionTitle { text: qsTr("Word accent") }
    ThemedComboBox {
        Layout.fillWidth: true
        readonly property var accent: page.style.accent || ({})
        model: page.rules
        currentIndex: Math.max(0, page.rules.indexOf(accent.rule))
        onActivated: i => page.patchGroup("accent", "rule", page.rules[i])
    }
    StyleSlider {
        label: qsTr("n")
        from: 1; to: 16; stepSize: 1; decimals: 0
        value: (page.style.accent || {}).n || 1
        onCommitted: v => page.patchGroup("accent", "n", Math.round(v))
    }
    ColorField {
        label: qsTr("Accent colour")
        color: (page.style.accent || {}).color || "#ffffff"
        onColorEdited: c => page.patchGroup("accent", "color", c)
    }
    StyleSlider {
        label: qsTr("Accent size")
        from: 0.25; to: 4; stepSize: 0.05
        value: (page.style.accent || {}).sizeScale || 1
        onCommitted: v => page.patchGroup("accent", "sizeScale", v)
    }
    // 7. Animation
    SectionTitle { text: qsTr("Animation") }
    Choice { label: qsTr("In"); key: "animInKind"; options: page.anims }
    Choice { label: qsTr("In ease"); key: "animInEase"; options: page.eases }
    StyleSlider {
        label: qsTr("In duration (s)")
        from: 0; to: 60; stepSize: 0.05
        value: (page.style.animInDurationUs || 0) / 1e6
        onCommitted: v => page.patch("animInDurationUs", Math.round(v * 1e6))
    }
    Choice { label: qsTr("Out"); key: "animOutKind"; options: page.anims }
    Choice { label: qsTr("Out ease"); key: "animOutEase"; options: page.eases }
    StyleSlider {
        label: qsTr("Out duration (s)")
        from: 0; to: 60; stepSize: 0.05
        value: (page.style.animOutDurationUs || 0) / 1e6
        onCommitted: v => page.patch("animOutDurationUs", Math.round(v * 1e6))
    }
    FieldLabel { text: qsTr("By") }
    ThemedComboBox {
        Layout.fillWidth: true
        model: page.units
        currentIndex: Math.max(0, page.units.indexOf(page.style.animInUnit))
        // The reveal unit belongs to both animations at once.
        onActivated: i => EditorState.setTextStyle(page.trackIndex, page.clipIndex,
                                                   { animInUnit: page.units[i], animOutUnit: page.units[i] })
    }
}
