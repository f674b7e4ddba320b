// The codec tables, sizes, containers and settings maps that the export dialog is built from.
#include "output/ExportSettings.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>

#include <gtest/gtest.h>

using namespace orvel;

namespace {

QStringList labelsOf(const QVariantList &rows, const char *key)
{
    QStringList out;
    for (const QVariant &row : rows)
        out << row.toMap().value(QLatin1String(key)).toString();
    return out;
}

// The encoder names the installed ffmpeg tool lists, read independently of the libraries' lookup.
QSet<QString> cliEncoders()
{
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), {QStringLiteral("-hide_banner"), QStringLiteral("-encoders")});
    ffmpeg.waitForFinished(30000);
    QSet<QString> names;
    for (const QString &line : QString::fromUtf8(ffmpeg.readAllStandardOutput()).split('\n')) {
        const QStringList fields = line.simplified().split(' ');
        if (fields.size() >= 2 && fields[0].size() == 6)
            names.insert(fields[1]);
    }
    return names;
}

// A settings map as compact JSON, so that a failed comparison shows the keys and values.
std::string json(const QVariantMap &map)
{
    return QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact).toStdString();
}

} // namespace

TEST(ExportSizes, EvenDimensionsKeepTheShapeAndScaleOptionsOnlyDownscale)
{
    EXPECT_EQ(exportOutputSize(1920, 1080, 720), QSize(1280, 720));
    EXPECT_EQ(exportOutputSize(1000, 563, 0), QSize(1000, 562));
    EXPECT_EQ(exportOutputSize(1000, 563, 563), QSize(1000, 562));
    // 853.33 rounds to 853, whose lowest bit is cleared.
    EXPECT_EQ(exportOutputSize(1280, 720, 480), QSize(852, 480));
    EXPECT_EQ(exportOutputSize(1, 1, 1), QSize(2, 2));

    // The scale options only ever downscale.
    const QVariantList full = exportScaleOptionMaps(1920, 1080);
    EXPECT_EQ(labelsOf(full, "id"), (QStringList{"source", "720p", "480p"}));
    EXPECT_EQ(full[0].toMap().value("label").toString(), QStringLiteral("Same as project · 1920×1080"));
    EXPECT_EQ(full[2].toMap().value("width").toInt(), 852);
    EXPECT_EQ(full[1].toMap().value("videoBitrateKbps").toInt(), 8000);

    const QVariantList small = exportScaleOptionMaps(854, 480);
    EXPECT_EQ(labelsOf(small, "id"), QStringList{"source"});
    EXPECT_EQ(small[0].toMap().value("label").toString(), QStringLiteral("Same as project · 854×480"));
    EXPECT_TRUE(exportScaleOptionMaps(0, 1080).isEmpty());
}

TEST(ExportContainers, PreferredContainerSuffixAndFilters)
{
    EXPECT_EQ(exportPreferredContainer("h264", "flac"), "mkv");
    EXPECT_EQ(exportPreferredContainer("vp9", "aac"), "mkv");
    EXPECT_EQ(exportPreferredContainer("vp9", "opus"), "webm");
    EXPECT_EQ(exportPreferredContainer("h264", "aac"), "mp4");
    EXPECT_EQ(exportPreferredContainer("h264", "opus"), "mkv");
    EXPECT_EQ(exportPreferredContainer("h264_10", "aac"), "mkv");
    EXPECT_EQ(exportDefaultSuffix(exportPreferredContainer("h264", "flac")), "mkv");
    EXPECT_EQ(exportDefaultSuffix("avi"), "mp4");
    EXPECT_EQ(exportSaveFilters("mkv"),
              (QStringList{"Matroska video (*.mkv)", "WebM video (*.webm)", "MP4 video (*.mp4)"}));
    EXPECT_EQ(exportSaveFilters("mp4").first(), "MP4 video (*.mp4)");
}

TEST(ExportCodecs, ListsOrderAndAvailability)
{
    const QVariantList video = exportVideoCodecMaps();
    ASSERT_EQ(video.size(), 17);
    EXPECT_EQ(labelsOf(video, "id").mid(0, 6),
              (QStringList{"h264", "h265", "vp9", "av1_svt", "av1_svt_10", "ffv1"}));
    EXPECT_EQ(labelsOf(exportAudioCodecMaps(), "id"), (QStringList{"aac", "opus", "mp3", "ac3", "flac"}));

    const QSet<QString> installed = cliEncoders();
    ASSERT_FALSE(installed.isEmpty());
    for (const VideoCodecRow &row : exportVideoCodecTable()) {
        const bool any = std::any_of(row.encoderNames.begin(), row.encoderNames.end(),
                                     [&](const QString &name) { return installed.contains(name); });
        EXPECT_EQ(!firstInstalledEncoder(row.encoderNames).isEmpty(), any) << qPrintable(row.id);
    }
    EXPECT_TRUE(firstInstalledEncoder({"no_such_encoder"}).isEmpty());

    const QVariantMap ffv1 = video[5].toMap();
    EXPECT_TRUE(ffv1.value("lossless").toBool());
    EXPECT_FALSE(ffv1.value("supportsCrf").toBool());
    EXPECT_FALSE(ffv1.value("supportsBitrate").toBool());
    const QVariantMap mpeg4 = video[labelsOf(video, "id").indexOf("mpeg4")].toMap();
    EXPECT_FALSE(mpeg4.value("supportsCrf").toBool());
    EXPECT_TRUE(mpeg4.value("supportsBitrate").toBool());
    EXPECT_EQ(video[2].toMap().value("presets").toList().size(), 9); // vp9: "0" to "8"
}

TEST(ExportSettingsMap, RoundTripsEveryKeyAndMissingKeysKeepDefaults)
{
    const QVariantMap custom{{"targetHeight", 480},      {"videoCodecId", "vp9"},
                             {"rateControl", "bitrate"}, {"crf", 31},
                             {"videoBitrateKbps", 2500}, {"videoPreset", "4"},
                             {"audioCodecId", "opus"},   {"audioBitrateKbps", 96}};
    EXPECT_EQ(json(exportSettingsToMap(exportSettingsFromMap(custom))), json(custom));
    QVariantMap expected = exportSettingsToMap(ExportSettings{});
    expected["crf"] = 30;
    expected["audioCodecId"] = "flac";
    EXPECT_EQ(json(exportSettingsToMap(exportSettingsFromMap({{"crf", "30"}, {"audioCodecId", "flac"}}))),
              json(expected));
}
