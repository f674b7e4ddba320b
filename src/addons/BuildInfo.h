#pragma once

#include <QString>

namespace orvel {
// The version string of this build.
inline QString applicationVersion()
{
    return QStringLiteral("0.1.1");
}
} // namespace orvel
