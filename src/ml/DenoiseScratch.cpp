#include "ml/DenoiseScratch.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace orvel {

QString denoiseOutputDirectory()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
        .filePath(QStringLiteral("denoised"));
}

int sweepStaleDenoiseFiles(const QString &directory)
{
    const QDir dir(directory);
    if (directory.isEmpty() || !dir.exists())
        return 0;
    const QStringList patterns{QStringLiteral("*-preview.flac"), QStringLiteral("*-original.flac"),
                               QStringLiteral("*.flac.part")};
    int removed = 0;
    for (const QString &name : dir.entryList(patterns, QDir::Files | QDir::Hidden)) {
        if (QFile::remove(dir.filePath(name)))
            ++removed;
    }
    return removed;
}

int sweepStaleDenoiseFiles()
{
    return sweepStaleDenoiseFiles(denoiseOutputDirectory());
}

} // namespace orvel
