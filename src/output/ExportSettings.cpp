#include "output/ExportSettings.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cmath>

namespace orvel {

namespace exportdetail {

QStringList numberedPresets(int last)
{
    QStringList presets;
    for (int i = 0; i <= last; ++i)
        presets << QString::number(i);
    return presets;
}

QStringList x264Presets()
{
    return {QStringLiteral("ultrafast"), QStringLiteral("superfast"), QStringLiteral("veryfast"),
            QStringLiteral("faster"),    QStringLiteral("fast"),      QStringLiteral("medium"),
            QStringLiteral("slow"),      QStringLiteral("slower"),    QStringLiteral("veryslow")};
}

VideoCodecRow videoRow(const char *id, const char *label, QStringList encoders, const char *pixelFormat,
                       ExportRateMode mode, QStringList presets, const char *defaultPreset, int defaultCrf,
                       const char *container)
{
    return VideoCodecRow{QString::fromLatin1(id),
                         QString::fromUtf8(label),
                         std::move(encoders),
                         QString::fromLatin1(pixelFormat),
                         mode,
                         std::move(presets),
                         QString::fromLatin1(defaultPreset),
                         defaultCrf,
                         QString::fromLatin1(container)};
}

QList<VideoCodecRow> buildVideoTable()
{
    using M = ExportRateMode;
    const QStringList x264 = x264Presets();
    const QStringList svt = numberedPresets(12);
    const QStringList vpx = numberedPresets(8);
    const QStringList x264Names{QStringLiteral("libx264"), QStringLiteral("h264")};
    const QStringList x265Names{QStringLiteral("libx265"), QStringLiteral("hevc")};
    return {
        videoRow("av1_svt", "AV1 (SVT)", {"libsvtav1"}, "yuv420p", M::QualityOrBitrate, svt, "6", 35, "mp4"),
        videoRow("av1_svt_10", "AV1 10-bit (SVT)", {"libsvtav1"}, "yuv420p10le", M::QualityOrBitrate, svt,
                 "6", 35, "mkv"),
        videoRow("ffv1", "FFV1", {"ffv1"}, "yuv420p", M::Lossless, {}, "", 0, "mkv"),
        videoRow("h264", "H.264 (x264)", x264Names, "yuv420p", M::QualityOrBitrate, x264, "medium", 23,
                 "mp4"),
        videoRow("h264_10", "H.264 10-bit (x264)", x264Names, "yuv420p10le", M::QualityOrBitrate, x264,
                 "medium", 23, "mkv"),
        videoRow("h265", "H.265 (x265)", x265Names, "yuv420p", M::QualityOrBitrate, x264, "medium", 28,
                 "mp4"),
        videoRow("h265_10", "H.265 10-bit (x265)", x265Names, "yuv420p10le", M::QualityOrBitrate, x264,
                 "medium", 28, "mkv"),
        videoRow("h265_12", "H.265 12-bit (x265)", x265Names, "yuv420p12le", M::QualityOrBitrate, x264,
                 "medium", 28, "mkv"),
        videoRow("mpeg4", "MPEG-4", {"mpeg4"}, "yuv420p", M::BitrateOnly, {}, "", 0, "mp4"),
        videoRow("mpeg2", "MPEG-2", {"mpeg2video"}, "yuv420p", M::BitrateOnly, {}, "", 0, "mkv"),
        videoRow("vp8", "VP8", {"libvpx"}, "yuv420p", M::QualityOrBitrate, vpx, "4", 10, "webm"),
        videoRow("vp9", "VP9", {"libvpx-vp9"}, "yuv420p", M::QualityOrBitrate, vpx, "4", 32, "webm"),
        videoRow("vp9_10", "VP9 10-bit", {"libvpx-vp9"}, "yuv420p10le", M::QualityOrBitrate, vpx, "4", 32,
                 "webm"),
        videoRow("dnxhr", "DNxHR", {"dnxhd"}, "yuv422p", M::BitrateOnly, {}, "", 0, "mkv"),
        videoRow("dnxhr_10", "DNxHR 10-bit", {"dnxhd"}, "yuv422p10le", M::BitrateOnly, {}, "", 0, "mkv"),
        videoRow("prores", "ProRes", {"prores_ks", "prores"}, "yuv422p10le", M::Lossless, {}, "", 0, "mkv"),
        videoRow("theora", "Theora", {"libtheora"}, "yuv420p", M::BitrateOnly, {}, "", 0, "mkv"),
    };
}

QVariantList toVariantList(const QStringList &list)
{
    QVariantList out;
    for (const QString &item : list)
        out << item;
    return out;
}

QVariantMap videoRowMap(const VideoCodecRow &row)
{
    const bool lossless = row.rateMode == ExportRateMode::Lossless;
    return {{QStringLiteral("id"), row.id},
            {QStringLiteral("label"), row.label},
            {QStringLiteral("available"), !firstInstalledEncoder(row.encoderNames).isEmpty()},
            {QStringLiteral("supportsCrf"), row.rateMode == ExportRateMode::QualityOrBitrate},
            {QStringLiteral("supportsBitrate"), !lossless},
            {QStringLiteral("lossless"), lossless},
            {QStringLiteral("supportsPreset"), !row.presets.isEmpty()},
            {QStringLiteral("presets"), toVariantList(row.presets)},
            {QStringLiteral("defaultPreset"), row.defaultPreset},
            {QStringLiteral("defaultCrf"), row.defaultCrf},
            {QStringLiteral("container"), row.container}};
}

int evenAtLeastTwo(long long value)
{
    return int(std::max<long long>(value & ~1LL, 2));
}

} // namespace exportdetail

const QList<VideoCodecRow> &exportVideoCodecTable()
{
    static const QList<VideoCodecRow> table = exportdetail::buildVideoTable();
    return table;
}

const QList<AudioCodecRow> &exportAudioCodecTable()
{
    static const QList<AudioCodecRow> table{
        {QStringLiteral("aac"), QStringLiteral("AAC"), {QStringLiteral("aac")}, false, QStringLiteral("mp4")},
        {QStringLiteral("opus"),
         QStringLiteral("Opus"),
         {QStringLiteral("libopus"), QStringLiteral("opus")},
         false,
         QStringLiteral("webm")},
        {QStringLiteral("mp3"),
         QStringLiteral("MP3"),
         {QStringLiteral("libmp3lame"), QStringLiteral("mp3")},
         false,
         QStringLiteral("mp4")},
        {QStringLiteral("ac3"), QStringLiteral("AC3"), {QStringLiteral("ac3")}, false, QStringLiteral("mp4")},
        {QStringLiteral("flac"),
         QStringLiteral("FLAC"),
         {QStringLiteral("flac")},
         true,
         QStringLiteral("mkv")},
    };
    return table;
}

const QList<ExportSizePreset> &exportSizePresets()
{
    static const QList<ExportSizePreset> presets{
        {QStringLiteral("source"), QStringLiteral("Same as project"), 0, 16000},
        {QStringLiteral("1080p"), QStringLiteral("1080p"), 1080, 12000},
        {QStringLiteral("720p"), QStringLiteral("720p"), 720, 8000},
        {QStringLiteral("480p"), QStringLiteral("480p"), 480, 4000},
    };
    return presets;
}

const VideoCodecRow *findVideoCodecRow(const QString &id)
{
    for (const VideoCodecRow &row : exportVideoCodecTable()) {
        if (row.id == id)
            return &row;
    }
    return nullptr;
}

const AudioCodecRow *findAudioCodecRow(const QString &id)
{
    for (const AudioCodecRow &row : exportAudioCodecTable()) {
        if (row.id == id)
            return &row;
    }
    return nullptr;
}

QString firstInstalledEncoder(const QStringList &encoderNames)
{
    for (const QString &name : encoderNames) {
        if (avcodec_find_encoder_by_name(name.toLatin1().constData()))
            return name;
    }
    return {};
}

ExportSettings exportSettingsFromMap(const QVariantMap &map)
{
    ExportSettings s;
    const auto intOf = [&map](const char *key, int &field) {
        if (map.contains(QLatin1String(key)))
            field = map.value(QLatin1String(key)).toInt();
    };
    const auto textOf = [&map](const char *key, QString &field) {
        if (map.contains(QLatin1String(key)))
            field = map.value(QLatin1String(key)).toString();
    };
    intOf("targetHeight", s.targetHeight);
    textOf("videoCodecId", s.videoCodecId);
    textOf("rateControl", s.rateControl);
    intOf("crf", s.crf);
    intOf("videoBitrateKbps", s.videoBitrateKbps);
    textOf("videoPreset", s.videoPreset);
    textOf("audioCodecId", s.audioCodecId);
    intOf("audioBitrateKbps", s.audioBitrateKbps);
    return s;
}

QVariantMap exportSettingsToMap(const ExportSettings &s)
{
    return {{QStringLiteral("targetHeight"), s.targetHeight},
            {QStringLiteral("videoCodecId"), s.videoCodecId},
            {QStringLiteral("rateControl"), s.rateControl},
            {QStringLiteral("crf"), s.crf},
            {QStringLiteral("videoBitrateKbps"), s.videoBitrateKbps},
            {QStringLiteral("videoPreset"), s.videoPreset},
            {QStringLiteral("audioCodecId"), s.audioCodecId},
            {QStringLiteral("audioBitrateKbps"), s.audioBitrateKbps}};
}

QSize exportOutputSize(int projectWidth, int projectHeight, int targetHeight)
{
    const int t = targetHeight < 1 ? projectHeight : targetHeight;
    const long long width = std::llround(double(t) * projectWidth / projectHeight);
    return QSize(exportdetail::evenAtLeastTwo(width), exportdetail::evenAtLeastTwo(t));
}

QVariantList exportPresetMaps()
{
    QVariantList out;
    for (const ExportSizePreset &p : exportSizePresets()) {
        out << QVariantMap{{QStringLiteral("id"), p.id},
                           {QStringLiteral("label"), p.label},
                           {QStringLiteral("targetHeight"), p.targetHeight},
                           {QStringLiteral("videoBitrateKbps"), p.videoBitrateKbps}};
    }
    return out;
}

QVariantList exportScaleOptionMaps(int projectWidth, int projectHeight)
{
    QVariantList out;
    if (projectWidth < 1 || projectHeight < 1)
        return out;
    for (const ExportSizePreset &p : exportSizePresets()) {
        // Only downscaling is offered: a preset as tall as the project or taller adds nothing.
        if (p.targetHeight > 0 && p.targetHeight >= projectHeight)
            continue;
        const QSize size = exportOutputSize(projectWidth, projectHeight, p.targetHeight);
        const QString label = QStringLiteral("%1 · %2×%3").arg(p.label).arg(size.width()).arg(size.height());
        out << QVariantMap{{QStringLiteral("id"), p.id},
                           {QStringLiteral("label"), label},
                           {QStringLiteral("targetHeight"), p.targetHeight},
                           {QStringLiteral("width"), size.width()},
                           {QStringLiteral("height"), size.height()},
                           {QStringLiteral("videoBitrateKbps"), p.videoBitrateKbps}};
    }
    if (out.isEmpty()) {
        const QSize size = exportOutputSize(projectWidth, projectHeight, 0);
        out << QVariantMap{{QStringLiteral("id"), QStringLiteral("source")},
                           {QStringLiteral("label"),
                            QStringLiteral("Same as project · %1×%2").arg(size.width()).arg(size.height())},
                           {QStringLiteral("targetHeight"), 0},
                           {QStringLiteral("width"), size.width()},
                           {QStringLiteral("height"), size.height()}};
    }
    return out;
}

QVariantList exportVideoCodecMaps()
{
    // The common choices lead the list; the rest follow in table order.
    const QStringList leading{QStringLiteral("h264"), QStringLiteral("h265"), QStringLiteral("vp9"),
                              QStringLiteral("av1_svt")};
    QVariantList out;
    for (const QString &id : leading)
        out << exportdetail::videoRowMap(*findVideoCodecRow(id));
    for (const VideoCodecRow &row : exportVideoCodecTable()) {
        if (!leading.contains(row.id))
            out << exportdetail::videoRowMap(row);
    }
    return out;
}

QVariantList exportAudioCodecMaps()
{
    QVariantList out;
    for (const AudioCodecRow &row : exportAudioCodecTable()) {
        out << QVariantMap{{QStringLiteral("id"), row.id},
                           {QStringLiteral("label"), row.label},
                           {QStringLiteral("available"), !firstInstalledEncoder(row.encoderNames).isEmpty()},
                           {QStringLiteral("lossless"), row.lossless},
                           {QStringLiteral("container"), row.container}};
    }
    return out;
}

QString exportPreferredContainer(const QString &videoCodecId, const QString &audioCodecId)
{
    const VideoCodecRow *video = findVideoCodecRow(videoCodecId);
    const AudioCodecRow *audio = findAudioCodecRow(audioCodecId);
    const QString videoContainer = video ? video->container : QString();
    const QString audioContainer = audio ? audio->container : QString();
    if (videoContainer == QLatin1String("mkv") || audioContainer == QLatin1String("mkv"))
        return QStringLiteral("mkv");
    if (videoContainer == QLatin1String("webm")) {
        const bool webAudio =
            audioCodecId == QLatin1String("opus") || audioCodecId == QLatin1String("vorbis");
        return webAudio ? QStringLiteral("webm") : QStringLiteral("mkv");
    }
    if (videoContainer == QLatin1String("mp4") && audioContainer == QLatin1String("mp4"))
        return QStringLiteral("mp4");
    return QStringLiteral("mkv");
}

QStringList exportSaveFilters(const QString &container)
{
    const QString suffix = exportDefaultSuffix(container);
    QStringList filters{QStringLiteral("WebM video (*.webm)"), QStringLiteral("Matroska video (*.mkv)"),
                        QStringLiteral("MP4 video (*.mp4)")};
    const auto chosen = std::find_if(filters.begin(), filters.end(), [&suffix](const QString &filter) {
        return filter.endsWith(QStringLiteral("(*.%1)").arg(suffix));
    });
    if (chosen != filters.end())
        std::rotate(filters.begin(), chosen, chosen + 1);
    return filters;
}

QString exportDefaultSuffix(const QString &container)
{
    if (container == QLatin1String("webm") || container == QLatin1String("mkv"))
        return container;
    return QStringLiteral("mp4");
}

} // namespace orvel
