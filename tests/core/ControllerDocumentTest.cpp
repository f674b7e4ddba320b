#include "core/AppController.h"
#include "core/AppPaths.h"
#include "core/Recovery.h"
#include "media/AssetLibrary.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QByteArray projectWithClipEndingAt(double endUs, const QJsonObject &extra = {})
{
    QJsonObject clip{{"type", "video"}, {"timelineStartUs", 0.0}, {"timelineDurationUs", endUs},
                     {"srcInUs", 0.0}, {"srcOutUs", endUs}};
    QJsonObject track{{"type", "video"}, {"clips", QJsonArray{clip}}};
    QJsonObject root{{"version", 3}, {"projectName", "Loaded"}, {"tracks", QJsonArray{track}}};
    for (auto it = extra.begin(); it != extra.end(); ++it)
        root.insert(it.key(), it.value());
    return QJsonDocument(root).toJson();
}

} // namespace

TEST(ControllerDocument, NonObjectTextIsRefusedAndLeavesTheProjectAlone)
{
    AssetLibrary library;
    AppController controller(&library);
    const QString idBefore = controller.project().id;
    QSignalSpy messages(&controller, &AppController::lastMessageChanged);
    for (const QByteArray &bad : {QByteArray("[1,2,3]"), QByteArray("{\"version\": 3"), QByteArray(""),
                                  QByteArray("\"text\""), QByteArray("\xff\xfe\x00garbage", 10)}) {
        EXPECT_FALSE(controller.loadProjectJson(bad));
        EXPECT_EQ(controller.lastMessage(), QStringLiteral("Invalid project file"));
    }
    EXPECT_EQ(messages.count(), 5);
    EXPECT_EQ(controller.project().id, idBefore);
}

TEST(ControllerDocument, PlayheadSnapAndRippleAreReadWithTheirRules)
{
    AssetLibrary library;
    AppController controller(&library);
    QSignalSpy tracks(&controller, &AppController::tracksChanged);

    ASSERT_TRUE(controller.loadProjectJson(projectWithClipEndingAt(4000000, {{"playheadUs", 2500000.0},
                                                                              {"snapEnabled", false},
                                                                              {"rippleEnabled", true}})));
    EXPECT_EQ(controller.project().name, QStringLiteral("Loaded"));
    EXPECT_EQ(controller.playheadUs(), 2500000);
    EXPECT_FALSE(controller.snapEnabled());
    EXPECT_TRUE(controller.rippleEnabled());
    EXPECT_DOUBLE_EQ(controller.durationSeconds(), 4.0);
    EXPECT_EQ(tracks.count(), 1);

    // Past the end clamps to the duration; seconds are used only without playheadUs.
    ASSERT_TRUE(controller.loadProjectJson(projectWithClipEndingAt(4000000, {{"playheadUs", 9e18}})));
    EXPECT_EQ(controller.playheadUs(), 4000000);
    EXPECT_TRUE(controller.snapEnabled());
    EXPECT_FALSE(controller.rippleEnabled());
    ASSERT_TRUE(controller.loadProjectJson(projectWithClipEndingAt(4000000, {{"playheadSeconds", 1.25}})));
    EXPECT_EQ(controller.playheadUs(), 1250000);
    ASSERT_TRUE(controller.loadProjectJson(
        projectWithClipEndingAt(4000000, {{"playheadSeconds", 3.0}, {"playheadUs", 1000.0}})));
    EXPECT_EQ(controller.playheadUs(), 1000);
    ASSERT_TRUE(controller.loadProjectJson(projectWithClipEndingAt(4000000, {{"playheadUs", -7.0}})));
    EXPECT_EQ(controller.playheadUs(), 0);
    // Wrong types read as missing.
    ASSERT_TRUE(controller.loadProjectJson(
        projectWithClipEndingAt(4000000, {{"playheadUs", "12"}, {"snapEnabled", "no"}})));
    EXPECT_EQ(controller.playheadUs(), 0);
    EXPECT_TRUE(controller.snapEnabled());
}

TEST(ControllerDocument, SaveAddsControllerKeysAndRoundTrips)
{
    AssetLibrary library;
    AppController controller(&library);
    ASSERT_TRUE(controller.loadProjectJson(projectWithClipEndingAt(6000000, {{"playheadUs", 1500000.0},
                                                                              {"rippleEnabled", true}})));
    const QByteArray saved = controller.projectJson();
    const QJsonObject root = QJsonDocument::fromJson(saved).object();
    EXPECT_EQ(root.value("version").toInt(), 3);
    EXPECT_EQ(root.value("playheadUs").toDouble(), 1500000.0);
    EXPECT_EQ(root.value("snapEnabled").toBool(false), true);
    EXPECT_EQ(root.value("rippleEnabled").toBool(false), true);

    AppController second(&library);
    ASSERT_TRUE(second.loadProjectJson(saved));
    EXPECT_EQ(second.projectJson(), saved);
}

TEST(ControllerDocument, SettingsBackedFlagsPersistAndNewControllersReadThem)
{
    AssetLibrary library;
    {
        AppController controller(&library);
        EXPECT_FALSE(controller.autoKeyEnabled());
        EXPECT_FALSE(controller.guidesEnabled());
        EXPECT_EQ(controller.guideType(), QStringLiteral("thirds"));
        QSignalSpy guides(&controller, &AppController::guidesChanged);
        controller.setAutoKeyEnabled(true);
        controller.setGuidesEnabled(true);
        controller.setGuideType(QStringLiteral("center"));
        controller.setGuideType(QStringLiteral("center")); // unchanged: no signal
        EXPECT_EQ(guides.count(), 2);
    }
    QSettings().setValue(QStringLiteral("authorName"), QStringLiteral("Ada"));
    AppController reopened(&library);
    EXPECT_TRUE(reopened.autoKeyEnabled());
    EXPECT_TRUE(reopened.guidesEnabled());
    EXPECT_EQ(reopened.guideType(), QStringLiteral("center"));
    EXPECT_EQ(reopened.project().author, QStringLiteral("Ada"));
    EXPECT_EQ(library.project(), &reopened.project());
}

TEST(ControllerDocument, ImageUrlsArePercentEncodedWithStripQuery)
{
    AssetLibrary library;
    AppController controller(&library);
    EXPECT_EQ(controller.imageUrl(QStringLiteral("/tmp/a b?.png")), QStringLiteral("image://orvel/%2Ftmp%2Fa%20b%3F.png"));
    EXPECT_EQ(controller.filmstripFrameUrl(QStringLiteral("/s.jpg"), 3, 8),
              QStringLiteral("image://orvel/%2Fs.jpg?frame=3&count=8"));
}

TEST(Recovery, SnapshotIsWrittenThroughATemporaryAndReadBack)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("recovery/autosave.json"));
    orvel::RecoveryInfo info{QStringLiteral("/home/u/film.orvel"), QStringLiteral("Film"),
                             QStringLiteral("2026-11-21T10:00:00")};
    ASSERT_TRUE(orvel::writeAutosaveSnapshot(path, QJsonObject{{"version", 3}}, info));
    EXPECT_FALSE(QFile::exists(path + QStringLiteral(".tmp")));
    // A second write replaces the first.
    info.projectName = QStringLiteral("Film 2");
    ASSERT_TRUE(orvel::writeAutosaveSnapshot(path, QJsonObject{{"version", 3}}, info));

    orvel::RecoveryInfo read;
    ASSERT_TRUE(orvel::readRecoveryInfo(path, read));
    EXPECT_EQ(read.originalPath, info.originalPath);
    EXPECT_EQ(read.projectName, QStringLiteral("Film 2"));
    EXPECT_EQ(read.savedAt, info.savedAt);
    EXPECT_FALSE(orvel::readRecoveryInfo(dir.filePath(QStringLiteral("missing.json")), read));
}

TEST(Recovery, ControllerOffersASnapshotFoundAtStart)
{
    const QString path = orvel::autosaveFilePath();
    ASSERT_TRUE(orvel::writeAutosaveSnapshot(path, QJsonObject{{"version", 3}},
                                             {QString(), QStringLiteral("Lost work"), QStringLiteral("now")}));
    AssetLibrary library;
    AppController controller(&library);
    EXPECT_TRUE(controller.recoveryAvailable());
    EXPECT_EQ(controller.recoveryInfo().value(QStringLiteral("projectName")).toString(), QStringLiteral("Lost work"));
    QFile::remove(path);
}
