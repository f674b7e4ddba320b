// Writing a Project to its JSON form. Always the current version; old forms are read only.
#include "core/document/model/EnumStrings.h"
#include "core/document/json/JsonValues.h"
#include "core/document/json/ProjectJson.h"

#include <QJsonArray>

namespace orvel {

using namespace Qt::StringLiterals;
namespace projectwrite {

// Kept inside this file's own namespace so that unity builds do not spread it.
using namespace jsonvalue;

QJsonArray cuesToJson(const QList<SubtitleCue> &cues)
{
    QJsonArray json;
    for (const SubtitleCue &cue : cues) {
        QJsonObject cueJson;
        cueJson.insert("startUs"_L1, timeValue(cue.startUs));
        cueJson.insert("endUs"_L1, timeValue(cue.endUs));
        cueJson.insert("text"_L1, cue.text);
        json.append(cueJson);
    }
    return json;
}

QJsonObject effectToJson(const EffectInstance &effect)
{
    QJsonObject animated;
    for (auto it = effect.paramKeyframes.cbegin(); it != effect.paramKeyframes.cend(); ++it) {
        if (!it.value().isEmpty())
            animated.insert(it.key(), animatedPropertyToJson(it.value()));
    }
    QJsonObject json;
    json.insert("name"_L1, effect.name);
    json.insert("catalogId"_L1, effect.catalogId);
    json.insert("parameters"_L1, QJsonObject::fromVariantMap(effect.parameters));
    json.insert("paramKeyframes"_L1, animated);
    return json;
}

QJsonArray effectsToJson(const QList<EffectInstance> &effects)
{
    QJsonArray json;
    for (const EffectInstance &effect : effects)
        json.append(effectToJson(effect));
    return json;
}

void writeClipContent(QJsonObject &json, const Clip &clip)
{
    json.insert("id"_L1, clip.id);
    json.insert("assetId"_L1, clip.assetId);
    json.insert("linkId"_L1, clip.linkId);
    json.insert("suppressEmbeddedAudio"_L1, clip.suppressEmbeddedAudio);
    json.insert("type"_L1, clipTypeName(clip.type));
    json.insert("name"_L1, clip.name);
    json.insert("textContent"_L1, clip.textContent);
    json.insert("textStyle"_L1, textStyleToJson(clip.textStyle));
    json.insert("subtitleCues"_L1, cuesToJson(clip.subtitleCues));
    json.insert("shapeStyle"_L1, shapeStyleToJson(clip.shapeStyle));
    json.insert("path"_L1, clip.path);
    json.insert("thumbnailPath"_L1, clip.thumbnailPath);
    json.insert("filmstripPath"_L1, clip.filmstripPath);
    json.insert("emoji"_L1, clip.emoji);
    json.insert("blendMode"_L1, blendModeName(clip.blendMode));
}

void writeClipTiming(QJsonObject &json, const Clip &clip)
{
    json.insert("speed"_L1, clip.speed);
    json.insert("speedCurve"_L1, speedCurveToJson(clip.speedCurve));
    // Only split or trimmed curves play part of their drawing; whole ones keep the plain form.
    if (clip.speedCurve.isActive() && clip.speedCurve.isWindowed())
        json.insert("speedCurveWindow"_L1,
                    QJsonArray{clip.speedCurve.windowStart, clip.speedCurve.windowEnd});
    json.insert("reverse"_L1, clip.reverse);
    json.insert("flipH"_L1, clip.flipH);
    json.insert("flipV"_L1, clip.flipV);
    json.insert("mask"_L1, clipMaskToJson(clip.mask));
    json.insert("faceTrackPath"_L1, clip.faceTrackPath);
    json.insert("faceTrackSrcOffsetUs"_L1, timeValue(clip.faceTrackSrcOffsetUs));
    json.insert("fadeInUs"_L1, timeValue(clip.fadeInUs));
    json.insert("fadeOutUs"_L1, timeValue(clip.fadeOutUs));
    json.insert("fadeCurve"_L1, fadeCurveName(clip.fadeCurve));
    json.insert("timelineStartUs"_L1, timeValue(clip.timelineStartUs));
    json.insert("timelineDurationUs"_L1, timeValue(clip.timelineDurationUs));
    json.insert("srcInUs"_L1, timeValue(clip.srcInUs));
    json.insert("srcOutUs"_L1, timeValue(clip.srcOutUs));
}

void writeClipAnimation(QJsonObject &json, const Clip &clip)
{
    json.insert("volume"_L1, animatedPropertyToJson(clip.volume));
    json.insert("opacity"_L1, animatedPropertyToJson(clip.opacity));
    json.insert("x"_L1, animatedPropertyToJson(clip.x));
    json.insert("y"_L1, animatedPropertyToJson(clip.y));
    json.insert("width"_L1, animatedPropertyToJson(clip.width));
    json.insert("height"_L1, animatedPropertyToJson(clip.height));
    json.insert("rotation"_L1, animatedPropertyToJson(clip.rotation));
    json.insert("effects"_L1, effectsToJson(clip.effects));
    json.insert("audioEffects"_L1, effectsToJson(clip.audioEffects));
}

QJsonObject transitionToJson(const Transition &transition)
{
    QJsonObject json;
    json.insert("id"_L1, transition.id);
    json.insert("fromClipId"_L1, transition.fromClipId);
    json.insert("toClipId"_L1, transition.toClipId);
    json.insert("kind"_L1, transition.kind);
    json.insert("parameters"_L1, QJsonObject::fromVariantMap(transition.parameters));
    json.insert("durationUs"_L1, timeValue(transition.durationUs));
    return json;
}

QJsonObject trackToJson(const Track &track)
{
    QJsonArray clips;
    for (const Clip &clip : track.clips)
        clips.append(clipToJson(clip));
    QJsonArray transitions;
    for (const Transition &transition : track.transitions)
        transitions.append(transitionToJson(transition));
    QJsonObject json;
    json.insert("type"_L1, trackTypeName(track.type));
    json.insert("muted"_L1, track.muted);
    json.insert("hidden"_L1, track.hidden);
    json.insert("locked"_L1, track.locked);
    json.insert("showWaveform"_L1, track.showWaveform);
    json.insert("heightScale"_L1, track.heightScale);
    json.insert("clips"_L1, clips);
    json.insert("transitions"_L1, transitions);
    return json;
}

QJsonObject assetToJson(const Asset &asset)
{
    QJsonObject json;
    json.insert("id"_L1, asset.id);
    json.insert("name"_L1, asset.name);
    json.insert("kind"_L1, assetKindName(asset.kind));
    json.insert("durationUs"_L1, timeValue(asset.durationUs));
    json.insert("duration"_L1, asset.durationText);
    json.insert("path"_L1, asset.path);
    json.insert("width"_L1, asset.width);
    json.insert("height"_L1, asset.height);
    json.insert("fps"_L1, asset.fps);
    json.insert("rotationDegrees"_L1, asset.rotationDegrees);
    json.insert("sampleRate"_L1, asset.sampleRate);
    json.insert("channels"_L1, asset.channels);
    json.insert("codecName"_L1, asset.codecName);
    json.insert("thumbnailPath"_L1, asset.thumbnailPath);
    json.insert("filmstripPath"_L1, asset.filmstripPath);
    if (asset.hasAudioKnown) // absent means "ask the file" on the next load
        json.insert("hasAudio"_L1, asset.hasAudio);
    return json;
}

QJsonObject backgroundToJson(const ProjectBackground &background)
{
    QJsonObject json;
    json.insert("kind"_L1, backgroundKindName(background.kind));
    json.insert("color"_L1, colorValue(background.color));
    json.insert("blurStrength"_L1, background.blurStrength);
    return json;
}

QJsonArray assetsToJson(const Project &project)
{
    QJsonArray json;
    for (const QString &assetId : project.assetOrder) {
        if (const Asset *asset = project.asset(assetId))
            json.append(assetToJson(*asset));
    }
    return json;
}

QJsonArray bookmarksToJson(const QList<Bookmark> &bookmarks)
{
    QJsonArray json;
    for (const Bookmark &bookmark : bookmarks) {
        QJsonObject bookmarkJson;
        bookmarkJson.insert("timeUs"_L1, timeValue(bookmark.timeUs));
        bookmarkJson.insert("label"_L1, bookmark.label);
        json.append(bookmarkJson);
    }
    return json;
}

} // namespace projectwrite

QJsonObject clipToJson(const Clip &clip)
{
    QJsonObject json;
    projectwrite::writeClipContent(json, clip);
    projectwrite::writeClipTiming(json, clip);
    projectwrite::writeClipAnimation(json, clip);
    return json;
}

QJsonObject projectToJson(const Project &project)
{
    QJsonArray tracks;
    for (const Track &track : project.tracks)
        tracks.append(projectwrite::trackToJson(track));
    QJsonObject json;
    json.insert("version"_L1, kProjectJsonVersion);
    json.insert("projectName"_L1, project.name);
    json.insert("id"_L1, project.id);
    json.insert("author"_L1, project.author);
    json.insert("description"_L1, project.description);
    json.insert("createdAt"_L1, project.createdAt.toString(Qt::ISODate));
    json.insert("modifiedAt"_L1, project.modifiedAt.toString(Qt::ISODate));
    json.insert("fps"_L1, project.fps);
    json.insert("width"_L1, project.width);
    json.insert("height"_L1, project.height);
    json.insert("sampleRate"_L1, project.sampleRate);
    json.insert("assets"_L1, projectwrite::assetsToJson(project));
    json.insert("tracks"_L1, tracks);
    json.insert("bookmarks"_L1, projectwrite::bookmarksToJson(project.bookmarks));
    json.insert("background"_L1, projectwrite::backgroundToJson(project.background));
    return json;
}

} // namespace orvel
