#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QVariantMap>

namespace orvel {

// What an autosave snapshot says about the session that wrote it.
struct RecoveryInfo
{
    QString originalPath;
    QString projectName;
    QString savedAt;

    QVariantMap toMap() const;
};

// Writes the document JSON with a "__recovery" object to path + ".tmp", then renames it over the
// snapshot in one step. Returns false (writing nothing else) when the temporary cannot be opened.
bool writeAutosaveSnapshot(const QString &snapshotPath, QJsonObject document, const RecoveryInfo &info);

// Reads the "__recovery" object of an existing snapshot. The document part is not validated;
// false when the file is missing or cannot be opened.
bool readRecoveryInfo(const QString &snapshotPath, RecoveryInfo &info);

} // namespace orvel
