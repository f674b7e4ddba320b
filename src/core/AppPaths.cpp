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

} // namespace orvel
