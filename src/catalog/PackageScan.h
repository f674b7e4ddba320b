#pragma once

#include <QDir>
#include <QFileInfo>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <algorithm>

namespace orvel {

// The scan effects and transitions share: every subdirectory of each root that holds
// `fileName`, parsed by `parse(directory, &error)`; a descriptor with an empty id is a failure.
// Failures are logged as "<loader>: skip ..." and left out, the first root wins on a repeated id,
// and the result is sorted by order, then id case-sensitively so it is the same on every platform.
template <typename Descriptor, typename Parse>
QList<Descriptor> scanPackages(const QStringList &roots, const QString &fileName, const char *loader,
                               Parse parse)
{
    QSet<QString> seen;
    QList<Descriptor> result;
    for (const QString &root : roots) {
        const QDir dir(root);
        if (!dir.exists())
            continue;
        for (const QString &name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
            const QString directory = dir.filePath(name);
            if (!QFileInfo::exists(QDir(directory).filePath(fileName)))
                continue;
            QString error;
            Descriptor descriptor = parse(directory, &error);
            if (descriptor.id.isEmpty()) {
                qWarning("%s: skip %s: %s", loader, qPrintable(directory),
                         qPrintable(error.isEmpty() ? QStringLiteral("invalid package") : error));
                continue;
            }
            if (seen.contains(descriptor.id)) {
                qDebug("%s: duplicate id '%s' in %s (ignored)", loader, qPrintable(descriptor.id),
                       qPrintable(directory));
                continue;
            }
            seen.insert(descriptor.id);
            result.append(std::move(descriptor));
        }
    }
    std::stable_sort(result.begin(), result.end(), [](const Descriptor &a, const Descriptor &b) {
        if (a.order != b.order)
            return a.order < b.order;
        return QString::compare(a.id, b.id, Qt::CaseSensitive) < 0;
    });
    return result;
}

} // namespace orvel
