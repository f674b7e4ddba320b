#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

// The "FileDialogs" singleton: the platform's file choosers for QML. Each call blocks in its own
// modal loop and returns file URLs as strings, empty when the user cancels.
class FileDialogs : public QObject
{
    Q_OBJECT

public:
    explicit FileDialogs(QObject *parent = nullptr);

    Q_INVOKABLE QString openFile(const QString &title, const QString &nameFilter) const;
    Q_INVOKABLE QStringList openFiles(const QString &title, const QString &nameFilter) const;
    // `defaultSuffix` is appended when the typed name has none ("orvel" gives "name.orvel").
    Q_INVOKABLE QString saveFile(const QString &title, const QString &nameFilter,
                                 const QString &defaultSuffix,
                                 const QString &suggestedName = QString()) const;
    Q_INVOKABLE QString openFolder(const QString &title) const;
    // A local path as a file URL string, with the characters a URL reserves escaped.
    Q_INVOKABLE QString urlFromPath(const QString &path) const;
};
