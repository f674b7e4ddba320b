#pragma once

#include "catalog/EffectPackage.h"
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

// Reads every effect package under `roots`, the first root winning on a repeated id, sorted by
// order then id. Bad packages are logged and left out.
QList<EffectDescriptor> scanEffectPackages(const QStringList &roots);

// The effect roots: ORVEL_EFFECTS_DIR, addon roots, "effects" beside the executable, then the
// application data folder.
QStringList effectPackageRoots();

// The process-wide set of effect packages, loaded on first use and then fixed until reload().
// Read from the compositor worker and the UI thread; every call takes the one mutex.
class EffectCatalog
{
public:
    static EffectCatalog &instance();

    // Null when unknown. Stays valid until the next reload().
    const EffectDescriptor *find(const QString &id);
    QList<EffectDescriptor> all();
    // The four fixed groups first, then every other category of the catalog, once each.
    QList<QPair<QString, QString>> categories();
    // An empty list of roots means the usual effect roots.
    void reload(const QStringList &roots = {});

    static QString categoryLabel(const QString &id);
    static QVariantMap mergedParams(const EffectInstance &instance, const EffectDescriptor &descriptor);
    // The libavfilter text of one instance; empty for shader and compositor effects.
    static QString filterString(const EffectInstance &instance, const EffectDescriptor *descriptor);

private:
    EffectCatalog() = default;
    void ensureLoadedLocked();

    QMutex m_mutex;
    bool m_loaded = false;
    // Held by pointer so that find()'s results survive growth; replaced whole on reload.
    std::vector<std::unique_ptr<const EffectDescriptor>> m_descriptors;
};

} // namespace orvel
