#pragma once

#include <QStringList>

#include <functional>

namespace orvel {

// The directories searched for packages of one kind, in priority order with duplicates removed:
// the paths of the environment variable, the installed addons' roots for the kind, the
// subdirectory beside the executable, and the subdirectory under the application data folder.
QStringList packageRoots(const char *envName, const QString &subdirectory, const QString &addonSubdirectory);

// The addon registry lives in a higher subsystem; it tells this one where installed addons keep
// packages of a given subdirectory kind. Unset, no addon roots are searched.
using AddonRootsProvider = std::function<QStringList(const QString &addonSubdirectory)>;
void setAddonRootsProvider(AddonRootsProvider provider);

} // namespace orvel
