#include "catalog/PackageRoots.h"

#include <QCoreApplication>
#include <QDir>
#include <QMutex>
#include <QStandardPaths>

namespace orvel {

namespace {

QMutex &addonRootsMutex()
{
    static QMutex mutex;
    return mutex;
}

AddonRootsProvider &addonRootsProviderSlot()
{
    static AddonRootsProvider provider;
    return provider;
}

void appendUnique(QStringList &roots, const QString &path)
{
    if (path.isEmpty())
        return;
    const QString clean = QDir::cleanPath(path);
    if (!roots.contains(clean))
        roots.append(clean);
}

} // namespace

void setAddonRootsProvider(AddonRootsProvider provider)
{
    QMutexLocker lock(&addonRootsMutex());
    addonRootsProviderSlot() = std::move(provider);
}

QStringList packageRoots(const char *envName, const QString &subdirectory, const QString &addonSubdirectory)
{
    QStringList roots;
    const QString fromEnv = qEnvironmentVariable(envName);
    for (const QString &path : fromEnv.split(QDir::listSeparator(), Qt::SkipEmptyParts))
        appendUnique(roots, path);

    AddonRootsProvider provider;
    {
        QMutexLocker lock(&addonRootsMutex());
        provider = addonRootsProviderSlot();
    }
    if (provider) {
        for (const QString &path : provider(addonSubdirectory))
            appendUnique(roots, path);
    }

    if (QCoreApplication::instance())
        appendUnique(roots, QDir(QCoreApplication::applicationDirPath()).filePath(subdirectory));
    const QString appData = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (!appData.isEmpty())
        appendUnique(roots, QDir(appData).filePath(subdirectory));
    return roots;
}

} // namespace orvel
