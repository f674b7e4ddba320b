#pragma once

#include <QString>

namespace orvel {

// Folder where noise removal writes its previews and results (AppData/denoised).
QString denoiseOutputDirectory();

// Deletes the scratch files a crashed or interrupted noise-removal run can leave behind:
// "*-preview.flac", "*-original.flac" and "*.flac.part". A missing folder is not an error.
// Returns how many files were removed.
int sweepStaleDenoiseFiles(const QString &directory);
int sweepStaleDenoiseFiles();

} // namespace orvel
