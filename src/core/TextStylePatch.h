#pragma once

#include "core/document/model/Project.h"

#include <QVariantMap>

namespace orvel {

// The style with the inspector's partial patch written over it. The patch holds the flat keys of
// the saved form, the nested objects "wordHighlight" and "accent" (with "highlight" inside), and
// the groups "animIn" and "animOut" whose "duration" and "stagger" are seconds. Only the keys
// present change. A colour that does not parse, an enum word the style does not know, or a
// duration that is not a number is dropped rather than reset to its default; animation times
// are kept within 0 to 60 seconds.
TextStyle textStyleWithPatch(const TextStyle &style, const QVariantMap &patch);

} // namespace orvel
