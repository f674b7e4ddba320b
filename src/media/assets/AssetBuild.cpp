#include "media/assets/AssetBuild.h"

#include "media/assets/Thumbnails.h"

#include <QFileInfo>
#include <QImageIOHandler>
#include <QImageReader>
#include <QStringList>

namespace orvel {

namespace {

const QStringList &imageSuffixes()
{
    static const QStringList list = {"png", "jpg", "jpeg", "gif", "webp", "bmp", "tiff", "tif", "svg"};
    return list;
}

const QStringList &audioSuffixes()
{
    static const QStringList list = {"mp3", "wav", "aac", "flac", "ogg", "m4a", "wma", "aiff", "aif"};
    return list;
}

QString lowerSuffix(const QString &path)
{
    return QFileInfo(path).suffix().toLower();
}

AssetKind kindFromStreams(const QString &path, const MediaProbeResult &probe)
{
    if (hasImageSuffix(path))
        return AssetKind::image;
    bool anyAudio = false;
    for (const MediaStreamInfo &stream : probe.streams) {
        if (stream.kind == MediaStreamKind::video && !stream.isAttachedPicture)
            return AssetKind::video;
        anyAudio = anyAudio || stream.kind == MediaStreamKind::audio;
    }
    return anyAudio ? AssetKind::audio : AssetKind::other;
}

// Every qualifying stream overwrites the fields, so with several the last one wins.
void takeStreamFields(Asset &asset, const MediaProbeResult &probe)
{
    for (const MediaStreamInfo &stream : probe.streams) {
        if (stream.kind != MediaStreamKind::video || stream.isAttachedPicture)
            continue;
        asset.width = stream.width;
        asset.height = stream.height;
        asset.fps = stream.fps;
        asset.rotationDegrees = stream.rotationDegrees;
        asset.codecName = stream.codecLongName;
    }
    for (const MediaStreamInfo &stream : probe.streams) {
        if (stream.kind != MediaStreamKind::audio)
            continue;
        asset.hasAudio = true;
        asset.sampleRate = stream.sampleRate;
        asset.channels = stream.channels;
        if (asset.codecName.isEmpty())
            asset.codecName = stream.codecLongName;
    }
}

} // namespace

QString assetKindText(AssetKind kind)
{
    switch (kind) {
    case AssetKind::video:
        return QStringLiteral("video");
    case AssetKind::audio:
        return QStringLiteral("audio");
    case AssetKind::image:
        return QStringLiteral("image");
    default:
        return QStringLiteral("other");
    }
}

bool hasImageSuffix(const QString &path)
{
    return imageSuffixes().contains(lowerSuffix(path));
}

AssetKind assetKindForSuffix(const QString &path)
{
    const QString suffix = lowerSuffix(path);
    if (imageSuffixes().contains(suffix))
        return AssetKind::image;
    if (audioSuffixes().contains(suffix))
        return AssetKind::audio;
    return AssetKind::video;
}

QString formatDurationText(TimeUs durationUs)
{
    if (durationUs <= 0)
        return {};
    const qint64 totalSeconds = durationUs / 1000000;
    const qint64 hours = totalSeconds / 3600;
    const qint64 minutes = (totalSeconds / 60) % 60;
    const qint64 seconds = totalSeconds % 60;
    const QChar zero(QLatin1Char('0'));
    if (hours == 0)
        return QStringLiteral("%1:%2").arg(minutes, 2, 10, zero).arg(seconds, 2, 10, zero);
    return QStringLiteral("%1:%2:%3").arg(hours).arg(minutes, 2, 10, zero).arg(seconds, 2, 10, zero);
}

Asset buildAsset(const QString &path, const QString &name, const MediaProbeResult &probe, bool makeCacheFiles)
{
    Asset asset;
    asset.path = path;
    asset.name = name;
    asset.kind = kindFromStreams(path, probe);
    asset.durationUs = probe.durationUs;
    if (asset.kind != AssetKind::image)
        asset.durationText = formatDurationText(asset.durationUs);
    takeStreamFields(asset, probe);
    asset.hasAudioKnown = true;
    if (makeCacheFiles) {
        const QString kindText = assetKindText(asset.kind);
        asset.thumbnailPath = ensureThumbnail(path, kindText);
        asset.filmstripPath =
            asset.kind == AssetKind::video ? ensureStrip(path, kindText) : asset.thumbnailPath;
    }
    return asset;
}

QSize orientedImageSize(const QString &path)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QSize size = reader.size();
    if (!size.isValid())
        return {0, 0};
    if (reader.transformation() & QImageIOHandler::TransformationRotate90)
        size.transpose();
    return size;
}

Asset buildImageAsset(const QString &path, const QString &name, bool makeCacheFiles)
{
    Asset asset;
    asset.path = path;
    asset.name = name;
    asset.kind = AssetKind::image;
    if (makeCacheFiles) {
        asset.thumbnailPath = ensureThumbnail(path, QStringLiteral("image"));
        asset.filmstripPath = asset.thumbnailPath;
    }
    const QSize size = orientedImageSize(path);
    asset.width = size.width();
    asset.height = size.height();
    asset.hasAudio = false;
    asset.hasAudioKnown = true;
    return asset;
}

} // namespace orvel
