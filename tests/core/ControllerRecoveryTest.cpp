// Autosave and recovery across controller lifetimes. A controller destroyed without quitting
// is what a killed process leaves behind: only what the last autosave wrote survives.
#include "ControllerFixture.h"
#include "core/AppPaths.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

using namespace fixture;

namespace {

QByteArray recoveryFileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class ControllerRecovery : public testing::Test
{
protected:
    void TearDown() override { QDir(appDataDirectory()).removeRecursively(); }

    // A session that loads a project, edits it, autosaves, edits again and is killed. Returns the
    // document as the autosave saw it.
    QByteArray crashedSession()
    {
        AssetLibrary library;
        AppController session(&library);
        EXPECT_TRUE(session.loadProjectJson(
            QJsonDocument(
                projectToJson(makeProject({makeTrack(TrackType::video, {mediaClip("v1", 0, 4000000)})})))
                .toJson()));
        session.setProjectMetadata("Lost film", "Ana", "");
        session.moveClip(0, 0, 1.0);
        session.writeAutosave();
        const QByteArray autosaved = QJsonDocument(projectToJson(session.project())).toJson();
        session.moveClip(0, 0, 2.5); // later than the last autosave: lost with the process
        return autosaved;
    }
};

TEST_F(ControllerRecovery, KilledSessionIsOfferedAndRestoredAsAutosaved)
{
    const QByteArray autosaved = crashedSession();
    AssetLibrary library;
    AppController next(&library);
    ASSERT_TRUE(next.recoveryAvailable());
    EXPECT_EQ(next.recoveryInfo().value("projectName").toString(), "Lost film");
    EXPECT_TRUE(next.recoveryInfo().value("originalPath").toString().isEmpty());
    EXPECT_TRUE(
        QDateTime::fromString(next.recoveryInfo().value("savedAt").toString(), Qt::ISODate).isValid());

    next.restoreAutosave();
    EXPECT_EQ(next.lastMessage(), "Recovered unsaved work");
    EXPECT_EQ(QJsonDocument(projectToJson(next.project())).toJson(), autosaved);
    EXPECT_EQ(next.project().tracks[0].clips[0].timelineStartUs, 1000000);
    EXPECT_TRUE(next.hasUnsavedChanges());
    EXPECT_FALSE(next.recoveryAvailable());
    EXPECT_TRUE(next.currentProjectPath().isEmpty());
    EXPECT_TRUE(next.projectLayoutChosen());
    EXPECT_TRUE(QFile::exists(autosaveFilePath())); // still unsaved work
}

TEST_F(ControllerRecovery, OfferSurvivesTheNextSessionsAutosavesUntilTakenOrDeclined)
{
    const QByteArray autosaved = crashedSession();
    const QByteArray offered = recoveryFileBytes(autosaveFilePath());
    {
        AssetLibrary library;
        AppController next(&library);
        ASSERT_TRUE(next.recoveryAvailable());
        next.addBookmark(3.0, "new session's work");
        next.writeAutosave(); // the first tick of the new session
        EXPECT_EQ(recoveryFileBytes(autosaveFilePath()), offered);
        next.restoreAutosave();
        EXPECT_EQ(QJsonDocument(projectToJson(next.project())).toJson(), autosaved);
        EXPECT_FALSE(QFile::exists(autosaveWhileOfferedFilePath()));
        next.addBookmark(1.0, "after restoring");
        next.writeAutosave(); // taken: autosave writes the usual snapshot again
        EXPECT_NE(recoveryFileBytes(autosaveFilePath()), offered);
    }
    {
        AssetLibrary library;
        AppController declining(&library);
        ASSERT_TRUE(declining.recoveryAvailable());
        declining.addBookmark(3.0, "x");
        declining.writeAutosave();
        EXPECT_TRUE(QFile::exists(autosaveWhileOfferedFilePath()));
        declining.discardAutosave();
        EXPECT_EQ(declining.lastMessage(), "Started new session");
        EXPECT_FALSE(declining.recoveryAvailable());
        EXPECT_FALSE(declining.hasUnsavedChanges());
        EXPECT_FALSE(QFile::exists(autosaveFilePath()));
        EXPECT_FALSE(QFile::exists(autosaveWhileOfferedFilePath()));
    }
    AssetLibrary library;
    AppController after(&library);
    EXPECT_FALSE(after.recoveryAvailable());
}

TEST_F(ControllerRecovery, SnapshotExistsOnlyWhileThereIsUnsavedWork)
{
    QTemporaryDir dir;
    {
        AssetLibrary library;
        AppController session(&library);
        session.writeAutosave();
        EXPECT_FALSE(QFile::exists(autosaveFilePath())); // clean: nothing to recover
        session.addBookmark(1.0, "work");
        session.writeAutosave();
        EXPECT_TRUE(QFile::exists(autosaveFilePath()));
        session.saveProject(QUrl::fromLocalFile(dir.filePath("a.orvel")));
        EXPECT_FALSE(QFile::exists(autosaveFilePath()));
        session.addBookmark(2.0, "more");
        session.writeAutosave();
        session.discardUnsavedChanges(); // quitting after "Don't Save"
        EXPECT_FALSE(session.hasUnsavedChanges());
        EXPECT_FALSE(QFile::exists(autosaveFilePath()));
        session.addBookmark(3.0, "kept for the next start");
        session.writeAutosave();
    }
    AssetLibrary library;
    AppController next(&library);
    ASSERT_TRUE(next.recoveryAvailable());
    EXPECT_EQ(next.recoveryInfo().value("originalPath").toString(), dir.filePath("a.orvel"));
    next.restoreAutosave();
    EXPECT_EQ(next.currentProjectPath(), dir.filePath("a.orvel"));
    EXPECT_EQ(next.project().bookmarks.size(), 3);
}

TEST_F(ControllerRecovery, UnreadableSnapshotKeepsTheOffer)
{
    QDir().mkpath(QFileInfo(autosaveFilePath()).absolutePath());
    QFile file(autosaveFilePath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{ not json");
    file.close();
    AssetLibrary library;
    AppController next(&library);
    ASSERT_TRUE(next.recoveryAvailable());
    next.restoreAutosave();
    EXPECT_EQ(next.lastMessage(), "Invalid project file");
    EXPECT_TRUE(next.recoveryAvailable());
    EXPECT_TRUE(QFile::exists(autosaveFilePath()));
    QFile::remove(autosaveFilePath());
    next.restoreAutosave();
    EXPECT_EQ(next.lastMessage(), "No recovery file found");
}

} // namespace
