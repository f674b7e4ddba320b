#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

// The "Addons" singleton: the store's catalogue and the installed addons. Until the package
// reader and the store client are built it has nothing installed and nothing to offer.
class AddonManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList catalog READ catalog NOTIFY catalogChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
    Q_PROPERTY(bool refreshing READ refreshing NOTIFY refreshingChanged)

public:
    explicit AddonManager(QObject *parent = nullptr);

    QVariantList catalog() const { return m_catalog; }
    QString status() const { return m_status; }
    bool refreshing() const { return m_refreshing; }

    Q_INVOKABLE bool hasKind(const QString &kind) const;
    Q_INVOKABLE QString firstAddonForKind(const QString &kind) const;

signals:
    void catalogChanged();
    void statusChanged();
    void refreshingChanged();

private:
    QVariantList m_catalog;
    QString m_status;
    bool m_refreshing = false;
};
