#include "playback/preview/ClipPreviewFrameWorker.h"

#include "media/decode/ClipReaderPool.h"

namespace orvel {

void ClipPreviewFrameWorker::decode(const QString &path, qint64 sourceUs, int maxWidth, int maxHeight,
                                    quint64 token)
{
    if (token < m_latestToken.load())
        return;
    const QImage image = ClipReaderPool::instance().decodeVideo(path, sourceUs, maxWidth, maxHeight);
    // A failed decode leaves the last picture on screen.
    if (!image.isNull())
        emit decoded(image, token);
}

} // namespace orvel
