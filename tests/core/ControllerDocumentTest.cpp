// Loading and saving through the controller, the settings it keeps between runs, and the
// recovery snapshot it offers at start.
#include "ControllerFixture.h"
#include "core/AppPaths.h"
#include "core/Recovery.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace fixture;

namespace {

// A saved file's text, written by hand so the controller's own keys can be given any value.
QByteArray projectWithClipEndingAt(double endUs, const QJsonObject &extra = {})
{
    QJsonObject clip{{"type", "video"},
                     {"timelineStartUs", 0.0},
                     {"timelineDurationUs", endUs},
                     {"srcInUs", 0.0},
                     {"srcOutUs", endUs}};
    QJsonObject track{{"type", "video"}, {"clips", QJsonArray{clip}}};
    QJsonObject root{{"version", 3}, {"projectName", "Loaded"}, {"tracks", QJsonArray{track}}};
    for (auto it = extra.begin(); it != extra.end(); ++it)
        root.insert(it.key(), it.value());
    return QJsonDocument(root).toJson();
}

} // namespace

class ControllerDocument : public ControllerTest
{};

TEST_F(ControllerDocument, NonObjectTextIsRefusedAndLeavesTheProjectAlone)
{
    const QString idBefore = doc().id;
    QSignalSpy messages(&controller, &AppController::lastMessageChanged);
    for (const QByteArray &bad : {QByteArray("[1,2,3]"), QByteArray("{\"version\": 3"), QByteArray(""),
                                  QByteArray("\"text\""), QByteArray("\xff\xfe\x00garbage", 10)}) {
        EXPECT_FALSE(controller.loadProjectJson(bad));
        EXPECT_EQ(controller.lastMessage(), QStringLiteral("Invalid project file"));
    }
    EXPECT_EQ(messages.count(), 5);
    EXPECT_EQ(doc().id, idBefore);
}

// Past the end clamps to the duration; seconds are used only without playheadUs; wrong types
// read as missing.
TEST_F(ControllerDocument, PlayheadSnapAndRippleAreReadWithTheirRules)
{
    QSignalSpy tracks(&controller, &AppController::tracksChanged);
    const struct
    {
        QJsonObject extra;
        TimeUs playheadUs;
        bool snap, ripple;
    } rows[] = {
        {{{"playheadUs", 2500000.0}, {"snapEnabled", false}, {"rippleEnabled", true}}, 2500000, false, true},
        {{{"playheadUs", 9e18}}, 4000000, true, false},
        {{{"playheadSeconds", 1.25}}, 1250000, true, false},
        {{{"playheadSeconds", 3.0}, {"playheadUs", 1000.0}}, 1000, true, false},
        {{{"playheadUs", -7.0}}, 0, true, false},
        {{{"playheadUs", "12"}, {"snapEnabled", "no"}}, 0, true, false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(QJsonDocument(row.extra).toJson(QJsonDocument::Compact).toStdString());
        ASSERT_TRUE(controller.loadProjectJson(projectWithClipEndingAt(4000000, row.extra)));
        EXPECT_EQ(controller.playheadUs(), row.playheadUs);
        EXPECT_EQ(controller.snapEnabled(), row.snap);
        EXPECT_EQ(controller.rippleEnabled(), row.ripple);
    }
    EXPECT_EQ(doc().name, QStringLiteral("Loaded"));
    EXPECT_DOUBLE_EQ(controller.durationSeconds(), 4.0);
    EXPECT_EQ(tracks.count(), 6); // one per load
}

TEST_F(ControllerDocument, SaveAddsControllerKeysAndRoundTrips)
{
    ASSERT_TRUE(controller.loadProjectJson(
        projectWithClipEndingAt(6000000, {{"playheadUs", 1500000.0}, {"rippleEnabled", true}})));
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

TEST_F(ControllerDocument, SettingsBackedFlagsPersistAndNewControllersReadThem)
{
    EXPECT_FALSE(controller.autoKeyEnabled());
    EXPECT_FALSE(controller.guidesEnabled());
    EXPECT_EQ(controller.guideType(), QStringLiteral("thirds"));
    QSignalSpy guides(&controller, &AppController::guidesChanged);
    controller.setAutoKeyEnabled(true);
    controller.setGuidesEnabled(true);
    controller.setGuideType(QStringLiteral("center"));
    controller.setGuideType(QStringLiteral("center")); // unchanged: no signal
    EXPECT_EQ(guides.count(), 2);

    QSettings().setValue(QStringLiteral("authorName"), QStringLiteral("Ada"));
    AssetLibrary otherLibrary;
    AppController reopened(&otherLibrary);
    EXPECT_TRUE(reopened.autoKeyEnabled());
    EXPECT_TRUE(reopened.guidesEnabled());
    EXPECT_EQ(reopened.guideType(), QStringLiteral("center"));
    EXPECT_EQ(reopened.project().author, QStringLiteral("Ada"));
    EXPECT_EQ(otherLibrary.project(), &reopened.project());
}

TEST_F(ControllerDocument, ImageUrlsArePercentEncodedWithStripQuery)
{
    EXPECT_EQ(controller.imageUrl(QStringLiteral("/tmp/a b?.png")),
              QStringLiteral("image://orvel/%2Ftmp%2Fa%20b%3F.png"));
    EXPECT_EQ(controller.filmstripFrameUrl(QStringLiteral("/s.jpg"), 3, 8),
              QStringLiteral("image://orvel/%2Fs.jpg?frame=3&count=8"));
}

TEST(Recovery, SnapshotIsWrittenThroughATemporaryAndReadBack)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("recovery/autosave.json"));
    RecoveryInfo info{QStringLiteral("/home/u/film.orvel"), QStringLiteral("Film"),
                      QStringLiteral("2026-11-21T10:00:00")};
    ASSERT_TRUE(writeAutosaveSnapshot(path, QJsonObject{{"version", 3}}, info));
    EXPECT_FALSE(QFile::exists(path + QStringLiteral(".tmp")));
    info.projectName = QStringLiteral("Film 2"); // a second write replaces the first
    ASSERT_TRUE(writeAutosaveSnapshot(path, QJsonObject{{"version", 3}}, info));

    RecoveryInfo read;
    ASSERT_TRUE(readRecoveryInfo(path, read));
    EXPECT_EQ(read.originalPath, info.originalPath);
    EXPECT_EQ(read.projectName, QStringLiteral("Film 2"));
    EXPECT_EQ(read.savedAt, info.savedAt);
    EXPECT_FALSE(readRecoveryInfo(dir.filePath(QStringLiteral("missing.json")), read));
}

TEST(Recovery, ControllerOffersASnapshotFoundAtStart)
{
    const QString path = autosaveFilePath();
    ASSERT_TRUE(writeAutosaveSnapshot(path, QJsonObject{{"version", 3}},
                                      {QString(), QStringLiteral("Lost work"), QStringLiteral("now")}));
    AssetLibrary library;
    AppController controller(&library);
    EXPECT_TRUE(controller.recoveryAvailable());
    EXPECT_EQ(controller.recoveryInfo().value(QStringLiteral("projectName")).toString(),
              QStringLiteral("Lost work"));
    QFile::remove(path);
}

TEST_F(ControllerDocument, LoadingAnnouncesTheBackgroundAndTheName)
{
    Project project = makeProject({makeTrack(TrackType::video)});
    project.name = QStringLiteral("Holiday");
    QSignalSpy background(&controller, &AppController::backgroundChanged);
    QSignalSpy name(&controller, &AppController::projectNameChanged);
    load(project);
    EXPECT_GE(background.count(), 1);
    EXPECT_GE(name.count(), 1);
}

// A partial patch changes the keys it names and keeps the others: nested objects merge, the
// animation groups speak seconds, and values the style cannot hold are refused or limited.
TEST_F(ControllerDocument, TextStylePatchesChangeOnlyWhatTheyName)
{
    Clip text = makeClip("t", 0, 1000000, ClipType::text);
    text.textStyle.accent.n = 5;
    text.textStyle.animIn.order = TextAnimOrder::random;
    text.textStyle.animOut.kind = TextAnimKind::fade;
    load(makeProject({makeTrack(TrackType::text, {text})}));
    const int before = entries();
    controller.setTextStyle(
        0, 0,
        QVariantMap{{"accent", QVariantMap{{"highlight", QVariantMap{{"enabled", true}}}}},
                    {"animIn", QVariantMap{{"kind", "pop"}, {"duration", 0.35}, {"stagger", 0.1}}},
                    {"animOut", QVariantMap{{"kind", "spin"}, {"duration", 90.0}, {"stagger", -1.0}}},
                    {"color", "#12"}});
    EXPECT_EQ(undoText(), QStringLiteral("Edit text style"));
    const TextStyle &style = clip(0, 0).textStyle;
    EXPECT_TRUE(style.accent.highlight.enabled);
    EXPECT_EQ(style.accent.n, 5);
    EXPECT_EQ(style.animIn.kind, TextAnimKind::pop);
    EXPECT_EQ(style.animIn.durationUs, 350000);
    EXPECT_EQ(style.animIn.staggerUs, 100000);
    EXPECT_EQ(style.animIn.order, TextAnimOrder::random);
    EXPECT_EQ(style.animOut.kind, TextAnimKind::fade) << "an unknown kind is refused";
    EXPECT_EQ(style.animOut.durationUs, 60000000);
    EXPECT_EQ(style.animOut.staggerUs, 0);
    EXPECT_EQ(style.color, QColor(255, 255, 255)) << "a malformed colour is refused";
    // A patch with nothing the style can take is no edit at all.
    controller.setTextStyle(0, 0,
                            QVariantMap{{"animIn", QVariantMap{{"ease", "wobbly"}, {"duration", "long"}}}});
    EXPECT_EQ(entries(), before + 1);
}
