#pragma once

#include <QString>

namespace orvel {

// The platform's per-application writable data folder, and the files the editor keeps below it.
QString appDataDirectory();
QString autosaveFilePath();     // AppData/recovery/autosave.json
QString stillFramesDirectory(); // AppData/stills: freeze-frame pictures
// While a recovery is on offer the session autosaves here, so the offered snapshot stays intact
// until it is restored or declined.
QString autosaveWhileOfferedFilePath(); // AppData/recovery/autosave-session.json
QString projectsDirectory();            // AppData/projects: unpacked media, one folder per project
QString projectMediaDirectory(const QString &projectId); // AppData/projects/<id>/media
QString emojiDirectory();                                // AppData/emoji: the emoji addon's artwork
QString denoisedDirectory();                             // AppData/denoised: noise removal output

} // namespace orvel
