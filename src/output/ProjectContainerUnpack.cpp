// Unpacking the embedded media of a project file into a folder, each file checked against its
// digest before it is committed.
#include "output/ProjectContainerDetail.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>

namespace orvel {

namespace container_unpack {

using container_detail::fail;

struct UnpackRun
{
    QFile &file;
    const container_detail::ParsedManifest &parsed;
    QByteArray digestTable;
    qint64 doneBytes = 0;
    qint64 totalBytes = 0;
    const ProjectProgress &progress;

    bool report(QString *error)
    {
        if (progress && !progress(doneBytes, totalBytes)) {
            fail(error, QStringLiteral("Cancelled"));
            return false;
        }
        return true;
    }
};

bool readDigestTable(UnpackRun &run, QString *error)
{
    qint64 tableStart = run.parsed.blobAreaStart;
    if (!run.parsed.blobs.isEmpty())
        tableStart += qint64(run.parsed.blobs.last().offset + run.parsed.blobs.last().storedSize);
    const qint64 tableBytes = qint64(run.parsed.blobs.size()) * container_detail::kDigestBytes;
    if (!run.file.seek(tableStart)) {
        fail(error, QStringLiteral("project file is truncated"));
        return false;
    }
    run.digestTable = run.file.read(tableBytes);
    if (run.digestTable.size() < tableBytes) {
        fail(error, QStringLiteral("project file is truncated"));
        return false;
    }
    return true;
}

bool copyRaw(UnpackRun &run, const ProjectBlob &blob, const ProjectMediaEntry &entry, QSaveFile &target,
             container_detail::Sha256 &hash, QString *error)
{
    quint64 remaining = blob.size;
    while (remaining > 0) {
        const QByteArray piece = run.file.read(qint64(std::min<quint64>(remaining, kProjectCopyPieceBytes)));
        if (piece.isEmpty()) {
            fail(error, QStringLiteral("project file is truncated"));
            return false;
        }
        if (target.write(piece) != piece.size()) {
            fail(error, QStringLiteral("cannot write %1").arg(entry.fileName));
            return false;
        }
        hash.addData(piece);
        remaining -= quint64(piece.size());
        run.doneBytes += piece.size();
        if (!run.report(error))
            return false;
    }
    return true;
}

bool copyCompressed(UnpackRun &run, const ProjectBlob &blob, const ProjectMediaEntry &entry,
                    QSaveFile &target, container_detail::Sha256 &hash, QString *error)
{
    const QByteArray frame = run.file.read(qint64(blob.storedSize));
    if (quint64(frame.size()) < blob.storedSize) {
        fail(error, QStringLiteral("project file is truncated"));
        return false;
    }
    QByteArray content;
    if (!container_detail::decompressExactly(frame, blob.size, content)) {
        fail(error, QStringLiteral("compressed block is corrupt"));
        return false;
    }
    if (target.write(content) != content.size()) {
        fail(error, QStringLiteral("cannot write %1").arg(entry.fileName));
        return false;
    }
    hash.addData(content);
    run.doneBytes += content.size();
    return run.report(error);
}

bool unpackBlob(UnpackRun &run, const ProjectMediaEntry &entry, const QString &targetPath, QString *error)
{
    const ProjectBlob &blob = run.parsed.blobs[entry.blobIndex];
    const QFileInfo existing(targetPath);
    // Already unpacked by an earlier open: taken at its size, without reading it again.
    if (existing.isFile() && quint64(existing.size()) == blob.size) {
        run.doneBytes += qint64(blob.size);
        return run.report(error);
    }
    if (!run.file.seek(run.parsed.blobAreaStart + qint64(blob.offset))) {
        fail(error, QStringLiteral("project file is truncated"));
        return false;
    }
    QSaveFile target(targetPath);
    if (!target.open(QIODevice::WriteOnly)) {
        fail(error, QStringLiteral("cannot write %1").arg(entry.fileName));
        return false;
    }
    container_detail::Sha256 hash;
    const bool copied = blob.compressed ? copyCompressed(run, blob, entry, target, hash, error)
                                        : copyRaw(run, blob, entry, target, hash, error);
    if (!copied)
        return false;
    if (hash.result() != run.digestTable.mid(entry.blobIndex * container_detail::kDigestBytes,
                                             container_detail::kDigestBytes)) {
        fail(error, QStringLiteral("%1 is corrupt in this project").arg(entry.fileName));
        return false;
    }
    if (!target.commit()) {
        fail(error, QStringLiteral("cannot finish writing %1").arg(entry.fileName));
        return false;
    }
    return true;
}

} // namespace container_unpack

bool unpackProjectMedia(const QString &path, const QString &destinationDirectory,
                        const ProjectProgress &progress, QHash<QString, QString> *extractedPaths,
                        QString *error)
{
    using namespace container_unpack;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(error, QStringLiteral("cannot open %1").arg(container_detail::bareFileName(path)));
        return false;
    }
    container_detail::ParsedManifest parsed;
    if (!container_detail::readManifest(file, parsed, error))
        return false;
    const QDir destination(destinationDirectory);
    if (!QDir().mkpath(destinationDirectory)) {
        fail(error, QStringLiteral("cannot create %1").arg(destinationDirectory));
        return false;
    }
    UnpackRun run{file, parsed, {}, 0, 0, progress};
    if (!readDigestTable(run, error))
        return false;
    for (const ProjectMediaEntry &entry : parsed.info.media)
        if (entry.embed)
            run.totalBytes += qint64(parsed.blobs[entry.blobIndex].size);

    QSet<int> blobsDone;
    for (const ProjectMediaEntry &entry : parsed.info.media) {
        if (!entry.embed)
            continue;
        const QString targetPath = destination.filePath(entry.fileName);
        if (extractedPaths)
            extractedPaths->insert(entry.originalPath, targetPath);
        if (blobsDone.contains(entry.blobIndex))
            continue;
        blobsDone.insert(entry.blobIndex);
        if (!unpackBlob(run, entry, targetPath, error))
            return false;
    }
    return true;
}

} // namespace orvel
