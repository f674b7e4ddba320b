#pragma once

#include "core/document/model/Project.h"
#include "media/assets/MediaProbe.h"

#include <QSize>
#include <QString>

namespace orvel {

// "video", "audio", "image", "other"; anything outside 0..2 reads as "other".
QString assetKindText(AssetKind kind);

// Classification by the lower-cased suffix alone: the image list, the audio list, else video.
// Only a guess for the provisional row until the file has been probed.
AssetKind assetKindForSuffix(const QString &path);
bool hasImageSuffix(const QString &path);

// "MM:SS", or "H:MM:SS" from one hour on; whole seconds by truncation; empty for <= 0.
QString formatDurationText(TimeUs durationUs);

// Turns a probe into a record (id left empty). With makeCacheFiles the poster, and for video
// the strip, are made on the calling thread; without, both paths stay empty for a later pass.
Asset buildAsset(const QString &path, const QString &name, const MediaProbeResult &probe,
                 bool makeCacheFiles = true);

// The record of an image file: size from the reader (turned by its orientation tag), no probe.
// An unreadable picture still gives a record, with a zero size.
Asset buildImageAsset(const QString &path, const QString &name, bool makeCacheFiles = true);

// Size an image reports, transposed when its orientation turns it by 90 degrees; 0x0 if unknown.
QSize orientedImageSize(const QString &path);

} // namespace orvel
