#include "core/document/json/ProjectJson.h"

#include "ProjectJsonFixtures.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

using namespace orvel;
using namespace orvel::testfixtures;

namespace {

// Rebuilds a JSON tree with every scalar passed through `leaf`, which may drop it by answering
// undefined (an array keeps the place as an empty object, so that indices still line up).
// "parameters" objects hold values of any type and are copied as they are when asked.
using Leaf = std::function<QJsonValue(const QString &key, const QJsonValue &scalar)>;

QJsonValue rebuild(const QJsonValue &value, const Leaf &leaf, bool keepParameters, const QString &key = {})
{
    if (value.isObject() && !(keepParameters && key == "parameters")) {
        QJsonObject result;
        const QJsonObject object = value.toObject();
        for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
            const QJsonValue rebuilt = rebuild(it.value(), leaf, keepParameters, it.key());
            if (!rebuilt.isUndefined())
                result.insert(it.key(), rebuilt);
        }
        return result;
    }
    if (value.isArray()) {
        QJsonArray result;
        for (const QJsonValue &element : value.toArray()) {
            const QJsonValue rebuilt = rebuild(element, leaf, keepParameters, key);
            result.append(rebuilt.isUndefined() ? QJsonValue(QJsonObject{}) : rebuilt);
        }
        return result;
    }
    return value.isObject() ? value : leaf(key, value);
}

// Every scalar as a value of another JSON type.
QJsonObject mangleScalars(const QJsonObject &object)
{
    const Leaf mangle = [](const QString &, const QJsonValue &scalar) -> QJsonValue {
        if (scalar.isDouble())
            return QStringLiteral("12");
        return scalar.isString() ? QJsonValue(7) : QJsonValue(QJsonValue::Null);
    };
    return rebuild(object, mangle, true).toObject();
}

// The same document with every scalar removed: what the mangled one must read as.
QJsonObject stripScalars(const QJsonObject &object)
{
    const Leaf drop = [](const QString &, const QJsonValue &) { return QJsonValue(QJsonValue::Undefined); };
    return rebuild(object, drop, true).toObject();
}

// Replaces every number by the given one, wherever it is.
QJsonObject replaceNumbers(const QJsonObject &object, double number)
{
    const Leaf replace = [number](const QString &, const QJsonValue &scalar) {
        return scalar.isDouble() ? QJsonValue(number) : scalar;
    };
    return rebuild(object, replace, false).toObject();
}

// Fresh ids and "now" dates differ between two reads; everything else must match.
QByteArray stableBytes(const Project &project)
{
    const Leaf dropVolatile = [](const QString &key, const QJsonValue &scalar) {
        const bool fresh = key == "id" || key == "createdAt" || key == "modifiedAt";
        return fresh ? QJsonValue(QJsonValue::Undefined) : scalar;
    };
    return QJsonDocument(rebuild(projectToJson(project), dropVolatile, false).toObject()).toJson();
}

} // namespace

TEST(ProjectJsonLegacy, Version1DocumentUsesTheOldForms)
{
    const Project p = readText(R"({"projectName": "Old", "assets": [
          {"name": "a.mp4", "kind": "video", "duration": "00:04", "durationSeconds": 4.0000009,
           "path": "/m/a.mp4", "thumbnailPath": "/t/a.png", "filmstripPath": "/f/a.png", "id": "ignored"},
          {"name": "b.wav", "kind": "audio", "durationSeconds": 2.5}],
        "tracks": [{"type": "video", "clips": [
          {"name": "A", "path": "/m/a.mp4", "kind": "video", "start": 1.25, "duration": 2.0000005,
           "inPoint": 0.5, "outPoint": 2.5, "assetIndex": 1, "timelineStartUs": 99, "textContent": "t",
           "thumbnailPath": "/t/A.png", "filmstripPath": "/f/A.png", "speed": 3, "volume": 0.2},
          {"kind": "text", "assetIndex": 2}, {"assetIndex": -1}, {"assetIndex": "0"}]}],
        "bookmarks": [{"seconds": 1.5, "label": "here"}, {"timeUs": 7}]})");
    EXPECT_EQ(p.name, "Old");
    ASSERT_EQ(p.assetOrder.size(), 2);
    const Asset *first = p.asset(p.assetOrder[0]);
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first->id, "ignored");
    EXPECT_EQ(first->durationUs, 4000000);
    EXPECT_EQ(first->durationText, "00:04");
    EXPECT_EQ(first->kind, AssetKind::video);
    EXPECT_EQ(first->filmstripPath, "/f/a.png");
    EXPECT_FALSE(first->hasAudioKnown);
    EXPECT_EQ(p.asset(p.assetOrder[1])->durationUs, 2500000);

    const QList<Clip> &clips = p.tracks[0].clips;
    ASSERT_EQ(clips.size(), 4);
    const Clip &a = clips[0];
    EXPECT_FALSE(a.id.isEmpty());
    EXPECT_EQ(a.timelineStartUs, 1250000); // "timelineStartUs" is not a version 1 key
    EXPECT_EQ(a.timelineDurationUs, 2000000);
    EXPECT_EQ(a.srcInUs, 500000);
    EXPECT_EQ(a.srcOutUs, 2500000);
    EXPECT_EQ(a.assetId, p.assetOrder[1]);
    EXPECT_EQ(a.textContent, "t");
    EXPECT_EQ(a.filmstripPath, "/f/A.png");
    EXPECT_EQ(a.speed, 1.0); // every other field keeps its default
    EXPECT_TRUE(a.volume.isEmpty());
    EXPECT_NE(a.id, clips[1].id);
    EXPECT_EQ(clips[1].type, ClipType::text);
    EXPECT_TRUE(clips[1].assetId.isEmpty()); // index past the list
    EXPECT_TRUE(clips[2].assetId.isEmpty());
    EXPECT_TRUE(clips[3].assetId.isEmpty());

    ASSERT_EQ(p.bookmarks.size(), 2);
    EXPECT_EQ(p.bookmarks[0].timeUs, 1500000);
    EXPECT_EQ(p.bookmarks[0].label, "here");
    EXPECT_EQ(p.bookmarks[1].timeUs, 0);
}

TEST(ProjectJsonLegacy, Version2KeepsModernKeysAndVersion1IsOnlyBelowTwo)
{
    const char *clip = R"({"timelineStartUs": 3000000, "start": 9, "id": "keep"})";
    for (const char *version : {"2", "3", "99", "2.5"}) {
        const QByteArray text = QByteArray(R"({"version": )") + version + R"(, "tracks": [{"clips": [)" +
                                clip + "]}], \"bookmarks\": [{\"timeUs\": 5, \"seconds\": 1}]}";
        const Project p = readText(text.constData());
        EXPECT_EQ(p.tracks[0].clips[0].timelineStartUs, 3000000) << version;
        EXPECT_EQ(p.tracks[0].clips[0].id, "keep") << version;
        EXPECT_EQ(p.bookmarks[0].timeUs, 5) << version;
    }
    const Project old = readText(R"({"version": 1.9, "tracks": [{"clips": [{"start": 2}]}]})");
    EXPECT_EQ(old.tracks[0].clips[0].timelineStartUs, 2000000);
}

TEST(ProjectJsonLegacy, NormalisedTransformBecomesCanvasPixels)
{
    const Project p = readText(R"({"version": 2, "width": 1280, "height": 720, "tracks": [{"clips": [
        {"scale": {"keyframes": [{"timeUs": 0, "value": 0.5}, {"timeUs": 1000000, "value": 2}]},
         "posX": {"keyframes": [{"timeUs": -1000000, "value": 0}, {"timeUs": 1000000, "value": 1}]},
         "posY": {"keyframes": [{"timeUs": 500000, "value": 0.25}], "enabled": false},
         "y": {"keyframes": [{"value": 999}]}},
        {"scale": 2, "posX": 0.1}]}]})");
    const Clip &moved = p.tracks[0].clips[0];
    // At clip time 0: scale 0.5, posX halfway between 0 and 1, posY constant at its only key.
    EXPECT_DOUBLE_EQ(valueAt(moved.width, 0), 640.0);
    EXPECT_DOUBLE_EQ(valueAt(moved.height, 0), 360.0);
    EXPECT_DOUBLE_EQ(valueAt(moved.x, 0), 1280 * 0.5 - 320.0);
    EXPECT_DOUBLE_EQ(valueAt(moved.y, 0), 720 * 0.25 - 180.0);
    EXPECT_EQ(moved.x.keyframes.size(), 1);
    EXPECT_EQ(moved.x.keyframes.firstKey(), 0);

    // Plain numbers are not properties: the clip fills the canvas.
    const Clip &plain = p.tracks[0].clips[1];
    EXPECT_EQ(valueAt(plain.width, 0), 1280.0);
    EXPECT_EQ(valueAt(plain.x, 0), 0.0);
    const QJsonObject written =
        projectToJson(p)["tracks"].toArray()[0].toObject()["clips"].toArray()[0].toObject();
    EXPECT_FALSE(written.contains("scale"));
    EXPECT_FALSE(written.contains("posX"));
    EXPECT_FALSE(written.contains("posY"));

    // A degenerate canvas still gives a non-zero box.
    const Project tiny = readText(R"({"version": 3, "width": 0, "height": -4, "tracks": [{"clips": [{}]}]})");
    EXPECT_EQ(valueAt(tiny.tracks[0].clips[0].width, 0), 1.0);
    EXPECT_EQ(valueAt(tiny.tracks[0].clips[0].height, 0), 1.0);
    EXPECT_EQ(valueAt(tiny.tracks[0].clips[0].x, 0), 0.0);
}

TEST(ProjectJsonHostile, WrongTypesEverywhereReadAsMissing)
{
    QJsonObject full = projectToJson(fullProject());
    QJsonObject mangled = mangleScalars(full);
    QJsonObject stripped = stripScalars(full);
    mangled["version"] = 3; // keep the modern forms so that every level is read
    stripped["version"] = 3;
    const Project fromMangled = projectFromJson(mangled);
    const Project fromStripped = projectFromJson(stripped);
    EXPECT_EQ(stableBytes(fromMangled), stableBytes(fromStripped));
    ASSERT_EQ(fromMangled.tracks.size(), 2);
    const Clip &clip = fromMangled.tracks[0].clips[0];
    EXPECT_EQ(clip.textStyle.fontWeight, 700);
    EXPECT_EQ(clip.speed, 1.0);
    EXPECT_EQ(clip.textStyle.color, QColor(255, 255, 255));
    EXPECT_TRUE(clip.mask.points.isEmpty());
    EXPECT_EQ(fromMangled.fps, 30);

    // Containers of the wrong type at the top, or no keys at all: the default project.
    QJsonObject topLevel;
    for (auto it = full.constBegin(); it != full.constEnd(); ++it)
        topLevel.insert(it.key(), it.value().isString() ? QJsonValue(1.5) : QJsonValue("x"));
    EXPECT_EQ(stableBytes(projectFromJson(topLevel)), stableBytes(Project{}));
    EXPECT_EQ(stableBytes(projectFromJson(QJsonObject{})), stableBytes(Project{}));
}

TEST(ProjectJsonHostile, HugeAndNonFiniteNumbersStayInRange)
{
    const QJsonObject full = projectToJson(fullProject());
    const double inf = std::numeric_limits<double>::infinity();
    for (double number : {1e300, -1e300, inf, -inf, std::nan("")}) {
        QJsonObject hostile = replaceNumbers(full, number);
        hostile["version"] = 3; // a hostile version number would select the old forms
        const Project p = projectFromJson(hostile);
        ASSERT_EQ(p.tracks.size(), 2);
        const Clip &clip = p.tracks[0].clips[0];
        const bool nan = std::isnan(number);
        const bool positive = number > 0;
        EXPECT_EQ(clip.timelineStartUs, nan ? 0 : positive ? TimeUs(4e18) : TimeUs(-4e18));
        EXPECT_EQ(clip.faceTrackSrcOffsetUs, 0); // not a whole number within range
        EXPECT_EQ(clip.textStyle.animIn.durationUs, 400000);
        EXPECT_EQ(p.width, nan        ? 1920
                           : positive ? std::numeric_limits<int>::max()
                                      : std::numeric_limits<int>::min());
        EXPECT_EQ(p.fps, nan ? 30 : positive ? std::numeric_limits<int>::max() : 1);
        EXPECT_GE(clip.textStyle.fontWeight, 100);
        EXPECT_LE(clip.textStyle.fontWeight, 900);
        EXPECT_GE(p.tracks[0].heightScale, 0.6);
        EXPECT_LE(p.tracks[0].heightScale, 4.0);
        for (double speed : clip.speedCurve.speedTable) {
            EXPECT_GE(speed, kCurveSpeedMin);
            EXPECT_LE(speed, kCurveSpeedMax);
        }
        // Writing the result back must not fail either, and it reads once more.
        const QByteArray bytes = indentedBytes(projectToJson(p));
        EXPECT_TRUE(QJsonDocument::fromJson(bytes).isObject());
    }
}

TEST(ProjectJsonHostile, DeepNestingAndTruncatedText)
{
    // Nesting within the parser's limit is kept as a parameter value.
    QByteArray nested = QByteArray(200, '[') + "1" + QByteArray(200, ']');
    QByteArray text = R"({"version": 3, "tracks": [{"clips": [{"effects": [{"parameters": {"deep": )" +
                      nested + R"(}}]}]}]})";
    QJsonParseError parseError;
    QJsonDocument document = QJsonDocument::fromJson(text, &parseError);
    ASSERT_EQ(parseError.error, QJsonParseError::NoError);
    Project p = projectFromJson(document.object());
    QVariant deep = p.tracks[0].clips[0].effects[0].parameters.value("deep");
    int depth = 0;
    while (deep.metaType().id() == QMetaType::QVariantList) {
        deep = deep.toList().value(0);
        ++depth;
    }
    EXPECT_EQ(depth, 200);

    // Deep nesting where a record is expected is simply the wrong type.
    text = R"({"tracks": )" + QByteArray(500, '[') + QByteArray(500, ']') + R"(, "fps": 24})";
    p = projectFromJson(QJsonDocument::fromJson(text).object());
    EXPECT_EQ(p.fps, 24);
    ASSERT_EQ(p.tracks.size(), 1);

    // Nesting beyond the parser's limit never reaches the reader.
    text = QByteArray(100000, '[');
    EXPECT_FALSE(QJsonDocument::fromJson(text).isObject());

    // Truncated text never parses into a project object.
    const QByteArray bytes = indentedBytes(projectToJson(fullProject()));
    for (qsizetype cut = 0; cut < bytes.size(); cut += 97) {
        const QJsonDocument partial = QJsonDocument::fromJson(bytes.left(cut), &parseError);
        EXPECT_NE(parseError.error, QJsonParseError::NoError) << cut;
        const Project fallback = projectFromJson(partial.object());
        EXPECT_EQ(fallback.tracks.size(), 1);
    }
}
