#pragma once

#include "core/document/model/Project.h"
#include "core/document/json/ProjectJson.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

// A project in which every field differs from its default, so that a write-read-write cycle
// exercises every key of the format. Most of it is read from its file form: a key the reader
// missed would stay at its default, which the round-trip tests reject.
namespace orvel::testfixtures {

inline AnimatedProperty curvedProperty(double base)
{
    AnimatedProperty property;
    property.keyframes.insert(0, Keyframe{base, 0, 0, 120000.0, 0.25, true, false});
    property.keyframes.insert(400000, Keyframe{base * 2, -90000.0, -0.5, 0, 0, false, true});
    property.keyframes.insert(900000, Keyframe{base + 1.5});
    property.enabled = false;
    return property;
}

// Every record except the animated properties, written as the file holds it: two assets, one
// subtitle track with one clip (copied below) and a transition, bookmarks out of order.
inline constexpr char kFullProjectText[] = R"({"version": 3, "projectName": "Holiday cut",
 "id": "9c8b7a6d-1111-4222-8333-444455556666", "author": "Ana", "description": "First pass",
 "createdAt": "2025-03-04T05:06:07Z", "modifiedAt": "2025-03-05T08:09:10Z",
 "fps": 25, "width": 1280, "height": 720, "sampleRate": 44100,
 "background": {"kind": "blur", "color": "#32141e28", "blurStrength": 35},
 "bookmarks": [{"timeUs": 3000000, "label": "intro"}, {"timeUs": 1000000, "label": "before"}],
 "assets": [
  {"id": "asset-a", "name": "asset-a.mov", "kind": "video", "durationUs": 9000000, "duration": "00:09",
   "path": "/media/asset-a.mov", "width": 3840, "height": 2160, "fps": 29.97, "rotationDegrees": 90,
   "sampleRate": 44100, "channels": 2, "codecName": "h264", "hasAudio": true,
   "thumbnailPath": "/cache/asset-a.png", "filmstripPath": "/cache/asset-a-strip.png"},
  {"id": "asset-b", "name": "asset-b.mov", "kind": "video", "durationUs": 9000000, "duration": "00:09",
   "path": "/media/asset-b.mov", "width": 3840, "height": 2160, "fps": 29.97, "rotationDegrees": 90,
   "sampleRate": 44100, "channels": 2, "codecName": "h264", "hasAudio": true,
   "thumbnailPath": "/cache/asset-b.png", "filmstripPath": "/cache/asset-b-strip.png"}],
 "tracks": [{"type": "subtitle", "muted": true, "hidden": true, "locked": true, "showWaveform": true,
  "heightScale": 2.5,
  "transitions": [{"id": "trans-1", "fromClipId": "3f2a7d4e-0000-4000-8000-000000000001",
   "toClipId": "3f2a7d4e-0000-4000-8000-000000000002", "kind": "wipe-left", "parameters": {"softness": 0.3},
   "durationUs": 750000}],
  "clips": [{"id": "3f2a7d4e-0000-4000-8000-000000000001", "assetId": "asset-b", "linkId": "link-1",
   "type": "subtitle", "suppressEmbeddedAudio": true, "timelineStartUs": 1500000,
   "timelineDurationUs": 4200000, "srcInUs": 250000, "srcOutUs": 8650000, "name": "Interview",
   "textContent": "Hello there", "path": "/media/b.mov", "thumbnailPath": "/cache/b.png",
   "filmstripPath": "/cache/b-strip.png", "emoji": "\ud83d\ude00", "blendMode": "lighten", "speed": 2,
   "reverse": true, "flipH": true, "flipV": true, "faceTrackPath": "/data/facetracks/b.json",
   "faceTrackSrcOffsetUs": 120000, "fadeInUs": 300000, "fadeOutUs": 450000, "fadeCurve": "equalPower",
   "subtitleCues": [{"startUs": 0, "endUs": 900000, "text": "first"},
    {"startUs": 900000, "endUs": 1800000, "text": "second"}, {"startUs": 900000, "endUs": 2000000, "text": "third"}],
   "speedCurve": [{"pos": 0, "speed": 1, "inDx": 0, "inDy": 0, "outDx": 0.1, "outDy": 0.5, "corner": true},
    {"pos": 0.5, "speed": 3, "inDx": -0.2, "inDy": 0.25, "outDx": 0.1, "outDy": -0.25, "corner": false},
    {"pos": 1, "speed": 0.5, "inDx": -0.1, "inDy": 0, "outDx": 0, "outDy": 0, "corner": true}],
   "mask": {"shape": "freeform", "x": 0.25, "y": 0.75, "w": 0.5, "h": 0.4, "rotation": -30, "feather": 12,
    "invert": true, "points": [[0.1, 0.2], [0.9, 0.25], [0.5, 0.875]], "mattePath": "/media/matte.mkv",
    "matteSrcOffsetUs": 2500000},
   "shapeStyle": {"kind": "star", "fillKind": "radial", "fill": "#01010101", "fillSecondary": "#02020202",
    "gradientAngle": 45, "stroke": "#ff030303", "strokeWidth": 1, "strokeStyle": "dashdot", "cornerRadius": 12,
    "points": 7, "innerRatio": 0.3, "headSize": 0.6, "thickness": 0.2, "tailX": 0.7, "tailSize": 0.1},
   "textStyle": {"packId": "pack.neon", "fontFamily": "DejaVu Sans", "pixelSize": 72, "fontWeight": 300,
    "italic": true, "color": "#c80a141e", "align": "right", "valign": "bottom", "wordWrap": false,
    "lineHeight": 1.5, "letterSpacing": 2.25, "outlineWidth": 3, "outlineColor": "#ff010203",
    "shadowEnabled": true, "shadowOffsetX": -2, "shadowOffsetY": 5.5, "shadowBlur": 3, "shadowOpacity": 0.25,
    "shadowColor": "#4628323c", "glowEnabled": true, "glowColor": "#ff505a64", "glowRadius": 9,
    "glowOpacity": 0.4, "boxEnabled": true, "boxColor": "#0e0b0c0d", "boxPadding": 2, "boxRadius": 6.5,
    "wordHighlight": {"enabled": true, "color": "#ff050607", "padding": 1, "radius": 2},
    "underlineEnabled": true, "underlineColor": "#ff090807", "underlineWidth": 1.5, "underlineOffset": -1,
    "accent": {"rule": "karaoke", "n": 3, "phase": 1, "colorEnabled": true, "color": "#ff646e78",
     "sizeScale": 1.25, "outlineEnabled": true, "outlineWidth": 2, "outlineColor": "#ff212c37",
     "highlight": {"enabled": true, "color": "#63424d58", "padding": 3, "radius": 1}},
    "animInKind": "typewriter", "animInDurationUs": 250000, "animInEase": "back", "animInUnit": "character",
    "animInStaggerUs": 30000, "animInOrder": "random", "animOutKind": "wave", "animOutDurationUs": 800000,
    "animOutEase": "linear", "animOutUnit": "line", "animOutStaggerUs": 90000, "animOutOrder": "centerOut"}}]},
  {"type": "audio"}]})";

inline EffectInstance fullEffect(const QString &name)
{
    EffectInstance effect;
    effect.name = name;
    effect.catalogId = "builtin." + name.toLower();
    effect.parameters = {{"amount", 0.75}, {"mode", "soft"}, {"enabled", true}, {"taps", 4}};
    effect.paramKeyframes.insert("amount", curvedProperty(0.5));
    return effect;
}

inline Project fullProject()
{
    Project p = projectFromJson(QJsonDocument::fromJson(kFullProjectText).object());
    Clip &clip = p.tracks[0].clips[0];
    clip.opacity = curvedProperty(0.5);
    clip.x = curvedProperty(10.0);
    clip.y = curvedProperty(20.0);
    clip.width = curvedProperty(640.0);
    clip.height = curvedProperty(360.0);
    clip.rotation = curvedProperty(15.0);
    clip.volume = curvedProperty(0.8);
    clip.effects = {fullEffect("Blur"), fullEffect("Glow")};
    clip.audioEffects = {fullEffect("Echo")};
    Clip second = clip;
    second.id = "3f2a7d4e-0000-4000-8000-000000000002";
    second.timelineStartUs = 5700000;
    p.tracks[0].clips.append(second);
    return p;
}

inline Project readText(const char *text)
{
    return projectFromJson(QJsonDocument::fromJson(QByteArray(text)).object());
}

inline QByteArray indentedBytes(const QJsonObject &json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Indented);
}

} // namespace orvel::testfixtures
