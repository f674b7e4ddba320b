#pragma once

#include "core/document/model/Project.h"
#include "output/ExportJob.h"
#include "output/ExportSettings.h"

#include <QString>
#include <QStringList>

class QCommandLineParser;

namespace orvelcli {

// The export options of orvel-render, registered on and read back from one parser.
struct ExportOptions
{
    static void addTo(QCommandLineParser &parser);
    // Settings and the share of the film the options ask for; false with a message.
    static bool read(const QCommandLineParser &parser, const orvel::Project &project,
                     orvel::ExportSettings *settings, orvel::ExportPart *part, QString *error);
};

// From here on Ctrl-C (or a polite kill) cancels a running export instead of ending the process;
// a second one ends it at once.
void installInterruptHandler();

// Exit codes: 0 done, 1 failed, 130 cancelled.
int runExportCommand(const orvel::Project &project, const orvel::ExportSettings &settings,
                     const orvel::ExportPart &part, const QString &outputPath, bool quiet);
int runJoinCommand(const QStringList &segmentPaths, const QString &audioPath, const QString &outputPath);

} // namespace orvelcli
