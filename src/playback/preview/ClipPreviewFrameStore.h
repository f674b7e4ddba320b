#pragma once

#include <QImage>

namespace orvel {

// The source-clip preview player's current frame, published for the "clippreview" image
// provider on Qt Quick's image threads. Getters and setters copy under one mutex.
void setClipPreviewImage(const QImage &image);
QImage clipPreviewImage();
// Back to a null image, when the player stops.
void resetClipPreviewImage();

} // namespace orvel
