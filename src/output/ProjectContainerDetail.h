#pragma once

// Pieces shared by the project file's reader, writer and unpacker. Not part of the interface.
#include "output/ProjectContainer.h"

#include <QIODevice>

struct evp_md_ctx_st;

namespace orvel::container_detail {

inline constexpr char kMagic[8] = {'O', 'R', 'V', 'E', 'L', 'P', 'R', 'J'};
inline constexpr quint32 kContainerRevision = 1;
inline constexpr int kDigestBytes = 32;

inline void fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
}

inline void appendU32(QByteArray &bytes, quint32 value)
{
    for (int shift = 0; shift < 32; shift += 8)
        bytes.append(char((value >> shift) & 0xffu));
}

inline quint32 readU32(const char *bytes)
{
    quint32 value = 0;
    for (int i = 3; i >= 0; --i)
        value = (value << 8) | quint8(bytes[i]);
    return value;
}

// Sums that a hostile manifest could overflow stop at the largest value instead of wrapping, so
// the length check that follows refuses them.
inline quint64 saturatingAdd(quint64 a, quint64 b)
{
    return a > ~quint64(0) - b ? ~quint64(0) : a + b;
}

// SHA-256 through libcrypto, which uses the processor's hashing instructions where there are
// any: a project's manifest is hashed on every save and open, and media on every unpack.
QByteArray sha256(const QByteArray &bytes);

// The same digest over data that arrives in pieces.
class Sha256
{
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256 &) = delete;
    Sha256 &operator=(const Sha256 &) = delete;

    void addData(const QByteArray &bytes);
    QByteArray result();

private:
    ::evp_md_ctx_st *m_context = nullptr;
};
QString bareFileName(const QString &path);

// The manifest as the unpacker needs it: the reader's result plus the blob table and where the
// blob area starts.
struct ParsedManifest
{
    ProjectManifestInfo info;
    QList<ProjectBlob> blobs;
    qint64 blobAreaStart = 0;
};

// Reads and validates header and manifest from an open file (or any random-access device)
// positioned anywhere; every check of readProjectManifest, the length check included.
bool readManifest(QIODevice &file, ParsedManifest &parsed, QString *error);

// Decompresses one zstd frame to exactly expectedBytes; false for any other outcome.
bool decompressExactly(const QByteArray &frame, quint64 expectedBytes, QByteArray &out);

} // namespace orvel::container_detail
