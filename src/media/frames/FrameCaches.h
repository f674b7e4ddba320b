#pragma once

#include "core/document/model/Types.h"
#include "media/frames/Nv12Frame.h"

#include <QImage>
#include <QList>

namespace orvel {

// The time during which one decoded frame is on screen: from its own time until the next
// frame's. The stream's first frame also stands for every time before it (fromUs is then the
// lowest TimeUs), and its last frame for every time after it (untilUs the highest).
struct FrameSpan
{
    TimeUs fromUs = 0;
    TimeUs timeUs = 0; // the frame's own time
    TimeUs untilUs = 0;

    bool covers(TimeUs t) const { return t >= fromUs && t < untilUs; }
};

struct RgbaCacheEntry
{
    FrameSpan span;
    QImage image;
};

struct Nv12CacheEntry
{
    FrameSpan span;
    Nv12Frame frame;
};

// Bytes held by every frame cache of the process together.
qint64 totalFrameCacheBytes();

// Decoded RGBA frames of one reader, most recent first. Entries are keyed by the span the frame
// is shown for, not the time that was asked for.
class RgbaFrameCache
{
public:
    static constexpr int kCapacity = 16;

    RgbaFrameCache() = default;
    RgbaFrameCache(const RgbaFrameCache &) = delete;
    RgbaFrameCache &operator=(const RgbaFrameCache &) = delete;
    ~RgbaFrameCache() { clear(); }

    // The frame shown at sourceUs, moved to the front; a null image on a miss.
    QImage take(TimeUs sourceUs);
    // Adds at the front and drops from the back; a frame already held is only moved to the front.
    void insert(const FrameSpan &span, const QImage &image);
    void clear();
    int size() const { return int(m_entries.size()); }
    const QList<RgbaCacheEntry> &entries() const { return m_entries; }

private:
    void moveToFront(int index);
    void removeAt(int index);

    QList<RgbaCacheEntry> m_entries;
    qint64 m_bytes = 0;
};

// Decoded NV12 frames of one reader, most recent first. Eviction keeps what lies ahead of the
// playhead anchor, so frames already played go before frames still to come.
class Nv12FrameCache
{
public:
    Nv12FrameCache() = default;
    Nv12FrameCache(const Nv12FrameCache &) = delete;
    Nv12FrameCache &operator=(const Nv12FrameCache &) = delete;
    ~Nv12FrameCache() { clear(); }

    // The valid frame shown at sourceUs; an empty frame on a miss.
    Nv12Frame find(TimeUs sourceUs) const;
    // The span of the valid entry shown at sourceUs, or nullptr.
    const FrameSpan *spanAt(TimeUs sourceUs) const;
    bool contains(TimeUs sourceUs) const { return spanAt(sourceUs) != nullptr; }
    // A frame already held is moved to the front and nothing is added.
    void insert(const FrameSpan &span, const Nv12Frame &frame);
    // Evicts one entry at a time while over capacity.
    void trim(int capacity, TimeUs anchorUs);
    // Byte size of the front entry's data; 0 when empty.
    qint64 frontBytes() const;
    void clear();
    int size() const { return int(m_entries.size()); }
    const QList<Nv12CacheEntry> &entries() const { return m_entries; }

private:
    int indexAt(TimeUs sourceUs) const;
    void removeAt(int index);

    QList<Nv12CacheEntry> m_entries;
    qint64 m_bytes = 0;
};

} // namespace orvel
