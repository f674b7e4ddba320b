// The reader's admission checks, each provoked on a file built by hand, and the unpacker's digest
// check on a damaged blob.
#include "ContainerBytes.h"
#include "output/ProjectContainer.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace containerbytes;

namespace {

class ContainerAdmission : public testing::Test
{
protected:
    // Reads bytes written to a file; returns the reader's message, empty when it opened.
    std::string readMessage(const QByteArray &bytes)
    {
        writeBytes(path, bytes);
        QString error;
        const auto info = orvel::readProjectManifest(path, &error);
        EXPECT_EQ(info.has_value(), error.isEmpty());
        return error.toStdString();
    }
    std::string readMessage(const QJsonObject &manifest, const QList<QByteArray> &blobs = {})
    {
        return readMessage(fileFor(manifest, blobs));
    }

    QTemporaryDir dir;
    QString path = dir.filePath("p.orvel");
    QList<QByteArray> twoBlobs{QByteArray("first blob"), QByteArray(3000, 'x')};
};

// Every refusal has its own message, so one walk through them still names the check that failed.
TEST_F(ContainerAdmission, EachDamageIsRefusedWithItsMessage)
{
    const QByteArray good = fileFor(manifestFor(twoBlobs), twoBlobs);
    EXPECT_EQ(readMessage(good), "");
    EXPECT_EQ(readMessage(good.left(51)), "file is too short to be a Orvel project");
    QByteArray magic = good;
    magic[7] = 'X';
    EXPECT_EQ(readMessage(magic), "not a Orvel project (bad magic)");
    EXPECT_EQ(readMessage(good.left(8) + le32(2) + good.mid(12)), "unsupported container revision");
    EXPECT_EQ(readMessage(good.left(12) + le32(0) + good.mid(16)),
              "project manifest has an implausible size");
    EXPECT_EQ(readMessage(good.left(16) + le32(268435457) + good.mid(20)),
              "project manifest has an implausible size");
    EXPECT_EQ(readMessage(good.left(12) + le32(268435457) + good.mid(16)),
              "project manifest has an implausible size");
    EXPECT_EQ(readMessage(good.left(60)), "project file is truncated");
    // A manifest size other than what the frame holds, and a frame that is not zstd.
    const quint32 textSize =
        quint32(QJsonDocument(manifestFor(twoBlobs)).toJson(QJsonDocument::Compact).size());
    EXPECT_EQ(readMessage(good.left(16) + le32(textSize + 1) + good.mid(20)), "compressed block is corrupt");
    EXPECT_EQ(readMessage(good.left(52) + QByteArray(good.size() - 52, 'z')), "compressed block is corrupt");

    // Format versions: a newer minor opens, a newer major asks for an update.
    EXPECT_EQ(readMessage(manifestFor({}, "1.9.0")), "");
    EXPECT_EQ(readMessage(manifestFor({}, "2.0.0")),
              "this project was saved by a newer version of Orvel (format 2.0.0) — update to open it");
    EXPECT_EQ(readMessage(manifestFor({}, "")), "project manifest has no format version");
    EXPECT_EQ(readMessage(manifestFor({}, "0.1.0")), "project manifest has no format version");
    EXPECT_EQ(readMessage(manifestFor({}, "-1.0")), "project manifest has no format version");

    // Manifest structure.
    EXPECT_EQ(readMessage(fileFor(QByteArray("{\"format\": "), {}))
                  .rfind("project manifest is not valid JSON: ", 0),
              0u);
    QJsonObject noDocument = manifestFor({});
    noDocument.insert("document", QJsonObject{});
    EXPECT_EQ(readMessage(noDocument), "project file contains no timeline");
    noDocument.remove("document");
    EXPECT_EQ(readMessage(noDocument), "project file contains no timeline");

    QJsonObject gap = manifestFor(twoBlobs);
    QJsonArray blobs = gap["blobs"].toArray();
    QJsonObject second = blobs[1].toObject();
    second["offset"] = 11;
    blobs[1] = second;
    gap["blobs"] = blobs;
    EXPECT_EQ(readMessage(gap, twoBlobs), "project blob table is not contiguous");

    QJsonObject huge = manifestFor(twoBlobs);
    blobs = huge["blobs"].toArray();
    second = blobs[1].toObject();
    second["codec"] = "zstd";
    second["size"] = 268435457.0;
    blobs[1] = second;
    huge["blobs"] = blobs;
    EXPECT_EQ(readMessage(huge, twoBlobs), "project blob table is implausible");
    // A raw blob may claim any size; only storedSize counts for the layout.
    second["codec"] = "raw";
    blobs[1] = second;
    huge["blobs"] = blobs;
    EXPECT_EQ(readMessage(huge, twoBlobs), "");

    // Media entries.
    const auto withEntry = [&](const QString &key, const QJsonValue &value) {
        QJsonObject manifest = manifestFor(twoBlobs);
        QJsonArray media = manifest["media"].toArray();
        QJsonObject entry = media[1].toObject();
        if (value.isUndefined())
            entry.remove(key);
        else
            entry[key] = value;
        media[1] = entry;
        manifest["media"] = media;
        return readMessage(manifest, twoBlobs);
    };
    EXPECT_EQ(withEntry("blob", 2), "project media entry names no blob");
    EXPECT_EQ(withEntry("fileName", "a:b"), "unsafe file name in project: a:b");
    EXPECT_EQ(withEntry("fileName", ".."), "unsafe file name in project: ..");
    EXPECT_EQ(withEntry("fileName", "a\\b"), "unsafe file name in project: a\\b");
    EXPECT_EQ(withEntry("fileName", QString(256, 'n')),
              "unsafe file name in project: " + std::string(256, 'n'));
    EXPECT_EQ(withEntry("fileName", QString(255, 'n')), "");
    // A reference entry is not examined at all.
    EXPECT_EQ(withEntry("storage", "reference"), "");

    // File length, and embedded bytes counted per entry.
    EXPECT_EQ(readMessage(good + 'x'), "project file is truncated or has trailing data");
    EXPECT_EQ(readMessage(good.left(good.size() - 1)), "project file is truncated or has trailing data");

    // Two entries sharing a blob count it twice.
    QJsonObject shared = manifestFor(twoBlobs);
    QJsonArray media = shared["media"].toArray();
    QJsonObject again = media[1].toObject();
    again["originalPath"] = "/elsewhere/f1.bin";
    media.append(again);
    shared["media"] = media;
    writeBytes(path, fileFor(shared, twoBlobs));
    const auto info = orvel::readProjectManifest(path, nullptr);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->embeddedBytes, quint64(10 + 3000 + 3000));
    EXPECT_EQ(info->id, "p1");

    QString error;
    EXPECT_FALSE(orvel::readProjectManifest(dir.filePath("absent.orvel"), &error).has_value());
    EXPECT_EQ(error.toStdString(), "cannot open absent.orvel");
}

TEST_F(ContainerAdmission, DigestsCatchFlippedBytes)
{
    // The manifest digest covers the text before compression: a manifest whose header digest was
    // taken over one flipped byte is refused.
    const QByteArray text = QJsonDocument(manifestFor(twoBlobs)).toJson(QJsonDocument::Compact);
    QByteArray file = fileFor(text, twoBlobs);
    QByteArray flipped = text;
    flipped[10] = char(flipped[10] ^ 0x01);
    file.replace(20, 32, sha(flipped));
    EXPECT_EQ(readMessage(file), "project manifest is corrupt");

    // A flipped bit in a blob passes the reader and is caught by the unpacker, which leaves no
    // file behind for it.
    QByteArray damaged = fileFor(manifestFor(twoBlobs), twoBlobs);
    const qsizetype secondBlobAt = damaged.size() - 64 - 3000;
    damaged[secondBlobAt + 100] = char(damaged[secondBlobAt + 100] ^ 0x10);
    EXPECT_EQ(readMessage(damaged), "");
    QString error;
    QHash<QString, QString> extracted;
    const QString media = dir.filePath("media");
    EXPECT_FALSE(orvel::unpackProjectMedia(path, media, {}, &extracted, &error));
    EXPECT_EQ(error.toStdString(), "f1.bin is corrupt in this project");
    EXPECT_EQ(readBytes(QDir(media).filePath("f0.bin")), twoBlobs[0]);
    EXPECT_EQ(QDir(media).entryList(QDir::Files), QStringList{"f0.bin"});
}

} // namespace
