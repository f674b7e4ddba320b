// Reading the header and manifest of a project file, with every admission check.
#include "output/ProjectContainerDetail.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <openssl/evp.h>
#include <zstd.h>

#include <cmath>

namespace orvel::container_detail {

QByteArray sha256(const QByteArray &bytes)
{
    Sha256 hash;
    hash.addData(bytes);
    return hash.result();
}

Sha256::Sha256() : m_context(EVP_MD_CTX_new())
{
    if (m_context)
        EVP_DigestInit_ex(m_context, EVP_sha256(), nullptr);
}

Sha256::~Sha256()
{
    EVP_MD_CTX_free(m_context);
}

void Sha256::addData(const QByteArray &bytes)
{
    if (m_context)
        EVP_DigestUpdate(m_context, bytes.constData(), size_t(bytes.size()));
}

// Empty when libcrypto could not make a context, which no stored digest matches.
QByteArray Sha256::result()
{
    QByteArray digest(kDigestBytes, Qt::Uninitialized);
    unsigned int length = 0;
    if (!m_context ||
        EVP_DigestFinal_ex(m_context, reinterpret_cast<unsigned char *>(digest.data()), &length) != 1 ||
        length != unsigned(kDigestBytes))
        return {};
    return digest;
}

QString bareFileName(const QString &path)
{
    return QFileInfo(path).fileName();
}

bool decompressExactly(const QByteArray &frame, quint64 expectedBytes, QByteArray &out)
{
    // The frame header usually states its content size; a mismatch is known before allocating.
    const unsigned long long declared = ZSTD_getFrameContentSize(frame.constData(), size_t(frame.size()));
    if (declared == ZSTD_CONTENTSIZE_ERROR)
        return false;
    if (declared != ZSTD_CONTENTSIZE_UNKNOWN && declared != expectedBytes)
        return false;
    out.resize(qsizetype(expectedBytes));
    const size_t result =
        ZSTD_decompress(out.data(), size_t(expectedBytes), frame.constData(), size_t(frame.size()));
    return !ZSTD_isError(result) && result == expectedBytes;
}

namespace {

// Manifest numbers pass through a double; negative and non-finite values read as 0, values past
// the 64-bit range as the largest one.
quint64 manifestUnsigned(const QJsonValue &value)
{
    const double number = value.toDouble();
    if (!std::isfinite(number) || number <= 0.0)
        return 0;
    if (number >= 18446744073709551616.0)
        return ~quint64(0);
    return quint64(number);
}

int manifestBlobIndex(const QJsonValue &value)
{
    if (value.isUndefined())
        return -1;
    const double number = value.toDouble(-1.0);
    if (!std::isfinite(number) || number < -2147483648.0 || number > 2147483647.0)
        return -1;
    return int(number);
}

bool readFormat(const QJsonObject &format, ProjectManifestInfo &info, QString *error)
{
    info.formatVersion = format.value(QLatin1String("version")).toString();
    info.appVersion = format.value(QLatin1String("appVersion")).toString();
    bool ok = false;
    const int major = info.formatVersion.section(QLatin1Char('.'), 0, 0).toInt(&ok, 10);
    if (!ok || major <= 0) {
        fail(error, QStringLiteral("project manifest has no format version"));
        return false;
    }
    if (major >= 2) {
        fail(error, QStringLiteral("this project was saved by a newer version of Orvel (format %1) — "
                                   "update to open it")
                        .arg(info.formatVersion));
        return false;
    }
    return true;
}

void readProjectAndAddons(const QJsonObject &root, ProjectManifestInfo &info)
{
    const QJsonObject project = root.value(QLatin1String("project")).toObject();
    info.id = project.value(QLatin1String("id")).toString();
    info.title = project.value(QLatin1String("title")).toString();
    info.author = project.value(QLatin1String("author")).toString();
    info.description = project.value(QLatin1String("description")).toString();
    info.createdAt = QDateTime::fromString(project.value(QLatin1String("createdAt")).toString(), Qt::ISODate);
    info.modifiedAt =
        QDateTime::fromString(project.value(QLatin1String("modifiedAt")).toString(), Qt::ISODate);
    for (const QJsonValue &value : root.value(QLatin1String("addons")).toArray()) {
        const QJsonObject addon = value.toObject();
        ProjectAddonRef ref;
        ref.id = addon.value(QLatin1String("id")).toString();
        ref.version = addon.value(QLatin1String("version")).toString();
        ref.name = addon.value(QLatin1String("name")).toString();
        for (const QJsonValue &kind : addon.value(QLatin1String("kinds")).toArray())
            ref.kinds.append(kind.toString());
        info.addons.append(ref);
    }
}

bool readBlobs(const QJsonArray &array, QList<ProjectBlob> &blobs, QString *error)
{
    quint64 runningOffset = 0;
    for (const QJsonValue &value : array) {
        const QJsonObject object = value.toObject();
        ProjectBlob blob;
        blob.offset = manifestUnsigned(object.value(QLatin1String("offset")));
        blob.storedSize = manifestUnsigned(object.value(QLatin1String("storedSize")));
        blob.size = manifestUnsigned(object.value(QLatin1String("size")));
        blob.compressed = object.value(QLatin1String("codec")).toString() == QLatin1String("zstd");
        if (blob.offset != runningOffset) {
            fail(error, QStringLiteral("project blob table is not contiguous"));
            return false;
        }
        if (blob.compressed && blob.size > kProjectSizeLimitBytes) {
            fail(error, QStringLiteral("project blob table is implausible"));
            return false;
        }
        runningOffset = saturatingAdd(runningOffset, blob.storedSize);
        blobs.append(blob);
    }
    return true;
}

// Names that could leave the media folder, or that no file system takes, are refused here so
// that a hostile project can never write outside it.
bool safeFileName(const QString &name)
{
    if (name.isEmpty() || name.size() > 255 || name == QLatin1String(".") || name == QLatin1String(".."))
        return false;
    return !name.contains(QLatin1Char('/')) && !name.contains(QLatin1Char('\\')) &&
           !name.contains(QLatin1Char(':'));
}

ProjectMediaRole roleFromName(const QString &name)
{
    if (name == QLatin1String("matte"))
        return ProjectMediaRole::matte;
    if (name == QLatin1String("facetrack"))
        return ProjectMediaRole::facetrack;
    return ProjectMediaRole::source;
}

bool readMedia(const QJsonArray &array, const QList<ProjectBlob> &blobs, ProjectManifestInfo &info,
               QString *error)
{
    for (const QJsonValue &value : array) {
        const QJsonObject object = value.toObject();
        ProjectMediaEntry entry;
        entry.originalPath = object.value(QLatin1String("originalPath")).toString();
        entry.role = roleFromName(object.value(QLatin1String("role")).toString());
        entry.embed = object.value(QLatin1String("storage")).toString() == QLatin1String("embedded");
        entry.fileName = object.value(QLatin1String("fileName")).toString();
        entry.blobIndex = manifestBlobIndex(object.value(QLatin1String("blob")));
        if (entry.embed) {
            if (entry.blobIndex < 0 || entry.blobIndex >= blobs.size()) {
                fail(error, QStringLiteral("project media entry names no blob"));
                return false;
            }
            if (!safeFileName(entry.fileName)) {
                fail(error, QStringLiteral("unsafe file name in project: %1").arg(entry.fileName));
                return false;
            }
            info.embeddedBytes = saturatingAdd(info.embeddedBytes, blobs[entry.blobIndex].size);
        }
        info.media.append(entry);
    }
    return true;
}

bool readHeaderAndManifestBytes(QIODevice &file, QByteArray &manifest, qint64 &blobAreaStart, QString *error)
{
    if (!file.seek(0)) {
        fail(error, QStringLiteral("file is too short to be a Orvel project"));
        return false;
    }
    const QByteArray header = file.read(kProjectHeaderBytes);
    if (header.size() < kProjectHeaderBytes) {
        fail(error, QStringLiteral("file is too short to be a Orvel project"));
        return false;
    }
    if (!header.startsWith(QByteArray(kMagic, 8))) {
        fail(error, QStringLiteral("not a Orvel project (bad magic)"));
        return false;
    }
    if (readU32(header.constData() + 8) != kContainerRevision) {
        fail(error, QStringLiteral("unsupported container revision"));
        return false;
    }
    const quint32 storedSize = readU32(header.constData() + 12);
    const quint32 manifestSize = readU32(header.constData() + 16);
    if (storedSize == 0 || storedSize > kProjectSizeLimitBytes || manifestSize > kProjectSizeLimitBytes) {
        fail(error, QStringLiteral("project manifest has an implausible size"));
        return false;
    }
    // Checked before reading so a hostile size never allocates more than the file holds.
    if (file.size() - kProjectHeaderBytes < qint64(storedSize)) {
        fail(error, QStringLiteral("project file is truncated"));
        return false;
    }
    const QByteArray stored = file.read(storedSize);
    if (stored.size() < qint64(storedSize)) {
        fail(error, QStringLiteral("project file is truncated"));
        return false;
    }
    blobAreaStart = kProjectHeaderBytes + qint64(storedSize);
    if (!decompressExactly(stored, manifestSize, manifest)) {
        fail(error, QStringLiteral("compressed block is corrupt"));
        return false;
    }
    if (sha256(manifest) != header.mid(20, kDigestBytes)) {
        fail(error, QStringLiteral("project manifest is corrupt"));
        return false;
    }
    return true;
}

} // namespace

bool readManifest(QIODevice &file, ParsedManifest &parsed, QString *error)
{
    QByteArray manifest;
    if (!readHeaderAndManifestBytes(file, manifest, parsed.blobAreaStart, error))
        return false;
    QJsonParseError parseError;
    const QJsonDocument json = QJsonDocument::fromJson(manifest, &parseError);
    if (parseError.error != QJsonParseError::NoError || !json.isObject()) {
        const QString reason = parseError.error != QJsonParseError::NoError ? parseError.errorString()
                                                                            : QStringLiteral("not an object");
        fail(error, QStringLiteral("project manifest is not valid JSON: %1").arg(reason));
        return false;
    }
    const QJsonObject root = json.object();
    ProjectManifestInfo &info = parsed.info;
    if (!readFormat(root.value(QLatin1String("format")).toObject(), info, error))
        return false;
    readProjectAndAddons(root, info);
    if (!readBlobs(root.value(QLatin1String("blobs")).toArray(), parsed.blobs, error) ||
        !readMedia(root.value(QLatin1String("media")).toArray(), parsed.blobs, info, error))
        return false;
    info.document = root.value(QLatin1String("document")).toObject();
    if (info.document.isEmpty()) {
        fail(error, QStringLiteral("project file contains no timeline"));
        return false;
    }
    quint64 expectedLength = quint64(parsed.blobAreaStart);
    for (const ProjectBlob &blob : parsed.blobs)
        expectedLength = saturatingAdd(saturatingAdd(expectedLength, blob.storedSize), kDigestBytes);
    if (expectedLength != quint64(file.size())) {
        fail(error, QStringLiteral("project file is truncated or has trailing data"));
        return false;
    }
    return true;
}

} // namespace orvel::container_detail

namespace orvel {

std::optional<ProjectManifestInfo> readProjectManifest(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        container_detail::fail(error,
                               QStringLiteral("cannot open %1").arg(container_detail::bareFileName(path)));
        return std::nullopt;
    }
    container_detail::ParsedManifest parsed;
    if (!container_detail::readManifest(file, parsed, error))
        return std::nullopt;
    return parsed.info;
}

} // namespace orvel
