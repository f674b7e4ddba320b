// Writer and unpacker round trips on real files: working saves, shareable copies, shared and
// clashing names, cancel and failures that must leave the old file alone.
#include "output/ProjectContainer.h"
#include "ContainerBytes.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace containerbytes;

namespace {

QByteArray randomBytes(qsizetype count, quint32 seed)
{
    QRandomGenerator rng(seed);
    QByteArray bytes(count, Qt::Uninitialized);
    rng.fillRange(reinterpret_cast<quint32 *>(bytes.data()), count / 4);
    return bytes;
}

// The manifest JSON of a written file, decoded here from the header fields.
QJsonObject manifestOf(const QByteArray &file)
{
    const quint32 stored = *reinterpret_cast<const quint32 *>(file.constData() + 12);
    const quint32 size = *reinterpret_cast<const quint32 *>(file.constData() + 16);
    QByteArray text(size, '\0');
    ZSTD_decompress(text.data(), size, file.constData() + 52, stored);
    return QJsonDocument::fromJson(text).object();
}

class ContainerRoundTrip : public testing::Test
{
protected:
    QString source(const QString &relative, const QByteArray &bytes)
    {
        const QString path = dir.filePath("src/" + relative);
        QDir().mkpath(QFileInfo(path).absolutePath());
        writeBytes(path, bytes);
        return path;
    }
    orvel::ProjectSaveData saveData(const QList<orvel::ProjectMediaEntry> &media)
    {
        orvel::ProjectSaveData data;
        data.document = QJsonObject{{"version", 3}, {"name", "Holiday"}, {"tracks", QJsonArray{}}};
        data.id = "1b4e28ba-2fa1-11d2-883f-0016d3cca427";
        data.title = "Holiday";
        data.author = "Ana";
        data.description = "two weeks";
        data.createdAt = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5, 678), Qt::UTC);
        data.modifiedAt = QDateTime(QDate(2026, 2, 3), QTime(4, 5, 6), Qt::UTC);
        data.addons = {{"fx.glow", "1.2.0", "Glow", {"effects", "transitions"}}};
        data.media = media;
        return data;
    }
    static orvel::ProjectMediaEntry entry(const QString &path, bool embed,
                                          orvel::ProjectMediaRole role = orvel::ProjectMediaRole::source)
    {
        return {path, {}, role, embed, -1};
    }

    QTemporaryDir dir;
    QString target = dir.filePath("p.orvel");
    QString error;
};

TEST_F(ContainerRoundTrip, WorkingSaveKeepsReferences)
{
    const QString video = source("a.mp4", randomBytes(4000, 1));
    const auto data =
        saveData({entry(video, false), entry("/gone/matte.mp4", false, orvel::ProjectMediaRole::matte)});
    ASSERT_TRUE(orvel::writeProjectFile(target, data, {}, &error)) << error.toStdString();

    const QByteArray file = readBytes(target);
    EXPECT_EQ(file.left(8), "ORVELPRJ");
    EXPECT_EQ(file.size(), 52 + *reinterpret_cast<const quint32 *>(file.constData() + 12));
    const auto info = orvel::readProjectManifest(target, &error);
    ASSERT_TRUE(info.has_value()) << error.toStdString();
    EXPECT_EQ(info->formatVersion, "1.0.0");
    EXPECT_EQ(info->appVersion, "0.1.1");
    EXPECT_EQ(std::tie(info->id, info->title, info->author, info->description),
              std::tie(data.id, data.title, data.author, data.description));
    EXPECT_EQ(info->createdAt, data.createdAt);
    EXPECT_EQ(info->modifiedAt, data.modifiedAt);
    EXPECT_EQ(info->addons, data.addons);
    EXPECT_EQ(info->document, data.document);
    EXPECT_EQ(info->embeddedBytes, 0u);
    EXPECT_EQ(info->media, data.media);
    EXPECT_EQ(manifestOf(file)["media"].toArray()[1].toObject()["role"], "matte");
}

TEST_F(ContainerRoundTrip, ShareableCopyEmbedsStreamsAndUnpacks)
{
    const QByteArray bigVideo = randomBytes(2 * 1048576 + 12345, 2);
    const QByteArray otherVideo = randomBytes(777, 3);
    const QByteArray track = QByteArray("{\"faces\": [") + QByteArray(5000, ' ') + "]}";
    const QString video = source("one/clip.mp4", bigVideo);
    const QString clash = source("two/clip.mp4", otherVideo);
    const QString faces = source("faces.dat", track);
    const QString alias = dir.filePath("src/alias.mp4");
    ASSERT_TRUE(QFile::link(video, alias));
    const auto data =
        saveData({entry(video, true), entry(clash, true), entry(dir.filePath("src/gone.mp4"), true),
                  entry(faces, true, orvel::ProjectMediaRole::facetrack), entry(alias, true)});
    QList<qint64> reported;
    ASSERT_TRUE(orvel::writeProjectFile(
        target, data,
        [&](qint64 done, qint64 total) {
            reported.append(done);
            return total == bigVideo.size() + otherVideo.size() + track.size();
        },
        &error))
        << error.toStdString();
    EXPECT_GE(reported.size(), 4); // the big file goes in three pieces
    EXPECT_EQ(reported.last(), bigVideo.size() + otherVideo.size() + track.size());

    const QJsonObject manifest = manifestOf(readBytes(target));
    const QJsonArray blobs = manifest["blobs"].toArray();
    ASSERT_EQ(blobs.size(), 3);
    EXPECT_EQ(blobs[0].toObject()["codec"], "raw");
    EXPECT_EQ(blobs[2].toObject()["codec"], "zstd");
    EXPECT_LT(blobs[2].toObject()["storedSize"].toDouble(), track.size());

    const auto info = orvel::readProjectManifest(target, &error);
    ASSERT_TRUE(info.has_value()) << error.toStdString();
    QStringList names;
    QList<int> blobIndices;
    for (const auto &media : info->media) {
        names.append(media.fileName);
        blobIndices.append(media.blobIndex);
    }
    EXPECT_EQ(names, QStringList({"clip.mp4", "clip-2.mp4", "", "faces.dat", "clip.mp4"}));
    EXPECT_EQ(blobIndices, QList<int>({0, 1, -1, 2, 0}));
    EXPECT_FALSE(info->media[2].embed);

    QHash<QString, QString> extracted;
    QList<qint64> unpacked;
    const QString folder = dir.filePath("unpacked");
    ASSERT_TRUE(orvel::unpackProjectMedia(
        target, folder,
        [&](qint64 done, qint64 total) {
            unpacked.append(total - done);
            return true;
        },
        &extracted, &error))
        << error.toStdString();
    EXPECT_EQ(readBytes(folder + "/clip.mp4"), bigVideo);
    EXPECT_EQ(readBytes(folder + "/clip-2.mp4"), otherVideo);
    EXPECT_EQ(readBytes(folder + "/faces.dat"), track);
    EXPECT_EQ(extracted.size(), 4);
    EXPECT_EQ(extracted.value(alias), folder + "/clip.mp4");
    EXPECT_EQ(unpacked.last(), bigVideo.size()); // the shared blob counts twice in the total

    // A second unpack takes files of the right size as they are, without checking them.
    QByteArray sameSize(otherVideo.size(), 'k');
    writeBytes(folder + "/clip-2.mp4", sameSize);
    ASSERT_TRUE(orvel::unpackProjectMedia(target, folder, {}, nullptr, &error));
    EXPECT_EQ(readBytes(folder + "/clip-2.mp4"), sameSize);
}

TEST_F(ContainerRoundTrip, FailuresLeaveTheOldFileAlone)
{
    const QByteArray oldFile("previous contents");
    writeBytes(target, oldFile);
    const QString video = source("clip.mp4", randomBytes(3 * 1048576, 4));
    const auto data = saveData({entry(video, true)});
    const auto onlyOldFile = [&] {
        EXPECT_EQ(readBytes(target), oldFile);
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"p.orvel"});
    };

    EXPECT_FALSE(orvel::writeProjectFile(
        target, data, [](qint64 done, qint64) { return done < 1048576; }, &error));
    EXPECT_EQ(error.toStdString(), "Cancelled");
    onlyOldFile();

    // The source loses its tail after the first piece has been copied.
    EXPECT_FALSE(orvel::writeProjectFile(
        target, data,
        [&](qint64, qint64) {
            QFile::resize(video, 1048576 + 10);
            return true;
        },
        &error));
    EXPECT_EQ(error, video + " changed while saving");
    onlyOldFile();

    EXPECT_FALSE(orvel::writeProjectFile(dir.filePath("no/such/dir/x.orvel"), data, {}, &error));
    EXPECT_EQ(error.toStdString(), "cannot write x.orvel");
}

TEST(ContainerCodec, CompressesTextAndFaceTracksWithinTheLimit)
{
    using orvel::ProjectMediaRole;
    EXPECT_TRUE(orvel::projectBlobShouldCompress(ProjectMediaRole::source, "/a/Sound.WAV", 268435456));
    EXPECT_FALSE(orvel::projectBlobShouldCompress(ProjectMediaRole::source, "/a/sound.wav", 268435457));
    EXPECT_TRUE(orvel::projectBlobShouldCompress(ProjectMediaRole::facetrack, "/a/track.bin", 100));
    EXPECT_FALSE(orvel::projectBlobShouldCompress(ProjectMediaRole::facetrack, "/a/t.json", 268435457));
    EXPECT_FALSE(orvel::projectBlobShouldCompress(ProjectMediaRole::matte, "/a/matte.mp4", 100));
}

} // namespace
