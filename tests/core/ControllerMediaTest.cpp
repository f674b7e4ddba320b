// The controller with real media: files imported through the asset library, clips added from
// them, freeze frames decoded from the file, and undo keeping the asset list in step.
#include "core/AppController.h"
#include "media/AssetLibrary.h"

#include <QImage>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

bool makeVideo(const QString &path)
{
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {"-v", "error", "-y", "-f", "lavfi", "-i", "testsrc2=size=160x90:rate=25:duration=2", "-pix_fmt",
                  "yuv420p", "-c:v", "libx264", "-g", "25", path});
    return ffmpeg.waitForFinished(60000) && ffmpeg.exitCode() == 0;
}

} // namespace

class ControllerMedia : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        mediaDir = new QTemporaryDir;
        ASSERT_TRUE(makeVideo(videoPath()));
    }
    static void TearDownTestSuite()
    {
        delete mediaDir;
        mediaDir = nullptr;
    }
    static QString videoPath() { return mediaDir->filePath(QStringLiteral("clip.mp4")); }

    void importVideo()
    {
        library.importUrls({QUrl::fromLocalFile(videoPath())});
        ASSERT_EQ(library.count(), 1);
        QTRY_VERIFY_WITH_TIMEOUT(!library.importing(), 20000);
        ASSERT_EQ(library.count(), 1);
    }

    static QTemporaryDir *mediaDir;
    AssetLibrary library;
    AppController controller{&library};
};

QTemporaryDir *ControllerMedia::mediaDir = nullptr;

TEST_F(ControllerMedia, FreezeFrameDecodesTheFrameUnderThePlayhead)
{
    importVideo();
    controller.addClipFromAsset(0);
    ASSERT_EQ(controller.project().tracks[0].clips.size(), 1);

    controller.setPlayheadSeconds(0.5);
    QSignalSpy tracks(&controller, &AppController::tracksChanged);
    controller.freezeFrameAtPlayhead();
    ASSERT_TRUE(tracks.wait(20000));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Freeze frame added"));

    const orvel::Clip *still = nullptr;
    for (const orvel::Track &track : controller.project().tracks)
        for (const orvel::Clip &clip : track.clips)
            if (clip.type == orvel::ClipType::image)
                still = &clip;
    ASSERT_NE(still, nullptr);
    const QImage picture(still->path);
    EXPECT_EQ(picture.size(), QSize(160, 90)); // full size, not a preview-sized decode
    EXPECT_EQ(still->thumbnailPath, still->path);
    EXPECT_EQ(still->timelineStartUs, 500000);

    controller.undo();
    for (const orvel::Track &track : controller.project().tracks)
        for (const orvel::Clip &clip : track.clips)
            EXPECT_NE(clip.type, orvel::ClipType::image);
}

TEST_F(ControllerMedia, UndoThatRestoresAnotherAssetTableResetsTheAssetList)
{
    controller.addTextClip(QStringLiteral("Title"), 0.0);
    importVideo(); // imports complete straight into the live project, outside the undo history
    QSignalSpy resets(&library, &QAbstractItemModel::modelReset);

    ASSERT_TRUE(controller.undoAvailable());
    ASSERT_EQ(controller.project().assetOrder.size(), 1);
    controller.undo(); // back to the snapshot taken before the import
    EXPECT_TRUE(controller.project().assetOrder.isEmpty());
    EXPECT_EQ(library.count(), 0);
    EXPECT_EQ(resets.count(), 1);

    controller.redo(); // the same (empty) asset table again: no second reset
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(library.count(), 0);
}
