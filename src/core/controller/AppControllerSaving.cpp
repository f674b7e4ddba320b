// Saving: the working save, the shareable copy on the pool, the recent list and a new project.
#include "core/controller/AppController.h"

#include "core/AppPaths.h"
#include "output/ProjectContainer.h"

#include <QFileInfo>
#include <QSettings>
#include <QtConcurrent/QtConcurrentRun>

namespace {
const QString kRecentProjectsKey = QStringLiteral("recentProjects");
const QString kNewProjectAuthorKey = QStringLiteral("authorName");
} // namespace

AppController::BackgroundJobs::~BackgroundJobs()
{
    packageCancel->store(true);
    package.waitForFinished();
    for (QFuture<void> &unpack : unpacks)
        unpack.waitForFinished();
}

orvel::ProjectSaveData AppController::gatherSaveData(bool embedAll) const
{
    orvel::SaveGatherOptions options;
    options.embedAll = embedAll;
    options.embeddedPaths = m_embeddedPaths;
    options.emojiDirectory = orvel::emojiDirectory();
    options.denoisedDirectory = orvel::denoisedDirectory();
    options.addons = m_addonLookup;
    return orvel::gatherProjectSaveData(m_project, projectJsonObject(), options);
}

void AppController::saveProject(const QUrl &url)
{
    if (m_packaging) {
        setLastMessage(tr("Already saving"));
        return;
    }
    const QString path = url.toLocalFile();
    if (path.isEmpty()) {
        setLastMessage(tr("That save location isn’t valid"));
        return;
    }
    const QDateTime previousModifiedAt = m_project.modifiedAt;
    m_project.modifiedAt = QDateTime::currentDateTimeUtc();
    const orvel::ProjectSaveData data = gatherSaveData(false);
    QString error;
    if (!orvel::writeProjectFile(path, data, {}, &error)) {
        m_project.modifiedAt = previousModifiedAt; // a failed save leaves the project as it was
        setLastMessage(error);                     // and dirty: the work is not on disk
        return;
    }
    finishSuccessfulSave(path, data, tr("Project saved"));
}

void AppController::finishSuccessfulSave(const QString &path, const orvel::ProjectSaveData &data,
                                         const QString &message)
{
    // The writer quietly stores a vanished file as a reference; such a file is forgotten here
    // by the same test the writer makes.
    m_embeddedPaths.clear();
    for (const orvel::ProjectMediaEntry &entry : data.media) {
        if (!entry.embed)
            continue;
        const QFileInfo info(entry.originalPath);
        if (info.isFile() && info.isReadable())
            m_embeddedPaths.insert(entry.originalPath);
    }
    setCurrentProjectPath(path);
    rememberRecentProject(path);
    setDirty(false);
    deleteAutosaveSnapshot();
    emit projectNameChanged();
    setLastMessage(message);
}

void AppController::packageProject(const QUrl &url)
{
    if (m_packaging)
        return;
    const QString path = url.toLocalFile();
    if (path.isEmpty()) {
        setLastMessage(tr("That save location isn’t valid"));
        return;
    }
    m_project.modifiedAt = QDateTime::currentDateTimeUtc();
    m_jobs.packageCancel->store(false);
    setPackaging(true);
    setPackageProgress(0.0);
    const orvel::ProjectSaveData data = gatherSaveData(true);
    const std::shared_ptr<std::atomic_bool> cancel = m_jobs.packageCancel;
    m_jobs.package = QtConcurrent::run([this, path, data, cancel] {
        QString error;
        const bool ok = orvel::writeProjectFile(
            path, data,
            [this, cancel](qint64 done, qint64 total) {
                if (cancel->load())
                    return false;
                const double progress = total < 1 ? 0.0 : double(done) / double(total);
                QMetaObject::invokeMethod(
                    this, [this, progress] { setPackageProgress(progress); }, Qt::QueuedConnection);
                return true;
            },
            &error);
        QMetaObject::invokeMethod(
            this, [this, path, data, ok, error] { finishPackage(path, data, ok, error); },
            Qt::QueuedConnection);
    });
}

void AppController::finishPackage(const QString &path, const orvel::ProjectSaveData &data, bool ok,
                                  const QString &error)
{
    setPackaging(false);
    if (!ok) {
        setLastMessage(error);
        emit packageFinished(false, error);
        return;
    }
    setPackageProgress(1.0);
    const QString message = tr("Shareable copy ready");
    finishSuccessfulSave(path, data, message);
    emit packageFinished(true, message);
}

void AppController::cancelPackage()
{
    m_jobs.packageCancel->store(true);
}

void AppController::setPackaging(bool packaging)
{
    if (m_packaging == packaging)
        return;
    m_packaging = packaging;
    emit packagingChanged();
}

void AppController::setPackageProgress(double progress)
{
    if (m_packageProgress == progress)
        return;
    m_packageProgress = progress;
    emit packageProgressChanged();
}

void AppController::setCurrentProjectPath(const QString &path)
{
    if (m_currentProjectPath == path)
        return;
    m_currentProjectPath = path;
    emit currentProjectPathChanged();
}

QVariantList AppController::recentProjects() const
{
    QVariantList list;
    for (const QString &path : QSettings().value(kRecentProjectsKey).toStringList())
        list.append(QVariantMap{{QStringLiteral("path"), path},
                                {QStringLiteral("name"), QFileInfo(path).fileName()},
                                {QStringLiteral("exists"), QFileInfo::exists(path)}});
    return list;
}

void AppController::rememberRecentProject(const QString &path)
{
    QSettings settings;
    const QStringList recent = settings.value(kRecentProjectsKey).toStringList();
    const QStringList updated = orvel::updatedRecentProjects(recent, path);
    // Saving the project that is already first leaves the list as it is. Writing it anyway would
    // rewrite the settings file, flushed to disk twice, on every save. The signal still goes out:
    // the entry's file may have only now come to exist.
    if (updated != recent)
        settings.setValue(kRecentProjectsKey, updated);
    emit recentProjectsChanged();
}

void AppController::clearRecentProjects()
{
    QSettings().remove(kRecentProjectsKey);
    emit recentProjectsChanged();
}

void AppController::openRecentProject(const QString &path)
{
    if (path.isEmpty())
        return;
    loadProject(QUrl::fromLocalFile(path));
}

void AppController::newProject()
{
    setPlaying(false);
    orvel::Project fresh;
    fresh.author = QSettings().value(kNewProjectAuthorKey).toString();
    m_embeddedPaths.clear();
    setCurrentProjectPath(QString());
    adoptLoadedProject(std::move(fresh), QJsonObject()); // playhead 0, undo cleared, clean
    deleteAutosaveSnapshot();
    if (m_projectLayoutChosen) {
        m_projectLayoutChosen = false;
        emit projectLayoutChosenChanged();
    }
    emit projectNameChanged();
    emit backgroundChanged();
    setLastMessage(tr("New project"));
}
