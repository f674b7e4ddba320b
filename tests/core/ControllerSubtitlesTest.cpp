#include "ControllerFixture.h"

#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

using namespace fixture;

namespace {

constexpr TimeUs kSecondUs = 1000000;

class SubtitleFilesTest : public ControllerTest
{
protected:
    QString writeFile(const QString &name, const QByteArray &bytes)
    {
        const QString path = dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path;
    }
    QString url(const QString &path) { return QUrl::fromLocalFile(path).toString(); }

    QTemporaryDir dir;
};

// Two cues out of order, the later one ending at 40 s, past the clip's 30 s minimum.
const QByteArray kTwoCues = "1\n00:00:38,000 --> 00:00:40,000\nlast\n\n"
                            "2\n00:00:01,000 --> 00:00:02,500\nfirst\nline two\n";

} // namespace

TEST_F(SubtitleFilesTest, ImportMakesASortedClipOnANewTrackAtTheGivenTime)
{
    load(makeProject(
        {makeTrack(TrackType::subtitle, {makeClip("old", 0, 5 * kSecondUs, ClipType::subtitle)})}));
    controller.importSubtitleFile(url(writeFile("two.srt", kTwoCues)), 3.0);
    expectWords("Subtitles imported", "Imported 2 subtitle(s)");
    ASSERT_EQ(doc().tracks.size(), 2);
    EXPECT_EQ(doc().tracks[0].type, TrackType::subtitle);
    const Clip &imported = clip(0, 0);
    EXPECT_EQ(imported.type, ClipType::subtitle);
    EXPECT_EQ(imported.timelineStartUs, 3 * kSecondUs);
    EXPECT_EQ(imported.timelineDurationUs, 40 * kSecondUs);
    ASSERT_EQ(imported.subtitleCues.size(), 2);
    EXPECT_EQ(imported.subtitleCues[0].text, "first\nline two");
    EXPECT_EQ(imported.subtitleCues[1].startUs, 38 * kSecondUs);
    EXPECT_EQ(ids(1), QStringList{"old"});

    controller.undo();
    EXPECT_EQ(doc().tracks.size(), 1);
}

TEST_F(SubtitleFilesTest, ImportWithoutATimeUsesThePlayheadAndShortFilesGetThirtySeconds)
{
    controller.setPlayheadSeconds(2.0);
    controller.importSubtitleFile(writeFile("short.srt", "00:00:01,000 --> 00:00:02,000\nhi\n"));
    EXPECT_EQ(clip(0, 0).timelineStartUs, 2 * kSecondUs);
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 30 * kSecondUs);
    EXPECT_EQ(controller.lastMessage(), "Imported 1 subtitle(s)");
}

TEST_F(SubtitleFilesTest, FailedImportsReportAndChangeNothing)
{
    load(makeProject({makeTrack(TrackType::video)}));
    const QByteArray before = documentJson();
    const std::pair<QString, const char *> cases[] = {
        {QString(), "No subtitle file selected"},
        {url(dir.filePath("missing.srt")), "Could not open subtitle file"},
        {url(writeFile("empty.srt", "")), "Subtitle file is empty"},
        {url(writeFile("junk.srt", "hello\nworld\n")), "Invalid subtitle timing line"},
    };
    for (const auto &[file, message] : cases) {
        controller.importSubtitleFile(file, 0.0);
        EXPECT_EQ(controller.lastMessage().toStdString(), message);
    }
    EXPECT_EQ(documentJson(), before);
    EXPECT_EQ(entries(), 0);
}

TEST_F(SubtitleFilesTest, ImportIntoAClipReplacesItsCues)
{
    Clip subtitles = makeClip("subs", 0, 60 * kSecondUs, ClipType::subtitle);
    subtitles.subtitleCues = {{0, kSecondUs, "old"}};
    load(makeProject({makeTrack(TrackType::subtitle, {subtitles})}));
    controller.importSubtitleFileIntoClip(0, 0, url(writeFile("two.srt", kTwoCues)));
    expectWords("Subtitles imported", "Imported 2 subtitle(s)");
    ASSERT_EQ(clip(0, 0).subtitleCues.size(), 2);
    EXPECT_EQ(clip(0, 0).subtitleCues[0].text, "first\nline two");
}

TEST_F(SubtitleFilesTest, ExportWritesTheCuesWithTheSuffixAndNamesEachRefusal)
{
    Clip subtitles = makeClip("subs", 0, 60 * kSecondUs, ClipType::subtitle);
    subtitles.subtitleCues = {{kSecondUs, 2 * kSecondUs, "one\ntwo"}};
    Clip empty = makeClip("empty", 0, 10 * kSecondUs, ClipType::subtitle);
    load(makeProject({makeTrack(TrackType::subtitle, {subtitles}), makeTrack(TrackType::subtitle, {empty}),
                      makeTrack(TrackType::text, {makeClip("title", 0, kSecondUs, ClipType::text)})}));

    controller.exportSubtitleFile(0, 0, url(dir.filePath("out")));
    EXPECT_EQ(controller.lastMessage(), "Subtitles saved");
    QFile written(dir.filePath("out.srt"));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), "1\n00:00:01,000 --> 00:00:02,000\none\ntwo\n\n");

    const struct
    {
        int track;
        QString path;
        const char *message;
    } refusals[] = {
        {2, dir.filePath("x.srt"), "Select a subtitle clip to export"},
        {1, dir.filePath("x.srt"), "This subtitle clip has no captions"},
        {0, QString(), "No save location selected"},
        {0, dir.filePath("no/such/folder/x.srt"), "Could not write subtitle file"},
    };
    for (const auto &refusal : refusals) {
        controller.exportSubtitleFile(refusal.track, 0, refusal.path);
        EXPECT_EQ(controller.lastMessage().toStdString(), refusal.message);
    }
    EXPECT_EQ(entries(), 0);
}
