.pragma library

// Pure helpers of the custom speed window: the log speed axis, the speed the drawn curve has at a
// source position, and the point edits (insert, smooth, knob and handle moves). Points are plain
// objects { pos, speed, inDx, inDy, outDx, outDy, corner } with pos normalised over the source.

var minSpeed = 0.1
var maxSpeed = 8.0
var gridSpeeds = [0.1, 0.25, 0.5, 1, 2, 4, 8]
// Inner points keep this much room from their neighbours so the segments never fold.
var minGap = 0.002

function clamp(v, lo, hi) {
    return Math.min(hi, Math.max(lo, v))
}

// Log axis: equal ratios of speed take equal heights, so halving and doubling look alike.
function speedToY(speed, h) {
    const s = clamp(speed, minSpeed, maxSpeed)
    return h - Math.log(s / minSpeed) / Math.log(maxSpeed / minSpeed) * h
}

function yToSpeed(y, h) {
    const t = clamp((h - y) / Math.max(1, h), 0, 1)
    return minSpeed * Math.exp(t * Math.log(maxSpeed / minSpeed))
}

function gridLabel(speed) {
    return speed + "×"
}

function cubic(p0, p1, p2, p3, t) {
    const u = 1 - t
    return u * u * u * p0 + 3 * u * u * t * p1 + 3 * u * t * t * p2 + t * t * t * p3
}

// The curve's speed at pos: the segment's x cubic is solved for pos by bisection (it rises, since
// out handles point right and in handles left), then the speed cubic is read at that parameter.
function speedAt(points, pos) {
    const n = points.length
    if (n === 0)
        return 1
    if (n === 1 || pos <= points[0].pos)
        return points[0].speed
    if (pos >= points[n - 1].pos)
        return points[n - 1].speed
    let i = 0
    while (i < n - 2 && pos > points[i + 1].pos)
        ++i
    const a = points[i]
    const b = points[i + 1]
    if (b.pos - a.pos < 1e-9)
        return b.speed
    const x1 = a.pos + (a.outDx || 0)
    const x2 = b.pos + (b.inDx || 0)
    let lo = 0
    let hi = 1
    for (let round = 0; round < 20; ++round) {
        const mid = (lo + hi) / 2
        if (cubic(a.pos, x1, x2, b.pos, mid) < pos)
            lo = mid
        else
            hi = mid
    }
    const t = (lo + hi) / 2
    return cubic(a.speed, a.speed + (a.outDy || 0), b.speed + (b.inDy || 0), b.speed, t)
}

function copyPoint(p) {
    return {
        pos: Number(p.pos), speed: Number(p.speed), inDx: Number(p.inDx || 0), inDy: Number(p.inDy || 0),
        outDx: Number(p.outDx || 0), outDy: Number(p.outDy || 0), corner: p.corner === true
    }
}

// Deep copies, so nothing the controller or the view holds is shared with the edit.
function copyPoints(points) {
    const out = []
    for (let i = 0; i < (points ? points.length : 0); ++i)
        out.push(copyPoint(points[i]))
    return out
}

function resetPoints() {
    return [copyPoint({ pos: 0, speed: 1, corner: true }), copyPoint({ pos: 1, speed: 1, corner: true })]
}

// A corner point with flat handles, on the curve at pos, placed before the first point further
// on. Returns the new list and the new point's index.
function insertPoint(points, pos) {
    const p = clamp(pos, 0.001, 0.999)
    const point = copyPoint({ pos: p, speed: clamp(speedAt(points, p), minSpeed, maxSpeed), corner: true })
    const out = copyPoints(points)
    let index = out.findIndex(q => q.pos > p)
    if (index < 0)
        index = out.length
    out.splice(index, 0, point)
    return { points: out, index: index }
}

function sharpPoint(point) {
    const p = copyPoint(point)
    p.corner = true
    p.inDx = p.inDy = p.outDx = p.outDy = 0
    return p
}

// Handles a third of the way to each neighbour, along the line through the two neighbours.
function smoothPoint(points, index) {
    const p = copyPoint(points[index])
    const prev = points[Math.max(0, index - 1)]
    const after = points[Math.min(points.length - 1, index + 1)]
    const slope = (after.speed - prev.speed) / Math.max(1e-6, after.pos - prev.pos)
    p.corner = false
    p.outDx = (after.pos - p.pos) / 3
    p.outDy = slope * p.outDx
    p.inDx = -(p.pos - prev.pos) / 3
    p.inDy = slope * p.inDx
    return p
}

// A knob moved from its values at the drag's start: ends move only in speed, inner points keep
// minGap from both neighbours.
function movedKnob(points, index, pos, speed) {
    const p = copyPoint(points[index])
    p.speed = clamp(speed, minSpeed, maxSpeed)
    if (index > 0 && index < points.length - 1)
        p.pos = clamp(pos, points[index - 1].pos + minGap, points[index + 1].pos - minGap)
    return p
}

// A handle moved to (dx, dy) from its point; side 0 is the incoming handle, 1 the outgoing.
// Handles stay on their own side and within the gap to the neighbour. A smooth point mirrors the
// other handle through the point, shortened along the same line where its own gap is smaller.
function movedHandle(points, index, side, dx, dy) {
    const p = copyPoint(points[index])
    const gapPrev = index > 0 ? p.pos - points[index - 1].pos : 0
    const gapNext = index < points.length - 1 ? points[index + 1].pos - p.pos : 0
    if (side === 1) {
        p.outDx = clamp(dx, 0, gapNext)
        p.outDy = dy
    } else {
        p.inDx = clamp(dx, -gapPrev, 0)
        p.inDy = dy
    }
    if (p.corner)
        return p
    const ownDx = side === 1 ? p.outDx : -p.inDx
    const ownDy = side === 1 ? p.outDy : -p.inDy
    const otherGap = side === 1 ? gapPrev : gapNext
    const scale = ownDx > otherGap ? otherGap / ownDx : 1
    if (side === 1) {
        p.inDx = -ownDx * scale
        p.inDy = -ownDy * scale
    } else {
        p.outDx = ownDx * scale
        p.outDy = ownDy * scale
    }
    return p
}

function seconds(value) {
    return Number(value || 0).toFixed(2) + "s"
}
