.pragma library

// Pure helpers of the timeline panel: tick steps, labels, row heights, snapping of a moved clip
// and the sorted per-track index the clip layer uses to find what is on screen.

const tickSteps = [0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600]

// The first step whose spacing leaves room for a label (66 px), else the coarsest.
function tickStepSeconds(pxPerSecond) {
    const wanted = 66 / Math.max(1e-9, pxPerSecond)
    for (let i = 0; i < tickSteps.length; ++i) {
        if (tickSteps[i] >= wanted)
            return tickSteps[i]
    }
    return tickSteps[tickSteps.length - 1]
}

function pad2(n) {
    return n < 10 ? "0" + n : String(n)
}

// "HH:MM:SS", with hundredths when the ticks are closer than a second.
function formatTick(seconds, stepSeconds) {
    const total = Math.max(0, seconds)
    const whole = Math.floor(total + 1e-6)
    let text = pad2(Math.floor(whole / 3600)) + ":" + pad2(Math.floor(whole / 60) % 60) + ":" + pad2(whole % 60)
    if (stepSeconds < 1)
        text += "." + pad2(Math.min(99, Math.round((total - whole) * 100)))
    return text
}

// Minutes and seconds for the toolbar readout.
function formatClock(seconds) {
    const whole = Math.max(0, Math.floor(seconds))
    return Math.floor(whole / 60) + ":" + pad2(whole % 60)
}

function baseTrackHeight(theme, type) {
    switch (type) {
    case "video": return theme.trackHeightVideo
    case "audio": return theme.trackHeightAudio
    case "shape": return theme.trackHeightShape
    case "text": return theme.trackHeightText
    case "subtitle": return theme.trackHeightSubtitle
    }
    return theme.trackHeightVideo
}

function rowHeight(theme, type, heightScale) {
    const scale = heightScale > 0 ? heightScale : 1
    return Math.round(Math.max(20, baseTrackHeight(theme, type) * scale))
}

// Both edges of a moved clip try to snap. The left edge wins when only it snapped or when it
// moved no further than the right one did.
function snapClipStart(snapTime, desiredStart, duration) {
    const l = snapTime(desiredStart)
    const r = snapTime(desiredStart + duration)
    const dl = Math.abs(l - desiredStart)
    const dr = Math.abs(r - (desiredStart + duration))
    const leftSnapped = dl > 0.0005
    const rightSnapped = dr > 0.0005
    if ((leftSnapped && !rightSnapped) || (leftSnapped && dl <= dr))
        return { start: l, guide: l }
    if (rightSnapped)
        return { start: r - duration, guide: r }
    return { start: desiredStart, guide: -1 }
}

// Clip order by start for one track, with the starts and the longest span, so the visible
// slice is found by binary search instead of a walk over every clip.
function buildTrackIndex(clips) {
    const order = []
    for (let i = 0; i < clips.length; ++i)
        order.push(i)
    order.sort(function (a, b) { return clips[a].start - clips[b].start || a - b })
    const starts = new Array(order.length)
    let maxDuration = 0
    for (let k = 0; k < order.length; ++k) {
        const clip = clips[order[k]]
        starts[k] = clip.start
        maxDuration = Math.max(maxDuration, clip.duration)
    }
    return { order: order, starts: starts, maxDuration: maxDuration }
}

// First position in the sorted starts at or after t.
function lowerBound(starts, t) {
    let lo = 0, hi = starts.length
    while (lo < hi) {
        const mid = (lo + hi) >> 1
        if (starts[mid] < t)
            lo = mid + 1
        else
            hi = mid
    }
    return lo
}

// Sorted positions [first, last] of the clips that may reach into [fromSeconds, toSeconds];
// `minSpan` covers the on-screen floor of a short clip's width.
function visibleRange(index, fromSeconds, toSeconds, minSpan) {
    const reach = Math.max(index.maxDuration, minSpan)
    const first = lowerBound(index.starts, fromSeconds - reach)
    const last = lowerBound(index.starts, toSeconds) - 1
    return { first: first, last: last }
}

// The clip right after `sortedPos` that touches it (gap up to a millisecond) or overlaps it.
function touchingPartner(clips, index, sortedPos) {
    if (sortedPos < 0 || sortedPos + 1 >= index.order.length)
        return -1
    const left = clips[index.order[sortedPos]]
    const right = clips[index.order[sortedPos + 1]]
    // The index lags one evaluation behind a new track list; it catches up at once.
    if (!left || !right)
        return -1
    if (right.start - (left.start + left.duration) <= 0.001)
        return index.order[sortedPos + 1]
    return -1
}

function transitionBetween(track, fromId, toId) {
    const list = track.transitions || []
    for (let i = 0; i < list.length; ++i) {
        if (list[i].fromClipId === fromId && list[i].toClipId === toId)
            return list[i]
    }
    return null
}

// Where a transition between two touching clips sits on the timeline, in seconds.
function transitionSpan(left, right, transition) {
    const leftEnd = left.start + left.duration
    if (transition && transition.start !== undefined && transition.duration > 0)
        return { start: transition.start, end: transition.start + transition.duration }
    if (right.start < leftEnd)
        return { start: right.start, end: leftEnd }
    return { start: leftEnd - 0.25, end: leftEnd + 0.25 }
}

function clipColor(theme, kind, trackType) {
    switch (kind) {
    case "audio": return theme.clipAudio
    case "text": return theme.clipText
    case "subtitle": return theme.clipSubtitle
    case "shape": return theme.clipGraphic
    case "image": return trackType === "shape" ? theme.clipGraphic : theme.clipVideoPlaceholder
    }
    return theme.clipVideoPlaceholder
}
