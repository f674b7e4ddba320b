#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QVariantMap>

#include <cstdint>

namespace orvel {

// One user-facing parameter of an effect or transition package.
struct EffectParameter
{
    QString id;
    QString displayName;
    double minValue = 0.0;
    double maxValue = 1.0;
    double defaultValue = 0.0;
    bool isBool = false;
};

struct PipelineBuffer
{
    QString id;
    double scale = 1.0; // times the canvas size
};

struct PipelineTexture
{
    QString id;
    QString file; // as the package wrote it
    QString path; // absolute
};

struct PassInput
{
    enum Type : int32_t
    {
        sourceTexture = 0,
        buffer = 1,
        texture = 2
    };
    int32_t type = sourceTexture;
    QString bufferId;
    QString textureId;
    int32_t index = 0; // which input of the run, for a source texture
};

struct PassOutput
{
    enum Type : int32_t
    {
        buffer = 0,
        canvas = 1
    };
    int32_t type = canvas;
    QString bufferId;
};

struct PipelinePass
{
    int32_t passIndex = 0;
    QString fragmentShader; // the file name as written
    QString source;         // the shader's text
    QList<PassInput> inputs;
    PassOutput output;
};

// A package's shader passes with the buffers and textures they share.
struct EffectPipeline
{
    QList<PipelineBuffer> buffers;
    QList<PipelineTexture> textures;
    QList<PipelinePass> passes;
    bool valid = false;
};

// One loaded effect package.
struct EffectDescriptor
{
    QString id;
    QString displayName;
    QString category = QStringLiteral("dreamy");
    QList<EffectParameter> parameters;
    bool compositorOnly = false;
    QString filterName;
    QString graphTemplate;
    QVariantMap fixedParams;
    bool isGpu = false;
    bool requiresFace = false;
    EffectPipeline pipeline;
    int32_t order = 0;
    QString thumbnailPath;
};

// Reads `directory`/effect.json with its shaders. On failure `error` holds a lower-case reason
// and the returned descriptor has an empty id.
EffectDescriptor parseEffectPackage(const QString &directory, QString *error);

// The three pieces transitions share with effects. `checkReserved` refuses parameter names that
// the shader runner sets itself; `maxSourceIndex` is the highest source input a pass may read.
bool parseParameters(const QJsonArray &array, QList<EffectParameter> &out, bool checkReserved,
                     QString *error);
void parseFixedParams(const QJsonObject &object, QVariantMap &out);
bool parsePipeline(const QJsonObject &root, const QString &directory, int maxSourceIndex, EffectPipeline &out,
                   QString *error);

// Reads `directory`/`fileName` as one JSON object. Failures: "cannot open <path>", "empty
// <fileName>", "invalid JSON: <reason>".
bool readPackageJson(const QString &directory, const QString &fileName, QJsonObject &root, QString *error);
// A file a package names relative to itself or absolutely, cleaned; empty when it does not exist.
QString resolvePackageFile(const QString &directory, const QString &written);

// The values a package's shader or filter sees: fixed values, then each parameter's default,
// then the instance's own `values`, then the mirrored "offset_neg" and "chroma_neg".
QVariantMap mergePackageParams(const QVariantMap &fixedParams, const QList<EffectParameter> &parameters,
                               const QVariantMap &values);

// The label of a category no table names: the id with a capital first letter, "Other" if empty.
QString fallbackCategoryLabel(const QString &id);

// "Blurs & Distortions" -> "blurs_distortions"; "misc" when nothing is left.
QString normalizeEffectCategory(const QString &category);

// True for the uniform names every pass gets from the runner. `withFacePrefix` also counts the
// face uniforms, which a package may not declare either.
bool isReservedUniformName(const QString &name, bool withFacePrefix);

} // namespace orvel
