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
    readonly property var animLabels: [qsTr("None"), qsTr("Fade"), qsTr("Slide up"), qsTr("Slide down"),
                                       qsTr("Slide left"), qsTr("Slide right"), qsTr("Pop"), qsTr("Blur"),
                                       qsTr("Typewriter"), qsTr("Rise"), qsTr("Bounce"), qsTr("Wave")]
    readonly property var eases: ["linear", "easeOut", "easeInOut", "back"]
    readonly property var easeLabels: [qsTr("Linear"), qsTr("Ease out"), qsTr("Ease in and out"), qsTr("Overshoot")]
    readonly property var units: ["block", "word", "character", "line"]
    readonly property var unitLabels: [qsTr("Whole text"), qsTr("Word"), qsTr("Character"), qsTr("Line")]
    readonly property var orders: ["forward", "backward", "centerOut", "random"]
    readonly property var orderLabels: [qsTr("Forward"), qsTr("Backward"), qsTr("From the centre"), qsTr("Random")]
    readonly property var rules: ["none", "firstWord", "lastWord", "everyOther", "everyNth", "longestWord",
                                  "randomStable", "karaoke"]
    readonly property var ruleLabels: [qsTr("None"), qsTr("First word"), qsTr("Last word"), qsTr("Every other word"),
                                       qsTr("Every Nth word"), qsTr("Longest word"), qsTr("Random words"),
                                       qsTr("Karaoke")]
    readonly property var accent: style.accent || ({})
    readonly property var wordHighlight: style.wordHighlight || ({})

    function patch(key, value) {
        const change = {}
        change[key] = value
        EditorState.setTextStyle(trackIndex, clipIndex, change)
    }
    // A patch of one key inside a group: patchGroup(["accent", "highlight"], "enabled", true).
    function patchGroup(group, key, value) {
        const path = Array.isArray(group) ? group : [group]
        let inner = {}
        inner[key] = value
        for (let i = path.length - 1; i >= 0; --i) {
            const outer = {}
            outer[path[i]] = inner
            inner = outer
        }
        EditorState.setTextStyle(trackIndex, clipIndex, inner)
    }
    // The reveal unit, stagger and order belong to the entering and the leaving animation alike.
    function patchBothAnimations(key, value) {
        const change = { animIn: {}, animOut: {} }
        change.animIn[key] = value
        change.animOut[key] = value
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
    // A combo over enum words, shown by their labels; `write` sends the chosen word.
    component Choice : ColumnLayout {
        id: choice
        property alias label: caption.text
        property var options: []
        property var labels: options
        property string current: ""
        property var write: function (word) {}
        Layout.fillWidth: true
        spacing: 2
        FieldLabel { id: caption; visible: text.length > 0 }
        ThemedComboBox {
            objectName: "choiceCombo"
            Layout.fillWidth: true
            model: choice.labels
            currentIndex: Math.max(0, choice.options.indexOf(choice.current))
            onActivated: i => choice.write(choice.options[i])
        }
    }
    component FlatChoice : Choice {
        property string key: ""
        current: page.style[key] || ""
        write: word => page.patch(key, word)
    }
    // One animation, entering or leaving: its kind, duration and ease. The clip's map holds them
    // flat under the group's name ("animInKind"), the patch sends them grouped.
    component AnimationRow : ColumnLayout {
        id: anim
        property string group: ""
        property alias label: kindChoice.label
        Layout.fillWidth: true
        spacing: Theme.spacingSm
        Choice {
            id: kindChoice
            objectName: anim.group + "Kind"
            options: page.anims
            labels: page.animLabels
            current: page.style[anim.group + "Kind"] || ""
            write: word => page.patchGroup(anim.group, "kind", word)
        }
        StyleSlider {
            objectName: anim.group + "Duration"
            label: qsTr("Duration (s)")
            from: 0; to: 60; stepSize: 0.05
            value: (page.style[anim.group + "DurationUs"] || 0) / 1e6
            onCommitted: v => page.patchGroup(anim.group, "duration", v)
        }
        Choice {
            label: qsTr("Ease")
            options: page.eases
            labels: page.easeLabels
            current: page.style[anim.group + "Ease"] || ""
            write: word => page.patchGroup(anim.group, "ease", word)
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
    ThemedSwitch {
        // Bold is the weight; the saved style keeps no separate flag for it.
        Layout.fillWidth: true
        text: qsTr("Bold")
        checked: (page.style.fontWeight || 400) >= 600
        onToggled: page.patch("fontWeight", checked ? 700 : 400)
    }
    Toggle { text: qsTr("Italic"); key: "italic" }
    FlatChoice {
        label: qsTr("Alignment"); key: "align"
        options: ["left", "center", "right"]; labels: [qsTr("Left"), qsTr("Centre"), qsTr("Right")]
    }
    FlatChoice {
        label: qsTr("Vertical alignment"); key: "valign"
        options: ["top", "middle", "bottom"]; labels: [qsTr("Top"), qsTr("Middle"), qsTr("Bottom")]
    }
    Number_ { label: qsTr("Line height"); key: "lineHeight"; from: 0.5; to: 3; stepSize: 0.05 }
    Number_ { label: qsTr("Letter spacing"); key: "letterSpacing"; from: -20; to: 100; stepSize: 0.5; decimals: 1 }
    Toggle { text: qsTr("Word wrap"); key: "wordWrap" }
    // 5. Decorations
    SectionTitle { text: qsTr("Outline") }
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
    SectionTitle { text: qsTr("Word highlight") }
    ThemedSwitch {
        Layout.fillWidth: true
        text: qsTr("Word highlight")
        checked: page.wordHighlight.enabled === true
        onToggled: page.patchGroup("wordHighlight", "enabled", checked)
    }
    StyleSlider {
        label: qsTr("Thickness")
        from: 0; to: 100; stepSize: 1; decimals: 0
        value: page.wordHighlight.padding || 0
        onCommitted: v => page.patchGroup("wordHighlight", "padding", v)
    }
    StyleSlider {
        label: qsTr("Corner radius")
        from: 0; to: 200; stepSize: 1; decimals: 0
        value: page.wordHighlight.radius || 0
        onCommitted: v => page.patchGroup("wordHighlight", "radius", v)
    }
    ColorField {
        label: qsTr("Highlight colour")
        color: page.wordHighlight.color || "#ffffff"
        onColorEdited: c => page.patchGroup("wordHighlight", "color", c)
    }
    SectionTitle { text: qsTr("Underline") }
    Toggle { text: qsTr("Underline"); key: "underlineEnabled" }
    Number_ { label: qsTr("Thickness"); key: "underlineWidth"; from: 0; to: 100; stepSize: 1; decimals: 0 }
    Number_ { label: qsTr("Offset"); key: "underlineOffset"; from: -200; to: 200; stepSize: 1; decimals: 0 }
    Colour { label: qsTr("Underline colour"); key: "underlineColor" }
    // 6. Word accent
    SectionTitle { text: qsTr("Word accent") }
    Choice {
        options: page.rules
        labels: page.ruleLabels
        current: page.accent.rule || ""
        write: word => page.patchGroup("accent", "rule", word)
    }
    StyleSlider {
        label: qsTr("n")
        from: 1; to: 16; stepSize: 1; decimals: 0
        value: page.accent.n || 1
        onCommitted: v => page.patchGroup("accent", "n", Math.round(v))
    }
    ColorField {
        label: qsTr("Accent colour")
        color: page.accent.color || "#ffffff"
        // Choosing a colour is asking for it, so it also switches the accent colour on.
        onColorEdited: c => EditorState.setTextStyle(page.trackIndex, page.clipIndex,
                                                     { accent: { color: c, colorEnabled: true } })
    }
    StyleSlider {
        label: qsTr("Accent size")
        from: 0.25; to: 4; stepSize: 0.05
        value: page.accent.sizeScale || 1
        onCommitted: v => page.patchGroup("accent", "sizeScale", v)
    }
    ThemedSwitch {
        Layout.fillWidth: true
        text: qsTr("Accent outline")
        checked: page.accent.outlineEnabled === true
        onToggled: page.patchGroup("accent", "outlineEnabled", checked)
    }
    StyleSlider {
        label: qsTr("Accent outline width")
        from: 0; to: 100; stepSize: 1; decimals: 0
        value: page.accent.outlineWidth || 0
        onCommitted: v => page.patchGroup("accent", "outlineWidth", v)
    }
    ThemedSwitch {
        Layout.fillWidth: true
        text: qsTr("Accent pill")
        checked: (page.accent.highlight || {}).enabled === true
        onToggled: page.patchGroup(["accent", "highlight"], "enabled", checked)
    }
    // 7. Animation
    SectionTitle { text: qsTr("Animation") }
    AnimationRow { group: "animIn"; label: qsTr("In") }
    AnimationRow { group: "animOut"; label: qsTr("Out") }
    Choice {
        objectName: "animUnit"
        label: qsTr("By")
        options: page.units
        labels: page.unitLabels
        current: page.style.animInUnit || ""
        write: word => page.patchBothAnimations("unit", word)
    }
    StyleSlider {
        objectName: "animStagger"
        label: qsTr("Stagger (s)")
        from: 0; to: 2; stepSize: 0.01
        value: (page.style.animInStaggerUs || 0) / 1e6
        onCommitted: v => page.patchBothAnimations("stagger", v)
    }
    Choice {
        label: qsTr("Order")
        options: page.orders
        labels: page.orderLabels
        current: page.style.animInOrder || ""
        write: word => page.patchBothAnimations("order", word)
    }
}
