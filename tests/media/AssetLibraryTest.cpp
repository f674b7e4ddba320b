#include "media/assets/AssetLibrary.h"
#include "media/decode/ClipReaderPool.h"
#include "media/assets/Thumbnails.h"

#include "TestMedia.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <memory>

using namespace orvel;

namespace {

// Occupies every thread of the global pool until released, so that jobs queue behind it.
class PoolHold
{
public:
    PoolHold() : m_threads(QThreadPool::globalInstance()->maxThreadCount())
    {
        for (int i = 0; i < m_threads; ++i)
            QThreadPool::globalInstance()->start([this] { m_gate.acquire(); });
    }
    ~PoolHold() { release(); }
    void release()
    {
        m_gate.release(m_threads);
        m_threads = 0;
    }

private:
    QSemaphore m_gate;
    int m_threads = 0;
};

QList<QUrl> localUrls(const QStringList &paths)
{
    QList<QUrl> urls;
    for (const QString &path : paths)
        urls << QUrl::fromLocalFile(path);
    return urls;
}

Asset recordOf(const QString &name, AssetKind kind, const QString &path = {})
{
    Asset asset;
    asset.id = newUuid();
    asset.name = name;
    asset.path = path.isEmpty() ? "/media/" + name : path;
    asset.kind = kind;
    return asset;
}

QStringList rowNames(const AssetLibrary &library)
{
    QStringList names;
    for (int row = 0; row < library.count(); ++row)
        names << library.data(library.index(row), AssetLibrary::NameRole).toString();
    return names;
}

} // namespace

class AssetLibraryTest : public testing::Test
{
protected:
    void SetUp() override { library.setProject(&project); }
    static QString media(const char *name) { return testmedia::path(name); }

    Project project;
    AssetLibrary library;
};

TEST_F(AssetLibraryTest, ImportShowsRowsAtOnceThenCompletesOrDropsThem)
{
    QSignalSpy counts(&library, &AssetLibrary::countChanged);
    QSignalSpy metadata(&library, &AssetLibrary::assetMetadataChanged);
    QList<QUrl> urls = localUrls({media("av.mp4"), media("fake.mp4"), media("cover.mp3")});
    urls << QUrl() << QUrl(media("fake.png"))     // no scheme: the text is the path
         << QUrl::fromLocalFile(testmedia::dir()) // a folder is not a file
         << QUrl::fromLocalFile(testmedia::dir() + "/missing.mp4")
         << QUrl::fromLocalFile(media("rotated.mp4"));
    library.importUrls(urls);

    EXPECT_EQ(library.count(), 5);
    EXPECT_EQ(counts.count(), 5);
    EXPECT_TRUE(library.importing());
    EXPECT_EQ(rowNames(library), QStringList({"av.mp4", "fake.mp4", "cover.mp3", "fake.png", "rotated.mp4"}));
    // Provisional rows guess the kind from the suffix and know nothing else yet.
    const QModelIndex first = library.index(0);
    EXPECT_EQ(library.data(library.index(2), AssetLibrary::KindRole).toString(), "audio");
    EXPECT_EQ(library.data(first, AssetLibrary::PathRole).toString(), media("av.mp4"));
    EXPECT_TRUE(library.data(first, AssetLibrary::DurationRole).toString().isEmpty());
    EXPECT_TRUE(library.isProvisional(library.assetIdAt(0)));

    ASSERT_TRUE(QTest::qWaitFor([&] { return !library.importing(); }));
    EXPECT_EQ(rowNames(library), QStringList({"av.mp4", "cover.mp3", "fake.png", "rotated.mp4"}));
    EXPECT_EQ(counts.count(), 6);
    EXPECT_EQ(metadata.count(), 4);
    EXPECT_EQ(project.assets.size(), 4);
    EXPECT_FALSE(library.isProvisional(library.assetIdAt(0)));

    // The finished records reach the rows; what they hold is the record builder's business.
    EXPECT_EQ(library.data(first, AssetLibrary::DurationRole).toString(), "00:01");
    EXPECT_EQ(library.data(first, AssetLibrary::ThumbnailPathRole).toString(), posterPath(media("av.mp4")));
    EXPECT_EQ(library.data(first, AssetLibrary::FilmstripPathRole).toString(), stripPath(media("av.mp4")));
    EXPECT_TRUE(project.asset(library.assetIdAt(0))->hasAudioKnown);
    EXPECT_EQ(library.assetAt(3).value("rotationDegrees").toInt(), 90);
}

TEST_F(AssetLibraryTest, RecordMapsAndBadIndices)
{
    EXPECT_EQ(library.roleNames().value(AssetLibrary::DurationSecondsRole), "durationSeconds");
    Asset clip = recordOf("Clip.mp4", AssetKind::video);
    clip.durationUs = 2500000;
    project.insertAsset(clip);
    library.setProject(&project);

    ASSERT_EQ(library.count(), 1);
    EXPECT_DOUBLE_EQ(library.data(library.index(0), AssetLibrary::DurationSecondsRole).toDouble(), 2.5);
    EXPECT_FALSE(library.data(library.index(0), Qt::UserRole).isValid());
    EXPECT_FALSE(library.data(library.index(1), AssetLibrary::IdRole).isValid());
    const QVariantMap map = library.assetAt(0);
    QStringList keys = {"id",        "name",   "kind", "duration",        "durationSeconds", "path",
                        "width",     "height", "fps",  "rotationDegrees", "thumbnailPath",   "filmstripPath",
                        "assetIndex"};
    keys.sort();
    EXPECT_EQ(QStringList(map.keys()), keys);
    EXPECT_EQ(library.indexOfId(clip.id), 0);
    EXPECT_EQ(library.indexOfId("nope"), -1);
    for (const int bad : {1, -1}) {
        EXPECT_TRUE(library.assetAt(bad).isEmpty()) << bad;
        EXPECT_TRUE(library.assetIdAt(bad).isEmpty()) << bad;
        EXPECT_TRUE(library.thumbnailAt(bad).isEmpty()) << bad;
    }
    library.setProject(nullptr);
    EXPECT_EQ(library.count(), 0);
    EXPECT_TRUE(library.assetAt(0).isEmpty());
}

TEST_F(AssetLibraryTest, SamePathTwiceKeepsOneRowAndRepairsItsCacheFiles)
{
    const QString av = media("av.mp4");
    library.importUrls(localUrls({av, av}));
    EXPECT_EQ(library.count(), 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !library.importing(); }));

    const QString poster = library.thumbnailAt(0);
    ASSERT_TRUE(QFile::remove(poster));
    // The same file reached through a different spelling of its path is still the same asset.
    library.importUrls({QUrl::fromLocalFile(QFileInfo(av).absolutePath() + "/./av.mp4")});
    EXPECT_EQ(library.count(), 1);
    EXPECT_FALSE(library.importing());
    EXPECT_TRUE(QTest::qWaitFor([&] { return isCachedFilePresent(poster); }));
    EXPECT_EQ(library.thumbnailAt(0), poster);
}

TEST_F(AssetLibraryTest, FiftyImportsAppearBeforeAnyJobRunsThenAllComplete)
{
    const QStringList files = testmedia::copies("silent.mp4", 50);
    auto hold = std::make_unique<PoolHold>();
    QSignalSpy metadata(&library, &AssetLibrary::assetMetadataChanged);
    library.importUrls(localUrls(files));
    ASSERT_EQ(library.count(), 50);
    for (int row = 0; row < 50; ++row) {
        EXPECT_TRUE(library.isProvisional(library.assetIdAt(row)));
        EXPECT_TRUE(library.assetAt(row).value("duration").toString().isEmpty());
    }
    QTest::qWait(0); // queued work, if any had finished, would be delivered here
    EXPECT_EQ(metadata.count(), 0);

    hold->release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !library.importing(); }, 60000));
    EXPECT_EQ(library.count(), 50);
    EXPECT_EQ(metadata.count(), 50);
    for (int row = 0; row < 50; ++row) {
        const QVariantMap asset = library.assetAt(row);
        EXPECT_EQ(asset.value("duration").toString(), "00:01");
        EXPECT_EQ(asset.value("width").toInt(), 64);
        EXPECT_TRUE(isCachedFilePresent(asset.value("thumbnailPath").toString())) << row;
        EXPECT_TRUE(isCachedFilePresent(asset.value("filmstripPath").toString())) << row;
    }
}

TEST_F(AssetLibraryTest, CacheFilesLeftOutOfImportAreMadeByEnsureAllMedia)
{
    library.setCacheFilesOnImport(false);
    library.importUrls(localUrls({media("silent.mp4"), media("small.png"), media("cover.mp3")}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !library.importing(); }));
    for (int row = 0; row < 3; ++row)
        EXPECT_TRUE(library.thumbnailAt(row).isEmpty()) << row;

    QSignalSpy changed(&library, &QAbstractItemModel::dataChanged);
    QSignalSpy metadata(&library, &AssetLibrary::assetMetadataChanged);
    library.ensureAllMedia();
    library.ensureAllMedia(); // jobs in flight are not started twice
    ASSERT_TRUE(QTest::qWaitFor([&] { return metadata.count() == 3; }));
    EXPECT_EQ(changed.count(), 3);
    EXPECT_EQ(changed.at(0).at(2).value<QList<int>>(),
              QList<int>({AssetLibrary::ThumbnailPathRole, AssetLibrary::FilmstripPathRole}));
    EXPECT_EQ(library.thumbnailAt(0), posterPath(media("silent.mp4")));
    EXPECT_EQ(library.filmstripAt(0), stripPath(media("silent.mp4")));
    EXPECT_EQ(library.filmstripAt(1), library.thumbnailAt(1));
    EXPECT_EQ(library.filmstripAt(2), posterPath(media("cover.mp3")));

    // Files present: a non-video row whose strip drifted from its poster is fixed on the spot.
    project.asset(library.assetIdAt(1))->filmstripPath.clear();
    changed.clear();
    library.ensureMedia(1);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0).at(2).value<QList<int>>(), QList<int>({AssetLibrary::FilmstripPathRole}));
    EXPECT_EQ(library.filmstripAt(1), library.thumbnailAt(1));
    library.ensureMedia(7); // a bad index does nothing
    EXPECT_EQ(changed.count(), 1);
}

TEST_F(AssetLibraryTest, SortsByNameAndByKindCaseInsensitively)
{
    project.insertAsset(recordOf("b.mp4", AssetKind::video));
    project.insertAsset(recordOf("C.png", AssetKind::image));
    project.insertAsset(recordOf("a.wav", AssetKind::audio));
    project.insertAsset(recordOf("A.mov", AssetKind::video));
    project.insertAsset(recordOf("d.png", AssetKind::image));
    library.setProject(&project);
    QSignalSpy resets(&library, &QAbstractItemModel::modelReset);

    library.sortByKind();
    EXPECT_EQ(rowNames(library), QStringList({"a.wav", "C.png", "d.png", "A.mov", "b.mp4"}));
    library.sortByName();
    EXPECT_EQ(rowNames(library).mid(2), QStringList({"b.mp4", "C.png", "d.png"}));
    EXPECT_EQ(rowNames(library).mid(0, 2).join(',').toLower(), "a.mov,a.wav");
    EXPECT_EQ(resets.count(), 2);

    Project single;
    single.insertAsset(recordOf("only.mp4", AssetKind::video));
    library.setProject(&single);
    resets.clear();
    library.sortByName();
    EXPECT_EQ(resets.count(), 0);
}

TEST_F(AssetLibraryTest, AudioPresenceIsLearntOnceFromRecordOrFile)
{
    QSignalSpy metadata(&library, &AssetLibrary::assetMetadataChanged);
    Asset withRate = recordOf("old.mp4", AssetKind::video);
    withRate.sampleRate = 48000;
    const Asset withSound = recordOf("av.mp4", AssetKind::video, media("av.mp4"));
    const Asset silent = recordOf("silent.mp4", AssetKind::video, media("silent.mp4"));
    const Asset gone = recordOf("gone.mp4", AssetKind::video);
    Asset known = recordOf("known.mp4", AssetKind::video);
    known.hasAudioKnown = true;
    for (const Asset &asset : {withRate, withSound, silent, gone, known})
        project.insertAsset(asset);
    library.setProject(&project);

    library.ensureAudioPresence(withRate.id);
    EXPECT_EQ(metadata.count(), 1);
    EXPECT_TRUE(project.asset(withRate.id)->hasAudio && project.asset(withRate.id)->hasAudioKnown);

    library.ensureAudioPresence(known.id);
    library.ensureAudioPresence({});
    library.ensureAudioPresence("unknown-id");
    EXPECT_EQ(metadata.count(), 1);

    for (const Asset &asset : {withSound, silent, gone}) {
        library.ensureAudioPresence(asset.id);
        library.ensureAudioPresence(asset.id); // one check in flight per asset
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return metadata.count() == 4; }));
    QTest::qWait(0);
    EXPECT_EQ(metadata.count(), 4);
    const Asset *sound = project.asset(withSound.id);
    EXPECT_TRUE(sound->hasAudio && sound->hasAudioKnown);
    EXPECT_EQ(std::pair(sound->sampleRate, sound->channels), std::pair(44100, 2));
    for (const Asset *mute : {project.asset(silent.id), project.asset(gone.id)})
        EXPECT_TRUE(!mute->hasAudio && mute->hasAudioKnown) << mute->name.toStdString();
}

TEST_F(AssetLibraryTest, JobsThatOutliveTheirProjectOrLibraryChangeNothing)
{
    const QStringList files = testmedia::copies("silent.mp4", 4);
    PoolHold hold;
    library.importUrls(localUrls(files.mid(0, 2)));
    auto doomed = std::make_unique<AssetLibrary>();
    Project other;
    doomed->setProject(&other);
    doomed->importUrls(localUrls(files.mid(2, 2)));
    ASSERT_EQ(other.assetOrder.size(), 2);
    doomed.reset(); // its jobs are still queued behind the hold

    Project next;
    library.setProject(&next);
    hold.release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !library.importing(); }));
    QThreadPool::globalInstance()->waitForDone();
    QTest::qWait(0);
    EXPECT_EQ(library.count(), 0);
    EXPECT_EQ(project.assetOrder.size(), 2);
    EXPECT_TRUE(project.asset(project.assetOrder.at(0))->durationText.isEmpty());
    EXPECT_TRUE(other.asset(other.assetOrder.at(0))->durationText.isEmpty());
}

TEST_F(AssetLibraryTest, OpeningAnotherDocumentClosesTheDecodersOfFilesItDoesNotUse)
{
    qputenv("ORVEL_NO_VAAPI", "1");
    const QString kept = media("silent.mp4");
    const QString dropped = media("av.mp4");
    ClipReaderPool &pool = ClipReaderPool::instance();
    ASSERT_TRUE(pool.decodeVideoNv12(kept, 0, 0, 0).isValid());
    ASSERT_TRUE(pool.decodeVideoNv12(dropped, 0, 0, 0).isValid());

    Project next;
    next.insertAsset(recordOf("silent.mp4", AssetKind::video, kept));
    library.setProject(&next);
    EXPECT_NE(pool.videoWorker(kept), nullptr);
    EXPECT_EQ(pool.videoWorker(dropped), nullptr);
    qunsetenv("ORVEL_NO_VAAPI");
}
