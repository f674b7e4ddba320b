#include "core/document/animation/ClipProperties.h"

#include "core/document/editing/ClipEditing.h"

#include <cmath>
#include <limits>

namespace orvel {

namespace {

// Member pointers in the listing order; the names below must stay in step with them.
using MemberProperty = AnimatedProperty Clip::*;

constexpr MemberProperty kClipMemberProperties[] = {
    &Clip::x, &Clip::y, &Clip::width, &Clip::height, &Clip::rotation, &Clip::opacity, &Clip::volume};

int memberPropertyIndex(const QString &name)
{
    return int(clipMemberPropertyNames().indexOf(name));
}

bool parseEffectIndex(QStringView digits, int *index)
{
    if (digits.isEmpty())
        return false;
    qint64 value = 0;
    for (const QChar c : digits) {
        if (c < u'0' || c > u'9')
            return false;
        value = value * 10 + (c.unicode() - u'0');
        if (value > std::numeric_limits<int>::max())
            return false;
    }
    *index = int(value);
    return true;
}

} // namespace

const QStringList &clipMemberPropertyNames()
{
    static const QStringList names = {QStringLiteral("x"),        QStringLiteral("y"),
                                      QStringLiteral("width"),    QStringLiteral("height"),
                                      QStringLiteral("rotation"), QStringLiteral("opacity"),
                                      QStringLiteral("volume")};
    return names;
}

std::optional<EffectParamName> parseEffectParamName(const QString &name)
{
    static const QString prefix = QStringLiteral("fx.");
    if (!name.startsWith(prefix))
        return std::nullopt;
    // The second dot must leave at least one character for the index between the dots.
    const qsizetype secondDot = name.indexOf(u'.', prefix.size() + 1);
    if (secondDot < 0 || secondDot + 1 >= name.size())
        return std::nullopt;
    EffectParamName parsed;
    if (!parseEffectIndex(QStringView(name).mid(prefix.size(), secondDot - prefix.size()),
                          &parsed.effectIndex))
        return std::nullopt;
    parsed.paramId = name.mid(secondDot + 1);
    return parsed;
}

QString effectParamName(int effectIndex, const QString &paramId)
{
    return QStringLiteral("fx.%1.%2").arg(effectIndex).arg(paramId);
}

AnimatedProperty *clipProperty(Clip &clip, const QString &name, bool create)
{
    if (const auto param = parseEffectParamName(name)) {
        if (param->effectIndex >= clip.effects.size())
            return nullptr;
        auto &params = clip.effects[param->effectIndex].paramKeyframes;
        auto it = params.find(param->paramId);
        if (it == params.end()) {
            if (!create)
                return nullptr;
            it = params.insert(param->paramId, AnimatedProperty{});
        }
        return &it.value();
    }
    const int member = memberPropertyIndex(name);
    return member < 0 ? nullptr : &(clip.*kClipMemberProperties[member]);
}

const AnimatedProperty *clipProperty(const Clip &clip, const QString &name)
{
    if (const auto param = parseEffectParamName(name)) {
        if (param->effectIndex >= clip.effects.size())
            return nullptr;
        const auto &params = clip.effects[param->effectIndex].paramKeyframes;
        const auto it = params.constFind(param->paramId);
        return it == params.cend() ? nullptr : &it.value();
    }
    const int member = memberPropertyIndex(name);
    return member < 0 ? nullptr : &(clip.*kClipMemberProperties[member]);
}

double propertyBaseValue(const Project &project, const Clip &clip, const QString &name, double fallback)
{
    if (const auto param = parseEffectParamName(name)) {
        if (param->effectIndex >= clip.effects.size())
            return fallback;
        const QVariant stored = clip.effects[param->effectIndex].parameters.value(param->paramId);
        bool ok = false;
        const double value = stored.isValid() ? stored.toDouble(&ok) : 0.0;
        return ok ? value : fallback;
    }
    if (name == u"width")
        return project.width;
    if (name == u"height")
        return project.height;
    if (name == u"opacity" || name == u"volume")
        return 1.0;
    if (name == u"x" || name == u"y" || name == u"rotation")
        return 0.0;
    return fallback;
}

double propertyValueAt(const Project &project, const Clip &clip, const QString &name, double atSeconds,
                       double fallback)
{
    const AnimatedProperty *property = clipProperty(clip, name);
    if (property && !property->isEmpty()) {
        const TimeUs atUs = secondsToUs(atSeconds);
        return valueAt(*property, atUs - clip.timelineStartUs);
    }
    return propertyBaseValue(project, clip, name, fallback);
}

bool writeEffectParameter(EffectInstance &effect, const QString &paramId, TimeUs t, double value,
                          bool autoKey, bool force)
{
    const auto existing = effect.paramKeyframes.constFind(paramId);
    const bool hasKeys = existing != effect.paramKeyframes.cend() && !existing->isEmpty();
    if (!hasKeys && !force && !autoKey) {
        effect.parameters.insert(paramId, value);
        return true;
    }
    if (!keyedWrite(effect.paramKeyframes[paramId], t, value, autoKey, force))
        return false;
    effect.parameters.insert(paramId, value);
    return true;
}

bool writeClipProperty(Clip &clip, const QString &name, TimeUs t, double value, bool autoKey, bool force)
{
    if (const auto param = parseEffectParamName(name)) {
        if (param->effectIndex >= clip.effects.size())
            return false;
        return writeEffectParameter(clip.effects[param->effectIndex], param->paramId, t, value, autoKey,
                                    force);
    }
    AnimatedProperty *property = clipProperty(clip, name, false);
    return property && keyedWrite(*property, t, value, autoKey, force);
}

QStringList clipAnimatedProperties(const Clip &clip)
{
    QStringList names;
    const QStringList &members = clipMemberPropertyNames();
    for (qsizetype i = 0; i < members.size(); ++i) {
        if (!(clip.*kClipMemberProperties[i]).isEmpty())
            names.append(members[i]);
    }
    for (int e = 0; e < clip.effects.size(); ++e) {
        const auto &params = clip.effects[e].paramKeyframes;
        for (auto it = params.cbegin(); it != params.cend(); ++it) {
            if (!it->isEmpty())
                names.append(effectParamName(e, it.key()));
        }
    }
    return names;
}

} // namespace orvel
