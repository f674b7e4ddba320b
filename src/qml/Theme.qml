pragma Singleton
import QtQuick

// Design tokens shared by every component. Dark or light follows the system until
// toggleDarkMode() sets an override for this session; nothing persists it.
QtObject {
    id: theme

    // Qt 6.4 does not report the system colour scheme (styleHints.colorScheme arrived in 6.5),
    // so the system side is read from the lightness of the system palette's window colour.
    property SystemPalette systemPalette: SystemPalette {}
    readonly property bool systemDark: systemPalette.window.hslLightness < 0.5
    property var darkOverride: undefined
    readonly property bool dark: darkOverride === undefined ? systemDark : darkOverride

    function toggleDarkMode() {
        darkOverride = !dark
    }

    readonly property string fontFamily: Qt.fontFamilies().indexOf("Inter") >= 0 ? "Inter" : "sans-serif"
    readonly property string monoFontFamily: "monospace"

    readonly property color appBackground: dark ? "#0d0d0d" : "#ffffff"
    readonly property color foreground: dark ? "#dedede" : "#1c1c1c"
    readonly property color mutedForeground: dark ? "#808080" : "#7a7a7a"
    readonly property color panelBackground: dark ? "#1a1a1a" : "#f9fafb"
    readonly property color panelBorder: dark ? "#2e2e2e" : "#dedede"
    readonly property color primary: "#F8B81C"
    readonly property color primaryForeground: "#221900"
    readonly property color focusRing: primary
    readonly property color destructive: "#e91616"
    readonly property color warning: "#f97316"

    readonly property color clipText: "#5DBAA0"
    readonly property color clipSubtitle: "#4A9FD4"
    readonly property color clipAudio: "#8F5DBA"
    readonly property color clipGraphic: "#BA5D7A"
    readonly property color clipVideoPlaceholder: "#2b2b2b"

    readonly property real radiusXs: 3
    readonly property real radiusSm: 5.6
    readonly property real radiusMd: 10.4
    readonly property real radiusLg: 13.12
    readonly property real radiusPill: 999

    readonly property real fontSizeTiny: 9.6
    readonly property real fontSizeTick: 10
    readonly property real fontSizeCard: 11.2
    readonly property real fontSizeXs: 11.52
    readonly property real fontSizeSm: 12.64
    readonly property real fontSizeBase: 14.72

    readonly property int durationFast: 90
    readonly property int durationBase: 140
    readonly property int durationSlow: 220
    readonly property int easing: Easing.OutCubic

    readonly property int windowMinimumWidth: 900
    readonly property int windowMinimumHeight: 560
    readonly property real headerHeight: 54.4
    readonly property real pagePadding: 12
    readonly property real panelGap: 3
    readonly property real panelHeaderHeight: 44
    readonly property real spacingSm: 4
    readonly property real spacingMd: 6

    // Timeline geometry
    readonly property real pixelsPerSecondBase: 50
    readonly property real timelineRulerHeight: 28
    readonly property real timelineBookmarkRowHeight: 18
    readonly property real trackHeightVideo: 65
    readonly property real trackHeightAudio: 50
    readonly property real trackHeightShape: 50
    readonly property real trackHeightText: 25
    readonly property real trackHeightSubtitle: 25
    readonly property real trackGap: 6
    readonly property real trackLabelsWidth: 130
    readonly property real newTrackHitSlop: 24
    readonly property real clipSelectionRingWidth: 1.5
    readonly property real clipMinInteractiveWidth: 28
    readonly property real clipMinWidth: clipMinInteractiveWidth * 2
    readonly property real clipMinDurationSeconds: 0.1
    readonly property real clipHeaderBandHeight: 16

    // Role to glyph. The glyphs come from the symbol ranges that common desktop fonts cover.
    readonly property var icons: ({
        "add": "\u002B", "check": "\u2713", "chevronDown": "\u25BE", "chevronRight": "\u25B8",
        "close": "\u2715", "more": "\u22EF", "save": "\u2913", "open": "\u2197",
        "export": "\u21EA", "import": "\u21E9", "sun": "\u2600", "moon": "\u263E",
        "search": "\u2315", "trash": "\u2716", "sort": "\u21C5", "undo": "\u21B6",
        "video": "\u25B6", "audio": "\u266A", "image": "\u25A7", "missing": "\u26A0",
        "info": "\u2139", "success": "\u2714", "warning": "\u26A0", "error": "\u2716",
        "fullscreen": "\u2922", "update": "\u21BB", "media": "\u25A4", "folder": "\u25A1",
        "previous": "\u25C2", "next": "\u25B8", "keyframe": "\u25C7", "keyframeOn": "\u25C6",
        "general": "\u2139", "text": "\u0054", "transform": "\u25A2", "speed": "\u00BB",
        "blend": "\u25D0", "transition": "\u21C4", "mask": "\u25CC", "effects": "\u2726",
        "subtitles": "\u2261", "shape": "\u25B3"
    })
}
