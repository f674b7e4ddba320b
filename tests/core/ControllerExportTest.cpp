// The export job as QML drives it: flags, progress, messages and the end signal, with a real
// export of a small generated project on the pool.
#include "../output/ExportTestSupport.h"
#include "ControllerFixture.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace fixture;

// Outside an anonymous namespace, so the generated test classes may derive from it.
class ControllerExportTest : public ControllerTest
{
protected:
    void SetUp() override { load(exporttest::clipProject()); }

    QUrl start(const QString &name)
    {
        const QUrl url = QUrl::fromLocalFile(dir.filePath(name));
        controller.exportWithSettings(url, {{"videoPreset", "ultrafast"}, {"audioCodecId", "aac"}});
        return url;
    }

    // Waits for the job's end and returns its success flag.
    bool finished()
    {
        if (spy.isEmpty() && !spy.wait(60000))
            return false;
        return spy.takeFirst().at(0).toBool();
    }

    QTemporaryDir dir;
    QSignalSpy spy{&controller, &AppController::exportFinished};
};

TEST_F(ControllerExportTest, RunsOnThePoolAndRefusesASecondRun)
{
    QSignalSpy progress(&controller, &AppController::exportProgressChanged);
    const QUrl url = start("out.mp4");
    EXPECT_TRUE(controller.exportInProgress());
    EXPECT_EQ(controller.lastMessage(), "Exporting...");
    controller.exportProject(QUrl::fromLocalFile(dir.filePath("second.mp4")));
    EXPECT_EQ(controller.lastMessage(), "Export already in progress");
    // An edit while the job runs must not reach the file: the job has its own copy.
    load(Project{});

    ASSERT_TRUE(finished());
    EXPECT_FALSE(controller.exportInProgress());
    EXPECT_EQ(controller.exportProgress(), 1.0);
    EXPECT_GT(progress.count(), 10);
    EXPECT_EQ(controller.lastMessage(), "Export complete");
    EXPECT_EQ(exporttest::probe(url.toLocalFile()).videoFrames, 50);
    EXPECT_FALSE(QFile::exists(dir.filePath("second.mp4")));
}

TEST_F(ControllerExportTest, CancelAndFailuresEndWithTheirMessages)
{
    start("cancelled.mp4");
    controller.cancelExport();
    EXPECT_FALSE(finished());
    EXPECT_EQ(controller.lastMessage(), "Export cancelled");
    EXPECT_EQ(controller.exportProgress(), 0.0);
    EXPECT_FALSE(QFile::exists(dir.filePath("cancelled.mp4.part")));
    EXPECT_FALSE(QFile::exists(dir.filePath("cancelled.mp4")));

    load(Project{});
    start("empty.mp4");
    EXPECT_FALSE(finished());
    EXPECT_EQ(controller.lastMessage(), "Timeline is empty");
    EXPECT_FALSE(controller.exportInProgress());

    // A location that is no local file fails at once, without starting anything.
    controller.exportWithPreset(QUrl("https://example.com/out.mp4"), "720p");
    ASSERT_EQ(spy.count(), 1);
    EXPECT_FALSE(spy.takeFirst().at(0).toBool());
    EXPECT_EQ(controller.lastMessage(), "That save location isn’t valid");
    EXPECT_FALSE(controller.exportInProgress());
}
