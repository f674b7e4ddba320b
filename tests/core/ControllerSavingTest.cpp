// The controller's saving flows on real files: save and open round trips, shareable copies that
// open without their sources, failures that change nothing, and the recent list.
#include "../media/TestMedia.h"
#include "ControllerFixture.h"
#include "ProjectJsonFixtures.h"
#include "core/AppPaths.h"
#include "media/assets/MediaProbe.h"
#include "output/ProjectContainer.h"

#include <QDir>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace fixture;

namespace {

QByteArray fileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// One clip of every type, the subtitle track of the full fixture with its keyframes, effects
// and transition, bookmarks and a background.
Project everyKindOfClip()
{
    Project project = testfixtures::fullProject();
    Clip image = makeClip("img", 0, 2000000, ClipType::image);
    image.path = "/media/still.png";
    Clip text = makeClip("txt", 0, 3000000, ClipType::text);
    text.textContent = "Title";
    Clip shape = makeClip("shp", 500000, 1000000, ClipType::shape);
    shape.shapeStyle.cornerRadius = 12;
    project.tracks.append(makeTrack(TrackType::video, {mediaClip("v1", 0, 4000000), image}));
    project.tracks.append(makeTrack(TrackType::audio, {mediaClip("a1", 0, 4000000, ClipType::audio)}));
    project.tracks.append(makeTrack(TrackType::text, {text}));
    project.tracks.append(makeTrack(TrackType::shape, {shape}));
    return project;
}

class ControllerSaving : public ControllerTest
{
protected:
    void TearDown() override
    {
        QSettings().remove("recentProjects");
        QDir(appDataDirectory()).removeRecursively();
    }
    QUrl url(const QString &name) const { return QUrl::fromLocalFile(dir.filePath(name)); }
    // Opens and waits until the open has finished, one way or the other.
    void open(const QUrl &file)
    {
        QSignalSpy messages(&controller, &AppController::lastMessageChanged);
        controller.loadProject(file);
        if (controller.lastMessage() == "Unpacking project media")
            QTRY_VERIFY_WITH_TIMEOUT(controller.lastMessage() != "Unpacking project media", 20000);
    }
    void package(const QUrl &file)
    {
        QSignalSpy finished(&controller, &AppController::packageFinished);
        controller.packageProject(file);
        ASSERT_TRUE(finished.count() == 1 || finished.wait(20000));
    }

    QTemporaryDir dir;
};

TEST_F(ControllerSaving, SaveAndOpenGiveTheSameDocument)
{
    load(everyKindOfClip());
    controller.setPlayheadSeconds(1.25);
    controller.setSnapEnabled(false);
    controller.addBookmark(2.0, "mark"); // dirty
    ASSERT_TRUE(controller.hasUnsavedChanges());
    controller.saveProject(url("film.orvel"));
    EXPECT_EQ(controller.lastMessage(), "Project saved");
    EXPECT_FALSE(controller.hasUnsavedChanges());
    EXPECT_EQ(controller.currentProjectPath(), dir.filePath("film.orvel"));
    const QByteArray saved = documentJson();

    controller.newProject();
    EXPECT_EQ(controller.lastMessage(), "New project");
    EXPECT_TRUE(controller.currentProjectPath().isEmpty());
    EXPECT_NE(documentJson(), saved);
    open(url("film.orvel"));
    EXPECT_EQ(controller.lastMessage(), "Project loaded");
    EXPECT_EQ(documentJson(), saved);
    EXPECT_EQ(controller.playheadUs(), 1250000);
    EXPECT_FALSE(controller.snapEnabled());
    EXPECT_FALSE(controller.hasUnsavedChanges());
    EXPECT_TRUE(controller.projectLayoutChosen());
    EXPECT_EQ(controller.undoStack()->count(), 0);
}

TEST_F(ControllerSaving, ShareableCopyOpensWithoutItsSources)
{
    const QString source = dir.filePath("sources/av.mp4");
    QDir().mkpath(dir.filePath("sources"));
    ASSERT_TRUE(QFile::copy(testmedia::path("av.mp4"), source));
    const QByteArray sourceBytes = fileBytes(source);
    Asset asset = makeAsset("vid", AssetKind::video);
    asset.path = source;
    Clip video = mediaClip("v1", 0, 1000000);
    video.path = source;
    load(makeProject({makeTrack(TrackType::video, {video})}, {asset}));
    const QString projectId = doc().id;

    QSignalSpy progress(&controller, &AppController::packageProgressChanged);
    package(url("share.orvel"));
    EXPECT_EQ(controller.lastMessage(), "Shareable copy ready");
    EXPECT_EQ(controller.packageProgress(), 1.0);
    EXPECT_FALSE(controller.packaging());
    EXPECT_EQ(controller.currentProjectPath(), dir.filePath("share.orvel"));

    ASSERT_TRUE(QDir(dir.filePath("sources")).removeRecursively());
    controller.newProject();
    open(url("share.orvel"));
    ASSERT_EQ(controller.lastMessage(), "Project loaded");
    const QString unpacked = QDir(projectMediaDirectory(projectId)).filePath("av.mp4");
    EXPECT_EQ(clip(0, 0).path, unpacked);
    EXPECT_EQ(doc().asset("vid")->path, unpacked);
    EXPECT_EQ(fileBytes(unpacked), sourceBytes);
    const MediaProbeResult probe = probeMedia(unpacked);
    EXPECT_TRUE(probe.ok) << probe.error.toStdString();

    // A working save of the opened copy keeps the unpacked file embedded under its new path.
    controller.saveProject(url("again.orvel"));
    const auto manifest = readProjectManifest(dir.filePath("again.orvel"), nullptr);
    ASSERT_TRUE(manifest.has_value());
    ASSERT_EQ(manifest->media.size(), 1);
    EXPECT_TRUE(manifest->media[0].embed);
    EXPECT_EQ(manifest->media[0].originalPath, unpacked);
}

TEST_F(ControllerSaving, FailuresChangeNothingOnDiskOrInTheProject)
{
    load(everyKindOfClip());
    controller.addBookmark(1.0, "dirty");
    controller.saveProject(url("good.orvel"));
    const QByteArray good = fileBytes(dir.filePath("good.orvel"));
    controller.addBookmark(2.0, "unsaved");
    const QByteArray live = documentJson();

    controller.saveProject(QUrl::fromLocalFile(dir.filePath("missing/dir/x.orvel")));
    EXPECT_EQ(controller.lastMessage(), "cannot write x.orvel");
    EXPECT_TRUE(controller.hasUnsavedChanges());
    controller.saveProject(QUrl("https://example.com/x.orvel"));
    EXPECT_EQ(controller.lastMessage(), "That save location isn’t valid");
    controller.loadProject(QUrl());
    EXPECT_EQ(controller.lastMessage(), "That project location isn’t valid");

    const auto refused = [&](const QByteArray &bytes, const char *message) {
        const QString path = dir.filePath("bad.orvel");
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        file.close();
        open(QUrl::fromLocalFile(path));
        EXPECT_EQ(controller.lastMessage().toStdString(), message);
        EXPECT_EQ(fileBytes(path), bytes);
    };
    refused(good.left(good.size() - 3), "project file is truncated");
    refused(good + '\0', "project file is truncated or has trailing data");
    refused("ORVELPRX" + good.mid(8), "not a Orvel project (bad magic)");
    refused(good.left(20) + QByteArray(32, '\0') + good.mid(52), "project manifest is corrupt");
    EXPECT_EQ(documentJson(), live);
    EXPECT_TRUE(controller.hasUnsavedChanges());
    EXPECT_EQ(controller.currentProjectPath(), dir.filePath("good.orvel"));
    EXPECT_EQ(fileBytes(dir.filePath("good.orvel")), good);
}

TEST_F(ControllerSaving, PackagingExcludesSavesAndCanBeCancelled)
{
    // Enough pieces that the cancel, set right after the start, is seen before the end.
    const QString big = dir.filePath("big.mov");
    QFile file(big);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(24 * 1048576, 'b'));
    file.close();
    Clip clip = mediaClip("v1", 0, 1000000);
    clip.path = big;
    load(makeProject({makeTrack(TrackType::video, {clip})}));
    controller.addBookmark(1.0, "dirty");

    QSignalSpy finished(&controller, &AppController::packageFinished);
    controller.packageProject(url("share.orvel"));
    EXPECT_TRUE(controller.packaging());
    controller.saveProject(url("plain.orvel"));
    EXPECT_EQ(controller.lastMessage(), "Already saving");
    controller.packageProject(url("second.orvel")); // ignored
    controller.cancelPackage();
    ASSERT_TRUE(finished.wait(20000));
    ASSERT_EQ(finished.count(), 1);
    EXPECT_EQ(finished[0][0].toBool(), false);
    EXPECT_EQ(finished[0][1].toString(), "Cancelled");
    EXPECT_FALSE(controller.packaging());
    EXPECT_TRUE(controller.hasUnsavedChanges());
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"big.mov"});
}

TEST_F(ControllerSaving, RecentListAndTheTidyingOfUnpackedMedia)
{
    QSignalSpy recentChanged(&controller, &AppController::recentProjectsChanged);
    for (int i = 0; i < 12; ++i)
        controller.saveProject(url(QStringLiteral("p%1.orvel").arg(i)));
    controller.saveProject(url("p5.orvel"));
    QStringList paths;
    for (const QVariant &entry : controller.recentProjects())
        paths.append(entry.toMap().value("path").toString());
    ASSERT_EQ(paths.size(), 10);
    EXPECT_EQ(paths.first(), dir.filePath("p5.orvel"));
    EXPECT_EQ(paths.count(dir.filePath("p5.orvel")), 1);
    EXPECT_EQ(paths[1], dir.filePath("p11.orvel"));
    EXPECT_FALSE(paths.contains(dir.filePath("p0.orvel")));
    EXPECT_EQ(recentChanged.count(), 13);

    // The newest file keeps its unpacked folder; a gone file and an unlisted id lose theirs.
    const QString keptId = readProjectManifest(dir.filePath("p5.orvel"), nullptr)->id;
    QFile::remove(dir.filePath("p11.orvel"));
    EXPECT_FALSE(controller.recentProjects()[1].toMap().value("exists").toBool());
    for (const QString &id : {keptId, QStringLiteral("unlisted")})
        QDir().mkpath(projectMediaDirectory(id));
    AssetLibrary otherLibrary;
    AppController restarted(&otherLibrary);
    EXPECT_EQ(QDir(projectsDirectory()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList{keptId});

    controller.openRecentProject(QString());
    EXPECT_EQ(controller.currentProjectPath(), dir.filePath("p5.orvel"));
    controller.clearRecentProjects();
    EXPECT_TRUE(controller.recentProjects().isEmpty());
}

TEST_F(ControllerSaving, MissingAddonsAndEffectsAreReportedButTheProjectLoads)
{
    Project project = everyKindOfClip();
    project.tracks[2].clips[0].effects = {testfixtures::fullEffect("Glow")};
    load(project);
    controller.setAddonLookup({[](const QString &kind, const QString &thing) {
                                   return thing == "builtin.glow" ? ProjectAddonRef{"fx", "2.0", "", {}}
                                          : kind == "transitions" ? ProjectAddonRef{"tr", "1.0", "Wipes", {}}
                                                                  : ProjectAddonRef{};
                               },
                               {}});
    controller.saveProject(url("fx.orvel"));
    controller.setInstalledAddonCheck([](const QString &id) { return id == "tr"; });
    controller.setEffectCatalogLookup([](const QString &id) { return id == "builtin.blur"; });
    QSignalSpy missing(&controller, &AppController::missingAddons);
    QStringList messages;
    QObject listening;
    QObject::connect(&controller, &AppController::lastMessageChanged, &listening,
                     [&] { messages.append(controller.lastMessage()); });
    open(url("fx.orvel"));
    ASSERT_EQ(missing.count(), 1);
    const QVariantList addons = missing[0][0].toList();
    ASSERT_EQ(addons.size(), 1);
    expectFields(addons[0].toMap(),
                 {{"id", "fx"}, {"name", "fx"}, {"version", "2.0"}, {"kinds", QStringList{"effects"}}});
    EXPECT_TRUE(
        messages.contains("This project uses 2 effects or transitions that aren’t installed "
                          "(builtin.glow, wipe-left) — they won’t show. Open Extras to install them."))
        << messages.join('|').toStdString();
    EXPECT_EQ(controller.lastMessage(), "Project loaded");
    EXPECT_EQ(doc().tracks[2].clips[0].effects.size(), 1);
}

} // namespace
