// Writing a project file: gathering the blobs, the manifest, then header, blobs and digests
// through one save file.
#include "output/ProjectContainerDetail.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSet>

#include <zstd.h>

namespace orvel {

bool projectBlobShouldCompress(ProjectMediaRole role, const QString &path, quint64 sizeBytes)
{
    if (sizeBytes > kProjectSizeLimitBytes)
        return false;
    if (role == ProjectMediaRole::facetrack)
        return true;
    static const QSet<QString> textLike{
        QStringLiteral("json"), QStringLiteral("txt"),  QStringLiteral("srt"),
        QStringLiteral("vtt"),  QStringLiteral("xml"),  QStringLiteral("svg"),
        QStringLiteral("wav"),  QStringLiteral("aiff"), QStringLiteral("bmp")};
    return textLike.contains(QFileInfo(path).suffix().toLower());
}

namespace container_write {

using container_detail::fail;

constexpr int kZstdLevel = 10;

struct Gathered
{
    QList<ProjectMediaEntry> media;
    QList<ProjectBlob> blobs;
    qint64 totalBytes = 0;
};

QString uniqueBlobName(const QString &path, const QSet<QString> &used)
{
    QString name = QFileInfo(path).fileName();
    if (name.isEmpty())
        name = QStringLiteral("media");
    if (!used.contains(name))
        return name;
    const QFileInfo info(name);
    const QString suffix = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
    for (int counter = 2;; ++counter) {
        const QString candidate =
            QStringLiteral("%1-%2%3").arg(info.completeBaseName()).arg(counter).arg(suffix);
        if (!used.contains(candidate))
            return candidate;
    }
}

// Reads a small file whole and compresses it; its digest is taken now. Returns false with
// compressFailed cleared when the file cannot be read (the entry then stays a reference).
bool compressBlob(ProjectBlob &blob, bool &compressFailed)
{
    compressFailed = false;
    QFile file(blob.path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray content = file.readAll();
    QByteArray frame(qsizetype(ZSTD_compressBound(size_t(content.size()))), Qt::Uninitialized);
    const size_t written = ZSTD_compress(frame.data(), size_t(frame.size()), content.constData(),
                                         size_t(content.size()), kZstdLevel);
    if (ZSTD_isError(written)) {
        compressFailed = !content.isEmpty();
        if (compressFailed)
            return false;
        frame.clear();
    } else {
        frame.truncate(qsizetype(written));
    }
    blob.compressedBytes = frame;
    blob.digest = container_detail::sha256(content);
    blob.size = quint64(content.size());
    blob.storedSize = quint64(frame.size());
    return true;
}

bool gatherBlobs(const QList<ProjectMediaEntry> &input, Gathered &out, QString *error)
{
    out.media = input;
    QHash<QString, int> blobByCanonicalPath;
    QSet<QString> usedNames;
    quint64 runningOffset = 0;
    for (ProjectMediaEntry &entry : out.media) {
        entry.fileName.clear();
        entry.blobIndex = -1;
        if (!entry.embed)
            continue;
        const QFileInfo info(entry.originalPath);
        if (!info.isFile() || !info.isReadable()) {
            entry.embed = false; // a vanished file is written as a reference, without a word
            continue;
        }
        const QString canonical = info.canonicalFilePath();
        if (const auto found = blobByCanonicalPath.constFind(canonical);
            found != blobByCanonicalPath.cend()) {
            entry.blobIndex = found.value();
            entry.fileName = out.blobs[found.value()].fileName;
            continue;
        }
        ProjectBlob blob;
        blob.path = info.absoluteFilePath();
        blob.size = blob.storedSize = quint64(info.size());
        blob.compressed = projectBlobShouldCompress(entry.role, entry.originalPath, blob.size);
        if (blob.compressed) {
            bool compressFailed = false;
            if (!compressBlob(blob, compressFailed)) {
                if (compressFailed) {
                    fail(error, QStringLiteral("cannot compress %1").arg(info.fileName()));
                    return false;
                }
                entry.embed = false;
                continue;
            }
        }
        blob.fileName = uniqueBlobName(entry.originalPath, usedNames);
        usedNames.insert(blob.fileName);
        entry.fileName = blob.fileName;
        entry.blobIndex = int(out.blobs.size());
        blobByCanonicalPath.insert(canonical, entry.blobIndex);
        blob.offset = runningOffset;
        runningOffset += blob.storedSize;
        out.totalBytes += qint64(blob.size);
        out.blobs.append(blob);
    }
    return true;
}

QString roleName(ProjectMediaRole role)
{
    switch (role) {
    case ProjectMediaRole::matte:
        return QStringLiteral("matte");
    case ProjectMediaRole::facetrack:
        return QStringLiteral("facetrack");
    case ProjectMediaRole::source:
        break;
    }
    return QStringLiteral("source");
}

QJsonObject buildManifest(const ProjectSaveData &data, const Gathered &gathered)
{
    QJsonArray addons;
    for (const ProjectAddonRef &addon : data.addons)
        addons.append(QJsonObject{{QStringLiteral("id"), addon.id},
                                  {QStringLiteral("version"), addon.version},
                                  {QStringLiteral("name"), addon.name},
                                  {QStringLiteral("kinds"), QJsonArray::fromStringList(addon.kinds)}});
    QJsonArray blobs;
    for (const ProjectBlob &blob : gathered.blobs)
        blobs.append(QJsonObject{
            {QStringLiteral("offset"), double(blob.offset)},
            {QStringLiteral("storedSize"), double(blob.storedSize)},
            {QStringLiteral("size"), double(blob.size)},
            {QStringLiteral("codec"), blob.compressed ? QStringLiteral("zstd") : QStringLiteral("raw")}});
    QJsonArray media;
    for (const ProjectMediaEntry &entry : gathered.media) {
        QJsonObject object{{QStringLiteral("originalPath"), entry.originalPath},
                           {QStringLiteral("role"), roleName(entry.role)},
                           {QStringLiteral("storage"),
                            entry.embed ? QStringLiteral("embedded") : QStringLiteral("reference")}};
        if (entry.embed) {
            object.insert(QStringLiteral("fileName"), entry.fileName);
            object.insert(QStringLiteral("blob"), entry.blobIndex);
        }
        media.append(object);
    }
    const QJsonObject format{{QStringLiteral("version"), QStringLiteral("%1.%2.%3").arg(1).arg(0).arg(0)},
                             {QStringLiteral("app"), QStringLiteral("Orvel")},
                             {QStringLiteral("appVersion"), QLatin1String(kProjectAppVersion)}};
    const QJsonObject project{
        {QStringLiteral("id"), data.id},
        {QStringLiteral("title"), data.title},
        {QStringLiteral("author"), data.author},
        {QStringLiteral("description"), data.description},
        {QStringLiteral("createdAt"), data.createdAt.toUTC().toString(Qt::ISODateWithMs)},
        {QStringLiteral("modifiedAt"), data.modifiedAt.toUTC().toString(Qt::ISODateWithMs)}};
    return QJsonObject{{QStringLiteral("format"), format}, {QStringLiteral("project"), project},
                       {QStringLiteral("addons"), addons}, {QStringLiteral("blobs"), blobs},
                       {QStringLiteral("media"), media},   {QStringLiteral("document"), data.document}};
}

bool compressManifest(const QJsonObject &manifest, QByteArray &json, QByteArray &frame, QString *error)
{
    json = QJsonDocument(manifest).toJson(QJsonDocument::Compact);
    if (quint64(json.size()) > kProjectSizeLimitBytes) {
        fail(error, QStringLiteral("project is too large to save"));
        return false;
    }
    frame.resize(qsizetype(ZSTD_compressBound(size_t(json.size()))));
    const size_t written =
        ZSTD_compress(frame.data(), size_t(frame.size()), json.constData(), size_t(json.size()), kZstdLevel);
    if (ZSTD_isError(written)) {
        fail(error, QStringLiteral("cannot compress the project manifest"));
        return false;
    }
    frame.truncate(qsizetype(written));
    return true;
}

bool writeAll(QSaveFile &file, const QByteArray &bytes)
{
    return file.write(bytes) == bytes.size();
}

// Streams one raw blob in pieces, hashing as it goes. A source that grew is cut to the size
// gathered; one that shrank fails the save.
bool copyRawBlob(QSaveFile &target, ProjectBlob &blob, qint64 &doneBytes, qint64 totalBytes,
                 const ProjectProgress &progress, QString *error)
{
    QFile source(blob.path);
    if (!source.open(QIODevice::ReadOnly)) {
        fail(error, QStringLiteral("cannot read %1").arg(blob.path));
        return false;
    }
    container_detail::Sha256 hash;
    QByteArray piece;
    quint64 remaining = blob.size;
    while (remaining > 0) {
        piece = source.read(qint64(std::min<quint64>(remaining, kProjectCopyPieceBytes)));
        if (piece.isEmpty()) {
            fail(error, QStringLiteral("%1 changed while saving").arg(blob.path));
            return false;
        }
        if (!writeAll(target, piece)) {
            fail(error, QStringLiteral("cannot write project data"));
            return false;
        }
        hash.addData(piece);
        remaining -= quint64(piece.size());
        doneBytes += piece.size();
        if (progress && !progress(doneBytes, totalBytes)) {
            fail(error, QStringLiteral("Cancelled"));
            return false;
        }
    }
    blob.digest = hash.result();
    return true;
}

bool writeBlobs(QSaveFile &target, Gathered &gathered, const ProjectProgress &progress, QString *error)
{
    qint64 doneBytes = 0;
    QByteArray digestTable;
    for (ProjectBlob &blob : gathered.blobs) {
        if (blob.compressed) {
            if (!writeAll(target, blob.compressedBytes)) {
                fail(error, QStringLiteral("cannot write project data"));
                return false;
            }
            blob.compressedBytes = QByteArray(); // written: no need to hold it any longer
            doneBytes += qint64(blob.size);
            if (progress && !progress(doneBytes, gathered.totalBytes)) {
                fail(error, QStringLiteral("Cancelled"));
                return false;
            }
        } else if (!copyRawBlob(target, blob, doneBytes, gathered.totalBytes, progress, error)) {
            return false;
        }
        digestTable.append(blob.digest);
    }
    if (!writeAll(target, digestTable)) {
        fail(error, QStringLiteral("cannot write project data"));
        return false;
    }
    return true;
}

} // namespace container_write

bool writeProjectFile(const QString &path, const ProjectSaveData &data, const ProjectProgress &progress,
                      QString *error)
{
    using namespace container_write;
    Gathered gathered;
    if (!gatherBlobs(data.media, gathered, error))
        return false;
    QByteArray json;
    QByteArray frame;
    if (!compressManifest(buildManifest(data, gathered), json, frame, error))
        return false;

    QSaveFile target(path);
    if (!target.open(QIODevice::WriteOnly)) {
        fail(error, QStringLiteral("cannot write %1").arg(container_detail::bareFileName(path)));
        return false;
    }
    QByteArray header(container_detail::kMagic, 8);
    container_detail::appendU32(header, container_detail::kContainerRevision);
    container_detail::appendU32(header, quint32(frame.size()));
    container_detail::appendU32(header, quint32(json.size()));
    header.append(container_detail::sha256(json));
    if (!writeAll(target, header) || !writeAll(target, frame)) {
        fail(error, QStringLiteral("cannot write the project manifest"));
        return false;
    }
    if (!writeBlobs(target, gathered, progress, error))
        return false; // the save file is discarded: the old file stays as it was
    if (!target.commit()) {
        fail(error, QStringLiteral("cannot finish writing %1").arg(container_detail::bareFileName(path)));
        return false;
    }
    return true;
}

} // namespace orvel
