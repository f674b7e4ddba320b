import QtQuick
import Orvel
import "TimelineMath.js" as TM

// One track row. Clip items come from a fixed pool sized to the visible slice: slot i shows the
// clip at sorted position k with k = i (mod pool size), so a scroll step rebinds one or two slots
// instead of creating items, and nothing here grows with the number of clips on the track.
Item {
    id: row

    required property Item panel
    property int trackIndex: -1

    readonly property var track: trackIndex >= 0 && trackIndex < panel.tracks.length ? panel.tracks[trackIndex] : null
    readonly property string trackType: track ? track.type : ""
    readonly property var sortIndex: trackIndex >= 0 && trackIndex < panel.trackIndexes.length ? panel.trackIndexes[trackIndex]
                                                                                             : null
    readonly property bool takesTransitions: trackType === "video" || trackType === "shape"
    property bool hasMovingClip: false

    y: panel.trackOffsetY(trackIndex)
    width: parent ? parent.width : 0
    height: panel.trackHeight(trackIndex)
    z: hasMovingClip ? 10 : 0

    readonly property var range: {
        if (!sortIndex)
            return { first: 0, last: -1 }
        const pps = panel.pxPerSecond
        return TM.visibleRange(sortIndex, (panel.contentX - panel.clipMarginPx) / pps,
                               (panel.contentX + panel.viewWidth + panel.clipMarginPx) / pps, Theme.clipMinWidth / pps)
    }
    // Plain ints, so slots re-evaluate only when an end of the slice moves to another clip.
    readonly property int first: range.first
    readonly property int last: range.last
    property int poolSize: 0
    // Sized from the range object itself: `first` and `last` update one after the other, and
    // their brief disagreement must not resize (and so recreate) the pool. It grows at once and
    // shrinks only when far too big, in steps of 8.
    onRangeChanged: resizePool()
    Component.onCompleted: resizePool()
    function resizePool() {
        const needed = Math.max(0, range.last - range.first + 1)
        if (needed > poolSize || needed < poolSize / 3)
            poolSize = Math.ceil(needed / 8) * 8
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.dark ? "#141414" : "#f1f2f4"
        antialiasing: false
        border.color: row.trackIndex === panel.dropTrackIndex && panel.dropStartSeconds >= 0 ? Theme.primary : "transparent"
        radius: Theme.radiusXs
    }

    // The sorted position slot i shows, and the clip there (-1 past the slice).
    function slotPosition(i) {
        const n = poolSize
        return first + (((i - first) % n) + n) % n
    }
    function clipAtPosition(pos) {
        return pos <= last && sortIndex && pos < sortIndex.order.length ? sortIndex.order[pos] : -1
    }

    Repeater {
        model: row.poolSize
        delegate: TimelineClipItem {
            required property int index
            panel: row.panel
            trackRow: row
            trackIndex: row.trackIndex
            trackType: row.trackType
            sortedPos: row.slotPosition(index)
            clipIndex: row.clipAtPosition(sortedPos)
        }
    }

    // Transition regions lie in a layer above all clips of the row, so regions, like clip names,
    // are drawn together instead of alternating with the clips below them.
    Repeater {
        id: regionRepeater
        model: row.takesTransitions ? row.poolSize : 0
        delegate: TimelineTransitionRegion {
            required property int index
            readonly property int sortedPos: row.slotPosition(index)
            readonly property int partner: leftClipIndex >= 0 ? TM.touchingPartner(row.track.clips, row.sortIndex, sortedPos) : -1
            panel: row.panel
            trackIndex: row.trackIndex
            leftClipIndex: row.clipAtPosition(sortedPos)
            leftClip: partner >= 0 ? row.track.clips[leftClipIndex] : null
            rightClip: partner >= 0 ? row.track.clips[partner] : null
            transitionData: partner >= 0 ? TM.transitionBetween(row.track, leftClip.id, rightClip.id) : null
            visible: partner >= 0 && !row.hasMovingClip
            y: Theme.clipSelectionRingWidth
            height: row.height - 2 * Theme.clipSelectionRingWidth
            z: 5
        }
    }
    Repeater {
        model: regionRepeater.count
        delegate: Text {
            required property int index
            readonly property Item region: regionRepeater.itemAt(index)
            visible: region !== null && region.visible
            x: region ? region.x + (region.width - width) / 2 : 0
            y: region ? region.y + (region.height - height) / 2 : 0
            z: 6
            text: region ? region.label : ""
            color: Theme.foreground
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontSizeTiny
            font.bold: true
            renderType: Text.NativeRendering
        }
    }

    // Effect, audio effect, shape and transition drags land on the row under the pointer.
    DropArea {
        anchors.fill: parent
        keys: ["application/x-orvel-effect", "application/x-orvel-audio-effect", "application/x-orvel-shape",
            "application/x-orvel-transition"]
        function hitClip(x) {
            const seconds = x / panel.pxPerSecond
            const clips = row.track.clips
            for (let i = clips.length - 1; i >= 0; --i) {
                if (seconds >= clips[i].start && seconds <= clips[i].start + clips[i].duration)
                    return i
            }
            return -1
        }
        function kindOf(drag) {
            for (let i = 0; i < keys.length; ++i) {
                if (drag.keys.indexOf(keys[i]) >= 0 || (drag.formats && drag.formats.indexOf(keys[i]) >= 0))
                    return keys[i]
            }
            return ""
        }
        // The pair whose transition region's midpoint is nearest the pointer.
        function transitionLeftClipAtPosition(x) {
            const seconds = x / panel.pxPerSecond
            const clips = row.track.clips
            let best = -1, bestDistance = Infinity
            for (let l = 0; l < clips.length; ++l) {
                for (let r = 0; r < clips.length; ++r) {
                    if (r === l || clips[r].start < clips[l].start)
                        continue
                    if (clips[r].start - (clips[l].start + clips[l].duration) > 0.001)
                        continue
                    const span = TM.transitionSpan(clips[l], clips[r], null)
                    const d = Math.abs((span.start + span.end) / 2 - seconds)
                    if (d < bestDistance) {
                        bestDistance = d
                        best = l
                    }
                }
            }
            return best
        }
        function preview(drag) {
            const kind = kindOf(drag)
            panel.effectDropTrackIndex = -1
            panel.effectDropClipIndex = -1
            panel.clearDropPreview()
            if (kind === "application/x-orvel-shape") {
                if (row.trackType !== "shape")
                    return false
                panel.dropTrackIndex = row.trackIndex
                panel.dropStartSeconds = Math.max(0, drag.x / panel.pxPerSecond)
                panel.dropDurationSeconds = 5.0
                return true
            }
            if (kind === "application/x-orvel-transition") {
                const left = row.takesTransitions ? transitionLeftClipAtPosition(drag.x) : -1
                panel.effectDropTrackIndex = left >= 0 ? row.trackIndex : -1
                panel.effectDropClipIndex = left
                return left >= 0
            }
            const hit = hitClip(drag.x)
            panel.effectDropTrackIndex = hit >= 0 ? row.trackIndex : -1
            panel.effectDropClipIndex = hit
            return hit >= 0
        }
        onEntered: drag => { drag.accepted = preview(drag) }
        onPositionChanged: drag => preview(drag)
        onExited: {
            panel.effectDropTrackIndex = -1
            panel.effectDropClipIndex = -1
            panel.clearDropPreview()
        }
        onDropped: drop => {
            const kind = kindOf(drop)
            const ok = preview(drop)
            const clip = panel.effectDropClipIndex
            panel.effectDropTrackIndex = -1
            panel.effectDropClipIndex = -1
            panel.clearDropPreview()
            if (!ok)
                return
            const payload = drop.getDataAsString(kind)
            if (kind === "application/x-orvel-effect")
                EditorState.addEffect(row.trackIndex, clip, payload)
            else if (kind === "application/x-orvel-audio-effect")
                EditorState.addAudioEffect(row.trackIndex, clip, payload)
            else if (kind === "application/x-orvel-shape")
                EditorState.addShapeClipAt(payload, row.trackIndex, Math.max(0, drop.x / panel.pxPerSecond))
            else if (kind === "application/x-orvel-transition")
                EditorState.addTransition(row.trackIndex, clip, payload, 0.5)
            drop.accept(Qt.CopyAction)
        }
    }
}
