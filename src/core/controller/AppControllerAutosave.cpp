// Autosave snapshot and the recovery offer at start.
#include "core/controller/AppController.h"

#include "core/AppPaths.h"
#include "core/document/ProjectJson.h"

#include <QCoreApplication>
#include <QDateTime>

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

void AppController::writeAutosaveIfDirty()
{
    if (!m_dirty)
        return;
    orvel::RecoveryInfo info;
    info.originalPath = m_currentProjectPath;
    info.projectName = m_project.name;
    info.savedAt = QDateTime::currentDateTime().toString(Qt::ISODate);
    // A snapshot that cannot be written is ignored: the next tick tries again.
    orvel::writeAutosaveSnapshot(orvel::autosaveFilePath(), projectJsonObject(), info);
}

void AppController::checkForRecovery()
{
    orvel::RecoveryInfo info;
    if (!orvel::readRecoveryInfo(orvel::autosaveFilePath(), info))
        return;
    m_recoveryInfo = info;
    m_recoveryAvailable = true;
    emit recoveryChanged();
    // Unpacked media of projects that are no longer listed are tidied once project files can be
    // read; until then every unpacked folder is kept.
}
