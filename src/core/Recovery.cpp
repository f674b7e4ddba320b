#include "core/Recovery.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <filesystem>
#include <system_error>

namespace orvel {

QVariantMap RecoveryInfo::toMap() const
{
    return {{QStringLiteral("originalPath"), originalPath},
            {QStringLiteral("projectName"), projectName},
            {QStringLiteral("savedAt"), savedAt}};
}

bool writeAutosaveSnapshot(const QString &snapshotPath, QJsonObject document, const RecoveryInfo &info)
{
    QDir().mkpath(QFileInfo(snapshotPath).absolutePath());
    document.insert(QStringLiteral("__recovery"),
                    QJsonObject{{QStringLiteral("originalPath"), info.originalPath},
                                {QStringLiteral("projectName"), info.projectName},
                                {QStringLiteral("savedAt"), info.savedAt}});
    const QString temporaryPath = snapshotPath + QStringLiteral(".tmp");
    QFile temporary(temporaryPath);
    if (!temporary.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    temporary.write(QJsonDocument(document).toJson(QJsonDocument::Indented));
    temporary.close();
    // One rename that replaces the old snapshot: a process killed at any moment leaves either
    // the old snapshot or the new one at the path, never neither.
    std::error_code failure;
    std::filesystem::rename(temporaryPath.toStdString(), snapshotPath.toStdString(), failure);
    return !failure;
}

bool readRecoveryInfo(const QString &snapshotPath, RecoveryInfo &info)
{
    QFile file(snapshotPath);
    if (!file.exists() || !file.open(QIODevice::ReadOnly))
        return false;
    const QJsonObject recovery =
        QJsonDocument::fromJson(file.readAll()).object().value(QLatin1String("__recovery")).toObject();
    info.originalPath = recovery.value(QLatin1String("originalPath")).toString();
    info.projectName = recovery.value(QLatin1String("projectName")).toString();
    info.savedAt = recovery.value(QLatin1String("savedAt")).toString();
    return true;
}

} // namespace orvel
