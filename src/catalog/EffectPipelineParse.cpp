// The `pipeline` object of an effect or transition package: buffers, textures and passes, each
// checked against what was declared before it so the runner never meets an unknown name.
#include "catalog/EffectPackage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

namespace orvel {

namespace effectpipelinedetail {

bool fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

bool parseBuffers(const QJsonArray &array, EffectPipeline &out, QString *error)
{
    for (const QJsonValue &value : array) {
        const QJsonObject entry = value.toObject();
        PipelineBuffer buffer;
        buffer.id = entry.value(QLatin1String("id")).toString();
        buffer.scale = entry.value(QLatin1String("scale")).toDouble(1.0);
        if (buffer.id.isEmpty())
            return fail(error, QStringLiteral("intermediate buffer missing id"));
        if (!(buffer.scale > 0.0))
            return fail(error, QStringLiteral("intermediate buffer scale must be > 0"));
        out.buffers.append(buffer);
    }
    return true;
}

bool parseTextures(const QJsonArray &array, const QDir &directory, EffectPipeline &out, QString *error)
{
    for (const QJsonValue &value : array) {
        const QJsonObject entry = value.toObject();
        PipelineTexture texture;
        texture.id = entry.value(QLatin1String("id")).toString();
        texture.file = entry.value(QLatin1String("file")).toString();
        if (texture.id.isEmpty() || texture.file.isEmpty())
            return fail(error, QStringLiteral("texture needs both id and file"));
        texture.path = QDir::cleanPath(directory.absoluteFilePath(texture.file));
        if (!QFileInfo::exists(texture.path))
            return fail(error, QStringLiteral("missing texture file '%1'").arg(texture.path));
        out.textures.append(texture);
    }
    return true;
}

bool readShader(const QJsonObject &entry, int position, const QDir &directory, PipelinePass &pass,
                QString *error)
{
    pass.fragmentShader = entry.value(QLatin1String("fragmentShader")).toString();
    if (pass.fragmentShader.isEmpty())
        return fail(error, QStringLiteral("pass %1 missing fragmentShader").arg(position));
    const QString path = QDir::cleanPath(directory.absoluteFilePath(pass.fragmentShader));
    if (!QFileInfo::exists(path))
        return fail(error, QStringLiteral("missing shader file '%1'").arg(path));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(error, QStringLiteral("cannot open %1").arg(path));
    pass.source = QString::fromUtf8(file.readAll());
    if (pass.source.isEmpty())
        return fail(error, QStringLiteral("empty shader '%1'").arg(pass.fragmentShader));
    return true;
}

struct DeclaredNames
{
    QSet<QString> buffers;
    QSet<QString> textures;
};

bool parseInput(const QJsonObject &entry, int maxSourceIndex, const DeclaredNames &names, PassInput &input,
                QString *error)
{
    const QString type = entry.value(QLatin1String("type")).toString();
    if (type == QLatin1String("source_texture")) {
        input.type = PassInput::sourceTexture;
        input.index = int32_t(entry.value(QLatin1String("index")).toInt(0));
        if (input.index < 0 || input.index > maxSourceIndex)
            return fail(error, QStringLiteral("source_texture index %1 out of range (0..%2)")
                                   .arg(input.index)
                                   .arg(maxSourceIndex));
        return true;
    }
    const QString id = entry.value(QLatin1String("id")).toString();
    if (type == QLatin1String("buffer")) {
        input.type = PassInput::buffer;
        input.bufferId = id;
        if (id.isEmpty())
            return fail(error, QStringLiteral("buffer input missing id"));
        if (!names.buffers.contains(id))
            return fail(error, QStringLiteral("pass references unknown buffer '%1'").arg(id));
        return true;
    }
    if (type == QLatin1String("texture")) {
        input.type = PassInput::texture;
        input.textureId = id;
        if (id.isEmpty())
            return fail(error, QStringLiteral("texture input missing id"));
        if (!names.textures.contains(id))
            return fail(error, QStringLiteral("pass references unknown texture '%1'").arg(id));
        return true;
    }
    return fail(error, QStringLiteral("unknown pass input type '%1'").arg(type));
}

bool parseOutput(const QJsonValue &value, int position, bool last, const DeclaredNames &names,
                 PassOutput &output, QString *error)
{
    const QJsonObject entry = value.toObject();
    if (entry.isEmpty()) {
        if (!last)
            return fail(error, QStringLiteral("pass %1 missing output").arg(position));
        output.type = PassOutput::canvas;
        return true;
    }
    const QString type = entry.value(QLatin1String("type")).toString();
    if (type == QLatin1String("canvas")) {
        output.type = PassOutput::canvas;
        return true;
    }
    if (type != QLatin1String("buffer"))
        return fail(error, QStringLiteral("unknown pass output type '%1'").arg(type));
    output.type = PassOutput::buffer;
    output.bufferId = entry.value(QLatin1String("id")).toString();
    if (output.bufferId.isEmpty())
        return fail(error, QStringLiteral("buffer output missing id"));
    if (!names.buffers.contains(output.bufferId))
        return fail(error, QStringLiteral("pass output references unknown buffer '%1'").arg(output.bufferId));
    return true;
}

bool parsePass(const QJsonObject &entry, int position, bool last, const QDir &directory, int maxSourceIndex,
               const DeclaredNames &names, PipelinePass &pass, QString *error)
{
    pass.passIndex = int32_t(entry.value(QLatin1String("passIndex")).toInt(position));
    if (!readShader(entry, position, directory, pass, error))
        return false;
    for (const QJsonValue &value : entry.value(QLatin1String("inputs")).toArray()) {
        PassInput input;
        if (!parseInput(value.toObject(), maxSourceIndex, names, input, error))
            return false;
        pass.inputs.append(input);
    }
    // No inputs means the run's own picture.
    if (pass.inputs.isEmpty())
        pass.inputs.append(PassInput{});
    return parseOutput(entry.value(QLatin1String("output")), position, last, names, pass.output, error);
}

} // namespace effectpipelinedetail

bool parsePipeline(const QJsonObject &root, const QString &directory, int maxSourceIndex, EffectPipeline &out,
                   QString *error)
{
    using namespace effectpipelinedetail;
    out = EffectPipeline{};
    const QDir dir(directory);
    if (!parseBuffers(root.value(QLatin1String("intermediateBuffers")).toArray(), out, error) ||
        !parseTextures(root.value(QLatin1String("textures")).toArray(), dir, out, error))
        return false;
    const QJsonArray passes = root.value(QLatin1String("passes")).toArray();
    if (passes.isEmpty())
        return fail(error, QStringLiteral("pipeline has no passes"));
    DeclaredNames names;
    for (const PipelineBuffer &buffer : out.buffers)
        names.buffers.insert(buffer.id);
    for (const PipelineTexture &texture : out.textures)
        names.textures.insert(texture.id);
    for (int i = 0; i < passes.size(); ++i) {
        PipelinePass pass;
        if (!parsePass(passes.at(i).toObject(), i, i == passes.size() - 1, dir, maxSourceIndex, names, pass,
                       error))
            return false;
        out.passes.append(pass);
    }
    out.valid = true;
    return true;
}

} // namespace orvel
