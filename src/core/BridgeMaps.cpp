#include "core/BridgeMaps.h"

#include "core/document/ClipProperties.h"
#include "core/document/EnumStrings.h"
#include "core/document/ProjectJson.h"
#include "core/document/Transitions.h"

#include <QStringList>

namespace orvel {

namespace {

double mapSeconds(TimeUs us)
{
    return double(us) / 1e6;
}

QVariantList subtitleCuesToList(const QList<SubtitleCue> &cues)
{
    QVariantList list;
    list.reserve(cues.size());
    for (const SubtitleCue &cue : cues)
        list.append(QVariantMap{{QStringLiteral("start"), mapSeconds(cue.startUs)},
                                {QStringLiteral("end"), mapSeconds(cue.endUs)},
                                {QStringLiteral("text"), cue.text}});
    return list;
}

QVariantMap keyframeSummary(const AnimatedProperty &property)
{
    QVariantList times;
    times.reserve(property.keyframes.size());
    for (auto it = property.keyframes.cbegin(); it != property.keyframes.cend(); ++it)
        times.append(mapSeconds(it.key()));
    return {{QStringLiteral("count"), int(property.keyframes.size())},
            {QStringLiteral("enabled"), property.enabled},
            {QStringLiteral("times"), times}};
}

// Property name to its key count, on/off state and clip-local key times: what the timeline's
// diamonds draw. Only properties that hold keys are listed.
QVariantMap keyframesToMap(const Clip &clip)
{
    QVariantMap map;
    for (const QString &name : clipAnimatedProperties(clip))
        if (const AnimatedProperty *property = clipProperty(clip, name))
            map.insert(name, keyframeSummary(*property));
    return map;
}

QVariantList effectsSummary(const QList<EffectInstance> &effects)
{
    QVariantList list;
    list.reserve(effects.size());
    for (const EffectInstance &effect : effects)
        list.append(QVariantMap{{QStringLiteral("name"), effect.name},
                                {QStringLiteral("catalogId"), effect.catalogId},
                                {QStringLiteral("params"), effect.parameters}});
    return list;
}

double volumeValue(const Clip &clip)
{
    return clip.volume.isEmpty() ? 1.0 : valueAt(clip.volume, 0);
}

bool usesTextStyle(ClipType type)
{
    return type == ClipType::text || type == ClipType::subtitle;
}

void insertTiming(const Project &project, const Clip &clip, QVariantMap &map)
{
    map.insert(QStringLiteral("start"), mapSeconds(clip.timelineStartUs));
    map.insert(QStringLiteral("duration"), mapSeconds(clip.timelineDurationUs));
    map.insert(QStringLiteral("inPoint"), mapSeconds(clip.srcInUs));
    map.insert(QStringLiteral("outPoint"), mapSeconds(clip.srcOutUs));
    map.insert(QStringLiteral("sourceDuration"), mapSeconds(clipSourceLengthUs(project, clip)));
    map.insert(QStringLiteral("speed"), clip.speed);
    map.insert(QStringLiteral("hasSpeedCurve"), clip.speedCurve.isActive());
    map.insert(QStringLiteral("reverse"), clip.reverse);
    map.insert(QStringLiteral("fadeIn"), mapSeconds(clip.fadeInUs));
    map.insert(QStringLiteral("fadeOut"), mapSeconds(clip.fadeOutUs));
    map.insert(QStringLiteral("fadeCurve"), fadeCurveName(clip.fadeCurve));
}

// Styles only matter to the clips that draw them; other clips get empty maps, which keeps a
// whole-timeline read cheap.
void insertLook(const Clip &clip, QVariantMap &map)
{
    map.insert(QStringLiteral("textStyle"),
               usesTextStyle(clip.type) ? textStyleToJson(clip.textStyle).toVariantMap() : QVariantMap());
    map.insert(QStringLiteral("subtitleCues"), subtitleCuesToList(clip.subtitleCues));
    map.insert(QStringLiteral("shapeStyle"), clip.type == ClipType::shape
                                                 ? shapeStyleToJson(clip.shapeStyle).toVariantMap()
                                                 : QVariantMap());
    map.insert(QStringLiteral("mask"), clipMaskToJson(clip.mask).toVariantMap());
    map.insert(QStringLiteral("blendMode"), blendModeName(clip.blendMode));
    map.insert(QStringLiteral("flipH"), clip.flipH);
    map.insert(QStringLiteral("flipV"), clip.flipV);
    map.insert(QStringLiteral("hasFaceTrack"), !clip.faceTrackPath.isEmpty());
}

} // namespace

QHash<QString, int> assetRowsById(const Project &project)
{
    QHash<QString, int> rows;
    rows.reserve(project.assetOrder.size());
    for (int i = 0; i < project.assetOrder.size(); ++i)
        rows.insert(project.assetOrder[i], i);
    return rows;
}

QVariantMap clipToMap(const Project &project, const Clip &clip, int assetIndex)
{
    QVariantMap map;
    map.insert(QStringLiteral("id"), clip.id);
    map.insert(QStringLiteral("name"), clip.name);
    map.insert(QStringLiteral("path"), clip.path);
    map.insert(QStringLiteral("kind"), clipTypeName(clip.type));
    map.insert(QStringLiteral("thumbnailPath"), clip.thumbnailPath);
    map.insert(QStringLiteral("filmstripPath"), clip.filmstripPath);
    map.insert(QStringLiteral("textContent"), clip.textContent);
    map.insert(QStringLiteral("assetId"), clip.assetId);
    map.insert(QStringLiteral("assetIndex"), assetIndex);
    map.insert(QStringLiteral("linked"), !clip.linkId.isEmpty());
    map.insert(QStringLiteral("volume"), volumeValue(clip));
    insertTiming(project, clip, map);
    insertLook(clip, map);
    map.insert(QStringLiteral("effects"), effectsSummary(clip.effects));
    map.insert(QStringLiteral("audioEffects"), effectsSummary(clip.audioEffects));
    map.insert(QStringLiteral("keyframes"), keyframesToMap(clip));
    return map;
}

QVariantMap transitionToMap(const Track &track, const Transition &transition)
{
    const Clip *from = clipById(track, transition.fromClipId);
    const Clip *to = clipById(track, transition.toClipId);
    TimeUs startUs = to ? to->timelineStartUs : 0;
    bool overlapping = false;
    if (from && to) {
        overlapping = overlaps(*from, *to);
        if (const auto window = transitionWindow(*from, *to, transition.durationUs))
            startUs = window->startUs;
    }
    // Until the transition catalogue exists, the parameters are those the document holds.
    QVariantList params;
    for (auto it = transition.parameters.cbegin(); it != transition.parameters.cend(); ++it)
        params.append(QVariantMap{{QStringLiteral("id"), it.key()},
                                  {QStringLiteral("label"), it.key()},
                                  {QStringLiteral("default"), it.value()},
                                  {QStringLiteral("isBoolean"), it.value().typeId() == QMetaType::Bool},
                                  {QStringLiteral("value"), it.value()}});
    return {{QStringLiteral("id"), transition.id},
            {QStringLiteral("fromClipId"), transition.fromClipId},
            {QStringLiteral("toClipId"), transition.toClipId},
            {QStringLiteral("kind"), transition.kind},
            {QStringLiteral("duration"), mapSeconds(transition.durationUs)},
            {QStringLiteral("start"), mapSeconds(startUs)},
            {QStringLiteral("overlapping"), overlapping},
            {QStringLiteral("params"), params}};
}

QVariantMap trackToMap(const Project &project, const Track &track, const QHash<QString, int> &assetRows)
{
    QVariantList clips;
    clips.reserve(track.clips.size());
    for (const Clip &clip : track.clips)
        clips.append(clipToMap(project, clip, assetRows.value(clip.assetId, -1)));
    QVariantList transitions;
    for (const Transition &transition : track.transitions)
        transitions.append(transitionToMap(track, transition));
    return {{QStringLiteral("type"), trackTypeName(track.type)},
            {QStringLiteral("clips"), clips},
            {QStringLiteral("transitions"), transitions},
            {QStringLiteral("muted"), track.muted},
            {QStringLiteral("hidden"), track.hidden},
            {QStringLiteral("showWaveform"), track.showWaveform},
            {QStringLiteral("heightScale"), track.heightScale}};
}

QVariantList tracksToList(const Project &project)
{
    const QHash<QString, int> assetRows = assetRowsById(project);
    QVariantList list;
    list.reserve(project.tracks.size());
    for (const Track &track : project.tracks)
        list.append(trackToMap(project, track, assetRows));
    return list;
}

QVariantList clipEffectsToList(const Clip &clip)
{
    QVariantList list;
    for (int e = 0; e < clip.effects.size(); ++e) {
        const EffectInstance &effect = clip.effects[e];
        QVariantList params;
        for (auto it = effect.parameters.cbegin(); it != effect.parameters.cend(); ++it) {
            const AnimatedProperty property = effect.paramKeyframes.value(it.key());
            params.append(QVariantMap{{QStringLiteral("id"), it.key()},
                                      {QStringLiteral("label"), it.key()},
                                      {QStringLiteral("isBoolean"), it.value().typeId() == QMetaType::Bool},
                                      {QStringLiteral("value"), it.value()},
                                      {QStringLiteral("prop"), effectParamName(e, it.key())},
                                      {QStringLiteral("keyframes"), keyframeSummary(property)}});
        }
        list.append(
            QVariantMap{{QStringLiteral("label"), effect.name.isEmpty() ? effect.catalogId : effect.name},
                        {QStringLiteral("catalogId"), effect.catalogId},
                        {QStringLiteral("compositorOnly"), false},
                        {QStringLiteral("params"), params}});
    }
    return list;
}

QVariantList clipAudioEffectsToList(const Clip &clip, const std::function<bool(const QString &)> &known)
{
    QVariantList list;
    for (const EffectInstance &effect : clip.audioEffects) {
        QVariantList params;
        for (auto it = effect.parameters.cbegin(); it != effect.parameters.cend(); ++it)
            params.append(QVariantMap{{QStringLiteral("id"), it.key()},
                                      {QStringLiteral("label"), it.key()},
                                      {QStringLiteral("isBoolean"), it.value().typeId() == QMetaType::Bool},
                                      {QStringLiteral("value"), it.value()}});
        list.append(
            QVariantMap{{QStringLiteral("label"), effect.name.isEmpty() ? effect.catalogId : effect.name},
                        {QStringLiteral("catalogId"), effect.catalogId},
                        {QStringLiteral("icon"), QString()},
                        {QStringLiteral("thumbnailPath"), QString()},
                        {QStringLiteral("params"), params},
                        {QStringLiteral("missing"), !(known && known(effect.catalogId))}});
    }
    return list;
}

QVariantList bookmarksToList(const QList<Bookmark> &bookmarks)
{
    QVariantList list;
    list.reserve(bookmarks.size());
    for (const Bookmark &bookmark : bookmarks)
        list.append(QVariantMap{{QStringLiteral("seconds"), mapSeconds(bookmark.timeUs)},
                                {QStringLiteral("label"), bookmark.label}});
    return list;
}

QVariantMap backgroundToMap(const ProjectBackground &background)
{
    return {{QStringLiteral("kind"), backgroundKindName(background.kind)},
            {QStringLiteral("color"), background.color.name(QColor::HexArgb)},
            {QStringLiteral("blurStrength"), background.blurStrength}};
}

} // namespace orvel
