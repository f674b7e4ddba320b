#pragma once

#include "catalog/TransitionPackage.h"
#include "core/document/model/Project.h"

#include <QList>
#include <QMutex>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>
#include <vector>

namespace orvel {

// Reads every transition package under `roots`, the first root winning on a repeated id, sorted
// by order then id. Bad packages are logged and left out.
QList<TransitionDescriptor> scanTransitionPackages(const QStringList &roots);

// ORVEL_TRANSITIONS_DIR, addon roots, "transitions" beside the executable, then the application
// data folder.
QStringList transitionPackageRoots();

// The process-wide set of transition packages, loaded on first use and then fixed until
// reload(). Read from the compositor worker, the audio threads and the UI thread; every call
// takes the one mutex.
class TransitionCatalog
{
public:
    static TransitionCatalog &instance();

    // Null when unknown. Stays valid until the next reload().
    const TransitionDescriptor *find(const QString &id);
    // The same descriptor shared, for frames that are drawn on another thread and may outlive
    // a reload.
    std::shared_ptr<const TransitionDescriptor> findShared(const QString &id);
    QList<TransitionDescriptor> all();
    // Each category of the catalog once, in the order it first appears.
    QList<QPair<QString, QString>> categories();
    // An empty list of roots means the usual transition roots.
    void reload(const QStringList &roots = {});

    static QString categoryLabel(const QString &id);
    static QVariantMap mergedParams(const Transition &transition, const TransitionDescriptor &descriptor);

private:
    TransitionCatalog() = default;
    void ensureLoadedLocked();
    void replaceLocked(QList<TransitionDescriptor> fresh);

    QMutex m_mutex;
    bool m_loaded = false;
    std::vector<std::shared_ptr<const TransitionDescriptor>> m_descriptors;
};

// The audio curve of a transition kind: the package's, or "crossfade" for a kind without one.
QString transitionAudioCurve(const QString &kind);

} // namespace orvel
