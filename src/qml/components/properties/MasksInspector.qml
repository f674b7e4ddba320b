import QtQuick
import QtQuick.Layouts
import Orvel

// The clip's cutout shape. Each slider copies the mask map, changes one key and previews it, so
// a slide is one "Mask changed" entry.
InspectorPage {
    id: page

    readonly property var mask: clipData.mask || ({})
    readonly property var shapes: [
        { id: "none", label: qsTr("None") }, { id: "rectangle", label: qsTr("Rectangle") },
        { id: "ellipse", label: qsTr("Ellipse") }, { id: "star", label: qsTr("Star") },
        { id: "heart", label: qsTr("Heart") }, { id: "bars", label: qsTr("Bars") }
    ]

    function changed(key, value) {
        const copy = Object.assign({}, mask)
        copy[key] = value
        return copy
    }

    applicable: kind !== "audio" && kind !== "text" && kind !== "subtitle"
    emptyTitle: qsTr("No cutouts here")
    emptyHint: qsTr("Cutouts apply to video, images, shapes and stickers.")

    component MaskSlider : ColumnLayout {
        property alias label: caption.text
        property string key: ""
        property alias from: slider.from
        property alias to: slider.to
        property alias stepSize: slider.stepSize
        Layout.fillWidth: true
        spacing: 0
        FieldLabel { id: caption }
        DragSlider {
            id: slider
            Layout.fillWidth: true
            stepSize: 0.01
            value: page.mask[parent.key] || 0
            undoText: qsTr("Mask changed")
            preview: v => EditorState.previewSetClipMask(page.trackIndex, page.clipIndex, page.changed(parent.key, v))
        }
    }

    FieldLabel { text: qsTr("Shape") }
    ThemedComboBox {
        Layout.fillWidth: true
        model: page.shapes
        textRole: "label"
        currentIndex: Math.max(0, page.shapes.findIndex(s => s.id === page.mask.shape))
        onActivated: i => EditorState.setClipMask(page.trackIndex, page.clipIndex, page.changed("shape", page.shapes[i].id))
    }
    ColumnLayout {
        Layout.fillWidth: true
        visible: page.mask.shape !== undefined && page.mask.shape !== "none"
        spacing: Theme.spacingMd
        MaskSlider { label: qsTr("Center X"); key: "x"; from: 0; to: 1 }
        MaskSlider { label: qsTr("Center Y"); key: "y"; from: 0; to: 1 }
        MaskSlider { label: qsTr("Width"); key: "w"; from: 0.05; to: 1 }
        MaskSlider { label: qsTr("Height"); key: "h"; from: 0.05; to: 1 }
        MaskSlider { label: qsTr("Rotation"); key: "rotation"; from: -180; to: 180; visible: page.mask.shape !== "bars" }
        MaskSlider { label: qsTr("Feather"); key: "feather"; from: 0; to: 64; stepSize: 1 }
        ThemedSwitch {
            text: qsTr("Invert")
            checked: page.mask.invert === true
            onToggled: EditorState.setClipMask(page.trackIndex, page.clipIndex, page.changed("invert", checked))
        }
    }
}
