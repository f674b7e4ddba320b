#pragma once

#include "core/document/model/Project.h"
#include "output/ExportSettings.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace orvel {

struct ExportResult
{
    bool success = false;
    bool cancelled = false;
    QString message; // the failure's words; empty on success and on a cancel
};

// Which share of the export one run writes. A render farm splits the pictures into video-only
// frame ranges and writes the whole soundtrack once to a file of its own; joinExportParts puts
// them back together. The default is the whole film in one file.
struct ExportPart
{
    bool video = true;
    bool audio = true;
    long long firstFrame = 0;
    long long endFrame = -1; // one past the last frame written; below 0 the project's end
};

struct ExportFrameRange
{
    long long firstFrame = 0;
    long long endFrame = 0; // one past the last
};

// The number of frames a whole export of the project writes; 0 for an empty timeline.
long long exportTotalFrames(const Project &project);
// Segment index (from 0) of count: whole groups of gopFrames, so that every segment begins where
// the one-piece file has a keyframe. A segment beyond the last group is empty.
ExportFrameRange exportSegmentRange(long long totalFrames, int gopFrames, int index, int count);

// Told the fraction done (0 to 1) before each frame; answering false stops the job as cancelled.
using ExportProgressCallback = std::function<bool(double fraction)>;

// Renders the whole project into outputPath, blocking. Packets go to outputPath + ".part",
// which takes the real name only when the file is complete; after a failure or a cancel the
// ".part" file is gone and an older file at outputPath is left as it was.
ExportResult runExport(const Project &project, const ExportSettings &settings, const QString &outputPath,
                       const ExportProgressCallback &progress, const ExportPart &part = {});

// Stream-copies video segments, in order, and one soundtrack file into outputPath, through a
// ".part" file like an export. False with a lower-case message in *error.
bool joinExportParts(const QStringList &segmentPaths, const QString &audioPath, const QString &outputPath,
                     QString *error);

} // namespace orvel
