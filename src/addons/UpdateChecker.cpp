#include "addons/UpdateChecker.h"

#include "addons/BuildInfo.h"

#include <QDesktopServices>
#include <QSettings>
#include <QUrl>

UpdateChecker::UpdateChecker(QObject *parent) : QObject(parent)
{
    QSettings settings;
    m_enabled = settings.value(QStringLiteral("updates/enabled"), true).toBool();
    m_skippedVersion = settings.value(QStringLiteral("updates/skippedVersion")).toString();
}

QString UpdateChecker::releaseEndpoint()
{
    return QString(); // no release address is configured for this build
}

QString UpdateChecker::currentVersion() const
{
    return orvel::applicationVersion();
}

void UpdateChecker::setEnabled(bool enabled)
{
    if (m_enabled == enabled)
        return;
    m_enabled = enabled;
    QSettings().setValue(QStringLiteral("updates/enabled"), enabled);
    emit enabledChanged();
}

void UpdateChecker::skipVersion()
{
    m_skippedVersion = m_latestVersion;
    QSettings().setValue(QStringLiteral("updates/skippedVersion"), m_skippedVersion);
    if (m_updateAvailable) {
        m_updateAvailable = false;
        emit resultChanged();
    }
}

void UpdateChecker::openDownloadPage()
{
    if (!m_releaseUrl.isEmpty())
        QDesktopServices::openUrl(QUrl(m_releaseUrl));
}
