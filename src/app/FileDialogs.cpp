#include "app/FileDialogs.h"

#include <QFileDialog>
#include <QStandardPaths>
#include <QUrl>

namespace {

QString startDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
}

QString toUrlString(const QString &path)
{
    return path.isEmpty() ? QString() : QUrl::fromLocalFile(path).toString();
}

} // namespace

FileDialogs::FileDialogs(QObject *parent) : QObject(parent) {}

QString FileDialogs::openFile(const QString &title, const QString &nameFilter) const
{
    return toUrlString(QFileDialog::getOpenFileName(nullptr, title, startDirectory(), nameFilter));
}

QStringList FileDialogs::openFiles(const QString &title, const QString &nameFilter) const
{
    QStringList urls;
    for (const QString &path : QFileDialog::getOpenFileNames(nullptr, title, startDirectory(), nameFilter))
        urls.append(toUrlString(path));
    return urls;
}

QString FileDialogs::saveFile(const QString &title, const QString &nameFilter, const QString &defaultSuffix,
                              const QString &suggestedName) const
{
    QFileDialog dialog(nullptr, title, startDirectory(), nameFilter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(defaultSuffix);
    if (!suggestedName.isEmpty())
        dialog.selectFile(suggestedName);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return toUrlString(dialog.selectedFiles().first());
}

QString FileDialogs::openFolder(const QString &title) const
{
    return toUrlString(QFileDialog::getExistingDirectory(nullptr, title, startDirectory()));
}

QString FileDialogs::urlFromPath(const QString &path) const
{
    return QUrl::fromLocalFile(path).toString();
}
