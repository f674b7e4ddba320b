#pragma once

#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace orvel {

// What one export is asked to produce. QML hands in a map with the same keys.
struct ExportSettings
{
    int targetHeight = 0; // below 1: the project's height
    QString videoCodecId = QStringLiteral("h264");
    QString rateControl = QStringLiteral("crf"); // "crf" or "bitrate"
    int crf = 23;
    int videoBitrateKbps = 12000;
    QString videoPreset = QStringLiteral("medium");
    QString audioCodecId = QStringLiteral("aac");
    int audioBitrateKbps = 192; // ignored for a lossless codec
};

// How a video encoder is steered: quality number and bitrate, bitrate only, or nothing (lossless).
enum class ExportRateMode
{
    QualityOrBitrate,
    BitrateOnly,
    Lossless
};

struct VideoCodecRow
{
    QString id;
    QString label;
    QStringList encoderNames; // tried in order, the first one installed is used
    QString pixelFormat;      // FFmpeg's name of the encoder's input format
    ExportRateMode rateMode = ExportRateMode::QualityOrBitrate;
    QStringList presets;
    QString defaultPreset;
    int defaultCrf = 0;
    QString container;
};

struct AudioCodecRow
{
    QString id;
    QString label;
    QStringList encoderNames;
    bool lossless = false;
    QString container;
};

struct ExportSizePreset
{
    QString id;
    QString label;
    int targetHeight = 0;
    int videoBitrateKbps = 0;
};

const QList<VideoCodecRow> &exportVideoCodecTable();
const QList<AudioCodecRow> &exportAudioCodecTable();
const QList<ExportSizePreset> &exportSizePresets();
const VideoCodecRow *findVideoCodecRow(const QString &id);
const AudioCodecRow *findAudioCodecRow(const QString &id);

// The first of the names that the linked FFmpeg can encode with; empty if none.
QString firstInstalledEncoder(const QStringList &encoderNames);

ExportSettings exportSettingsFromMap(const QVariantMap &map);
QVariantMap exportSettingsToMap(const ExportSettings &settings);

// Output size for a project size and a target height: both even, at least 2, shape kept.
QSize exportOutputSize(int projectWidth, int projectHeight, int targetHeight);

// The lists the controller hands to QML.
QVariantList exportPresetMaps();
QVariantList exportScaleOptionMaps(int projectWidth, int projectHeight);
QVariantList exportVideoCodecMaps();
QVariantList exportAudioCodecMaps();

QString exportPreferredContainer(const QString &videoCodecId, const QString &audioCodecId);
QStringList exportSaveFilters(const QString &container);
QString exportDefaultSuffix(const QString &container);

} // namespace orvel
