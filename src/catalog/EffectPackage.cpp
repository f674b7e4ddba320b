#include "catalog/EffectPackage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QRegularExpression>

namespace orvel {

namespace effectpackagedetail {

bool fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

// The first key of a pair wins when present; the second is its older spelling.
QJsonValue eitherKey(const QJsonObject &object, const char *first, const char *second)
{
    const QJsonValue value = object.value(QLatin1String(first));
    return value.isUndefined() ? object.value(QLatin1String(second)) : value;
}

// What the backend decides, once the common keys are in.
bool readBackend(const QString &backend, const QJsonObject &root, const QString &directory,
                 EffectDescriptor &d, QString *error)
{
    if (backend == QLatin1String("gpu")) {
        d.isGpu = true;
        d.filterName = QStringLiteral("gpu");
        return parsePipeline(root.value(QLatin1String("pipeline")).toObject(), directory, 0, d.pipeline,
                             error);
    }
    if (backend == QLatin1String("compositor")) {
        d.compositorOnly = true;
        d.filterName.clear();
        return true;
    }
    d.filterName = root.value(QLatin1String("filterName")).toString();
    d.graphTemplate = root.value(QLatin1String("graphTemplate")).toString();
    if (d.filterName.isEmpty() && d.graphTemplate.isEmpty())
        return fail(error, QStringLiteral("libav effect needs filterName or graphTemplate"));
    return true;
}

bool parseInto(const QString &directory, EffectDescriptor &d, QString *error)
{
    QJsonObject root;
    if (!readPackageJson(directory, QStringLiteral("effect.json"), root, error))
        return false;
    const QString backend = root.value(QLatin1String("backend")).toString();
    if (backend.isEmpty())
        return fail(error, QStringLiteral("effect.json missing backend"));
    if (backend != QLatin1String("gpu") && backend != QLatin1String("libav") &&
        backend != QLatin1String("compositor"))
        return fail(error, QStringLiteral("unsupported backend '%1'").arg(backend));
    d.id = root.value(QLatin1String("id")).toString();
    d.displayName = root.value(QLatin1String("displayName")).toString(d.id);
    d.category =
        normalizeEffectCategory(root.value(QLatin1String("category")).toString(QStringLiteral("dreamy")));
    d.order = int32_t(root.value(QLatin1String("order")).toInt(0));
    const QString needs = root.value(QLatin1String("requires")).toString();
    if (!needs.isEmpty() && needs != QLatin1String("face"))
        return fail(error, QStringLiteral("unsupported requires '%1'").arg(needs));
    d.requiresFace = !needs.isEmpty();
    if (d.id.isEmpty())
        return fail(error, QStringLiteral("effect.json missing id"));
    d.thumbnailPath = resolvePackageFile(
        directory, root.value(QLatin1String("thumbnail")).toString(QStringLiteral("thumbnail.png")));
    const bool gpu = backend == QLatin1String("gpu");
    if (!parseParameters(root.value(QLatin1String("parameters")).toArray(), d.parameters, gpu, error))
        return false;
    if (root.contains(QLatin1String("fixedParams")))
        parseFixedParams(root.value(QLatin1String("fixedParams")).toObject(), d.fixedParams);
    return readBackend(backend, root, directory, d, error);
}

} // namespace effectpackagedetail

bool readPackageJson(const QString &directory, const QString &fileName, QJsonObject &root, QString *error)
{
    using effectpackagedetail::fail;
    const QString path = QDir(directory).filePath(fileName);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(error, QStringLiteral("cannot open %1").arg(path));
    const QByteArray bytes = file.readAll();
    if (QString::fromUtf8(bytes).trimmed().isEmpty())
        return fail(error, QStringLiteral("empty %1").arg(fileName));
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return fail(error, QStringLiteral("invalid JSON: %1").arg(parseError.errorString()));
    if (!document.isObject())
        return fail(error, QStringLiteral("invalid JSON: %1").arg(QStringLiteral("root is not an object")));
    root = document.object();
    return true;
}

QString resolvePackageFile(const QString &directory, const QString &written)
{
    const QString path = QFileInfo(written).isAbsolute() ? QDir::cleanPath(written)
                                                         : QDir::cleanPath(QDir(directory).filePath(written));
    return QFileInfo::exists(path) ? path : QString();
}

QVariantMap mergePackageParams(const QVariantMap &fixedParams, const QList<EffectParameter> &parameters,
                               const QVariantMap &values)
{
    QVariantMap merged = fixedParams;
    for (const EffectParameter &parameter : parameters) {
        if (parameter.isBool)
            merged.insert(parameter.id, parameter.defaultValue > 0.5);
        else
            merged.insert(parameter.id, parameter.defaultValue);
    }
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        merged.insert(it.key(), it.value());
    // Filter templates have no arithmetic, so mirrored values are offered ready-made.
    for (const char *key : {"offset", "chroma"}) {
        const QString name = QLatin1String(key);
        if (merged.contains(name))
            merged.insert(name + QStringLiteral("_neg"), -merged.value(name).toDouble());
    }
    return merged;
}

QString fallbackCategoryLabel(const QString &id)
{
    if (id.isEmpty())
        return QStringLiteral("Other");
    return id.left(1).toUpper() + id.mid(1);
}

bool isReservedUniformName(const QString &name, bool withFacePrefix)
{
    static const QStringList reserved{"u_resolution",     "u_time",     "u_timeUs",      "u_frameIndex",
                                      "u_currentTexture", "u_progress", "u_fromTexture", "u_toTexture"};
    if (reserved.contains(name) || name.startsWith(QLatin1String("u_texture")))
        return true;
    return withFacePrefix && name.startsWith(QLatin1String("u_face"));
}

QString normalizeEffectCategory(const QString &category)
{
    static const QRegularExpression nonWord(QStringLiteral("[^a-z0-9]+"));
    QString text = category.trimmed().toLower();
    text.replace(QLatin1Char('&'), QLatin1Char(' '));
    text.replace(nonWord, QStringLiteral("_"));
    while (text.startsWith(QLatin1Char('_')))
        text.remove(0, 1);
    while (text.endsWith(QLatin1Char('_')))
        text.chop(1);
    return text.isEmpty() ? QStringLiteral("misc") : text;
}

bool parseParameters(const QJsonArray &array, QList<EffectParameter> &out, bool checkReserved, QString *error)
{
    using effectpackagedetail::eitherKey;
    out.clear();
    for (const QJsonValue &value : array) {
        const QJsonObject entry = value.toObject();
        EffectParameter parameter;
        parameter.id = eitherKey(entry, "identifier", "key").toString();
        if (parameter.id.isEmpty())
            return effectpackagedetail::fail(error, QStringLiteral("parameter missing identifier"));
        if (checkReserved && isReservedUniformName(parameter.id, true))
            return effectpackagedetail::fail(
                error, QStringLiteral("parameter '%1' collides with reserved uniform").arg(parameter.id));
        parameter.displayName = eitherKey(entry, "displayName", "label").toString(parameter.id);
        const QString type = entry.value(QLatin1String("type")).toString(QStringLiteral("float"));
        parameter.isBool = type == QLatin1String("bool") || type == QLatin1String("boolean");
        parameter.minValue = eitherKey(entry, "minValue", "min").toDouble(0.0);
        parameter.maxValue = eitherKey(entry, "maxValue", "max").toDouble(1.0);
        parameter.defaultValue = eitherKey(entry, "defaultValue", "default").toDouble(0.0);
        out.append(parameter);
    }
    return true;
}

void parseFixedParams(const QJsonObject &object, QVariantMap &out)
{
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        const QJsonValue value = it.value();
        if (value.isBool())
            out.insert(it.key(), value.toBool());
        else if (value.isDouble())
            out.insert(it.key(), value.toDouble());
        else if (value.isString())
            out.insert(it.key(), value.toString());
        else
            out.insert(it.key(), value.toVariant());
    }
}

EffectDescriptor parseEffectPackage(const QString &directory, QString *error)
{
    EffectDescriptor descriptor;
    if (!effectpackagedetail::parseInto(directory, descriptor, error))
        return {};
    return descriptor;
}

} // namespace orvel
