// Export to a video file: the codec lists for the dialog, and the job on a pool thread.
#include "core/controller/AppController.h"

#include "output/ExportJob.h"
#include "output/ExportSettings.h"

#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

AppController::ExportJobState::~ExportJobState()
{
    cancel->store(true);
    future.waitForFinished();
}

QVariantList AppController::exportPresets() const
{
    return orvel::exportPresetMaps();
}

QVariantList AppController::exportScaleOptions() const
{
    return orvel::exportScaleOptionMaps(m_project.width, m_project.height);
}

QVariantList AppController::exportVideoCodecs() const
{
    return orvel::exportVideoCodecMaps();
}

QVariantList AppController::exportAudioCodecs() const
{
    return orvel::exportAudioCodecMaps();
}

QVariantMap AppController::exportDefaultSettings() const
{
    return orvel::exportSettingsToMap(orvel::ExportSettings{});
}

QString AppController::exportPreferredContainer(const QString &videoCodecId,
                                                const QString &audioCodecId) const
{
    return orvel::exportPreferredContainer(videoCodecId, audioCodecId);
}

QStringList AppController::exportSaveFilters(const QString &container) const
{
    return orvel::exportSaveFilters(container);
}

QString AppController::exportDefaultSuffix(const QString &container) const
{
    return orvel::exportDefaultSuffix(container);
}

void AppController::exportProject(const QUrl &url)
{
    exportWithSettings(url, exportDefaultSettings());
}

void AppController::exportWithPreset(const QUrl &url, const QString &presetId)
{
    QVariantMap settings = exportDefaultSettings();
    for (const orvel::ExportSizePreset &preset : orvel::exportSizePresets()) {
        if (preset.id == presetId) {
            settings.insert(QStringLiteral("targetHeight"), preset.targetHeight);
            settings.insert(QStringLiteral("videoBitrateKbps"), preset.videoBitrateKbps);
        }
    }
    exportWithSettings(url, settings);
}

void AppController::exportWithSettings(const QUrl &url, const QVariantMap &settings)
{
    const QString path = url.isLocalFile() ? url.toLocalFile() : QString();
    if (path.isEmpty()) {
        setLastMessage(tr("That save location isn’t valid"));
        emit exportFinished(false);
        return;
    }
    if (m_export.running) {
        setLastMessage(tr("Export already in progress"));
        return;
    }
    setPlaying(false);
    setExportProgress(0.0);
    m_export.cancel->store(false);
    m_export.running = true;
    emit exportInProgressChanged();
    setLastMessage(tr("Exporting..."));

    const orvel::ExportSettings values = orvel::exportSettingsFromMap(settings);
    const std::shared_ptr<std::atomic_bool> cancel = m_export.cancel;
    // The job works on its own copy, so edits made while it runs change nothing in the file.
    m_export.future =
        QtConcurrent::run(QThreadPool::globalInstance(), [this, project = m_project, values, path, cancel] {
            const orvel::ExportResult result =
                orvel::runExport(project, values, path, [this, cancel](double fraction) {
                    QMetaObject::invokeMethod(
                        this, [this, fraction] { setExportProgress(fraction); }, Qt::QueuedConnection);
                    return !cancel->load();
                });
            QMetaObject::invokeMethod(
                this, [this, result] { finishExport(result.success, result.cancelled, result.message); },
                Qt::QueuedConnection);
        });
}

void AppController::cancelExport()
{
    if (m_export.running)
        m_export.cancel->store(true);
}

void AppController::setExportProgress(double progress)
{
    // A progress call queued just before the end must not move the bar after it.
    if (m_export.progress == progress || (!m_export.running && progress < 1.0 && progress > 0.0))
        return;
    m_export.progress = progress;
    emit exportProgressChanged();
}

void AppController::finishExport(bool success, bool cancelled, const QString &message)
{
    m_export.running = false;
    emit exportInProgressChanged();
    setExportProgress(success ? 1.0 : 0.0);
    if (success)
        setLastMessage(tr("Export complete"));
    else if (cancelled)
        setLastMessage(tr("Export cancelled"));
    else
        setLastMessage(message.isEmpty() ? tr("Export failed") : message);
    emit exportFinished(success);
}
