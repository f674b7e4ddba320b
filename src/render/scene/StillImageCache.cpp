#include "render/scene/StillImageCache.h"

#include <QFileInfo>
#include <QHash>
#include <QImageReader>
#include <QMutex>

namespace orvel {

namespace {

struct StillKey
{
    QString path;
    qint64 modifiedMs = 0;
    qint64 bytes = 0;
    int width = 0;
    int height = 0;

    bool operator==(const StillKey &) const = default;
};

size_t qHash(const StillKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.path, key.modifiedMs, key.bytes, key.width, key.height);
}

QMutex g_stillMutex;
QHash<StillKey, QImage> g_stills;

QImage readStill(const QString &path, QSize size)
{
    QImageReader reader(path);
    QImage image = reader.read();
    if (image.isNull())
        return {};
    image = image.convertToFormat(QImage::Format_RGBA8888);
    if (size.isValid() && !size.isEmpty())
        image = image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

} // namespace

QImage cachedStillImage(const QString &path, QSize size)
{
    if (path.isEmpty())
        return {};
    const QFileInfo info(path);
    const StillKey key{path, info.lastModified().toMSecsSinceEpoch(), info.size(), size.width(),
                       size.height()};
    {
        QMutexLocker lock(&g_stillMutex);
        const auto it = g_stills.constFind(key);
        if (it != g_stills.constEnd())
            return it.value();
    }
    // Decoding a large picture takes long; other frames must not wait for it.
    QImage image = readStill(path, size);
    if (image.isNull())
        return {};
    QMutexLocker lock(&g_stillMutex);
    if (g_stills.size() > kStillImageCacheCapacity)
        g_stills.clear();
    g_stills.insert(key, image);
    return image;
}

} // namespace orvel
