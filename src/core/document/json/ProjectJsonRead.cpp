// Reading a Project from its JSON form, old document versions included.
#include "core/document/model/EnumStrings.h"
#include "core/document/json/JsonValues.h"
#include "core/document/json/ProjectJson.h"

#include <QJsonArray>

#include <algorithm>

namespace orvel {

using namespace Qt::StringLiterals;
namespace projectread {

// Kept inside this file's own namespace so that unity builds do not spread it.
using namespace jsonvalue;

// Documents below this version use the old clip, asset and bookmark forms.
constexpr int kFirstModernVersion = 2;

struct ReadContext
{
    int version = 1;
    int canvasWidth = 1920;
    int canvasHeight = 1080;
    const QList<QString> *assetOrder = nullptr; // for old clips that name assets by index
};

QString readIdOrNew(const QJsonObject &json)
{
    const QJsonValue value = json.value("id"_L1);
    return value.isString() ? value.toString() : newUuid();
}

AnimatedProperty readProperty(const QJsonObject &json, QLatin1StringView key)
{
    const QJsonValue value = json.value(key);
    return value.isObject() ? animatedPropertyFromJson(value.toObject()) : AnimatedProperty();
}

// Value at clip time 0, or the given neutral value for a property without keys.
double valueAtStart(const AnimatedProperty &property, double neutral)
{
    return property.isEmpty() ? neutral : valueAt(property, 0);
}

// Old documents placed clips by a centre and a uniform scale, both normalised to the canvas.
// They become pixel rectangles at the project's current size.
void readLegacyTransform(const QJsonObject &json, const ReadContext &context, Clip &clip)
{
    const double canvasW = std::max(context.canvasWidth, 1);
    const double canvasH = std::max(context.canvasHeight, 1);
    const double posX = valueAtStart(readProperty(json, "posX"_L1), 0.5);
    const double posY = valueAtStart(readProperty(json, "posY"_L1), 0.5);
    const double scale = valueAtStart(readProperty(json, "scale"_L1), 1.0);
    const double width = canvasW * scale;
    const double height = canvasH * scale;
    clip.width = constantProperty(width);
    clip.height = constantProperty(height);
    clip.x = constantProperty(canvasW * posX - width * 0.5);
    clip.y = constantProperty(canvasH * posY - height * 0.5);
}

void readTransform(const QJsonObject &json, const ReadContext &context, Clip &clip)
{
    if (json.value("x"_L1).isObject() || json.value("width"_L1).isObject()) {
        clip.x = readProperty(json, "x"_L1);
        clip.y = readProperty(json, "y"_L1);
        clip.width = readProperty(json, "width"_L1);
        clip.height = readProperty(json, "height"_L1);
    } else {
        readLegacyTransform(json, context, clip);
    }
}

// Volume was once a plain gain; it is now a property like any other.
AnimatedProperty readVolume(const QJsonObject &json)
{
    const QJsonValue value = json.value("volume"_L1);
    if (value.isObject())
        return animatedPropertyFromJson(value.toObject());
    return constantProperty(toDouble(value, 1.0));
}

QList<SubtitleCue> readCues(const QJsonArray &json)
{
    QList<SubtitleCue> cues;
    cues.reserve(json.size());
    for (const QJsonValue &element : json) {
        const QJsonObject cueJson = element.toObject();
        cues.append(SubtitleCue{readTime(cueJson, "startUs"_L1, 0), readTime(cueJson, "endUs"_L1, 0),
                                readString(cueJson, "text"_L1)});
    }
    std::stable_sort(cues.begin(), cues.end(), [](const SubtitleCue &a, const SubtitleCue &b) {
        return a.startUs != b.startUs ? a.startUs < b.startUs : a.endUs < b.endUs;
    });
    return cues;
}

EffectInstance readEffect(const QJsonObject &json)
{
    EffectInstance effect;
    effect.name = readString(json, "name"_L1);
    effect.catalogId = readString(json, "catalogId"_L1);
    effect.parameters = readObject(json, "parameters"_L1).toVariantMap();
    const QJsonObject animated = readObject(json, "paramKeyframes"_L1);
    for (auto it = animated.constBegin(); it != animated.constEnd(); ++it) {
        if (!it.value().isObject())
            continue;
        AnimatedProperty property = animatedPropertyFromJson(it.value().toObject());
        if (!property.isEmpty())
            effect.paramKeyframes.insert(it.key(), std::move(property));
    }
    return effect;
}

QList<EffectInstance> readEffects(const QJsonArray &json)
{
    QList<EffectInstance> effects;
    effects.reserve(json.size());
    for (const QJsonValue &element : json)
        effects.append(readEffect(element.toObject()));
    return effects;
}

void readClipContent(const QJsonObject &json, Clip &clip)
{
    clip.id = readIdOrNew(json);
    clip.assetId = readString(json, "assetId"_L1);
    clip.linkId = readString(json, "linkId"_L1);
    clip.suppressEmbeddedAudio = readBool(json, "suppressEmbeddedAudio"_L1, false);
    clip.type = clipTypeFromName(readString(json, "type"_L1));
    clip.name = readString(json, "name"_L1);
    clip.textContent = readString(json, "textContent"_L1);
    clip.textStyle = textStyleFromJson(readObject(json, "textStyle"_L1));
    clip.subtitleCues = readCues(readArray(json, "subtitleCues"_L1));
    clip.shapeStyle = shapeStyleFromJson(readObject(json, "shapeStyle"_L1));
    clip.path = readString(json, "path"_L1);
    clip.thumbnailPath = readString(json, "thumbnailPath"_L1);
    clip.filmstripPath = readString(json, "filmstripPath"_L1);
    clip.emoji = readString(json, "emoji"_L1);
    clip.blendMode = blendModeFromName(readString(json, "blendMode"_L1));
}

void readClipTiming(const QJsonObject &json, Clip &clip)
{
    clip.speed = readDouble(json, "speed"_L1, 1.0);
    clip.speedCurve = speedCurveFromJson(readArray(json, "speedCurve"_L1));
    applySpeedCurveWindowJson(readArray(json, "speedCurveWindow"_L1), clip.speedCurve);
    clip.reverse = readBool(json, "reverse"_L1, false);
    clip.flipH = readBool(json, "flipH"_L1, false);
    clip.flipV = readBool(json, "flipV"_L1, false);
    clip.mask = clipMaskFromJson(readObject(json, "mask"_L1));
    clip.faceTrackPath = readString(json, "faceTrackPath"_L1);
    clip.faceTrackSrcOffsetUs = readTimeInteger(json, "faceTrackSrcOffsetUs"_L1, 0);
    clip.fadeInUs = readTime(json, "fadeInUs"_L1, 0);
    clip.fadeOutUs = readTime(json, "fadeOutUs"_L1, 0);
    clip.fadeCurve = fadeCurveFromName(readString(json, "fadeCurve"_L1));
    clip.timelineStartUs = readTime(json, "timelineStartUs"_L1, 0);
    clip.timelineDurationUs = readTime(json, "timelineDurationUs"_L1, 0);
    clip.srcInUs = readTime(json, "srcInUs"_L1, 0);
    clip.srcOutUs = readTime(json, "srcOutUs"_L1, 0);
}

Clip readClip(const QJsonObject &json, const ReadContext &context)
{
    Clip clip;
    readClipContent(json, clip);
    readClipTiming(json, clip);
    clip.volume = readVolume(json);
    clip.opacity = readProperty(json, "opacity"_L1);
    readTransform(json, context, clip);
    clip.rotation = readProperty(json, "rotation"_L1);
    clip.effects = readEffects(readArray(json, "effects"_L1));
    clip.audioEffects = readEffects(readArray(json, "audioEffects"_L1));
    return clip;
}

// Version 1 clips: times in seconds and the asset named by its position in the asset list.
Clip readVersion1Clip(const QJsonObject &json, const ReadContext &context)
{
    Clip clip;
    clip.id = newUuid();
    clip.name = readString(json, "name"_L1);
    clip.path = readString(json, "path"_L1);
    clip.type = clipTypeFromName(readString(json, "kind"_L1));
    clip.textContent = readString(json, "textContent"_L1);
    clip.thumbnailPath = readString(json, "thumbnailPath"_L1);
    clip.filmstripPath = readString(json, "filmstripPath"_L1);
    clip.timelineStartUs = readSecondsAsTime(json, "start"_L1);
    clip.timelineDurationUs = readSecondsAsTime(json, "duration"_L1);
    clip.srcInUs = readSecondsAsTime(json, "inPoint"_L1);
    clip.srcOutUs = readSecondsAsTime(json, "outPoint"_L1);
    const QJsonValue indexValue = json.value("assetIndex"_L1);
    const int assetIndex = indexValue.isDouble() ? truncateToInt(indexValue.toDouble(), -1) : -1;
    if (context.assetOrder && assetIndex >= 0 && assetIndex < context.assetOrder->size())
        clip.assetId = context.assetOrder->at(assetIndex);
    return clip;
}

Transition readTransition(const QJsonObject &json)
{
    Transition transition;
    transition.id = readString(json, "id"_L1);
    transition.fromClipId = readString(json, "fromClipId"_L1);
    transition.toClipId = readString(json, "toClipId"_L1);
    const QString kind = readString(json, "kind"_L1);
    if (!kind.isEmpty())
        transition.kind = kind;
    transition.parameters = readObject(json, "parameters"_L1).toVariantMap();
    transition.durationUs = readTime(json, "durationUs"_L1, transition.durationUs);
    return transition;
}

Track readTrack(const QJsonObject &json, const ReadContext &context)
{
    Track track;
    track.type = trackTypeFromName(readString(json, "type"_L1));
    track.muted = readBool(json, "muted"_L1, false);
    track.hidden = readBool(json, "hidden"_L1, false);
    track.locked = readBool(json, "locked"_L1, false);
    track.showWaveform = readBool(json, "showWaveform"_L1, false);
    track.heightScale =
        std::clamp(readDouble(json, "heightScale"_L1, 1.0), kTrackHeightScaleMin, kTrackHeightScaleMax);
    const bool legacy = context.version < kFirstModernVersion;
    const QJsonArray clips = readArray(json, "clips"_L1);
    track.clips.reserve(clips.size());
    for (const QJsonValue &element : clips) {
        const QJsonObject clipJson = element.toObject();
        track.clips.append(legacy ? readVersion1Clip(clipJson, context) : readClip(clipJson, context));
    }
    const QJsonArray transitions = readArray(json, "transitions"_L1);
    track.transitions.reserve(transitions.size());
    for (const QJsonValue &element : transitions)
        track.transitions.append(readTransition(element.toObject()));
    return track;
}

Asset readAsset(const QJsonObject &json)
{
    Asset asset;
    asset.id = readIdOrNew(json);
    asset.name = readString(json, "name"_L1);
    asset.kind = assetKindFromName(readString(json, "kind"_L1));
    asset.durationUs = readTime(json, "durationUs"_L1, 0);
    asset.durationText = readString(json, "duration"_L1);
    asset.path = readString(json, "path"_L1);
    asset.width = readInt(json, "width"_L1, 0);
    asset.height = readInt(json, "height"_L1, 0);
    asset.fps = readDouble(json, "fps"_L1, 0.0);
    asset.rotationDegrees = readInt(json, "rotationDegrees"_L1, 0);
    asset.sampleRate = readInt(json, "sampleRate"_L1, 0);
    asset.channels = readInt(json, "channels"_L1, 0);
    asset.codecName = readString(json, "codecName"_L1);
    asset.thumbnailPath = readString(json, "thumbnailPath"_L1);
    asset.filmstripPath = readString(json, "filmstripPath"_L1);
    const QJsonValue hasAudio = json.value("hasAudio"_L1);
    if (hasAudio.isBool()) {
        asset.hasAudioKnown = true;
        asset.hasAudio = hasAudio.toBool();
    } else if (asset.channels >= 1 || asset.sampleRate >= 1) {
        // Written before the flag existed: audio parameters mean the file has sound.
        asset.hasAudioKnown = true;
        asset.hasAudio = true;
    }
    return asset;
}

Asset readVersion1Asset(const QJsonObject &json)
{
    Asset asset;
    asset.id = newUuid();
    asset.name = readString(json, "name"_L1);
    asset.kind = assetKindFromName(readString(json, "kind"_L1));
    asset.durationText = readString(json, "duration"_L1);
    asset.durationUs = readSecondsAsTime(json, "durationSeconds"_L1);
    asset.path = readString(json, "path"_L1);
    asset.thumbnailPath = readString(json, "thumbnailPath"_L1);
    asset.filmstripPath = readString(json, "filmstripPath"_L1);
    return asset;
}

ProjectBackground readBackground(const QJsonObject &json)
{
    ProjectBackground background;
    background.kind = backgroundKindFromName(readString(json, "kind"_L1));
    background.color = readColor(json, "color"_L1, background.color);
    background.blurStrength = readDouble(json, "blurStrength"_L1, background.blurStrength);
    return background;
}

QList<Bookmark> readBookmarks(const QJsonArray &json, int version)
{
    QList<Bookmark> bookmarks;
    bookmarks.reserve(json.size());
    for (const QJsonValue &element : json) {
        const QJsonObject bookmarkJson = element.toObject();
        const TimeUs timeUs = version < kFirstModernVersion ? readSecondsAsTime(bookmarkJson, "seconds"_L1)
                                                            : readTime(bookmarkJson, "timeUs"_L1, 0);
        bookmarks.append(Bookmark{timeUs, readString(bookmarkJson, "label"_L1)});
    }
    return bookmarks;
}

void readCanvas(const QJsonObject &json, Project &project)
{
    project.name = readString(json, "projectName"_L1, project.name);
    project.fps = std::max(readInt(json, "fps"_L1, project.fps), 1);
    project.height = readInt(json, "height"_L1, project.height);
    project.width = readInt(json, "width"_L1, project.width);
    project.sampleRate = readInt(json, "sampleRate"_L1, project.sampleRate);
    project.background = readBackground(readObject(json, "background"_L1));
}

void readAssets(const QJsonObject &json, int version, Project &project)
{
    const QJsonArray assets = readArray(json, "assets"_L1);
    project.assetOrder.reserve(assets.size());
    for (const QJsonValue &element : assets) {
        const QJsonObject assetJson = element.toObject();
        project.insertAsset(version < kFirstModernVersion ? readVersion1Asset(assetJson)
                                                          : readAsset(assetJson));
    }
}

void readTracks(const QJsonObject &json, const ReadContext &context, Project &project)
{
    const QJsonArray tracks = readArray(json, "tracks"_L1);
    if (tracks.isEmpty())
        return; // the default project's single empty video track stays
    project.tracks.clear();
    project.tracks.reserve(tracks.size());
    for (const QJsonValue &element : tracks)
        project.tracks.append(readTrack(element.toObject(), context));
}

void readIdentity(const QJsonObject &json, Project &project)
{
    const QString id = readString(json, "id"_L1);
    if (!id.isEmpty())
        project.id = id;
    project.author = readString(json, "author"_L1);
    project.description = readString(json, "description"_L1);
    const QDateTime created = QDateTime::fromString(readString(json, "createdAt"_L1), Qt::ISODate);
    if (created.isValid())
        project.createdAt = created;
    const QDateTime modified = QDateTime::fromString(readString(json, "modifiedAt"_L1), Qt::ISODate);
    project.modifiedAt = modified.isValid() ? modified : project.createdAt;
}

} // namespace projectread

Clip clipFromJson(const QJsonObject &json, int canvasWidth, int canvasHeight)
{
    projectread::ReadContext context;
    context.version = kProjectJsonVersion;
    context.canvasWidth = canvasWidth;
    context.canvasHeight = canvasHeight;
    return projectread::readClip(json, context);
}

Project projectFromJson(const QJsonObject &json, QString *error)
{
    using namespace jsonvalue;
    Project project;
    projectread::ReadContext context;
    // No upper bound: a newer document is read with the current forms and unknown keys dropped.
    context.version = readInt(json, "version"_L1, 1);
    projectread::readCanvas(json, project);
    projectread::readAssets(json, context.version, project);
    context.canvasWidth = project.width;
    context.canvasHeight = project.height;
    context.assetOrder = &project.assetOrder;
    projectread::readTracks(json, context, project);
    project.bookmarks = projectread::readBookmarks(readArray(json, "bookmarks"_L1), context.version);
    projectread::readIdentity(json, project);
    if (error)
        error->clear();
    return project;
}

} // namespace orvel
