#pragma once

#include <QObject>
#include <QString>

// The "Updates" singleton: tells whether a newer release of the program exists. The release
// address is fixed at build time; this build has none, so the feature reports itself
// unsupported and never touches the network.
class UpdateChecker : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool supported READ supported CONSTANT)
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY enabledChanged)
    Q_PROPERTY(bool checking READ checking NOTIFY checkingChanged)
    Q_PROPERTY(bool updateAvailable READ updateAvailable NOTIFY resultChanged)
    Q_PROPERTY(QString currentVersion READ currentVersion CONSTANT)
    Q_PROPERTY(QString latestVersion READ latestVersion NOTIFY resultChanged)
    Q_PROPERTY(QString releaseNotes READ releaseNotes NOTIFY resultChanged)
    Q_PROPERTY(QString releaseUrl READ releaseUrl NOTIFY resultChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)

public:
    explicit UpdateChecker(QObject *parent = nullptr);

    static QString releaseEndpoint();

    bool supported() const { return !releaseEndpoint().isEmpty(); }
    bool enabled() const { return m_enabled; }
    void setEnabled(bool enabled);
    bool checking() const { return m_checking; }
    bool updateAvailable() const { return m_updateAvailable; }
    QString currentVersion() const;
    QString latestVersion() const { return m_latestVersion; }
    QString releaseNotes() const { return m_releaseNotes; }
    QString releaseUrl() const { return m_releaseUrl; }
    QString status() const { return m_status; }

public slots:
    void skipVersion();
    void openDownloadPage();

signals:
    void enabledChanged();
    void checkingChanged();
    void resultChanged();
    void statusChanged();

private:
    bool m_enabled = true;
    bool m_checking = false;
    bool m_updateAvailable = false;
    QString m_latestVersion;
    QString m_releaseNotes;
    QString m_releaseUrl;
    QString m_status;
    QString m_skippedVersion;
};
