// The controller with real media: files imported through the asset library, clips added from
// them, freeze frames decoded from the file, and undo keeping the asset list in step.
#include "../media/TestMedia.h"
#include "ControllerFixture.h"

#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

using namespace fixture;

class ControllerMedia : public ControllerTest
{
protected:
    void importVideo()
    {
        library.importUrls({QUrl::fromLocalFile(testmedia::path(QStringLiteral("av.mp4")))});
        ASSERT_EQ(library.count(), 1);
        QTRY_VERIFY_WITH_TIMEOUT(!library.importing(), 20000);
        ASSERT_EQ(library.count(), 1);
    }
    bool hasImageClip() const
    {
        for (const Track &track : doc().tracks)
            for (const Clip &clip : track.clips)
                if (clip.type == ClipType::image)
                    return true;
        return false;
    }
};

TEST_F(ControllerMedia, FreezeFrameDecodesTheFrameUnderThePlayhead)
{
    importVideo();
    controller.addClipFromAsset(0);
    ASSERT_EQ(doc().tracks[0].clips.size(), 1);

    controller.setPlayheadSeconds(0.5);
    QSignalSpy tracks(&controller, &AppController::tracksChanged);
    controller.freezeFrameAtPlayhead();
    ASSERT_TRUE(tracks.wait(20000));
    EXPECT_EQ(controller.lastMessage(), QStringLiteral("Freeze frame added"));
    ASSERT_EQ(doc().tracks.last().clips.size(), 1);
    const Clip &still = doc().tracks.last().clips[0];
    ASSERT_EQ(still.type, ClipType::image);
    EXPECT_EQ(QImage(still.path).size(), QSize(160, 90)); // full size, not a preview-sized decode
    EXPECT_EQ(still.thumbnailPath, still.path);
    EXPECT_EQ(still.timelineStartUs, 500000);

    controller.undo();
    EXPECT_FALSE(hasImageClip());
}

TEST_F(ControllerMedia, UndoThatRestoresAnotherAssetTableResetsTheAssetList)
{
    controller.addTextClip(QStringLiteral("Title"), 0.0);
    importVideo(); // imports complete straight into the live project, outside the undo history
    QSignalSpy resets(&library, &QAbstractItemModel::modelReset);

    ASSERT_TRUE(controller.undoAvailable());
    ASSERT_EQ(doc().assetOrder.size(), 1);
    controller.undo(); // back to the snapshot taken before the import
    EXPECT_TRUE(doc().assetOrder.isEmpty());
    EXPECT_EQ(library.count(), 0);
    EXPECT_EQ(resets.count(), 1);

    controller.redo(); // the same (empty) asset table again: no second reset
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(library.count(), 0);
}
