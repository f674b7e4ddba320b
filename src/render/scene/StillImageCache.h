#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace orvel {

// Image files as straight RGBA8888 pictures fitted inside `size` (aspect kept), shared by every
// thread that builds frames. Entries are keyed by the file's modification time and byte size as
// well, so an edited file is read again. A file that cannot be read gives a null image and is not
// remembered.
QImage cachedStillImage(const QString &path, QSize size);

// Past this many pictures the cache is emptied before the next one goes in.
inline constexpr int kStillImageCacheCapacity = 32;

} // namespace orvel
