#include "ControllerFixture.h"

#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

using namespace fixture;

namespace subtitlefilestest {

constexpr TimeUs kSecondUs = 1000000;

// Two cues out of order, the later one ending at 40 s, past the clip's 30 s minimum.
const QByteArray kTwoCues = "1\n00:00:38,000 --> 00:00:40,000\nlast\n\n"
                            "2\n00:00:01,000 --> 00:00:02,500\nfirst\nline two\n";

class SubtitleFilesTest : public ControllerTest
{
protected:
    QString fileUrl(const QString &name, const QByteArray &bytes)
    {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return QUrl::fromLocalFile(file.fileName()).toString();
    }

    QTemporaryDir dir;
};

} // namespace subtitlefilestest

using namespace subtitlefilestest;

TEST_F(SubtitleFilesTest, ImportMakesASortedClipOnANewTrack)
{
    load(makeProject(
        {makeTrack(TrackType::subtitle, {makeClip("old", 0, 5 * kSecondUs, ClipType::subtitle)})}));
    controller.importSubtitleFile(fileUrl("two.srt", kTwoCues), 3.0);
    expectWords("Subtitles imported", "Imported 2 subtitle(s)");
    ASSERT_EQ(doc().tracks.size(), 2);
    EXPECT_EQ(ids(1), QStringList{"old"});
    const Clip &imported = clip(0, 0);
    EXPECT_EQ(imported.type, ClipType::subtitle);
    EXPECT_EQ(imported.timelineStartUs, 3 * kSecondUs);
    EXPECT_EQ(imported.timelineDurationUs, 40 * kSecondUs);
    ASSERT_EQ(imported.subtitleCues.size(), 2);
    EXPECT_EQ(imported.subtitleCues[0].text, "first\nline two");

    // Without a time the clip goes to the playhead; a short file still gets 30 seconds.
    controller.setPlayheadSeconds(10.0);
    controller.importSubtitleFile(fileUrl("short.srt", "00:00:01,000 --> 00:00:02,000\nhi\n"));
    EXPECT_EQ(clip(0, 0).timelineStartUs, 10 * kSecondUs);
    EXPECT_EQ(clip(0, 0).timelineDurationUs, 30 * kSecondUs);
    EXPECT_EQ(doc().tracks.size(), 3);
    controller.undo();
    controller.undo();
    EXPECT_EQ(doc().tracks.size(), 1);
}

TEST_F(SubtitleFilesTest, ImportIntoAClipReplacesItsCuesAndFailuresChangeNothing)
{
    Clip subtitles = makeClip("subs", 0, 60 * kSecondUs, ClipType::subtitle);
    subtitles.subtitleCues = {{0, kSecondUs, "old"}};
    load(makeProject({makeTrack(TrackType::subtitle, {subtitles})}));
    const QByteArray before = documentJson();
    const std::pair<QString, const char *> failures[] = {
        {QString(), "No subtitle file selected"},
        {QUrl::fromLocalFile(dir.filePath("missing.srt")).toString(), "Could not open subtitle file"},
        {fileUrl("empty.srt", ""), "Subtitle file is empty"},
        {fileUrl("junk.srt", "hello\nworld\n"), "Invalid subtitle timing line"},
    };
    for (const auto &[url, message] : failures) {
        controller.importSubtitleFile(url, 0.0);
        EXPECT_EQ(controller.lastMessage().toStdString(), message);
        controller.importSubtitleFileIntoClip(0, 0, url);
        EXPECT_EQ(controller.lastMessage().toStdString(), message);
    }
    EXPECT_EQ(documentJson(), before);
    EXPECT_EQ(entries(), 0);

    controller.importSubtitleFileIntoClip(0, 0, fileUrl("two.srt", kTwoCues));
    expectWords("Subtitles imported", "Imported 2 subtitle(s)");
    ASSERT_EQ(clip(0, 0).subtitleCues.size(), 2);
    EXPECT_EQ(clip(0, 0).subtitleCues[1].text, "last");
}

TEST_F(SubtitleFilesTest, ExportWritesTheCuesWithTheSuffixAndNamesEachRefusal)
{
    Clip subtitles = makeClip("subs", 0, 60 * kSecondUs, ClipType::subtitle);
    subtitles.subtitleCues = {{kSecondUs, 2 * kSecondUs, "one\ntwo"}};
    load(makeProject({makeTrack(TrackType::subtitle, {subtitles}),
                      makeTrack(TrackType::subtitle, {makeClip("empty", 0, kSecondUs, ClipType::subtitle)}),
                      makeTrack(TrackType::text, {makeClip("title", 0, kSecondUs, ClipType::text)})}));
    controller.exportSubtitleFile(0, 0, QUrl::fromLocalFile(dir.filePath("out")).toString());
    EXPECT_EQ(controller.lastMessage(), "Subtitles saved");
    QFile written(dir.filePath("out.srt"));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), "1\n00:00:01,000 --> 00:00:02,000\none\ntwo\n\n");

    const std::tuple<int, QString, const char *> refusals[] = {
        {2, dir.filePath("x.srt"), "Select a subtitle clip to export"},
        {1, dir.filePath("x.srt"), "This subtitle clip has no captions"},
        {0, QString(), "No save location selected"},
        {0, dir.filePath("no/such/folder/x.srt"), "Could not write subtitle file"},
    };
    for (const auto &[track, path, message] : refusals) {
        controller.exportSubtitleFile(track, 0, path);
        EXPECT_EQ(controller.lastMessage().toStdString(), message);
    }
    EXPECT_EQ(entries(), 0);
}
