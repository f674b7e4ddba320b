#pragma once

#include "core/document/model/Types.h"

#include <QString>

namespace orvel {

// Decodes the full-size frame nearest sourceUs of a video file and writes it as a PNG with a
// fresh name inside `directory` (created when missing). Returns the file's path, or empty when the
// frame could not be decoded or written. Blocks: call it from a worker thread.
QString writeStillFrame(const QString &videoPath, TimeUs sourceUs, const QString &directory);

} // namespace orvel
