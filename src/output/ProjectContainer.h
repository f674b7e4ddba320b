#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// The .orvel project file: a 52-byte header, one zstd frame holding the JSON manifest (which holds
// the document), the blobs of embedded media one after another, and a SHA-256 per blob at the end.
// The digests trail the file because a streamed blob's digest is only known once it is copied.
namespace orvel {

inline constexpr qint64 kProjectHeaderBytes = 52;
inline constexpr quint64 kProjectSizeLimitBytes = 268435456; // 256 MiB: manifest and zstd blobs
inline constexpr qint64 kProjectCopyPieceBytes = 1048576;
inline constexpr char kProjectFormatVersion[] = "1.0.0";
inline constexpr char kProjectAppVersion[] = "0.1.1";

struct ProjectAddonRef
{
    QString id;
    QString version;
    QString name;
    QStringList kinds;
    bool operator==(const ProjectAddonRef &) const = default;
};

enum class ProjectMediaRole
{
    source = 0,
    matte = 1,
    facetrack = 2
};

struct ProjectMediaEntry
{
    QString originalPath;
    QString fileName;
    ProjectMediaRole role = ProjectMediaRole::source;
    bool embed = false;
    int blobIndex = -1;
    bool operator==(const ProjectMediaEntry &) const = default;
};

struct ProjectBlob
{
    QString path; // absolute source path; writing only
    QString fileName;
    QByteArray compressedBytes; // zstd blobs, held from gathering until written
    QByteArray digest;          // 32 bytes once known
    quint64 offset = 0;
    quint64 storedSize = 0;
    quint64 size = 0;
    bool compressed = false;
};

// What the writer needs: the document and the project's identity, the addons it uses and the
// files it refers to, each with whether to embed it.
struct ProjectSaveData
{
    QJsonObject document;
    QString id;
    QString title;
    QString author;
    QString description;
    QDateTime createdAt;
    QDateTime modifiedAt;
    QList<ProjectAddonRef> addons;
    QList<ProjectMediaEntry> media;
};

struct ProjectManifestInfo
{
    QString formatVersion;
    QString appVersion;
    QString id;
    QString title;
    QString author;
    QString description;
    QDateTime createdAt;
    QDateTime modifiedAt;
    QList<ProjectAddonRef> addons;
    QList<ProjectMediaEntry> media;
    QJsonObject document;
    quint64 embeddedBytes = 0; // sum of size over embedded entries, a shared blob counted per entry
};

// Bytes done and bytes in all; returns false to cancel. May be empty.
using ProjectProgress = std::function<bool(qint64 doneBytes, qint64 totalBytes)>;

// Writes through a save file: until the final commit an existing file at path is untouched, and
// every failure (or cancel, reported as "Cancelled") leaves it so.
bool writeProjectFile(const QString &path, const ProjectSaveData &data, const ProjectProgress &progress,
                      QString *error);

// Reads and validates the header and manifest; the blobs are checked only by the file's length.
std::optional<ProjectManifestInfo> readProjectManifest(const QString &path, QString *error);

// Unpacks every embedded file into destinationDirectory, verifying each digest. A target that
// already exists at the right size is taken as unpacked. extractedPaths (optional) maps each
// embedded entry's originalPath to its unpacked file.
bool unpackProjectMedia(const QString &path, const QString &destinationDirectory,
                        const ProjectProgress &progress, QHash<QString, QString> *extractedPaths,
                        QString *error);

// zstd for text-like files and face tracks that fit the limit, raw for everything else.
bool projectBlobShouldCompress(ProjectMediaRole role, const QString &path, quint64 sizeBytes);

} // namespace orvel
