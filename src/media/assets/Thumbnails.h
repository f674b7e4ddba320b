#pragma once

#include <QSize>
#include <QString>

namespace orvel {

// The editor's small pictures live as JPEG files in one cache folder, named after a hash of the
// source's absolute path, size and modification time. Bumping the format version makes every old
// name unreachable.
inline constexpr int kThumbnailFormatVersion = 2;
inline constexpr int kPosterBoxPx = 320;
inline constexpr int kStripCellCount = 8;
inline constexpr int kStripCellWidthPx = 120;
inline constexpr int kStripCellHeightPx = 68;
inline constexpr int kThumbnailJpegQuality = 85;
// A save that broke off leaves a stub; anything this small is treated as missing and redone.
inline constexpr qint64 kCachedFileMinBytes = 128;

// CacheLocation + "/thumbnails", created on first use and then fixed for the process.
QString thumbnailCacheDir();

// Decimal qHash (seed 0) of the absolute path, size and modification time, then "_v" and the
// format version.
QString thumbnailBaseName(const QString &sourcePath);
QString posterPath(const QString &sourcePath);
QString stripPath(const QString &sourcePath);
QString posterAtPath(const QString &sourcePath, qint64 timeMs);
QString tilePath(const QString &sourcePath, int level, int index);

// Present means: exists and is larger than kCachedFileMinBytes.
bool isCachedFilePresent(const QString &filePath);

// Poster size for a video of the given coded size and sample aspect ratio: widened by the SAR
// when it is valid, then fitted into the 320 box without enlarging; each side at least 2.
// An unknown size gives 320x180.
QSize videoPosterSize(int codedWidth, int codedHeight, int sarNum, int sarDen);

// The poster, made if needed; empty on failure. kind "image" reads the picture; anything else
// decodes the first frame of the first video stream (which covers audio files with cover art),
// turned upright by the stream's display rotation.
QString ensureThumbnail(const QString &sourcePath, const QString &kind);

// 960x68 strip of eight frames for "video"; for other kinds the poster. A cell whose frame can't
// be decoded stays black. Empty when the file can't be opened at all.
QString ensureStrip(const QString &sourcePath, const QString &kind);

// A poster-sized frame of a video at the given time; empty on failure.
QString posterAt(const QString &sourcePath, double seconds);

} // namespace orvel
