#pragma once

#include <QImage>

namespace orvel {

// The cutout session's current frame and mask, published for the "segment" image provider, which
// runs on Qt Quick's image threads. Both images share one mutex; getters and setters copy.
void setSegmentFrameImage(const QImage &image);
void setSegmentMaskImage(const QImage &image);
QImage segmentFrameImage();
QImage segmentMaskImage();

} // namespace orvel
