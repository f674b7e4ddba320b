#pragma once

#include "core/document/animation/Keyframes.h"
#include "core/document/model/Project.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace orvel {

// Animated properties of a clip are named by strings when they cross into QML: the seven clip
// members by their own names, and numeric effect parameters as "fx.<effect index>.<parameter id>".

struct EffectParamName
{
    int effectIndex = -1;
    QString paramId;
};

// The seven member properties, in the order the inspector and the graph editor list them.
const QStringList &clipMemberPropertyNames();

// "fx.<index>.<paramId>": the index a plain non-negative decimal number, the id anything
// non-empty (dots included). Any other name is not an effect parameter.
std::optional<EffectParamName> parseEffectParamName(const QString &name);
QString effectParamName(int effectIndex, const QString &paramId);

// Finds a property of a clip by name. An effect parameter past the effect list gives null; an
// existing effect gives its paramKeyframes entry, created empty when create is set and null
// otherwise. Unknown names give null.
AnimatedProperty *clipProperty(Clip &clip, const QString &name, bool create);
const AnimatedProperty *clipProperty(const Clip &clip, const QString &name);

// The value a property has when it holds no keys: the project's size for width and height, 1 for
// opacity and volume, 0 for x, y and rotation, the effect's stored parameter for an effect
// parameter, and fallback for anything else (or a parameter that is missing or not a number).
double propertyBaseValue(const Project &project, const Clip &clip, const QString &name, double fallback);

// The property's value at a timeline time in seconds: the curve when it has keys, else the base.
double propertyValueAt(const Project &project, const Clip &clip, const QString &name, double atSeconds,
                       double fallback);

// The keyed write for an effect parameter. With no keys and neither autoKey nor force, only the
// static value in parameters changes. Otherwise the keyed write decides, and when it writes the
// value also goes into parameters, which stays the base value once the keys are gone.
bool writeEffectParameter(EffectInstance &effect, const QString &paramId, TimeUs t, double value,
                          bool autoKey, bool force);

// The keyed write for any named property of a clip. False when the write is refused and also
// when the name is unknown or the effect index is out of range; look the property up first to
// tell the two apart.
bool writeClipProperty(Clip &clip, const QString &name, TimeUs t, double value, bool autoKey, bool force);

// Names of the properties that hold at least one key: the members in clipMemberPropertyNames()
// order, then effect parameters by effect index and parameter id.
QStringList clipAnimatedProperties(const Clip &clip);

} // namespace orvel
