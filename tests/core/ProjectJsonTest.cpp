#include "core/document/json/ProjectJson.h"
#include "core/document/model/EnumStrings.h"

#include "ProjectJsonFixtures.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUuid>

#include <gtest/gtest.h>

#include <tuple>

using namespace orvel;
using namespace orvel::testfixtures;

namespace {

QStringList sortedKeys(const QJsonObject &json)
{
    QStringList keys = json.keys();
    keys.sort();
    return keys;
}

QStringList sorted(QStringList keys)
{
    keys.sort();
    return keys;
}

// Walks the default project's form next to the fixture's and reports every key whose value is
// the same in both: such a key would not be proven by the round trip.
void collectUnchangedKeys(const QJsonObject &fixture, const QJsonObject &defaults, const QString &where,
                          QStringList &unchanged)
{
    for (auto it = defaults.constBegin(); it != defaults.constEnd(); ++it) {
        QJsonValue mine = fixture.value(it.key());
        QJsonValue theirs = it.value();
        QString path = where + '.' + it.key();
        // Arrays of records are compared by their first record.
        static const QStringList kRecordArrays = {"assets", "bookmarks", "tracks", "clips", "transitions"};
        if (kRecordArrays.contains(it.key())) {
            mine = mine.toArray().first();
            theirs = theirs.toArray().first();
            path += "[0]";
        }
        if (theirs.isObject() && mine.isObject() && !theirs.toObject().isEmpty())
            collectUnchangedKeys(mine.toObject(), theirs.toObject(), path, unchanged);
        else if (mine == theirs)
            unchanged.append(path);
    }
}

// Reports every value of `text` that `written` does not repeat; arrays may have grown.
void collectChangedValues(const QJsonValue &text, const QJsonValue &written, const QString &where,
                          QStringList &changed)
{
    if (text.isObject()) {
        const QJsonObject object = text.toObject();
        for (auto it = object.constBegin(); it != object.constEnd(); ++it)
            collectChangedValues(it.value(), written.toObject().value(it.key()), where + '.' + it.key(),
                                 changed);
    } else if (text.isArray()) {
        const QJsonArray array = text.toArray();
        for (qsizetype i = 0; i < array.size(); ++i)
            collectChangedValues(array[i], written.toArray().at(i), where + QString("[%1]").arg(i), changed);
    } else if (text != written) {
        changed.append(where);
    }
}

QJsonObject firstClipJson(const QJsonObject &project)
{
    return project["tracks"].toArray()[0].toObject()["clips"].toArray()[0].toObject();
}

} // namespace

TEST(ProjectJsonRoundTrip, WriteReadWriteIsByteIdentical)
{
    const Project original = fullProject();
    const QByteArray first = indentedBytes(projectToJson(original));
    QString error = "stale";
    const Project read = projectFromJson(QJsonDocument::fromJson(first).object(), &error);
    EXPECT_TRUE(error.isEmpty());
    EXPECT_EQ(indentedBytes(projectToJson(read)), first);

    // The fixture itself comes from text: written back, every value of the text must reappear
    // (a key read into the wrong field would otherwise survive the round trip), and a few pinned
    // values must mean what they say.
    QStringList changed;
    collectChangedValues(QJsonDocument::fromJson(kFullProjectText).object(), projectToJson(original),
                         "project", changed);
    EXPECT_EQ(changed, QStringList{});
    EXPECT_EQ(original.createdAt, QDateTime(QDate(2025, 3, 4), QTime(5, 6, 7), Qt::UTC));
    EXPECT_EQ(original.tracks[0].clips[0].textStyle.color, QColor(10, 20, 30, 200));
    EXPECT_EQ(original.tracks[0].clips[0].textStyle.align, TextAlign::right);
    EXPECT_EQ(original.tracks[0].clips[0].shapeStyle.kind, 21);
    EXPECT_TRUE(original.asset("asset-b")->hasAudioKnown);
    // Equal bytes prove every written field; the speed tables are not written but rebuilt on read.
    const Clip &clip = read.tracks[0].clips[0];
    ASSERT_EQ(clip.speedCurve.speedTable.size(), kSpeedTableCells + 1);
    EXPECT_EQ(clip.speedCurve.timeTable, original.tracks[0].clips[0].speedCurve.timeTable);
}

TEST(ProjectJsonRoundTrip, FixtureMovesEveryWrittenKeyAwayFromItsDefault)
{
    Project defaults;
    defaults.tracks[0].clips.append(Clip{});
    defaults.tracks[0].transitions.append(Transition{});
    defaults.insertAsset(Asset{});
    defaults.bookmarks.append(Bookmark{});
    QStringList unchanged;
    collectUnchangedKeys(projectToJson(fullProject()), projectToJson(defaults), "project", unchanged);
    EXPECT_EQ(unchanged, QStringList{"project.version"});
}

TEST(ProjectJsonWriter, StyleMapsForQmlMatchTheJsonForm)
{
    // QML reads styles as maps built without JSON in between; they must say exactly what the
    // file says, for a style with every field away from its default.
    const Project project = fullProject();
    const Clip &clip = project.tracks[0].clips[0];
    EXPECT_EQ(textStyleToVariantMap(clip.textStyle), textStyleToJson(clip.textStyle).toVariantMap());
    EXPECT_EQ(shapeStyleToVariantMap(clip.shapeStyle), shapeStyleToJson(clip.shapeStyle).toVariantMap());
}

TEST(ProjectJsonWriter, WritesExactlyTheKeysOfTheFormat)
{
    const QJsonObject project = projectToJson(fullProject());
    const QJsonObject track = project["tracks"].toArray()[0].toObject();
    const QJsonObject clip = firstClipJson(project);
    const QJsonObject text = clip["textStyle"].toObject();
    auto first = [](const QJsonValue &array) { return array.toArray()[0]; };
    const std::tuple<const char *, QJsonValue, const char *> records[] = {
        {"project", project,
         "version projectName id author description createdAt modifiedAt fps width height sampleRate assets "
         "tracks bookmarks background"},
        {"background", project["background"], "kind color blurStrength"},
        {"bookmark", first(project["bookmarks"]), "timeUs label"},
        {"asset", first(project["assets"]),
         "id name kind durationUs duration path width height fps rotationDegrees sampleRate channels "
         "codecName thumbnailPath filmstripPath hasAudio"},
        {"track", track, "type muted hidden locked showWaveform heightScale clips transitions"},
        {"transition", first(track["transitions"]), "id fromClipId toClipId kind parameters durationUs"},
        {"clip", clip,
         "id assetId linkId suppressEmbeddedAudio type name textContent textStyle subtitleCues shapeStyle "
         "path thumbnailPath filmstripPath emoji blendMode speed speedCurve reverse flipH flipV mask "
         "faceTrackPath faceTrackSrcOffsetUs fadeInUs fadeOutUs fadeCurve timelineStartUs timelineDurationUs "
         "srcInUs srcOutUs volume opacity x y width height rotation effects audioEffects"},
        {"cue", first(clip["subtitleCues"]), "startUs endUs text"},
        {"speed point", first(clip["speedCurve"]), "pos speed inDx inDy outDx outDy corner"},
        {"effect", first(clip["effects"]), "name catalogId parameters paramKeyframes"},
        {"mask", clip["mask"], "shape x y w h rotation feather invert points mattePath matteSrcOffsetUs"},
        {"shape style", clip["shapeStyle"],
         "kind fillKind fill fillSecondary gradientAngle stroke strokeWidth strokeStyle cornerRadius points "
         "innerRatio headSize thickness tailX tailSize"},
        {"text style", text,
         "packId fontFamily pixelSize fontWeight italic color align valign wordWrap lineHeight letterSpacing "
         "outlineWidth outlineColor shadowEnabled shadowOffsetX shadowOffsetY shadowBlur shadowOpacity "
         "shadowColor glowEnabled glowColor glowRadius glowOpacity boxEnabled boxColor boxPadding boxRadius "
         "wordHighlight underlineEnabled underlineColor underlineWidth underlineOffset accent animInKind "
         "animInDurationUs animInEase animInUnit animInStaggerUs animInOrder animOutKind animOutDurationUs "
         "animOutEase animOutUnit animOutStaggerUs animOutOrder"},
        {"accent", text["accent"],
         "rule n phase colorEnabled color sizeScale outlineEnabled outlineWidth outlineColor highlight"},
        {"highlight", text["wordHighlight"], "enabled color padding radius"}};
    for (const auto &[where, record, keys] : records) {
        SCOPED_TRACE(where);
        EXPECT_EQ(sortedKeys(record.toObject()), sorted(QString(keys).split(' ')));
    }
    EXPECT_EQ(project["version"].toInt(), 3);
    EXPECT_EQ(project["createdAt"].toString(), "2025-03-04T05:06:07Z");
    EXPECT_EQ(text["color"].toString(), "#c80a141e");
    EXPECT_EQ(text["animInKind"].toString(), "typewriter");
}

TEST(ProjectJsonWriter, OptionalKeysAppearOnlyWhenTheyCarryInformation)
{
    AnimatedProperty property;
    property.keyframes.insert(0, Keyframe{1.0, 0.0, 1e-13, 0.0, -1e-13});
    property.keyframes.insert(10, Keyframe{2.0, 0.0, 0.0, 0.0, 2e-12});
    property.keyframes.insert(20, Keyframe{3.0, 0, 0, 0, 0, true, true});
    const QJsonObject json = animatedPropertyToJson(property);
    EXPECT_FALSE(json.contains("enabled"));
    EXPECT_FALSE(json.contains("interpolation"));
    const QJsonArray keys = json["keyframes"].toArray();
    ASSERT_EQ(keys.size(), 3);
    EXPECT_EQ(sortedKeys(keys[0].toObject()), sorted({"timeUs", "value"}));
    EXPECT_EQ(sortedKeys(keys[1].toObject()), sorted({"timeUs", "value", "inDx", "inDy", "outDx", "outDy"}));
    EXPECT_EQ(sortedKeys(keys[2].toObject()), sorted({"timeUs", "value", "corner", "hold"}));
    property.enabled = false;
    EXPECT_EQ(animatedPropertyToJson(property)["enabled"], QJsonValue(false));

    Project project;
    Clip clip;
    EffectInstance effect;
    effect.paramKeyframes.insert("empty", AnimatedProperty{});
    effect.paramKeyframes.insert("kept", constantProperty(0.5));
    clip.effects.append(effect);
    clip.textStyle.color = QColor("not a colour");
    ASSERT_FALSE(clip.textStyle.color.isValid());
    clip.shapeStyle.kind = 99;
    clip.blendMode = BlendMode(42);
    project.tracks[0].clips.append(clip);
    Asset unprobed;
    unprobed.id = "unprobed";
    project.insertAsset(unprobed);
    project.assetOrder.append("no-record");
    const QJsonObject written = projectToJson(project);
    const QJsonObject clipJson = firstClipJson(written);
    EXPECT_EQ(sortedKeys(clipJson["effects"].toArray()[0].toObject()["paramKeyframes"].toObject()),
              QStringList{"kept"});
    EXPECT_EQ(clipJson["textStyle"].toObject()["color"].toString(), "#ff000000");
    EXPECT_EQ(clipJson["shapeStyle"].toObject()["kind"].toString(), "rectangle");
    EXPECT_EQ(clipJson["blendMode"].toString(), "normal");
    const QJsonArray assets = written["assets"].toArray();
    ASSERT_EQ(assets.size(), 1);
    EXPECT_FALSE(assets[0].toObject().contains("hasAudio"));
}

TEST(ProjectJsonReader, ClampsAndTopLevelRules)
{
    Project p = readText(R"({"version": 99, "fps": 0, "width": -5, "height": 0, "id": "",
        "createdAt": "2024-01-02T03:04:05Z", "modifiedAt": "yesterday", "tracks": [],
        "background": {"kind": "gradient", "color": "#80ff0000"}})");
    EXPECT_EQ(p.fps, 1);
    EXPECT_EQ(p.width, -5); // canvas sizes are not clamped
    EXPECT_EQ(p.height, 0);
    EXPECT_FALSE(p.id.isEmpty());
    EXPECT_EQ(p.createdAt, QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5), Qt::UTC));
    EXPECT_EQ(p.modifiedAt, p.createdAt);
    ASSERT_EQ(p.tracks.size(), 1);
    EXPECT_TRUE(p.tracks[0].clips.isEmpty());
    EXPECT_EQ(p.background.kind, BackgroundKind::color);
    EXPECT_EQ(p.background.color, QColor(255, 0, 0, 128));

    p = readText(R"({"version": 3, "tracks": [{"heightScale": 9}, {"heightScale": 0.1}, {"type": "shape"}],
        "background": {"kind": "blur"}})");
    ASSERT_EQ(p.tracks.size(), 3);
    EXPECT_EQ(p.tracks[0].heightScale, 4.0);
    EXPECT_EQ(p.tracks[1].heightScale, 0.6);
    EXPECT_EQ(p.tracks[2].type, TrackType::shape);
    EXPECT_EQ(p.background.kind, BackgroundKind::blur);
    EXPECT_EQ(p.background.color, QColor(0, 0, 0));
}

TEST(ProjectJsonReader, ClipSpecialForms)
{
    const Project p = readText(R"({"version": 3, "width": 1000, "height": 500, "tracks": [{"clips": [
        {"volume": 0.5, "x": {"keyframes": [{"timeUs": 0, "value": 12}]}, "scale": {"keyframes": [{"value": 3}]},
         "fadeInUs": 1999.9, "faceTrackSrcOffsetUs": 1500.5, "speed": 0.75,
         "subtitleCues": [{"startUs": 500, "endUs": 900, "text": "c"}, {"startUs": 100, "endUs": 400, "text": "a"},
                          {"startUs": 500, "endUs": 600, "text": "b"}],
         "mask": {"points": [[0.1, 0.2], [0.3], "x", [0.5, "y"], [0.7, 0.8, 0.9]], "matteSrcOffsetUs": 42},
         "speedCurve": [{"pos": 0.9, "speed": 20}, {"pos": 0.2, "speed": 2, "inDx": -5}],
         "effects": [{"parameters": {"nested": {"a": [1, 2]}},
                      "paramKeyframes": {"gone": {"keyframes": []}, "bad": 4, "kept": {"keyframes": [{}]}}}]},
        {"volume": "loud", "transform": 1}], "transitions": [{"kind": ""}, 7]}]})");
    const Clip &c = p.tracks[0].clips[0];
    ASSERT_EQ(c.volume.keyframes.size(), 1);
    EXPECT_EQ(c.volume.keyframes.firstKey(), 0);
    EXPECT_EQ(c.volume.keyframes.first().value, 0.5);
    EXPECT_TRUE(firstClipJson(projectToJson(p))["volume"].isObject());
    EXPECT_EQ(valueAt(c.x, 0), 12.0); // x as an object wins over the old scale
    EXPECT_TRUE(c.width.isEmpty());
    EXPECT_EQ(c.fadeInUs, 1999);          // doubles truncate toward zero
    EXPECT_EQ(c.faceTrackSrcOffsetUs, 0); // integer keys reject fractions
    EXPECT_EQ(c.mask.matteSrcOffsetUs, 42);
    EXPECT_EQ(c.speed, 0.75);
    QStringList cueTexts;
    for (const SubtitleCue &cue : c.subtitleCues)
        cueTexts.append(cue.text);
    EXPECT_EQ(cueTexts, (QStringList{"a", "b", "c"}));
    EXPECT_EQ(c.mask.points, (QList<QPointF>{QPointF(0.1, 0.2), QPointF(0.7, 0.8)}));
    // The curve read is normalised (sorted, pinned to the ends, speeds clamped) with its tables built.
    ASSERT_EQ(c.speedCurve.points.size(), 2);
    EXPECT_EQ(c.speedCurve.points[0].speed, 2.0);
    EXPECT_EQ(c.speedCurve.points[1].pos, 1.0);
    EXPECT_EQ(c.speedCurve.points[1].speed, 8.0);
    EXPECT_EQ(c.speedCurve.timeTable.size(), kSpeedTableCells + 1);
    const EffectInstance &effect = c.effects[0];
    EXPECT_EQ(effect.paramKeyframes.keys(), QList<QString>{"kept"});
    EXPECT_EQ(effect.paramKeyframes["kept"].keyframes.first().value, 1.0);
    EXPECT_EQ(effect.parameters["nested"].toMap()["a"].toList().size(), 2);

    const Clip &plain = p.tracks[0].clips[1];
    EXPECT_EQ(plain.volume.keyframes.first().value, 1.0);
    EXPECT_EQ(valueAt(plain.width, 0), 1000.0); // no transform at all: full canvas
    EXPECT_EQ(valueAt(plain.x, 0), 0.0);
    ASSERT_EQ(p.tracks[0].transitions.size(), 2);
    for (const Transition &t : p.tracks[0].transitions) {
        EXPECT_EQ(t.kind, "crossfade");
        EXPECT_EQ(t.durationUs, 500000);
    }
}

TEST(ProjectJsonReader, TextStyleWeightAndAnimationRules)
{
    auto style = [](const char *text) { return textStyleFromJson(QJsonDocument::fromJson(text).object()); };
    EXPECT_EQ(style(R"({"fontWeight": 50})").fontWeight, 100);
    EXPECT_EQ(style(R"({"fontWeight": 1200, "bold": false})").fontWeight, 900);
    EXPECT_EQ(style(R"({"fontWeight": 550.7})").fontWeight, 550);
    EXPECT_EQ(style(R"({"bold": false})").fontWeight, 400);
    EXPECT_EQ(style(R"({"bold": true})").fontWeight, 700);
    EXPECT_EQ(style(R"({"fontWeight": "heavy", "bold": false})").fontWeight, 400);
    EXPECT_EQ(style(R"({})").fontWeight, 700);

    const TextStyle s = style(R"({"animInDurationUs": 1234.5, "animOutDurationUs": 2000,
        "animInStaggerUs": 7, "animOutKind": "pop", "wordHighlight": {}, "accent": {"highlight": {"radius": 9}},
        "color": "no such colour"})");
    EXPECT_EQ(s.animIn.durationUs, 400000);
    EXPECT_EQ(s.animOut.durationUs, 2000);
    EXPECT_EQ(s.animIn.staggerUs, 7);
    EXPECT_EQ(s.animOut.kind, TextAnimKind::pop);
    EXPECT_EQ(s.wordHighlight.color, QColor(230, 40, 40, 255));
    EXPECT_EQ(s.accent.highlight.radius, 9.0);
    EXPECT_EQ(s.accent.highlight.padding, 6.0);
    EXPECT_FALSE(s.color.isValid());
    EXPECT_EQ(textStyleToJson(s)["color"].toString(), "#ff000000");
}

TEST(ProjectJsonReader, HasAudioRules)
{
    const Project p = readText(R"({"version": 2, "assets": [
        {"id": "a", "hasAudio": false, "channels": 2},
        {"id": "b", "channels": 0, "sampleRate": 0},
        {"id": "c", "channels": 0, "sampleRate": 48000},
        {"id": "d", "hasAudio": "yes"}, {"name": "no id"}]})");
    ASSERT_EQ(p.assetOrder.size(), 5);
    EXPECT_TRUE(p.asset("a")->hasAudioKnown);
    EXPECT_FALSE(p.asset("a")->hasAudio);
    EXPECT_FALSE(p.asset("b")->hasAudioKnown);
    EXPECT_TRUE(p.asset("c")->hasAudioKnown);
    EXPECT_TRUE(p.asset("c")->hasAudio);
    EXPECT_FALSE(p.asset("d")->hasAudioKnown);
    EXPECT_FALSE(QUuid::fromString(p.assetOrder[4]).isNull());
    EXPECT_EQ(p.asset(p.assetOrder[4])->name, "no id");
}

TEST(ProjectJsonReader, UnknownEnumWordsReadAsTheirFallbacks)
{
    EXPECT_EQ(clipTypeFromName("hologram"), ClipType::video);
    EXPECT_EQ(trackTypeFromName(""), TrackType::video);
    EXPECT_EQ(assetKindFromName("video "), AssetKind::other);
    EXPECT_EQ(blendModeFromName("Multiply"), BlendMode::normal);
    EXPECT_EQ(fadeCurveFromName("cubic"), FadeCurve::smooth);
    EXPECT_EQ(maskShapeFromName("hexagon"), MaskShape::none);
    EXPECT_EQ(shapeFillKindFromName("conic"), ShapeFillKind::solid);
    EXPECT_EQ(shapeStrokeStyleFromName("wavy"), ShapeStrokeStyle::solid);
    EXPECT_EQ(textAlignFromName("justify"), TextAlign::center);
    EXPECT_EQ(textVAlignFromName("baseline"), TextVAlign::middle);
    EXPECT_EQ(textAccentRuleFromName("all"), TextAccentRule::none);
    EXPECT_EQ(textAnimKindFromName("spin"), TextAnimKind::none);
    EXPECT_EQ(textAnimEaseFromName("elastic"), TextAnimEase::easeOut);
    EXPECT_EQ(textAnimUnitFromName("page"), TextAnimUnit::block);
    EXPECT_EQ(textAnimOrderFromName("sideways"), TextAnimOrder::forward);
    // Every name written reads back as the same value.
    for (int i = 0; i <= 11; ++i)
        EXPECT_EQ(int(textAnimKindFromName(textAnimKindName(TextAnimKind(i)))), i);
    for (int i = 0; i <= 7; ++i) {
        EXPECT_EQ(int(maskShapeFromName(maskShapeName(MaskShape(i)))), i);
        EXPECT_EQ(int(textAccentRuleFromName(textAccentRuleName(TextAccentRule(i)))), i);
    }
    EXPECT_EQ(assetKindName(AssetKind(7)), "other");
}

TEST(ProjectJsonReader, ShapeKindsUseTheCatalogueResolver)
{
    for (int kind = 0; kind < kBuiltInShapeKindCount; ++kind)
        EXPECT_EQ(shapeKindFromName(shapeKindName(kind)), kind);
    EXPECT_EQ(shapeKindName(21), "star");
    EXPECT_EQ(shapeKindName(-1), "rectangle");
    EXPECT_EQ(shapeKindFromName("circle"), 0);

    setShapeKindResolver([](const QString &id) { return id == "circle" ? 31 : -1; });
    EXPECT_EQ(shapeStyleFromJson(QJsonObject{{"kind", "circle"}}).kind, 31);
    EXPECT_EQ(shapeStyleFromJson(QJsonObject{{"kind", "blob"}}).kind, 0);
    EXPECT_EQ(shapeStyleFromJson(QJsonObject{{"kind", "heart"}}).kind, 24);
    EXPECT_EQ(shapeStyleFromJson(QJsonObject{{"kind", 5}}).kind, 0);
    setShapeKindResolver({});
    EXPECT_EQ(shapeKindFromName("circle"), 0);
}

TEST(ProjectJsonReader, LegacyInterpolationWords)
{
    auto read = [](const char *text) {
        return animatedPropertyFromJson(QJsonDocument::fromJson(text).object());
    };
    const AnimatedProperty hold = read(R"({"interpolation": "hold", "keyframes": [
        {"timeUs": 0, "value": 1, "inDx": -3, "outDx": 5, "corner": true}, {"timeUs": 300, "value": 2}]})");
    for (const Keyframe &key : hold.keyframes) {
        EXPECT_TRUE(key.hold);
        EXPECT_FALSE(key.corner);
        EXPECT_EQ(key.inDx, 0.0);
        EXPECT_EQ(key.outDx, 0.0);
    }

    const AnimatedProperty ease = read(R"({"interpolation": "ease", "enabled": false, "keyframes": [
        {"timeUs": 600, "value": 3, "hold": true, "inDy": 4}, {"timeUs": 0}, {"timeUs": 300, "value": 2}]})");
    ASSERT_EQ(ease.keyframes.size(), 3);
    EXPECT_FALSE(ease.enabled);
    const Keyframe first = ease.keyframes.value(0);
    const Keyframe middle = ease.keyframes.value(300);
    const Keyframe last = ease.keyframes.value(600);
    EXPECT_EQ(first.value, 1.0); // value defaults to 1
    EXPECT_EQ(first.inDx, 0.0);
    EXPECT_EQ(first.outDx, 100.0);
    EXPECT_EQ(middle.inDx, -100.0);
    EXPECT_EQ(middle.outDx, 100.0);
    EXPECT_EQ(last.inDx, -100.0);
    EXPECT_EQ(last.outDx, 0.0);
    EXPECT_EQ(last.inDy, 0.0);
    EXPECT_FALSE(last.hold);

    const AnimatedProperty custom = read(R"({"interpolation": "bezier", "keyframes": [
        {"timeUs": 0, "outDx": 7, "hold": true}]})");
    EXPECT_EQ(custom.keyframes.first().outDx, 7.0);
    EXPECT_TRUE(custom.keyframes.first().hold);
}

TEST(ProjectJsonRoundTrip, ASplitCurveKeepsThePartItPlays)
{
    SpeedCurvePoint slow;
    slow.speed = 0.5;
    SpeedCurvePoint fast;
    fast.pos = 1.0;
    fast.speed = 4.0;
    Project project;
    Clip clip;
    clip.srcOutUs = 7000000;
    clip.speedCurve = subCurve(normaliseSpeedCurve({slow, fast}), 0.3, 1.0);
    project.tracks[0].clips.append(clip);
    const QJsonObject clipJson = firstClipJson(projectToJson(project));
    EXPECT_EQ(clipJson["speedCurveWindow"].toArray(), (QJsonArray{0.3, 1.0}));

    const Clip back = projectFromJson(projectToJson(project)).tracks[0].clips[0];
    EXPECT_EQ(back.speedCurve.windowStart, 0.3);
    EXPECT_EQ(back.speedCurve.windowEnd, 1.0);
    EXPECT_EQ(retimedDuration(back.speedCurve, 7000000), retimedDuration(clip.speedCurve, 7000000));

    // A window that is not two finite numbers in order plays the whole drawing.
    const Project bad = readText(R"({"version": 3, "tracks": [{"clips": [{"srcOutUs": 1000,
        "speedCurve": [{"pos": 0, "speed": 1}, {"pos": 1, "speed": 2}], "speedCurveWindow": [0.6, 0.2]}]}]})");
    EXPECT_FALSE(bad.tracks[0].clips[0].speedCurve.isWindowed());
}
