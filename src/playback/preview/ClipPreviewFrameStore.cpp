#include "playback/preview/ClipPreviewFrameStore.h"

#include <QBasicMutex>
#include <QMutexLocker>

namespace orvel {

namespace {
QBasicMutex clipPreviewMutex;
QImage clipPreviewFrame;
} // namespace

void setClipPreviewImage(const QImage &image)
{
    QMutexLocker lock(&clipPreviewMutex);
    clipPreviewFrame = image;
}

QImage clipPreviewImage()
{
    QMutexLocker lock(&clipPreviewMutex);
    return clipPreviewFrame;
}

void resetClipPreviewImage()
{
    QMutexLocker lock(&clipPreviewMutex);
    clipPreviewFrame = QImage();
}

} // namespace orvel
