#include "catalog/AudioEffectCatalog.h"

#include "audiofx/AudioEffectRegistry.h"
#include "catalog/PackageRoots.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QSet>

#include <algorithm>

namespace orvel {

namespace audioeffectcatalogdetail {

bool fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

bool readRoot(const QString &directory, QJsonObject &root, QString *error)
{
    QFile file(QDir(directory).filePath(QStringLiteral("audio-effect.json")));
    if (!file.open(QIODevice::ReadOnly))
        return fail(error, file.errorString());
    const QByteArray bytes = file.readAll();
    if (bytes.trimmed().isEmpty())
        return fail(error, QStringLiteral("empty audio-effect.json"));
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return fail(error, QStringLiteral("invalid JSON: %1").arg(parseError.errorString()));
    if (!document.isObject())
        return fail(error, QStringLiteral("invalid JSON: %1").arg(QStringLiteral("root is not an object")));
    root = document.object();
    return true;
}

bool checkBackend(const QString &backend, QString *error)
{
    if (backend.isEmpty())
        return fail(error, QStringLiteral("audio-effect.json missing backend"));
    if (backend == QLatin1String("avfilter"))
        return fail(
            error,
            QStringLiteral("backend 'avfilter' is no longer supported; audio effects are JUCE processors"));
    if (backend != QLatin1String("juce"))
        return fail(error, QStringLiteral("unsupported backend '%1'").arg(backend));
    return true;
}

bool parseInto(const QString &directory, AudioEffectDescriptor &d, QString *error)
{
    QJsonObject root;
    if (!readRoot(directory, root, error))
        return false;
    if (!checkBackend(root.value(QLatin1String("backend")).toString(), error))
        return false;
    d.id = root.value(QLatin1String("id")).toString();
    if (d.id.isEmpty())
        return fail(error, QStringLiteral("audio-effect.json missing id"));
    d.displayName = root.value(QLatin1String("displayName")).toString();
    if (d.displayName.isEmpty())
        d.displayName = d.id;
    const QString category = root.value(QLatin1String("category")).toString();
    d.category = normalizeEffectCategory(category.isEmpty() ? QStringLiteral("space") : category);
    d.order = int32_t(root.value(QLatin1String("order")).toInt(0));
    d.prerollMs = int32_t(root.value(QLatin1String("prerollMs")).toInt(0));
    d.processor = root.value(QLatin1String("processor")).toString();
    if (d.processor.isEmpty())
        return fail(error, QStringLiteral("audio-effect.json missing processor"));
    if (!isKnownProcessor(d.processor))
        return fail(error, QStringLiteral("unknown processor '%1'").arg(d.processor));
    if (!parseParameters(root.value(QLatin1String("parameters")).toArray(), d.parameters, false, error))
        return false;
    d.icon = root.value(QLatin1String("icon")).toString();
    // The path is kept even when the file is absent, so a browser can fall back on its own.
    const QString thumbnail =
        root.value(QLatin1String("thumbnail")).toString(QStringLiteral("thumbnail.png"));
    d.thumbnailPath = QDir::cleanPath(QDir(directory).absoluteFilePath(thumbnail));
    d.packageDir = QDir::cleanPath(QDir(directory).absolutePath());
    return true;
}

void scanRoot(const QString &root, QSet<QString> &seen, QList<AudioEffectDescriptor> &out)
{
    const QDir dir(root);
    if (!dir.exists())
        return;
    for (const QString &name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        const QString directory = dir.filePath(name);
        QString error;
        AudioEffectDescriptor descriptor = parseAudioEffectPackage(directory, &error);
        if (descriptor.id.isEmpty()) {
            qWarning("AudioEffectCatalog: skip %s: %s", qPrintable(directory), qPrintable(error));
            continue;
        }
        if (seen.contains(descriptor.id)) {
            qDebug("AudioEffectCatalog: duplicate id '%s' in %s (ignored)", qPrintable(descriptor.id),
                   qPrintable(directory));
            continue;
        }
        seen.insert(descriptor.id);
        out.append(std::move(descriptor));
    }
}

const QStringList &namedCategories()
{
    static const QStringList ids{QStringLiteral("voice"), QStringLiteral("transmission"),
                                 QStringLiteral("texture"), QStringLiteral("space")};
    return ids;
}

} // namespace audioeffectcatalogdetail

AudioEffectDescriptor parseAudioEffectPackage(const QString &directory, QString *error)
{
    AudioEffectDescriptor descriptor;
    if (!audioeffectcatalogdetail::parseInto(directory, descriptor, error))
        return {};
    return descriptor;
}

QList<AudioEffectDescriptor> scanAudioEffectPackages(const QStringList &roots)
{
    QSet<QString> seen;
    QList<AudioEffectDescriptor> result;
    for (const QString &root : roots)
        audioeffectcatalogdetail::scanRoot(root, seen, result);
    std::stable_sort(result.begin(), result.end(),
                     [](const AudioEffectDescriptor &a, const AudioEffectDescriptor &b) {
                         if (a.order != b.order)
                             return a.order < b.order;
                         return QString::compare(a.id, b.id, Qt::CaseSensitive) < 0;
                     });
    return result;
}

QStringList audioEffectPackageRoots()
{
    return packageRoots("ORVEL_AUDIO_EFFECTS_DIR", QStringLiteral("audio-effects"),
                        QStringLiteral("audio-effects"));
}

AudioEffectCatalog::AudioEffectCatalog(QList<AudioEffectDescriptor> descriptors)
    : m_descriptors(std::move(descriptors))
{}

const AudioEffectCatalog &AudioEffectCatalog::instance()
{
    // A function-local static is built once, by whichever thread comes first, behind the
    // compiler's own guard; nothing writes to it afterwards.
    static const AudioEffectCatalog catalog(scanAudioEffectPackages(audioEffectPackageRoots()));
    return catalog;
}

const AudioEffectDescriptor *AudioEffectCatalog::find(const QString &id) const
{
    for (const AudioEffectDescriptor &descriptor : m_descriptors) {
        if (descriptor.id == id)
            return &descriptor;
    }
    return nullptr;
}

QList<QPair<QString, QString>> AudioEffectCatalog::categories() const
{
    QStringList inUse;
    for (const AudioEffectDescriptor &descriptor : m_descriptors) {
        if (!inUse.contains(descriptor.category))
            inUse.append(descriptor.category);
    }
    QStringList ordered;
    for (const QString &id : audioeffectcatalogdetail::namedCategories()) {
        if (inUse.contains(id))
            ordered.append(id);
    }
    for (const QString &id : inUse) {
        if (!ordered.contains(id))
            ordered.append(id);
    }
    QList<QPair<QString, QString>> result;
    for (const QString &id : ordered)
        result.append({id, categoryLabel(id)});
    return result;
}

QString AudioEffectCatalog::categoryLabel(const QString &category)
{
    if (category == QLatin1String("voice"))
        return QStringLiteral("Voice");
    if (category == QLatin1String("transmission"))
        return QStringLiteral("Transmission");
    if (category == QLatin1String("texture"))
        return QStringLiteral("Texture");
    if (category == QLatin1String("space"))
        return QStringLiteral("Space");
    return QStringLiteral("Other");
}

QList<AudioEffectSpec> AudioEffectCatalog::specsFor(const Clip &clip) const
{
    QList<AudioEffectSpec> specs;
    for (const EffectInstance &instance : clip.audioEffects) {
        const AudioEffectDescriptor *descriptor = find(instance.catalogId);
        if (!descriptor)
            continue;
        AudioEffectSpec spec;
        spec.processorId = descriptor->processor;
        spec.prerollMs = descriptor->prerollMs;
        for (const EffectParameter &parameter : descriptor->parameters) {
            const auto it = instance.parameters.constFind(parameter.id);
            const float value =
                it != instance.parameters.constEnd() ? it->toFloat() : float(parameter.defaultValue);
            spec.parameters.insert(parameter.id, value);
        }
        specs.append(std::move(spec));
    }
    return specs;
}

} // namespace orvel
