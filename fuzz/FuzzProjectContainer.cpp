// libFuzzer target: the project file reader on arbitrary bytes. Inputs that pass its checks and
// embed media are also unpacked, so the digest table, decompression and file-name rules see
// hostile data too.
#include "output/ProjectContainerDetail.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace {

void unpackToScratch(const QByteArray &bytes)
{
    static QTemporaryDir work;
    const QString path = QDir(work.path()).filePath(QStringLiteral("input.orvel"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return;
        file.write(bytes);
    }
    const QString media = QDir(work.path()).filePath(QStringLiteral("media"));
    QHash<QString, QString> extracted;
    QString error;
    orvel::unpackProjectMedia(
        path, media, [](qint64, qint64) { return true; }, &extracted, &error);
    // Whatever the manifest said, nothing may land outside the media folder.
    for (const QString &target : extracted)
        if (!QDir::cleanPath(target).startsWith(media + QLatin1Char('/')))
            __builtin_trap();
    QDir(media).removeRecursively();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The reader proper runs on memory, which keeps the executions fast; it is the same code the
    // file reader runs once the file is open.
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    orvel::container_detail::ParsedManifest parsed;
    QString error;
    if (orvel::container_detail::readManifest(buffer, parsed, &error) && parsed.info.embeddedBytes > 0)
        unpackToScratch(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    return 0;
}
