import QtQuick
import QtQuick.Controls
import Orvel
import "TimelineMath.js" as TM

// The editing surface. It holds no document state: it reads EditorState.tracks once per change
// into `tracks`, and every edit goes back through EditorState. Nothing on screen grows with the
// timeline's length: ticks, clip items and canvases exist only for what the viewport shows.
Item {
    id: timeline
    objectName: "timelinePanel"

    property var tracks: EditorState.tracks
    // Per track: clip order by start, for the binary search of the visible slice.
    property var trackIndexes: []
    // Per track: y offset below the top of the track area, row height; and the total height.
    property var rowOffsets: []
    property var rowHeights: []
    property real tracksHeight: 0
    property bool hasClips: false

    property real zoom: 1.0
    readonly property real minZoom: 0.05
    readonly property real maxZoom: 40.0
    readonly property real pxPerSecond: Theme.pixelsPerSecondBase * zoom

    property string timelineTool: ""
    property real cutHoverSeconds: -1
    property int cutHoverTrack: -1
    property int cutHoverClip: -1
    property real snapGuideSeconds: -1

    property int dropTrackIndex: -1
    property real dropStartSeconds: -1
    property real dropDurationSeconds: 0
    property bool dropCreatesNewTrack: false
    // Base height of the track a library drop would create, for its outline.
    property real dropNewTrackHeight: 0
    property int effectDropTrackIndex: -1
    property int effectDropClipIndex: -1

    property bool marqueeActive: false
    property bool marqueeAdditive: false
    property real marqueeOriginX: 0
    property real marqueeOriginY: 0
    property real marqueeCurrentX: 0
    property real marqueeCurrentY: 0

    property bool moveFollowActive: false
    property int moveLeaderTrack: -1
    property int moveLeaderClip: -1
    property real moveFollowDeltaX: 0

    readonly property real assetDropTopSlop: EditorState.draggingAssetIndex >= 0 && hasClips ? Theme.newTrackHitSlop : 0
    readonly property real rulerAreaHeight: Theme.timelineRulerHeight + Theme.timelineBookmarkRowHeight
    readonly property alias flickable: flick
    readonly property real viewWidth: flick.width
    readonly property real contentX: flick.contentX
    // Extra reach on each side of the viewport where clip items already exist, so a short
    // scroll never shows an empty edge.
    readonly property real clipMarginPx: 240

    function rebuildGeometry() {
        const indexes = []
        const offsets = []
        const heights = []
        let y = 0
        let anyClip = false
        for (let i = 0; i < tracks.length; ++i) {
            const track = tracks[i]
            indexes.push(TM.buildTrackIndex(track.clips))
            const h = TM.rowHeight(Theme, track.type, track.heightScale)
            offsets.push(y)
            heights.push(h)
            y += h + Theme.trackGap
            anyClip = anyClip || track.clips.length > 0
        }
        trackIndexes = indexes
        rowOffsets = offsets
        rowHeights = heights
        tracksHeight = y
        hasClips = anyClip
    }
    onTracksChanged: rebuildGeometry()
    Component.onCompleted: rebuildGeometry()

    function trackOffsetY(i) {
        return i >= 0 && i < rowOffsets.length ? rowOffsets[i] : tracksHeight
    }
    function trackHeight(i) {
        return i >= 0 && i < rowHeights.length ? rowHeights[i] : 0
    }
    // The track row under a y in track-area coordinates, -1 in a gap or outside.
    function trackAtY(y) {
        for (let i = 0; i < rowOffsets.length; ++i) {
            if (y >= rowOffsets[i] && y < rowOffsets[i] + rowHeights[i])
                return i
        }
        return -1
    }
    // The clip under a point of the track area, as {track, clip}, or null.
    function clipAtPoint(x, y) {
        const t = trackAtY(y)
        if (t < 0)
            return null
        const seconds = x / pxPerSecond
        const clips = tracks[t].clips
        const minSpan = Theme.clipMinWidth / pxPerSecond
        for (let i = clips.length - 1; i >= 0; --i) {
            const c = clips[i]
            if (seconds >= c.start && seconds <= c.start + Math.max(c.duration, minSpan))
                return { track: t, clip: i }
        }
        return null
    }

    function setZoomAbout(newZoom, viewX) {
        const clamped = Math.max(minZoom, Math.min(maxZoom, newZoom))
        if (clamped === zoom)
            return
        const seconds = (flick.contentX + viewX) / pxPerSecond
        zoom = clamped
        flick.contentX = Math.max(0, Math.min(seconds * pxPerSecond - viewX, flick.contentWidth - flick.width))
    }
    function zoomBy(factor) {
        setZoomAbout(zoom * factor, flick.width / 2)
    }
    function scrollXBy(dx) {
        flick.contentX = Math.max(0, Math.min(flick.contentX + dx, flick.contentWidth - flick.width))
    }

    // Keeps the playhead 64 px from the edges. During playback the position is set directly:
    // restarting an animation every frame freezes a long Flickable.
    function ensurePlayheadVisible() {
        const x = EditorState.playheadSeconds * pxPerSecond
        const left = flick.contentX + 64
        const right = flick.contentX + flick.width - 64
        if (x >= left && x <= right)
            return
        const target = Math.max(0, Math.min(x < left ? x - 64 : x - flick.width + 64,
                                            flick.contentWidth - flick.width))
        if (EditorState.playing) {
            scrollAnimation.stop()
            flick.contentX = target
        } else {
            scrollAnimation.to = target
            scrollAnimation.restart()
        }
    }
    Connections {
        target: EditorState
        function onPlayheadSecondsChanged() { timeline.ensurePlayheadVisible() }
    }

    function snapTime(seconds) {
        return EditorState.snapTime(seconds)
    }

    // The landing outline of a moved clip: snapped start on the track under the item's centre.
    function updateMovePreview(trackIndex, clipIndex, rawStart, centreY) {
        const clip = tracks[trackIndex].clips[clipIndex]
        const snapped = TM.snapClipStart(snapTime, Math.max(0, rawStart), clip.duration)
        let target = trackAtY(centreY)
        if (target < 0)
            target = trackIndex
        dropTrackIndex = target
        dropStartSeconds = snapped.start
        dropDurationSeconds = clip.duration
        dropCreatesNewTrack = false
        snapGuideSeconds = snapped.guide
    }
    function clearDropPreview() {
        dropTrackIndex = -1
        dropStartSeconds = -1
        dropDurationSeconds = 0
        dropCreatesNewTrack = false
        snapGuideSeconds = -1
    }
    function finishMove(trackIndex, clipIndex, rawStart, centreY) {
        const target = trackAtY(centreY)
        clearDropPreview()
        moveFollowActive = false
        moveLeaderTrack = -1
        moveLeaderClip = -1
        moveFollowDeltaX = 0
        if (target >= 0 && target !== trackIndex)
            EditorState.moveClipToTrack(trackIndex, clipIndex, target, Math.max(0, rawStart))
        else
            EditorState.moveClip(trackIndex, clipIndex, Math.max(0, rawStart))
    }

    function finishMoveCancelled() {
        clearDropPreview()
        moveFollowActive = false
        moveLeaderTrack = -1
        moveLeaderClip = -1
        moveFollowDeltaX = 0
    }

    // One context menu for every clip item, so the items stay light.
    function openClipMenu(source, x, y, track, clip, atSeconds) {
        clipMenu.trackIndex = track
        clipMenu.clipIndex = clip
        clipMenu.atSeconds = atSeconds
        const p = source.mapToItem(timeline, x, y)
        clipMenu.popup(timeline, p.x, p.y)
    }
    ThemedContextMenu {
        id: clipMenu
        property int trackIndex: -1
        property int clipIndex: -1
        property real atSeconds: 0
        ThemedMenuItem {
            text: qsTr("Split")
            onTriggered: EditorState.splitClipAt(clipMenu.trackIndex, clipMenu.clipIndex, timeline.snapTime(clipMenu.atSeconds))
        }
        ThemedMenuItem {
            text: qsTr("Separate audio")
            visible: EditorState.separateAudioAvailable
            height: visible ? implicitHeight : 0
            onTriggered: EditorState.separateAudioFromSelection()
        }
        ThemedMenuItem {
            text: qsTr("Unlink")
            enabled: EditorState.unlinkAvailable
            onTriggered: EditorState.unlinkSelectedClips()
        }
        ThemedMenuSeparator {}
        ThemedMenuItem { text: qsTr("Cut"); onTriggered: EditorState.cutSelection() }
        ThemedMenuItem { text: qsTr("Copy"); onTriggered: EditorState.copySelection() }
        ThemedMenuItem { text: qsTr("Duplicate"); onTriggered: EditorState.duplicateSelectedClip() }
        ThemedMenuSeparator {}
        ThemedMenuItem {
            text: qsTr("Delete")
            destructive: true
            onTriggered: EditorState.deleteSelectedClip()
        }
    }

    // Library drops, in track-area coordinates (x in content pixels, y below the track top).
    function assetDropPlan(assetIndex, x, y) {
        const asset = AssetLibrary.assetAt(assetIndex)
        const seconds = Math.max(0, x / pxPerSecond)
        const duration = asset.kind === "image" || !(asset.durationSeconds > 0) ? 5.0 : asset.durationSeconds
        const plan = { track: -1, newTrack: false, start: seconds, duration: duration }
        if (tracks.length > 0 && !hasClips) {
            for (let i = 0; i < tracks.length; ++i) {
                if (EditorState.trackAcceptsAsset(i, assetIndex)) {
                    plan.track = i
                    return plan
                }
            }
            return null
        }
        const t = y < 0 ? -1 : trackAtY(y)
        if (t >= 0 && EditorState.trackAcceptsAsset(t, assetIndex))
            plan.track = t
        else
            plan.newTrack = true
        return plan
    }
    function updateAssetDropPreview(assetIndex, x, y) {
        const plan = assetIndex >= 0 ? assetDropPlan(assetIndex, x, y) : null
        if (!plan) {
            clearDropPreview()
            return
        }
        dropTrackIndex = plan.track
        dropCreatesNewTrack = plan.newTrack
        dropNewTrackHeight = TM.baseTrackHeight(Theme, EditorState.trackTypeForAsset(assetIndex))
        dropStartSeconds = plan.start
        dropDurationSeconds = plan.duration
    }
    function performAssetDrop(assetIndex, x, y) {
        const plan = assetIndex >= 0 ? assetDropPlan(assetIndex, x, y) : null
        clearDropPreview()
        if (!plan)
            return
        const runner = plan.newTrack ? function () { EditorState.addClipFromAssetOnNewTrack(assetIndex, plan.start) }
                                     : function () { EditorState.addClipFromAssetAt(assetIndex, plan.track, plan.start) }
        const win = Window.window
        if (win && typeof win.configureAndAddAsset === "function")
            win.configureAndAddAsset(assetIndex, runner)
        else
            runner()
    }
    function dragAssetIndex(drag) {
        if (EditorState.draggingAssetIndex >= 0)
            return EditorState.draggingAssetIndex
        const text = drag.getDataAsString ? drag.getDataAsString("text/plain") : ""
        const n = parseInt(text)
        return isNaN(n) ? -1 : n
    }

    // Marquee: the selection is rebuilt from every clip whose rectangle touches the box.
    property var marqueeBase: []
    function updateMarqueeSelection() {
        const x0 = Math.min(marqueeOriginX, marqueeCurrentX), x1 = Math.max(marqueeOriginX, marqueeCurrentX)
        const y0 = Math.min(marqueeOriginY, marqueeCurrentY), y1 = Math.max(marqueeOriginY, marqueeCurrentY)
        const pairs = []
        const seen = {}
        if (marqueeAdditive) {
            for (let i = 0; i < marqueeBase.length; ++i) {
                const p = marqueeBase[i]
                seen[p.track + ":" + p.clip] = true
                pairs.push({ track: p.track, clip: p.clip })
            }
        }
        const ring = Theme.clipSelectionRingWidth
        for (let t = 0; t < tracks.length; ++t) {
            const top = rowOffsets[t], bottom = top + rowHeights[t]
            if (bottom < y0 || top > y1)
                continue
            const clips = tracks[t].clips
            for (let c = 0; c < clips.length; ++c) {
                const left = clips[c].start * pxPerSecond + ring
                const right = left + Math.max(Theme.clipMinWidth, clips[c].duration * pxPerSecond - 2 * ring)
                if (right < x0 || left > x1 || seen[t + ":" + c])
                    continue
                seen[t + ":" + c] = true
                pairs.push({ track: t, clip: c })
            }
        }
        EditorState.setSelection(pairs)
    }

    function splitWithTool(x, y) {
        const hit = clipAtPoint(x, y)
        if (!hit)
            return
        const seconds = snapTime(Math.max(0, x / pxPerSecond))
        if (timelineTool === "split")
            EditorState.splitClipAt(hit.track, hit.clip, seconds)
        else if (timelineTool === "trimStart")
            EditorState.splitClipLeftAt(hit.track, hit.clip, seconds)
        else if (timelineTool === "trimEnd")
            EditorState.splitClipRightAt(hit.track, hit.clip, seconds)
    }

    Shortcut {
        sequence: "V"
        context: Qt.ApplicationShortcut
        onActivated: timeline.timelineTool = ""
    }
    Shortcut {
        sequence: "B"
        context: Qt.ApplicationShortcut
        onActivated: timeline.timelineTool = "split"
    }

    NumberAnimation {
        id: scrollAnimation
        target: flick
        property: "contentX"
        duration: Theme.durationBase
        easing.type: Theme.easing
    }

    TimelineToolbar {
        id: toolbar
        panel: timeline
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
    }

    Item {
        id: body
        anchors.top: toolbar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        clip: true

        TrackHeaderColumn {
            id: headers
            panel: timeline
            width: Theme.trackLabelsWidth
            height: parent.height
            contentY: flick.contentY
            topPadding: timeline.assetDropTopSlop
        }

        TimelineRuler {
            id: ruler
            panel: timeline
            x: Theme.trackLabelsWidth
            width: parent.width - x
            height: timeline.rulerAreaHeight
        }

        Flickable {
            id: flick
            objectName: "timelineFlickable"
            x: Theme.trackLabelsWidth
            y: timeline.rulerAreaHeight
            width: parent.width - x
            height: parent.height - y
            interactive: false
            clip: true
            contentWidth: Math.max(width, (EditorState.durationSeconds + 5) * timeline.pxPerSecond)
            contentHeight: Math.max(height, timeline.assetDropTopSlop + timeline.tracksHeight + 40)
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.horizontal: AppScrollBar {}
            ScrollBar.vertical: AppScrollBar {}

            // Presses on empty track space: clear, or draw a selection box.
            MouseArea {
                id: marqueeArea
                objectName: "marqueeArea"
                width: flick.contentWidth
                height: flick.contentHeight
                enabled: timeline.timelineTool === ""
                property bool moved: false
                onPressed: mouse => {
                    timeline.marqueeAdditive = (mouse.modifiers & Qt.ShiftModifier) !== 0
                    timeline.marqueeBase = timeline.marqueeAdditive ? EditorState.selection : []
                    if (!timeline.marqueeAdditive)
                        EditorState.clearSelection()
                    const y = mouse.y - trackLayer.y
                    timeline.marqueeOriginX = timeline.marqueeCurrentX = mouse.x
                    timeline.marqueeOriginY = timeline.marqueeCurrentY = y
                    moved = false
                }
                onPositionChanged: mouse => {
                    timeline.marqueeCurrentX = mouse.x
                    timeline.marqueeCurrentY = mouse.y - trackLayer.y
                    if (!moved && Math.abs(timeline.marqueeCurrentX - timeline.marqueeOriginX) <= 2
                            && Math.abs(timeline.marqueeCurrentY - timeline.marqueeOriginY) <= 2)
                        return
                    moved = true
                    timeline.marqueeActive = true
                    timeline.updateMarqueeSelection()
                }
                onReleased: {
                    if (!moved && !timeline.marqueeAdditive)
                        EditorState.clearSelection()
                    timeline.marqueeActive = false
                }
                onCanceled: timeline.marqueeActive = false
            }

            Item {
                id: trackLayer
                objectName: "trackLayer"
                y: timeline.assetDropTopSlop
                width: flick.contentWidth
                height: timeline.tracksHeight

                Repeater {
                    id: rowRepeater
                    model: timeline.tracks.length
                    delegate: TimelineTrackRow {
                        required property int index
                        panel: timeline
                        trackIndex: index
                    }
                }

                // Where a dragged clip or a library item would land.
                Rectangle {
                    objectName: "landingOutline"
                    visible: timeline.dropStartSeconds >= 0 && (timeline.dropTrackIndex >= 0 || timeline.dropCreatesNewTrack)
                    x: timeline.dropStartSeconds * timeline.pxPerSecond
                    y: timeline.dropCreatesNewTrack ? -timeline.assetDropTopSlop : timeline.trackOffsetY(timeline.dropTrackIndex)
                    width: Math.max(Theme.clipMinWidth, timeline.dropDurationSeconds * timeline.pxPerSecond)
                    height: timeline.dropCreatesNewTrack ? timeline.dropNewTrackHeight : timeline.trackHeight(timeline.dropTrackIndex)
                    z: 20
                    color: Qt.rgba(Theme.primary.r, Theme.primary.g, Theme.primary.b, 0.12)
                    border.color: Theme.primary
                    border.width: 1.5
                    radius: Theme.radiusXs
                }

                Rectangle {
                    objectName: "snapGuide"
                    visible: timeline.snapGuideSeconds >= 0
                    x: timeline.snapGuideSeconds * timeline.pxPerSecond
                    y: -timeline.assetDropTopSlop
                    width: 1
                    height: flick.contentHeight
                    z: 21
                    color: Theme.primary
                }

                Rectangle {
                    objectName: "marquee"
                    visible: timeline.marqueeActive
                    x: Math.min(timeline.marqueeOriginX, timeline.marqueeCurrentX)
                    y: Math.min(timeline.marqueeOriginY, timeline.marqueeCurrentY)
                    width: Math.abs(timeline.marqueeCurrentX - timeline.marqueeOriginX)
                    height: Math.abs(timeline.marqueeCurrentY - timeline.marqueeOriginY)
                    z: 30
                    color: Qt.rgba(Theme.primary.r, Theme.primary.g, Theme.primary.b, 0.10)
                    border.color: Theme.primary
                }
            }
        }

        // Library items land here; effect, shape and transition drags pass to the rows below.
        DropArea {
            id: assetDrop
            objectName: "assetDropArea"
            x: flick.x
            y: flick.y
            width: flick.width
            height: flick.height
            keys: ["text/plain"]
            property int assetIndex: -1
            function trackPoint(drag) {
                return { x: drag.x + flick.contentX, y: drag.y + flick.contentY - trackLayer.y }
            }
            onEntered: drag => {
                assetIndex = timeline.dragAssetIndex(drag)
                const p = trackPoint(drag)
                timeline.updateAssetDropPreview(assetIndex, p.x, p.y)
                drag.accepted = assetIndex >= 0
            }
            onPositionChanged: drag => {
                const p = trackPoint(drag)
                timeline.updateAssetDropPreview(assetIndex, p.x, p.y)
            }
            onExited: timeline.clearDropPreview()
            onDropped: drop => {
                const p = trackPoint(drop)
                timeline.performAssetDrop(assetIndex, p.x, p.y)
                drop.accept(Qt.CopyAction)
            }
        }

        TimelineCutOverlay {
            panel: timeline
            x: flick.x
            y: flick.y
            width: flick.width
            height: flick.height
            trackTop: trackLayer.y
        }

        // Ctrl zooms about the pointer; Shift or a horizontal delta scrolls sideways; a vertical
        // delta scrolls the tracks only when they overflow.
        MouseArea {
            objectName: "wheelArea"
            x: flick.x
            y: ruler.y
            width: flick.width
            height: parent.height
            acceptedButtons: Qt.NoButton
            onWheel: wheel => {
                const dy = wheel.angleDelta.y, dx = wheel.angleDelta.x
                if (wheel.modifiers & Qt.ControlModifier) {
                    const step = dy !== 0 ? dy : dx
                    if (step !== 0)
                        timeline.setZoomAbout(step > 0 ? timeline.zoom * 1.15 : timeline.zoom / 1.15, wheel.x)
                } else if (wheel.modifiers & Qt.ShiftModifier) {
                    timeline.scrollXBy(-(dy !== 0 ? dy : dx))
                } else if (dx !== 0) {
                    timeline.scrollXBy(-dx)
                } else if (flick.contentHeight > flick.height) {
                    flick.contentY = Math.max(0, Math.min(flick.contentY - dy, flick.contentHeight - flick.height))
                } else {
                    timeline.scrollXBy(-dy)
                }
                wheel.accepted = true
            }
        }

        TimelinePlayhead {
            panel: timeline
            x: flick.x
            width: flick.width
            height: parent.height
        }

        EmptyState {
            id: emptyState
            objectName: "timelineEmptyState"
            visible: timeline.tracks.length === 0
            anchors.centerIn: flick
            iconName: "media"
            title: qsTr("Your timeline is empty")
            hint: qsTr("Drag media here from the library, or add an empty track to start.")
            actionText: qsTr("New track")
            onActionTriggered: headers.openNewTrackMenu(emptyState, emptyState.width / 2, emptyState.height)
        }
    }
}
