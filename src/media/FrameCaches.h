#pragma once

#include "core/document/Types.h"
#include "media/Nv12Frame.h"

#include <QImage>
#include <QList>

namespace orvel {

struct RgbaCacheEntry
{
    TimeUs timeUs = 0;
    QImage image;
};

struct Nv12CacheEntry
{
    TimeUs timeUs = 0;
    Nv12Frame frame;
};

// Decoded RGBA frames of one reader, most recent first. Entries are keyed by the frame's own
// time, not the time that was asked for.
class RgbaFrameCache
{
public:
    static constexpr int kCapacity = 16;

    // The nearest entry within the tolerance, moved to the front; a null image on a miss.
    QImage take(TimeUs sourceUs, TimeUs toleranceUs);
    // Adds at the front and drops from the back; a time already held is only moved to the front.
    void insert(TimeUs frameUs, const QImage &image);
    void clear() { m_entries.clear(); }
    int size() const { return int(m_entries.size()); }
    const QList<RgbaCacheEntry> &entries() const { return m_entries; }

private:
    void moveToFront(int index);

    QList<RgbaCacheEntry> m_entries;
};

// Decoded NV12 frames of one reader, most recent first. Eviction keeps what lies ahead of the
// playhead anchor, so frames already played go before frames still to come.
class Nv12FrameCache
{
public:
    // The nearest valid entry within the tolerance; an empty frame on a miss.
    Nv12Frame find(TimeUs sourceUs, TimeUs toleranceUs) const;
    bool contains(TimeUs sourceUs, TimeUs toleranceUs) const { return find(sourceUs, toleranceUs).isValid(); }
    // A time already held is moved to the front and nothing is added.
    void insert(TimeUs frameUs, const Nv12Frame &frame);
    // Evicts one entry at a time while over capacity.
    void trim(int capacity, TimeUs anchorUs);
    // Byte size of the front entry's data; 0 when empty.
    qint64 frontBytes() const;
    void clear() { m_entries.clear(); }
    int size() const { return int(m_entries.size()); }
    const QList<Nv12CacheEntry> &entries() const { return m_entries; }

private:
    QList<TimeUs> times() const;

    QList<Nv12CacheEntry> m_entries;
};

} // namespace orvel
