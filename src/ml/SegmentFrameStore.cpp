#include "ml/SegmentFrameStore.h"

#include <QBasicMutex>
#include <QMutexLocker>

namespace orvel {

namespace {
QBasicMutex segmentImagesMutex;
QImage segmentFrame;
QImage segmentMask;
} // namespace

void setSegmentFrameImage(const QImage &image)
{
    QMutexLocker lock(&segmentImagesMutex);
    segmentFrame = image;
}

void setSegmentMaskImage(const QImage &image)
{
    QMutexLocker lock(&segmentImagesMutex);
    segmentMask = image;
}

QImage segmentFrameImage()
{
    QMutexLocker lock(&segmentImagesMutex);
    return segmentFrame;
}

QImage segmentMaskImage()
{
    QMutexLocker lock(&segmentImagesMutex);
    return segmentMask;
}

} // namespace orvel
