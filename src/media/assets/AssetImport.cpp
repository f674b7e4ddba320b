// The import, cache-file and audio-presence jobs of AssetLibrary: what runs on the main thread
// before a job starts, and how its result is folded back into the Project.
#include "media/assets/AssetLibrary.h"

#include "media/assets/AssetBuild.h"
#include "media/assets/MediaProbe.h"
#include "media/assets/Thumbnails.h"

#include <QFileInfo>
#include <QMutexLocker>
#include <QThreadPool>

using orvel::Asset;
using orvel::AssetKind;

namespace {

// Turns what a file dialog or a drop hands over into a path; empty for nothing usable.
QString localPathOfUrl(const QUrl &url)
{
    if (url.isLocalFile())
        return url.toLocalFile();
    if (url.isEmpty())
        return {};
    const QString text = url.toString();
    if (text.startsWith(QLatin1String("file://")))
        return QUrl(text).toLocalFile();
    return text;
}

} // namespace

template <typename Work> bool AssetLibrary::startJob(Work work)
{
    QThreadPool *pool = QThreadPool::globalInstance();
    if (!pool)
        return false;
    std::shared_ptr<orvel::AssetJobGuard> guard = m_guard;
    pool->start([guard, work]() {
        auto finish = work();
        QMutexLocker lock(&guard->mutex);
        if (AssetLibrary *library = guard->library)
            QMetaObject::invokeMethod(
                library, [library, finish]() { finish(*library); }, Qt::QueuedConnection);
    });
    return true;
}

void AssetLibrary::importUrls(const QList<QUrl> &urls)
{
    for (const QUrl &url : urls) {
        const QString path = localPathOfUrl(url);
        if (!path.isEmpty())
            importPath(path);
    }
}

void AssetLibrary::importPath(const QString &path)
{
    const QFileInfo info(path);
    if (!m_project || !info.isFile())
        return;
    const QString absolutePath = info.absoluteFilePath();
    for (const QString &id : std::as_const(m_project->assetOrder)) {
        const Asset *existing = m_project->asset(id);
        if (existing && existing->path == absolutePath) {
            ensureMediaFor(id);
            return;
        }
    }
    Asset record;
    record.id = orvel::newUuid();
    record.name = info.fileName();
    record.path = absolutePath;
    record.kind = orvel::assetKindForSuffix(absolutePath);
    const int row = count();
    beginInsertRows({}, row, row);
    m_project->insertAsset(record);
    endInsertRows();
    if (!m_importing.contains(record.id))
        startImportJob(record.id, absolutePath, record.kind == AssetKind::image);
}

void AssetLibrary::startImportJob(const QString &assetId, const QString &path, bool isImage)
{
    const bool wasImporting = importing();
    m_importing.insert(assetId);
    const bool cacheFiles = m_cacheFilesOnImport;
    const bool started = startJob([assetId, path, isImage, cacheFiles]() {
        const QString name = QFileInfo(path).fileName();
        bool ok = true;
        Asset result;
        if (isImage) {
            result = orvel::buildImageAsset(path, name, cacheFiles);
        } else {
            const orvel::MediaProbeResult probe = orvel::probeMedia(path);
            ok = probe.ok;
            if (ok)
                result = orvel::buildAsset(path, name, probe, cacheFiles);
        }
        return [assetId, ok, result](AssetLibrary &library) { library.completeImport(assetId, ok, result); };
    });
    if (!started)
        m_importing.remove(assetId);
    if (wasImporting != importing())
        emit importingChanged();
}

void AssetLibrary::completeImport(const QString &assetId, bool ok, const Asset &result)
{
    const bool wasImporting = importing();
    m_importing.remove(assetId);
    Asset *asset = m_project ? m_project->asset(assetId) : nullptr;
    if (asset && ok) {
        const QString id = asset->id;
        *asset = result;
        asset->id = id;
        notifyRow(assetId, {NameRole, KindRole, DurationRole, DurationSecondsRole, PathRole,
                            ThumbnailPathRole, FilmstripPathRole});
        emit assetMetadataChanged(assetId);
    } else if (asset) {
        // No message: the row never held more than the file name, and whatever count the caller
        // reported already included it.
        removeAssetRow(assetId);
    }
    if (wasImporting != importing())
        emit importingChanged();
}

void AssetLibrary::removeAssetRow(const QString &assetId)
{
    const int row = indexOfId(assetId);
    if (row < 0)
        return;
    beginRemoveRows({}, row, row);
    m_project->assets.remove(assetId);
    m_project->assetOrder.removeAt(row);
    endRemoveRows();
}

void AssetLibrary::ensureMedia(int index)
{
    const QString id = assetIdAt(index);
    if (!id.isEmpty())
        ensureMediaFor(id);
}

void AssetLibrary::ensureAllMedia()
{
    if (!m_project)
        return;
    const QList<QString> ids = m_project->assetOrder;
    for (const QString &id : ids)
        ensureMediaFor(id);
}

void AssetLibrary::ensureMediaFor(const QString &assetId)
{
    // A provisional row gets its files from its own import job.
    if (!m_project || m_thumbnailing.contains(assetId) || m_importing.contains(assetId))
        return;
    Asset *asset = m_project->asset(assetId);
    if (!asset)
        return;
    const bool isVideo = asset->kind == AssetKind::video;
    const bool thumbNeeded = asset->thumbnailPath.isEmpty() || !QFileInfo::exists(asset->thumbnailPath);
    const bool filmstripNeeded =
        isVideo && (asset->filmstripPath.isEmpty() || !QFileInfo::exists(asset->filmstripPath));
    if (!thumbNeeded && !filmstripNeeded) {
        if (!isVideo && !asset->thumbnailPath.isEmpty() && asset->filmstripPath != asset->thumbnailPath) {
            asset->filmstripPath = asset->thumbnailPath;
            notifyRow(assetId, {FilmstripPathRole});
        }
        return;
    }
    m_thumbnailing.insert(assetId);
    startThumbJob(assetId, asset->path, asset->kind, thumbNeeded, filmstripNeeded);
}

void AssetLibrary::startThumbJob(const QString &assetId, const QString &path, AssetKind kind,
                                 bool thumbNeeded, bool filmstripNeeded)
{
    const bool started = startJob([assetId, path, kind, thumbNeeded, filmstripNeeded]() {
        const QString kindText = orvel::assetKindText(kind);
        const QString thumb = thumbNeeded ? orvel::ensureThumbnail(path, kindText) : QString();
        QString filmstrip = filmstripNeeded ? orvel::ensureStrip(path, kindText) : QString();
        if (filmstrip.isEmpty() && kind != AssetKind::video && !thumb.isEmpty())
            filmstrip = thumb;
        return [assetId, thumb, filmstrip](AssetLibrary &library) {
            library.completeThumbJob(assetId, thumb, filmstrip);
        };
    });
    if (!started)
        m_thumbnailing.remove(assetId);
}

void AssetLibrary::completeThumbJob(const QString &assetId, const QString &thumbnailPath,
                                    const QString &filmstripPath)
{
    m_thumbnailing.remove(assetId);
    Asset *asset = m_project ? m_project->asset(assetId) : nullptr;
    if (!asset)
        return;
    bool changed = false;
    if (!thumbnailPath.isEmpty() && thumbnailPath != asset->thumbnailPath) {
        asset->thumbnailPath = thumbnailPath;
        changed = true;
    }
    if (!filmstripPath.isEmpty() && filmstripPath != asset->filmstripPath) {
        asset->filmstripPath = filmstripPath;
        changed = true;
    } else if (filmstripPath.isEmpty() && asset->kind != AssetKind::video &&
               !asset->thumbnailPath.isEmpty() && asset->filmstripPath != asset->thumbnailPath) {
        asset->filmstripPath = asset->thumbnailPath;
        changed = true;
    }
    if (!changed)
        return;
    notifyRow(assetId, {ThumbnailPathRole, FilmstripPathRole});
    emit assetMetadataChanged(assetId);
}

void AssetLibrary::ensureAudioPresence(const QString &assetId)
{
    if (assetId.isEmpty() || m_audioChecking.contains(assetId) || !m_project)
        return;
    Asset *asset = m_project->asset(assetId);
    if (!asset || asset->hasAudioKnown)
        return;
    if (asset->sampleRate > 0 || asset->channels > 0) {
        asset->hasAudio = true;
        asset->hasAudioKnown = true;
        emit assetMetadataChanged(assetId);
        return;
    }
    m_audioChecking.insert(assetId);
    const QString path = asset->path;
    const bool started = startJob([assetId, path]() {
        const orvel::MediaProbeResult probe = orvel::probeMedia(path);
        bool found = false;
        int sampleRate = 0;
        int channels = 0;
        for (const orvel::MediaStreamInfo &stream : probe.streams) {
            if (stream.kind == orvel::MediaStreamKind::audio) {
                found = true;
                sampleRate = stream.sampleRate;
                channels = stream.channels;
                break;
            }
        }
        return [assetId, found, sampleRate, channels](AssetLibrary &library) {
            library.completeAudioCheck(assetId, found, sampleRate, channels);
        };
    });
    if (!started)
        m_audioChecking.remove(assetId);
}

void AssetLibrary::completeAudioCheck(const QString &assetId, bool found, int sampleRate, int channels)
{
    m_audioChecking.remove(assetId);
    Asset *asset = m_project ? m_project->asset(assetId) : nullptr;
    if (!asset)
        return;
    asset->hasAudio = found;
    asset->hasAudioKnown = true;
    if (found && sampleRate > 0)
        asset->sampleRate = sampleRate;
    if (found && channels > 0)
        asset->channels = channels;
    emit assetMetadataChanged(assetId);
}
