#include "media/FrameCaches.h"

#include "media/DecodeRules.h"

namespace orvel {

namespace {
template <typename Entry> QList<TimeUs> cacheEntryTimes(const QList<Entry> &entries)
{
    QList<TimeUs> times;
    times.reserve(entries.size());
    for (const Entry &entry : entries)
        times.append(entry.timeUs);
    return times;
}

template <typename Entry> int cacheIndexOfTime(const QList<Entry> &entries, TimeUs timeUs)
{
    for (int i = 0; i < entries.size(); ++i) {
        if (entries[i].timeUs == timeUs)
            return i;
    }
    return -1;
}
} // namespace

QImage RgbaFrameCache::take(TimeUs sourceUs, TimeUs toleranceUs)
{
    const int index = nearestWithinTolerance(cacheEntryTimes(m_entries), sourceUs, toleranceUs);
    if (index < 0)
        return {};
    moveToFront(index);
    return m_entries.front().image;
}

void RgbaFrameCache::insert(TimeUs frameUs, const QImage &image)
{
    const int existing = cacheIndexOfTime(m_entries, frameUs);
    if (existing >= 0) {
        moveToFront(existing);
        return;
    }
    m_entries.prepend(RgbaCacheEntry{frameUs, image});
    while (m_entries.size() > kCapacity)
        m_entries.removeLast();
}

void RgbaFrameCache::moveToFront(int index)
{
    if (index > 0)
        m_entries.move(index, 0);
}

Nv12Frame Nv12FrameCache::find(TimeUs sourceUs, TimeUs toleranceUs) const
{
    const int index = nearestWithinTolerance(times(), sourceUs, toleranceUs);
    if (index < 0 || !m_entries[index].frame.isValid())
        return {};
    return m_entries[index].frame;
}

void Nv12FrameCache::insert(TimeUs frameUs, const Nv12Frame &frame)
{
    const int existing = cacheIndexOfTime(m_entries, frameUs);
    if (existing >= 0) {
        if (existing > 0)
            m_entries.move(existing, 0);
        return;
    }
    m_entries.prepend(Nv12CacheEntry{frameUs, frame});
}

void Nv12FrameCache::trim(int capacity, TimeUs anchorUs)
{
    while (m_entries.size() > qMax(capacity, 0)) {
        const int victim = nv12EvictionIndex(times(), anchorUs);
        m_entries.removeAt(victim);
    }
}

qint64 Nv12FrameCache::frontBytes() const
{
    return m_entries.isEmpty() ? 0 : m_entries.front().frame.data.size();
}

QList<TimeUs> Nv12FrameCache::times() const
{
    return cacheEntryTimes(m_entries);
}

} // namespace orvel
