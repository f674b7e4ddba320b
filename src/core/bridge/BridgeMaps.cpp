#include "core/bridge/BridgeMaps.h"

#include "core/document/animation/ClipProperties.h"
#include "core/document/model/EnumStrings.h"
#include "core/document/json/ProjectJson.h"
#include "core/document/editing/Transitions.h"

#include <QStringList>

#include <algorithm>
#include <map>

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

bool isDefaultMask(const ClipMask &mask)
{
    static const ClipMask kDefault;
    return mask.shape == kDefault.shape && mask.x == kDefault.x && mask.y == kDefault.y &&
           mask.w == kDefault.w && mask.h == kDefault.h && mask.rotation == kDefault.rotation &&
           mask.feather == kDefault.feather && mask.invert == kDefault.invert && mask.points.isEmpty() &&
           mask.mattePath.isEmpty() && mask.matteSrcOffsetUs == kDefault.matteSrcOffsetUs;
}

// Most clips carry the untouched mask; they all share one map instead of building their own.
QVariantMap maskToMap(const ClipMask &mask)
{
    static const QVariantMap kDefaultMap = clipMaskToJson(ClipMask()).toVariantMap();
    return isDefaultMask(mask) ? kDefaultMap : clipMaskToJson(mask).toVariantMap();
}

// A map filled in key order: each entry goes straight to the end of the tree instead of being
// searched for, which is most of the cost of building thousands of clip maps.
class SortedMapBuilder
{
public:
    void add(const QString &key, QVariant value)
    {
        m_entries.emplace_hint(m_entries.end(), key, std::move(value));
    }
    QVariantMap take() { return QVariantMap(std::move(m_entries)); }

private:
    std::map<QString, QVariant> m_entries;
};

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
    // Keys in sorted order (see SortedMapBuilder).
    SortedMapBuilder map;
    map.add(QStringLiteral("assetId"), clip.assetId);
    map.add(QStringLiteral("assetIndex"), assetIndex);
    map.add(QStringLiteral("audioEffects"), effectsSummary(clip.audioEffects));
    map.add(QStringLiteral("blendMode"), blendModeName(clip.blendMode));
    map.add(QStringLiteral("duration"), mapSeconds(clip.timelineDurationUs));
    map.add(QStringLiteral("effects"), effectsSummary(clip.effects));
    map.add(QStringLiteral("fadeCurve"), fadeCurveName(clip.fadeCurve));
    map.add(QStringLiteral("fadeIn"), mapSeconds(clip.fadeInUs));
    map.add(QStringLiteral("fadeOut"), mapSeconds(clip.fadeOutUs));
    map.add(QStringLiteral("filmstripPath"), clip.filmstripPath);
    map.add(QStringLiteral("flipH"), clip.flipH);
    map.add(QStringLiteral("flipV"), clip.flipV);
    map.add(QStringLiteral("hasFaceTrack"), !clip.faceTrackPath.isEmpty());
    map.add(QStringLiteral("hasSpeedCurve"), clip.speedCurve.isActive());
    map.add(QStringLiteral("id"), clip.id);
    map.add(QStringLiteral("inPoint"), mapSeconds(clip.srcInUs));
    map.add(QStringLiteral("keyframes"), keyframesToMap(clip));
    map.add(QStringLiteral("kind"), clipTypeName(clip.type));
    map.add(QStringLiteral("linked"), !clip.linkId.isEmpty());
    map.add(QStringLiteral("mask"), maskToMap(clip.mask));
    map.add(QStringLiteral("name"), clip.name);
    map.add(QStringLiteral("outPoint"), mapSeconds(clip.srcOutUs));
    map.add(QStringLiteral("path"), clip.path);
    map.add(QStringLiteral("reverse"), clip.reverse);
    // Styles only matter to the clips that draw them; other clips get empty maps.
    map.add(QStringLiteral("shapeStyle"),
            clip.type == ClipType::shape ? shapeStyleToVariantMap(clip.shapeStyle) : QVariantMap());
    map.add(QStringLiteral("sourceDuration"), mapSeconds(clipSourceLengthUs(project, clip)));
    map.add(QStringLiteral("speed"), clip.speed);
    map.add(QStringLiteral("start"), mapSeconds(clip.timelineStartUs));
    map.add(QStringLiteral("subtitleCues"), subtitleCuesToList(clip.subtitleCues));
    map.add(QStringLiteral("textContent"), clip.textContent);
    map.add(QStringLiteral("textStyle"),
            usesTextStyle(clip.type) ? textStyleToVariantMap(clip.textStyle) : QVariantMap());
    map.add(QStringLiteral("thumbnailPath"), clip.thumbnailPath);
    map.add(QStringLiteral("volume"), volumeValue(clip));
    return map.take();
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

namespace {

QVariantList clipMapsOf(const Project &project, const Track &track, const QHash<QString, int> &assetRows)
{
    QVariantList clips;
    clips.reserve(track.clips.size());
    for (const Clip &clip : track.clips)
        clips.append(clipToMap(project, clip, assetRows.value(clip.assetId, -1)));
    return clips;
}

QVariantMap trackMapWithClips(const Track &track, const QVariantList &clipMaps)
{
    QVariantList transitions;
    for (const Transition &transition : track.transitions)
        transitions.append(transitionToMap(track, transition));
    return {{QStringLiteral("type"), trackTypeName(track.type)},
            {QStringLiteral("clips"), clipMaps},
            {QStringLiteral("transitions"), transitions},
            {QStringLiteral("muted"), track.muted},
            {QStringLiteral("hidden"), track.hidden},
            {QStringLiteral("showWaveform"), track.showWaveform},
            {QStringLiteral("heightScale"), track.heightScale}};
}

} // namespace

QVariantMap trackToMap(const Project &project, const Track &track, const QHash<QString, int> &assetRows)
{
    return trackMapWithClips(track, clipMapsOf(project, track, assetRows));
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

QVariantList TrackMapsCache::tracks(const Project &project)
{
    // Asset indices and source lengths come from the asset table: a new table maps everything anew.
    if (!project.assets.isSharedWith(m_assets) || !project.assetOrder.isSharedWith(m_assetOrder)) {
        m_entries.clear();
        m_assets = project.assets;
        m_assetOrder = project.assetOrder;
    }
    QHash<QString, int> assetRows;
    QList<Entry> entries;
    entries.reserve(project.tracks.size());
    QVariantList list;
    list.reserve(project.tracks.size());
    for (const Track &track : project.tracks) {
        // Tracks may have moved: look for the data anywhere in the previous read.
        const auto reused = std::find_if(m_entries.cbegin(), m_entries.cend(), [&track](const Entry &entry) {
            return entry.clips.isSharedWith(track.clips) && !track.clips.isEmpty();
        });
        Entry entry;
        entry.clips = track.clips;
        if (reused != m_entries.cend()) {
            entry.clipMaps = reused->clipMaps;
        } else {
            if (assetRows.isEmpty())
                assetRows = assetRowsById(project);
            entry.clipMaps = clipMapsOf(project, track, assetRows);
        }
        list.append(trackMapWithClips(track, entry.clipMaps));
        entries.append(entry);
    }
    m_entries = entries;
    return list;
}

void TrackMapsCache::clear()
{
    m_entries.clear();
    m_assets.clear();
    m_assetOrder.clear();
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
