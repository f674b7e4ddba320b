// Autosave snapshot, the recovery offer at start, and the tidy-up of unpacked media.
#include "core/controller/AppController.h"

#include "core/AppPaths.h"
#include "core/document/json/ProjectJson.h"
#include "output/ProjectContainer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSettings>

namespace {
constexpr int kAutosaveIntervalMs = 15000;
}

void AppController::startAutosave()
{
    m_autosaveTimer.setInterval(kAutosaveIntervalMs);
    connect(&m_autosaveTimer, &QTimer::timeout, this, &AppController::writeAutosaveIfDirty);
    if (QCoreApplication::instance()) {
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] {
            writeAutosaveIfDirty();
            m_autosaveTimer.stop();
        });
    }
    m_autosaveTimer.start();
}

// While a recovery is on offer its snapshot must survive this session's autosaves, or the first
// tick would overwrite the work the user has not yet decided about.
QString AppController::activeAutosavePath() const
{
    return m_recoveryAvailable ? orvel::autosaveWhileOfferedFilePath() : orvel::autosaveFilePath();
}

void AppController::writeAutosaveIfDirty()
{
    if (!m_dirty)
        return;
    orvel::RecoveryInfo info;
    info.originalPath = m_currentProjectPath;
    info.projectName = m_project.name;
    info.savedAt = QDateTime::currentDateTime().toString(Qt::ISODate);
    // A snapshot that cannot be written is ignored: the next tick tries again.
    orvel::writeAutosaveSnapshot(activeAutosavePath(), projectJsonObject(), info);
}

void AppController::writeAutosave()
{
    writeAutosaveIfDirty();
}

void AppController::deleteAutosaveSnapshot()
{
    QFile::remove(activeAutosavePath());
}

void AppController::setRecoveryOffer(bool available, const orvel::RecoveryInfo &info)
{
    m_recoveryInfo = info;
    m_recoveryAvailable = available;
    emit recoveryChanged();
}

void AppController::checkForRecovery()
{
    orvel::RecoveryInfo info;
    if (orvel::readRecoveryInfo(orvel::autosaveFilePath(), info))
        setRecoveryOffer(true, info);
    tidyUnpackedMedia();
}

// Folders of unpacked media are kept only for the recent projects whose files still read; the
// others are deleted and unpacked again if their project is ever opened.
void AppController::tidyUnpackedMedia()
{
    const QDir projects(orvel::projectsDirectory());
    if (!projects.exists())
        return;
    QSet<QString> keep;
    for (const QString &path : QSettings().value(QStringLiteral("recentProjects")).toStringList())
        if (const auto manifest = orvel::readProjectManifest(path, nullptr))
            keep.insert(manifest->id);
    for (const QString &name : projects.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden))
        if (!keep.contains(name))
            QDir(projects.filePath(name)).removeRecursively();
}

void AppController::restoreAutosave()
{
    QFile snapshot(orvel::autosaveFilePath());
    if (!snapshot.open(QIODevice::ReadOnly)) {
        setLastMessage(tr("No recovery file found"));
        return;
    }
    QString error;
    if (!applyProjectText(snapshot.readAll(), &error)) {
        setLastMessage(error); // the offer stays, and is made again at the next start
        return;
    }
    const orvel::RecoveryInfo info = m_recoveryInfo;
    // The work this session autosaved while the offer stood has just been replaced.
    QFile::remove(orvel::autosaveWhileOfferedFilePath());
    setRecoveryOffer(false, {});
    setCurrentProjectPath(info.originalPath);
    m_embeddedPaths.clear();
    setDirty(true); // still unsaved; the snapshot stays on disk
    if (!m_projectLayoutChosen) {
        m_projectLayoutChosen = true;
        emit projectLayoutChosenChanged();
    }
    setLastMessage(tr("Recovered unsaved work"));
}

void AppController::discardAutosave()
{
    // Both the declined snapshot and what this session autosaved while the offer stood go.
    QFile::remove(orvel::autosaveFilePath());
    QFile::remove(orvel::autosaveWhileOfferedFilePath());
    if (m_recoveryAvailable)
        setRecoveryOffer(false, {});
    newProject();
    setLastMessage(tr("Started new session"));
}

void AppController::discardUnsavedChanges()
{
    setDirty(false);
    deleteAutosaveSnapshot();
}
