#include "catalog/TransitionPackage.h"

#include <QImageReader>
#include <QJsonObject>

#include <algorithm>

namespace orvel {

namespace transitionpackagedetail {

bool fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

// The audio mixer compares the word exactly, so a differently cased one would silently crossfade:
// better to refuse the package where its author sees the message.
bool readAudioCurve(const QJsonObject &root, TransitionDescriptor &d, QString *error)
{
    const QString curve = root.value(QLatin1String("audioCurve")).toString();
    if (curve.isEmpty())
        return true;
    if (curve != QLatin1String("crossfade") && curve != QLatin1String("dip") &&
        curve != QLatin1String("hold"))
        return fail(error, QStringLiteral("unknown audioCurve '%1'").arg(curve));
    d.audioCurve = curve;
    return true;
}

void readPreviewStrip(const QString &directory, const QJsonObject &root, TransitionDescriptor &d)
{
    d.previewStripPath = resolvePackageFile(
        directory, root.value(QLatin1String("previewStrip")).toString(QStringLiteral("preview_strip.png")));
    if (d.previewStripPath.isEmpty())
        return;
    const int declared = root.value(QLatin1String("previewFrames")).toInt(0);
    d.previewFrames = declared > 0 ? declared : previewStripFrameCount(d.previewStripPath);
}

bool parseInto(const QString &directory, TransitionDescriptor &d, QString *error)
{
    QJsonObject root;
    if (!readPackageJson(directory, QStringLiteral("transition.json"), root, error))
        return false;
    d.id = root.value(QLatin1String("id")).toString();
    if (d.id.isEmpty())
        return fail(error, QStringLiteral("transition.json missing id"));
    d.displayName = root.value(QLatin1String("displayName")).toString(d.id);
    d.category =
        normalizeEffectCategory(root.value(QLatin1String("category")).toString(QStringLiteral("basic")));
    d.order = int32_t(root.value(QLatin1String("order")).toInt(0));
    if (!readAudioCurve(root, d, error))
        return false;
    readPreviewStrip(directory, root, d);
    if (!parseParameters(root.value(QLatin1String("parameters")).toArray(), d.parameters, true, error))
        return false;
    if (root.contains(QLatin1String("fixedParams")))
        parseFixedParams(root.value(QLatin1String("fixedParams")).toObject(), d.fixedParams);
    return parsePipeline(root.value(QLatin1String("pipeline")).toObject(), directory, 1, d.pipeline, error);
}

} // namespace transitionpackagedetail

int32_t previewStripFrameCount(const QString &path)
{
    const QSize size = QImageReader(path).size();
    if (size.width() <= 0 || size.height() <= 0)
        return 1;
    return std::max(1, size.width() / size.height());
}

TransitionDescriptor parseTransitionPackage(const QString &directory, QString *error)
{
    TransitionDescriptor descriptor;
    if (!transitionpackagedetail::parseInto(directory, descriptor, error))
        return {};
    return descriptor;
}

} // namespace orvel
