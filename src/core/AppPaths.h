#pragma once

#include <QString>

namespace orvel {

// The platform's per-application writable data folder, and the files the editor keeps below it.
QString appDataDirectory();
QString autosaveFilePath();     // AppData/recovery/autosave.json
QString stillFramesDirectory(); // AppData/stills: freeze-frame pictures

} // namespace orvel
