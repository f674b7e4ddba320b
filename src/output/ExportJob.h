#pragma once

#include "core/document/Project.h"
#include "output/ExportSettings.h"

#include <QString>

#include <functional>

namespace orvel {

struct ExportResult
{
    bool success = false;
    bool cancelled = false;
    QString message; // the failure's words; empty on success and on a cancel
};

// Told the fraction done (0 to 1) before each frame; answering false stops the job as cancelled.
using ExportProgressCallback = std::function<bool(double fraction)>;

// Renders the whole project into outputPath, blocking. Packets go to outputPath + ".part",
// which takes the real name only when the file is complete; after a failure or a cancel the
// ".part" file is gone and an older file at outputPath is left as it was.
ExportResult runExport(const Project &project, const ExportSettings &settings, const QString &outputPath,
                       const ExportProgressCallback &progress);

} // namespace orvel
