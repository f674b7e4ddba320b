#include "media/frames/StillFrames.h"

#include "core/document/model/Project.h"
#include "media/decode/ClipReaderPool.h"

#include <QDir>
#include <QImage>
#include <QSaveFile>

namespace orvel {

QString writeStillFrame(const QString &videoPath, TimeUs sourceUs, const QString &directory)
{
    const QImage still = ClipReaderPool::instance().captureStillFrame(videoPath, sourceUs);
    if (still.isNull() || !QDir().mkpath(directory))
        return {};
    const QString path = QDir(directory).filePath(QStringLiteral("freeze-%1.png").arg(newUuid()));
    // A save file, so a crash never leaves a half-written still that a clip points at.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !still.save(&file, "PNG") || !file.commit())
        return {};
    return path;
}

} // namespace orvel
