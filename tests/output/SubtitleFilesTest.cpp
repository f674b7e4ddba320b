#include "output/SubtitleFiles.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

using namespace orvel;

namespace srttest {

constexpr TimeUs kHourUs = 3600LL * 1000000;

// Everything a real-world file throws at a reader at once: a byte order mark, CRLF line ends,
// a cue without its number, styling tags, a multi-line cue, a coordinate suffix, cues out of
// order and overlapping, a dot before the fraction, and hours past 99.
const char kAwkwardFile[] = "\xEF\xBB\xBF"
                            "1\r\n"
                            "00:00:05,000 --> 00:00:07,500\r\n"
                            "<i>Second</i> in time\r\n"
                            "\r\n"
                            "2\r\n"
                            "00:00:01,000 --> 00:00:06,000 X1:10 X2:100 Y1:10 Y2:50\r\n"
                            "<b>First</b>, overlapping\r\n"
                            "{\\an8}on two lines\r\n"
                            "\r\n"
                            "\r\n"
                            "123:04:05.5 --> 123:04:06,25\r\n"
                            "<font color=\"#ff0000\">Late</font>\r\n";

QList<SubtitleCue> awkwardCues()
{
    const TimeUs late = 123 * kHourUs + (4 * 60 + 5) * 1000000LL;
    return {{5000000, 7500000, "<i>Second</i> in time"},
            {1000000, 6000000, "<b>First</b>, overlapping\n{\\an8}on two lines"},
            {late + 500000, late + 1250000, "<font color=\"#ff0000\">Late</font>"}};
}

void expectSameCues(const QList<SubtitleCue> &actual, const QList<SubtitleCue> &expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (int i = 0; i < actual.size(); ++i) {
        EXPECT_EQ(actual[i].startUs, expected[i].startUs) << "cue " << i;
        EXPECT_EQ(actual[i].endUs, expected[i].endUs) << "cue " << i;
        EXPECT_EQ(actual[i].text.toStdString(), expected[i].text.toStdString()) << "cue " << i;
    }
}

QList<SubtitleCue> sortedByStart(QList<SubtitleCue> cues)
{
    std::stable_sort(cues.begin(), cues.end(),
                     [](const SubtitleCue &a, const SubtitleCue &b) { return a.startUs < b.startUs; });
    return cues;
}

} // namespace srttest

using namespace srttest;

TEST(SubRip, AwkwardFileRoundTripsAndFfmpegReadsTheWrittenCues)
{
    QList<SubtitleCue> cues;
    QString error;
    ASSERT_TRUE(parseSrtText(QString::fromUtf8(kAwkwardFile), &cues, &error)) << error.toStdString();
    expectSameCues(cues, awkwardCues());

    QTemporaryDir dir;
    const QString path = dir.filePath("out.srt");
    ASSERT_TRUE(writeSrtFile(path, cues, &error)) << error.toStdString();
    QList<SubtitleCue> reread;
    ASSERT_TRUE(readSrtFile(path, &reread, &error)) << error.toStdString();
    expectSameCues(reread, awkwardCues());

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray written = file.readAll();
    EXPECT_TRUE(written.startsWith("1\n00:00:05,000 --> 00:00:07,500\n<i>Second</i> in time\n\n2\n"));
    EXPECT_TRUE(written.contains("3\n123:04:05,500 --> 123:04:06,250\n"));
    EXPECT_FALSE(written.contains('\r'));

    // What ffmpeg reads from the written file.
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-v", "error", "-i", path, "-f", "srt", "-"});
    ASSERT_TRUE(ffmpeg.waitForFinished(60000));
    ASSERT_EQ(ffmpeg.exitCode(), 0) << ffmpeg.readAllStandardError().toStdString();
    QList<SubtitleCue> fromFfmpeg;
    ASSERT_TRUE(parseSrtText(QString::fromUtf8(ffmpeg.readAllStandardOutput()), &fromFfmpeg, &error))
        << error.toStdString();
    // ffmpeg hands cues back in time order.
    expectSameCues(fromFfmpeg, sortedByStart(awkwardCues()));
}

TEST(SubRip, TimestampsAndLineEnds)
{
    EXPECT_EQ(formatSrtTime(-5), "00:00:00,000");
    EXPECT_EQ(formatSrtTime((1 * 3600 + 2 * 60 + 3) * 1000000LL + 4999), "01:02:03,004");
    EXPECT_EQ(formatSrtTime(100 * kHourUs), "100:00:00,000");

    QList<SubtitleCue> cues;
    ASSERT_TRUE(parseSrtText(
        "1\r00:00:01,5 --> 00:00:02.75\rone\rtwo\r\r2\r00:00:03,000 --> 00:00:03,000\rnone", &cues, nullptr));
    // Old Mac line ends; ",5" and ".75" pad on the right; a cue without length is dropped.
    expectSameCues(cues, {{1500000, 2750000, "one\ntwo"}});
}

TEST(SubRip, MalformedInputGivesItsMessageAndAddsNothing)
{
    const QList<SubtitleCue> existing{{0, 1000, "kept"}};
    const struct
    {
        QByteArray text;
        const char *message;
    } cases[] = {
        {"", "Subtitle file is empty"},
        {"\xEF\xBB\xBF \r\n\t\r\n", "Subtitle file is empty"},
        {"1\nHello there\n", "Invalid subtitle timing line"},
        {"1\n00:00:01,000 --> 00:00:02,000\nfine\n\n2\njust text\nmore text\n",
         "Invalid subtitle timing line"},
        {"1\n-00:00:01,000 --> 00:00:02,000\nnegative\n", "Invalid subtitle timestamp"},
        {"1\n00:61:00,000 --> 01:02:00,000\nminutes\n", "Invalid subtitle timestamp"},
        {QByteArray("\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR\xff\xfe\x01", 21), "Invalid subtitle timing line"},
        {"1\n00:00:02,000 --> 00:00:02,000\nno length\n", "No subtitle cues found"},
    };
    for (const auto &c : cases) {
        QList<SubtitleCue> cues = existing;
        QString error;
        EXPECT_FALSE(parseSrtText(QString::fromUtf8(c.text), &cues, &error)) << c.message;
        EXPECT_EQ(error.toStdString(), c.message);
        expectSameCues(cues, existing);
    }
    QString error;
    EXPECT_FALSE(parseSrtText("1\n00:00:01,000 --> 00:00:02,000\nx\n", nullptr, &error));
    EXPECT_EQ(error, "Missing output");
    QTemporaryDir dir;
    EXPECT_FALSE(readSrtFile(dir.filePath("missing.srt"), nullptr, &error));
    EXPECT_EQ(error, "Could not open subtitle file");
    EXPECT_FALSE(writeSrtFile(dir.filePath("no/such/folder/out.srt"), existing, &error));
    EXPECT_EQ(error, "Could not write subtitle file");
}
