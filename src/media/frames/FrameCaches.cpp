#include "media/frames/FrameCaches.h"

#include "media/decode/DecodeRules.h"

#include <atomic>

namespace orvel {

namespace {
std::atomic<qint64> g_frameCacheBytes{0};

qint64 imageBytes(const QImage &image)
{
    return image.sizeInBytes();
}

template <typename Entry> QList<TimeUs> cacheEntryTimes(const QList<Entry> &entries)
{
    QList<TimeUs> times;
    times.reserve(entries.size());
    for (const Entry &entry : entries)
        times.append(entry.span.timeUs);
    return times;
}

template <typename Entry> int cacheIndexOfTime(const QList<Entry> &entries, TimeUs timeUs)
{
    for (int i = 0; i < entries.size(); ++i) {
        if (entries[i].span.timeUs == timeUs)
            return i;
    }
    return -1;
}

template <typename Entry> int cacheIndexCovering(const QList<Entry> &entries, TimeUs sourceUs)
{
    for (int i = 0; i < entries.size(); ++i) {
        if (entries[i].span.covers(sourceUs))
            return i;
    }
    return -1;
}
} // namespace

qint64 totalFrameCacheBytes()
{
    return g_frameCacheBytes.load();
}

QImage RgbaFrameCache::take(TimeUs sourceUs)
{
    const int index = cacheIndexCovering(m_entries, sourceUs);
    if (index < 0)
        return {};
    moveToFront(index);
    return m_entries.front().image;
}

void RgbaFrameCache::insert(const FrameSpan &span, const QImage &image)
{
    const int existing = cacheIndexOfTime(m_entries, span.timeUs);
    if (existing >= 0) {
        moveToFront(existing);
        return;
    }
    m_entries.prepend(RgbaCacheEntry{span, image});
    m_bytes += imageBytes(image);
    g_frameCacheBytes += imageBytes(image);
    while (m_entries.size() > kCapacity)
        removeAt(int(m_entries.size()) - 1);
}

void RgbaFrameCache::clear()
{
    g_frameCacheBytes -= m_bytes;
    m_bytes = 0;
    m_entries.clear();
}

void RgbaFrameCache::moveToFront(int index)
{
    if (index > 0)
        m_entries.move(index, 0);
}

void RgbaFrameCache::removeAt(int index)
{
    const qint64 bytes = imageBytes(m_entries[index].image);
    m_bytes -= bytes;
    g_frameCacheBytes -= bytes;
    m_entries.removeAt(index);
}

int Nv12FrameCache::indexAt(TimeUs sourceUs) const
{
    const int index = cacheIndexCovering(m_entries, sourceUs);
    return index >= 0 && m_entries[index].frame.isValid() ? index : -1;
}

Nv12Frame Nv12FrameCache::find(TimeUs sourceUs) const
{
    const int index = indexAt(sourceUs);
    return index < 0 ? Nv12Frame{} : m_entries[index].frame;
}

const FrameSpan *Nv12FrameCache::spanAt(TimeUs sourceUs) const
{
    const int index = indexAt(sourceUs);
    return index < 0 ? nullptr : &m_entries[index].span;
}

void Nv12FrameCache::insert(const FrameSpan &span, const Nv12Frame &frame)
{
    const int existing = cacheIndexOfTime(m_entries, span.timeUs);
    if (existing >= 0) {
        if (existing > 0)
            m_entries.move(existing, 0);
        return;
    }
    m_entries.prepend(Nv12CacheEntry{span, frame});
    m_bytes += frame.data.size();
    g_frameCacheBytes += frame.data.size();
}

void Nv12FrameCache::trim(int capacity, TimeUs anchorUs)
{
    while (m_entries.size() > qMax(capacity, 0))
        removeAt(nv12EvictionIndex(cacheEntryTimes(m_entries), anchorUs));
}

qint64 Nv12FrameCache::frontBytes() const
{
    return m_entries.isEmpty() ? 0 : m_entries.front().frame.data.size();
}

void Nv12FrameCache::clear()
{
    g_frameCacheBytes -= m_bytes;
    m_bytes = 0;
    m_entries.clear();
}

void Nv12FrameCache::removeAt(int index)
{
    const qint64 bytes = m_entries[index].frame.data.size();
    m_bytes -= bytes;
    g_frameCacheBytes -= bytes;
    m_entries.removeAt(index);
}

} // namespace orvel
