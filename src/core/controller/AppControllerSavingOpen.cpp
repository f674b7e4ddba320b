// Opening a project file: admission, unpacking embedded media on the pool, and the apply step
// that rewrites paths and replaces the live project.
#include "core/controller/AppController.h"

#include "core/AppPaths.h"
#include "core/document/json/ProjectJson.h"
#include "output/ProjectContainer.h"

#include <QJsonDocument>
#include <QtConcurrent/QtConcurrentRun>

void AppController::loadProject(const QUrl &url)
{
    const QString path = url.toLocalFile();
    if (path.isEmpty()) {
        setLastMessage(tr("That project location isn’t valid"));
        return;
    }
    QString error;
    const std::optional<orvel::ProjectManifestInfo> info = orvel::readProjectManifest(path, &error);
    if (!info) {
        setLastMessage(error);
        return;
    }
    const QString destination = orvel::projectMediaDirectory(info->id);
    const quint32 generation = ++m_loadGeneration;
    if (info->embeddedBytes == 0) {
        applyLoadedManifest(path, *info, {});
        return;
    }
    setLastMessage(tr("Unpacking project media"));
    const orvel::ProjectManifestInfo manifest = *info;
    m_jobs.unpacks.removeIf([](const QFuture<void> &job) { return job.isFinished(); });
    m_jobs.unpacks.append(QtConcurrent::run([this, generation, path, destination, manifest] {
        QString unpackError;
        QHash<QString, QString> extracted;
        const bool ok = orvel::unpackProjectMedia(path, destination, {}, &extracted, &unpackError);
        QMetaObject::invokeMethod(
            this,
            [this, generation, path, manifest, ok, unpackError, extracted] {
                finishUnpack(generation, path, manifest, ok, unpackError, extracted);
            },
            Qt::QueuedConnection);
    }));
}

void AppController::finishUnpack(quint32 generation, const QString &path,
                                 const orvel::ProjectManifestInfo &info, bool ok, const QString &error,
                                 const QHash<QString, QString> &extracted)
{
    if (generation != m_loadGeneration)
        return; // the user opened something else meanwhile
    if (!ok) {
        setLastMessage(error);
        return;
    }
    applyLoadedManifest(path, info, extracted);
}

void AppController::applyLoadedManifest(const QString &path, const orvel::ProjectManifestInfo &info,
                                        const QHash<QString, QString> &extracted)
{
    m_pendingExtractedPaths = extracted;
    QString error;
    const bool applied =
        applyProjectText(QJsonDocument(info.document).toJson(QJsonDocument::Compact), &error);
    if (!applied) {
        m_pendingExtractedPaths.clear();
        setLastMessage(error);
        return;
    }
    m_embeddedPaths.clear();
    for (const orvel::ProjectMediaEntry &entry : info.media) {
        if (entry.embed && entry.role == orvel::ProjectMediaRole::source)
            m_embeddedPaths.insert(m_pendingExtractedPaths.value(entry.originalPath, entry.originalPath));
    }
    m_pendingExtractedPaths.clear();
    setCurrentProjectPath(path);
    rememberRecentProject(path);
    deleteAutosaveSnapshot();
    if (!m_projectLayoutChosen) {
        m_projectLayoutChosen = true;
        emit projectLayoutChosenChanged();
    }
    setLastMessage(tr("Project loaded"));
    reportMissingAddons(info.addons);
}

// The step an open and a restore share. A referenced file that does not exist is no error: the
// project keeps its path.
bool AppController::applyProjectText(const QByteArray &text, QString *error)
{
    const QJsonDocument json = QJsonDocument::fromJson(text);
    if (!json.isObject()) {
        *error = tr("Invalid project file");
        return false;
    }
    const QJsonObject root = json.object();
    orvel::Project loaded = orvel::projectFromJson(root);
    orvel::relocateBuiltInStickers(loaded, m_stickerPackDirectories);
    orvel::rewriteProjectPaths(loaded, m_pendingExtractedPaths);
    refreshEmojiPaths(loaded);
    const QString missing = orvel::missingEffectsMessage(orvel::unknownEffectIds(loaded, m_effectKnown));
    setPlaying(false);
    adoptLoadedProject(std::move(loaded), root);
    emit projectNameChanged();
    emit backgroundChanged();
    if (!missing.isEmpty())
        setLastMessage(missing); // the project still loads; what is missing simply doesn't show
    return true;
}

void AppController::refreshEmojiPaths(orvel::Project &project) const
{
    if (!m_emojiFileResolver)
        return;
    for (orvel::Track &track : project.tracks) {
        for (orvel::Clip &clip : track.clips) {
            if (clip.emoji.isEmpty())
                continue;
            const QString file = m_emojiFileResolver(clip.emoji);
            if (file.isEmpty())
                continue;
            clip.path = file;
            clip.thumbnailPath = file;
            clip.filmstripPath = file;
        }
    }
}

void AppController::reportMissingAddons(const QList<orvel::ProjectAddonRef> &addons)
{
    QVariantList missing;
    for (const orvel::ProjectAddonRef &addon : addons) {
        if (m_addonInstalled && m_addonInstalled(addon.id))
            continue;
        missing.append(QVariantMap{{QStringLiteral("id"), addon.id},
                                   {QStringLiteral("name"), addon.name.isEmpty() ? addon.id : addon.name},
                                   {QStringLiteral("version"), addon.version},
                                   {QStringLiteral("kinds"), addon.kinds}});
    }
    if (!missing.isEmpty())
        emit missingAddons(missing);
}
