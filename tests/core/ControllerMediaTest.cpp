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
        // QTRY_VERIFY cannot fail a GoogleTest case; a plain wait and an assertion can.
        ASSERT_TRUE(QTest::qWaitFor([this] { return !library.importing(); }, 20000));
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
    ASSERT_EQ(doc().tracks.last().clips.size(), 1);
    const Clip &still = doc().tracks.last().clips[0];
    ASSERT_EQ(still.type, ClipType::image);
    EXPECT_EQ(QImage(still.path).size(), QSize(160, 90)); // full size, not a preview-sized decode
    EXPECT_EQ(still.thumbnailPath, still.path);

    controller.undo();
    EXPECT_FALSE(hasImageClip());
}

TEST_F(ControllerMedia, UndoAndRedoKeepImportedMedia)
{
    controller.addTextClip(QStringLiteral("Title"), 0.0);
    importVideo(); // imports complete straight into the live project, outside the undo history
    const QString assetId = doc().assetOrder.value(0);

    controller.undo(); // the text clip goes; the imported file stays in the library
    EXPECT_TRUE(doc().tracks.isEmpty() || doc().tracks[0].clips.isEmpty());
    EXPECT_EQ(doc().assetOrder, QList<QString>{assetId});
    EXPECT_EQ(library.count(), 1);
    controller.redo();
    EXPECT_EQ(doc().tracks[0].clips.size(), 1);
    EXPECT_EQ(doc().assetOrder, QList<QString>{assetId});
    EXPECT_EQ(library.count(), 1);

    // A clip of the imported file, undone and redone, still finds its asset.
    controller.addClipFromAsset(0);
    controller.undo();
    controller.redo();
    EXPECT_EQ(library.count(), 1);
    EXPECT_NE(doc().asset(assetId), nullptr);
}

// A document from before audio presence was recorded: the controller asks the library to look,
// and the answer makes "Separate audio" available.
TEST_F(ControllerMedia, SeparateAudioBecomesAvailableOnceTheFileIsProbed)
{
    Asset asset = makeAsset(QStringLiteral("old"), AssetKind::video);
    asset.path = testmedia::path(QStringLiteral("av.mp4"));
    asset.hasAudio = false;
    asset.hasAudioKnown = false;
    Clip video = makeClip(QStringLiteral("v"), 0, 1000000);
    video.assetId = asset.id;
    video.path = asset.path;
    load(makeProject({makeTrack(TrackType::video, {video})}, {asset}));
    QSignalSpy capabilities(&controller, &AppController::editCapabilitiesChanged);

    controller.selectClip(0, 0);
    EXPECT_FALSE(controller.canSeparateAudioSelection()); // not known yet: counts as silent
    capabilities.clear();
    // QML re-reads only when told: the probe's answer must arrive as the capabilities signal.
    EXPECT_TRUE(QTest::qWaitFor([&] { return capabilities.count() > 0; }, 20000));
    EXPECT_TRUE(controller.canSeparateAudioSelection());
}
