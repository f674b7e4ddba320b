#pragma once

// Builds project files byte by byte, independently of the writer, so the reader's checks can be
// aimed at one field at a time.
#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <zstd.h>

namespace containerbytes {

inline QByteArray le32(quint32 value)
{
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i)
        bytes[i] = char((value >> (8 * i)) & 0xff);
    return bytes;
}

inline QByteArray zstdFrame(const QByteArray &content)
{
    QByteArray frame(int(ZSTD_compressBound(size_t(content.size()))), '\0');
    frame.resize(int(
        ZSTD_compress(frame.data(), size_t(frame.size()), content.constData(), size_t(content.size()), 3)));
    return frame;
}

inline QByteArray sha(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

// A manifest with one raw blob per entry of blobContents, each embedded under its own name.
inline QJsonObject manifestFor(const QList<QByteArray> &blobContents, const QString &version = "1.0.0")
{
    QJsonArray blobs;
    QJsonArray media;
    double offset = 0;
    for (int i = 0; i < blobContents.size(); ++i) {
        const double size = double(blobContents[i].size());
        blobs.append(QJsonObject{{"offset", offset}, {"storedSize", size}, {"size", size}, {"codec", "raw"}});
        media.append(QJsonObject{{"originalPath", QStringLiteral("/src/f%1.bin").arg(i)},
                                 {"role", "source"},
                                 {"storage", "embedded"},
                                 {"fileName", QStringLiteral("f%1.bin").arg(i)},
                                 {"blob", i}});
        offset += size;
    }
    return QJsonObject{
        {"format", QJsonObject{{"version", version}, {"app", "Orvel"}, {"appVersion", "0.1.1"}}},
        {"project", QJsonObject{{"id", "p1"}, {"title", "T"}}},
        {"addons", QJsonArray{}},
        {"blobs", blobs},
        {"media", media},
        {"document", QJsonObject{{"version", 3}}}};
}

// The whole file: header, manifest frame, raw blobs and their digests.
inline QByteArray fileFor(const QByteArray &manifestText, const QList<QByteArray> &blobContents)
{
    const QByteArray frame = zstdFrame(manifestText);
    QByteArray file("ORVELPRJ");
    file += le32(1) + le32(quint32(frame.size())) + le32(quint32(manifestText.size())) + sha(manifestText);
    file += frame;
    for (const QByteArray &blob : blobContents)
        file += blob;
    for (const QByteArray &blob : blobContents)
        file += sha(blob);
    return file;
}

inline QByteArray fileFor(const QJsonObject &manifest, const QList<QByteArray> &blobContents)
{
    return fileFor(QJsonDocument(manifest).toJson(QJsonDocument::Compact), blobContents);
}

inline bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

inline QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace containerbytes
