#include "catalog/TransitionCatalog.h"

#include "catalog/PackageRoots.h"
#include "catalog/PackageScan.h"

namespace orvel {

QList<TransitionDescriptor> scanTransitionPackages(const QStringList &roots)
{
    return scanPackages<TransitionDescriptor>(roots, QStringLiteral("transition.json"),
                                              "TransitionPackageLoader", parseTransitionPackage);
}

QStringList transitionPackageRoots()
{
    return packageRoots("ORVEL_TRANSITIONS_DIR", QStringLiteral("transitions"),
                        QStringLiteral("transitions"));
}

TransitionCatalog &TransitionCatalog::instance()
{
    static TransitionCatalog catalog;
    return catalog;
}

void TransitionCatalog::replaceLocked(QList<TransitionDescriptor> fresh)
{
    m_loaded = true;
    m_descriptors.clear();
    for (TransitionDescriptor &descriptor : fresh)
        m_descriptors.push_back(std::make_shared<const TransitionDescriptor>(std::move(descriptor)));
}

void TransitionCatalog::ensureLoadedLocked()
{
    if (!m_loaded)
        replaceLocked(scanTransitionPackages(transitionPackageRoots()));
}

std::shared_ptr<const TransitionDescriptor> TransitionCatalog::findShared(const QString &id)
{
    QMutexLocker lock(&m_mutex);
    ensureLoadedLocked();
    for (const auto &descriptor : m_descriptors) {
        if (descriptor->id == id)
            return descriptor;
    }
    return nullptr;
}

const TransitionDescriptor *TransitionCatalog::find(const QString &id)
{
    return findShared(id).get();
}

QList<TransitionDescriptor> TransitionCatalog::all()
{
    QMutexLocker lock(&m_mutex);
    ensureLoadedLocked();
    QList<TransitionDescriptor> result;
    result.reserve(qsizetype(m_descriptors.size()));
    for (const auto &descriptor : m_descriptors)
        result.append(*descriptor);
    return result;
}

QList<QPair<QString, QString>> TransitionCatalog::categories()
{
    QStringList ids;
    {
        QMutexLocker lock(&m_mutex);
        ensureLoadedLocked();
        for (const auto &descriptor : m_descriptors) {
            if (!ids.contains(descriptor->category))
                ids.append(descriptor->category);
        }
    }
    QList<QPair<QString, QString>> result;
    for (const QString &id : ids)
        result.append({id, categoryLabel(id)});
    return result;
}

void TransitionCatalog::reload(const QStringList &roots)
{
    // Parse outside the lock: the compositor keeps drawing with the old set meanwhile.
    QList<TransitionDescriptor> fresh =
        scanTransitionPackages(roots.isEmpty() ? transitionPackageRoots() : roots);
    QMutexLocker lock(&m_mutex);
    replaceLocked(std::move(fresh));
}

QString TransitionCatalog::categoryLabel(const QString &id)
{
    static const QList<QPair<QString, QString>> labels{{"basic", "Basic"},
                                                       {"geometric", "Grid & Geometric"},
                                                       {"liquid", "Particle & Liquid"},
                                                       {"glitch", "Glitch & Digital"},
                                                       {"cinematic", "Stylized & Cinematic"}};
    for (const auto &entry : labels) {
        if (entry.first == id)
            return entry.second;
    }
    return fallbackCategoryLabel(id);
}

QVariantMap TransitionCatalog::mergedParams(const Transition &transition,
                                            const TransitionDescriptor &descriptor)
{
    return mergePackageParams(descriptor.fixedParams, descriptor.parameters, transition.parameters);
}

QString transitionAudioCurve(const QString &kind)
{
    const std::shared_ptr<const TransitionDescriptor> descriptor =
        TransitionCatalog::instance().findShared(kind);
    return descriptor ? descriptor->audioCurve : QStringLiteral("crossfade");
}

} // namespace orvel
