#include "core/AppPaths.h"

#include <QDir>
#include <QStandardPaths>

namespace orvel {

QString appDataDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QString autosaveFilePath()
{
    return QDir(appDataDirectory()).filePath(QStringLiteral("recovery/autosave.json"));
}

QString stillFramesDirectory()
{
    return QDir(appDataDirectory()).filePath(QStringLiteral("stills"));
}

QString autosaveWhileOfferedFilePath()
{
    return QDir(appDataDirectory()).filePath(QStringLiteral("recovery/autosave-session.json"));
}

QString projectsDirectory()
{
    return QDir(appDataDirectory()).filePath(QStringLiteral("projects"));
}

QString projectMediaDirectory(const QString &projectId)
{
    return QDir(projectsDirectory()).filePath(projectId + QStringLiteral("/media"));
}

QString emojiDirectory()
{
    return QDir(appDataDirectory()).filePath(QStringLiteral("emoji"));
}

QString denoisedDirectory()
{
    return QDir(appDataDirectory()).filePath(QStringLiteral("denoised"));
}

} // namespace orvel
