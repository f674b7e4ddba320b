#include "media/assets/Thumbnails.h"

#include "media/frames/VideoFrameGrabber.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QImageReader>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTransform>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvel {

namespace {

// Writes through a temporary name so that a reader never sees half a JPEG.
bool saveThumbnailJpeg(const QImage &image, const QString &filePath)
{
    if (image.isNull())
        return false;
    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (!image.save(&file, "JPG", kThumbnailJpegQuality)) {
        file.cancelWriting();
        return false;
    }
    return file.commit() && isCachedFilePresent(filePath);
}

QString makeImagePoster(const QString &sourcePath, const QString &target)
{
    QImageReader reader(sourcePath);
    reader.setAutoTransform(true);
    QImage image = reader.read();
    if (image.isNull())
        return {};
    if (image.width() > kPosterBoxPx || image.height() > kPosterBoxPx)
        image = image.scaled(kPosterBoxPx, kPosterBoxPx, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return saveThumbnailJpeg(image, target) ? target : QString();
}

bool isQuarterTurn(int rotationDegrees)
{
    return rotationDegrees == 90 || rotationDegrees == 270;
}

// The next frame as the viewer sees it: a phone clip stored landscape with a quarter-turn
// rotation gives a portrait poster.
QImage nextUprightPoster(VideoFrameGrabber &grabber)
{
    const int rotation = grabber.rotationDegrees();
    QSize size;
    if (isQuarterTurn(rotation)) {
        // Fitted upright, then decoded at the stored orientation and turned.
        size =
            videoPosterSize(grabber.codedHeight(), grabber.codedWidth(), grabber.sarDen(), grabber.sarNum())
                .transposed();
    } else {
        size =
            videoPosterSize(grabber.codedWidth(), grabber.codedHeight(), grabber.sarNum(), grabber.sarDen());
    }
    const QImage frame = grabber.nextFrame(size);
    if (frame.isNull() || rotation == 0)
        return frame;
    return frame.transformed(QTransform().rotate(rotation));
}

QString makeVideoPoster(const QString &sourcePath, const QString &target)
{
    VideoFrameGrabber grabber;
    if (!grabber.open(sourcePath))
        return {};
    return saveThumbnailJpeg(nextUprightPoster(grabber), target) ? target : QString();
}

void copyStripCell(QImage &strip, const QImage &cell, int cellIndex)
{
    const int rowBytes = kStripCellWidthPx * 3;
    for (int y = 0; y < kStripCellHeightPx; ++y)
        std::memcpy(strip.scanLine(y) + cellIndex * rowBytes, cell.constScanLine(y), size_t(rowBytes));
}

QString makeVideoStrip(const QString &sourcePath, const QString &target)
{
    VideoFrameGrabber grabber;
    if (!grabber.open(sourcePath))
        return {};
    QImage strip(kStripCellWidthPx * kStripCellCount, kStripCellHeightPx, QImage::Format_RGB888);
    strip.fill(Qt::black);
    const TimeUs durationUs = grabber.containerDurationUs();
    const QSize cellSize(kStripCellWidthPx, kStripCellHeightPx);
    for (int i = 0; i < kStripCellCount; ++i) {
        grabber.seekUs(durationUs > 0 ? durationUs * i / kStripCellCount : 0);
        const QImage cell = grabber.nextFrame(cellSize);
        if (!cell.isNull())
            copyStripCell(strip, cell, i);
    }
    return saveThumbnailJpeg(strip, target) ? target : QString();
}

} // namespace

QString thumbnailCacheDir()
{
    static const QString dir = [] {
        const QString path =
            QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/thumbnails");
        QDir().mkpath(path);
        return path;
    }();
    return dir;
}

QString thumbnailBaseName(const QString &sourcePath)
{
    // The size and modification time are part of the key, so a file replaced under the same
    // name gets new pictures instead of its predecessor's.
    const QFileInfo info(sourcePath);
    const QString key = info.absoluteFilePath() + QLatin1Char('|') + QString::number(info.size()) +
                        QLatin1Char('|') + QString::number(info.lastModified().toMSecsSinceEpoch());
    return QString::number(qHash(key, 0)) + QStringLiteral("_v") + QString::number(kThumbnailFormatVersion);
}

QString posterPath(const QString &sourcePath)
{
    return thumbnailCacheDir() + QLatin1Char('/') + thumbnailBaseName(sourcePath) + QStringLiteral(".jpg");
}

QString stripPath(const QString &sourcePath)
{
    return thumbnailCacheDir() + QLatin1Char('/') + thumbnailBaseName(sourcePath) +
           QStringLiteral("_strip.jpg");
}

QString posterAtPath(const QString &sourcePath, qint64 timeMs)
{
    return thumbnailCacheDir() + QLatin1Char('/') + thumbnailBaseName(sourcePath) + QLatin1Char('_') +
           QString::number(timeMs) + QStringLiteral(".jpg");
}

QString tilePath(const QString &sourcePath, int level, int index)
{
    return thumbnailCacheDir() + QLatin1Char('/') + thumbnailBaseName(sourcePath) +
           QStringLiteral("_t%1_%2.jpg").arg(level).arg(index);
}

bool isCachedFilePresent(const QString &filePath)
{
    const QFileInfo info(filePath);
    return info.isFile() && info.size() > kCachedFileMinBytes;
}

QSize videoPosterSize(int codedWidth, int codedHeight, int sarNum, int sarDen)
{
    if (codedWidth < 1 || codedHeight < 1)
        return {kPosterBoxPx, 180};
    double w = codedWidth;
    const double h = codedHeight;
    if (sarNum > 0 && sarDen > 0)
        w *= double(sarNum) / double(sarDen);
    const double scale = std::min({1.0, kPosterBoxPx / w, kPosterBoxPx / h});
    return {std::max(2, int(std::lround(scale * w))), std::max(2, int(std::lround(scale * h)))};
}

QString ensureThumbnail(const QString &sourcePath, const QString &kind)
{
    const QString target = posterPath(sourcePath);
    if (isCachedFilePresent(target))
        return target;
    if (kind == QLatin1String("image"))
        return makeImagePoster(sourcePath, target);
    return makeVideoPoster(sourcePath, target);
}

QString ensureStrip(const QString &sourcePath, const QString &kind)
{
    if (kind != QLatin1String("video"))
        return ensureThumbnail(sourcePath, kind);
    const QString target = stripPath(sourcePath);
    if (isCachedFilePresent(target))
        return target;
    return makeVideoStrip(sourcePath, target);
}

QString posterAt(const QString &sourcePath, double seconds)
{
    const qint64 timeMs = qint64(std::max(0.0, seconds) * 1000.0);
    const QString target = posterAtPath(sourcePath, timeMs);
    if (isCachedFilePresent(target))
        return target;
    VideoFrameGrabber grabber;
    if (!grabber.open(sourcePath))
        return {};
    grabber.seekUs(timeMs * 1000);
    return saveThumbnailJpeg(nextUprightPoster(grabber), target) ? target : QString();
}

} // namespace orvel
