#include "addons/AddonManager.h"

#include <QVariantMap>

AddonManager::AddonManager(QObject *parent) : QObject(parent) {}

bool AddonManager::hasKind(const QString &) const
{
    return false; // nothing is installed yet
}

QString AddonManager::firstAddonForKind(const QString &kind) const
{
    for (const QVariant &row : m_catalog) {
        const QVariantMap entry = row.toMap();
        if (entry.value(QStringLiteral("kinds")).toStringList().contains(kind))
            return entry.value(QStringLiteral("id")).toString();
    }
    return {};
}
