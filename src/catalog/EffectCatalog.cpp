#include "catalog/EffectCatalog.h"

#include "catalog/PackageRoots.h"
#include "catalog/PackageScan.h"

namespace orvel {

namespace effectcatalogdetail {

// Projects saved before the rename still name the RGB split by its old id.
QString currentId(const QString &id)
{
    return id == QLatin1String("stylize.rgb_split") ? QStringLiteral("rgb_split") : id;
}

QString valueText(const QVariant &value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    return value.toString();
}

QString joinedFilter(const QString &name, const QVariantMap &values)
{
    if (name.isEmpty())
        return {};
    QStringList pairs;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        const QString text = valueText(it.value());
        if (!text.isEmpty())
            pairs.append(it.key() + QLatin1Char('=') + text);
    }
    return pairs.isEmpty() ? name : name + QLatin1Char('=') + pairs.join(QLatin1Char(':'));
}

} // namespace effectcatalogdetail

QList<EffectDescriptor> scanEffectPackages(const QStringList &roots)
{
    return scanPackages<EffectDescriptor>(roots, QStringLiteral("effect.json"), "EffectPackageLoader",
                                          parseEffectPackage);
}

QStringList effectPackageRoots()
{
    return packageRoots("ORVEL_EFFECTS_DIR", QStringLiteral("effects"), QStringLiteral("effects"));
}

EffectCatalog &EffectCatalog::instance()
{
    static EffectCatalog catalog;
    return catalog;
}

void EffectCatalog::ensureLoadedLocked()
{
    if (m_loaded)
        return;
    m_loaded = true;
    m_descriptors.clear();
    for (EffectDescriptor &descriptor : scanEffectPackages(effectPackageRoots()))
        m_descriptors.push_back(std::make_unique<const EffectDescriptor>(std::move(descriptor)));
}

const EffectDescriptor *EffectCatalog::find(const QString &id)
{
    QMutexLocker lock(&m_mutex);
    ensureLoadedLocked();
    const QString wanted = effectcatalogdetail::currentId(id);
    for (const auto &descriptor : m_descriptors) {
        if (descriptor->id == wanted)
            return descriptor.get();
    }
    return nullptr;
}

QList<EffectDescriptor> EffectCatalog::all()
{
    QMutexLocker lock(&m_mutex);
    ensureLoadedLocked();
    QList<EffectDescriptor> result;
    result.reserve(qsizetype(m_descriptors.size()));
    for (const auto &descriptor : m_descriptors)
        result.append(*descriptor);
    return result;
}

QList<QPair<QString, QString>> EffectCatalog::categories()
{
    QStringList ids{QStringLiteral("glitch"), QStringLiteral("retro"), QStringLiteral("dreamy"),
                    QStringLiteral("impact")};
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

void EffectCatalog::reload(const QStringList &roots)
{
    QList<EffectDescriptor> fresh = scanEffectPackages(roots.isEmpty() ? effectPackageRoots() : roots);
    QMutexLocker lock(&m_mutex);
    m_loaded = true;
    m_descriptors.clear();
    for (EffectDescriptor &descriptor : fresh)
        m_descriptors.push_back(std::make_unique<const EffectDescriptor>(std::move(descriptor)));
}

QString EffectCatalog::categoryLabel(const QString &id)
{
    static const QList<QPair<QString, QString>> labels{
        {"glitch", "Glitch & Distortion"}, {"retro", "Retro / Analog"},
        {"dreamy", "Dreamy & Stylish"},    {"impact", "Impact"},
        {"blurs", "Blurs & Distortions"},  {"blurs_distortions", "Blurs & Distortions"},
        {"funny", "Funny Face"},           {"artistic", "Artistic"}};
    for (const auto &entry : labels) {
        if (entry.first == id)
            return entry.second;
    }
    return fallbackCategoryLabel(id);
}

QVariantMap EffectCatalog::mergedParams(const EffectInstance &instance, const EffectDescriptor &descriptor)
{
    return mergePackageParams(descriptor.fixedParams, descriptor.parameters, instance.parameters);
}

QString EffectCatalog::filterString(const EffectInstance &instance, const EffectDescriptor *descriptor)
{
    using effectcatalogdetail::joinedFilter;
    if (!descriptor)
        return joinedFilter(instance.name, instance.parameters);
    if (descriptor->isGpu || descriptor->compositorOnly)
        return {};
    const QVariantMap merged = mergedParams(instance, *descriptor);
    if (!descriptor->graphTemplate.isEmpty()) {
        QString text = descriptor->graphTemplate;
        for (auto it = merged.cbegin(); it != merged.cend(); ++it)
            text.replace(QStringLiteral("{{") + it.key() + QStringLiteral("}}"),
                         effectcatalogdetail::valueText(it.value()));
        return text;
    }
    const QString name = descriptor->filterName.isEmpty() ? instance.name : descriptor->filterName;
    return joinedFilter(name, merged);
}

} // namespace orvel
