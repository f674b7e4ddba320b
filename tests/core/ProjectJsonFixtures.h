#pragma once

#include "core/document/Project.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QDateTime>

// A project in which every field differs from its default, so that a write-read-write cycle
// exercises every key of the format.
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

inline TextStyle fullTextStyle()
{
    TextStyle s;
    s.packId = "pack.neon";
    s.fontFamily = "DejaVu Sans";
    s.pixelSize = 72;
    s.fontWeight = 300;
    s.italic = true;
    s.color = QColor(10, 20, 30, 200);
    s.align = TextAlign::right;
    s.valign = TextVAlign::bottom;
    s.wordWrap = false;
    s.lineHeight = 1.5;
    s.letterSpacing = 2.25;
    s.outlineWidth = 3.0;
    s.outlineColor = QColor(1, 2, 3);
    s.shadowEnabled = true;
    s.shadowOffsetX = -2.0;
    s.shadowOffsetY = 5.5;
    s.shadowBlur = 3.0;
    s.shadowOpacity = 0.25;
    s.shadowColor = QColor(40, 50, 60, 70);
    s.glowEnabled = true;
    s.glowColor = QColor(80, 90, 100);
    s.glowRadius = 9.0;
    s.glowOpacity = 0.4;
    s.boxEnabled = true;
    s.boxColor = QColor(11, 12, 13, 14);
    s.boxPadding = 2.0;
    s.boxRadius = 6.5;
    s.wordHighlight = TextHighlightBox{true, QColor(5, 6, 7), 1.0, 2.0};
    s.underlineEnabled = true;
    s.underlineColor = QColor(9, 8, 7);
    s.underlineWidth = 1.5;
    s.underlineOffset = -1.0;
    s.accent.rule = TextAccentRule::karaoke;
    s.accent.n = 3;
    s.accent.phase = 1;
    s.accent.colorEnabled = true;
    s.accent.color = QColor(100, 110, 120);
    s.accent.sizeScale = 1.25;
    s.accent.outlineEnabled = true;
    s.accent.outlineWidth = 2.0;
    s.accent.outlineColor = QColor(33, 44, 55);
    s.accent.highlight = TextHighlightBox{true, QColor(66, 77, 88, 99), 3.0, 1.0};
    s.animIn = TextAnimation{TextAnimKind::typewriter, 250000, TextAnimEase::back,
                             TextAnimUnit::character,  30000,  TextAnimOrder::random};
    s.animOut = TextAnimation{TextAnimKind::wave, 800000, TextAnimEase::linear,
                              TextAnimUnit::line, 90000,  TextAnimOrder::centerOut};
    return s;
}

inline ShapeStyle fullShapeStyle()
{
    ShapeStyle s;
    s.kind = 21;
    s.fillKind = ShapeFillKind::radial;
    s.fill = QColor(1, 1, 1, 1);
    s.fillSecondary = QColor(2, 2, 2, 2);
    s.gradientAngle = 45.0;
    s.stroke = QColor(3, 3, 3);
    s.strokeWidth = 1.0;
    s.strokeStyle = ShapeStrokeStyle::dashdot;
    s.cornerRadius = 12.0;
    s.points = 7;
    s.innerRatio = 0.3;
    s.headSize = 0.6;
    s.thickness = 0.2;
    s.tailX = 0.7;
    s.tailSize = 0.1;
    return s;
}

inline ClipMask fullMask()
{
    ClipMask m;
    m.shape = MaskShape::freeform;
    m.x = 0.25;
    m.y = 0.75;
    m.w = 0.5;
    m.h = 0.4;
    m.rotation = -30.0;
    m.feather = 12.0;
    m.invert = true;
    m.points = {QPointF(0.1, 0.2), QPointF(0.9, 0.25), QPointF(0.5, 0.875)};
    m.mattePath = "/media/matte.mkv";
    m.matteSrcOffsetUs = 2500000;
    return m;
}

inline EffectInstance fullEffect(const QString &name)
{
    EffectInstance effect;
    effect.name = name;
    effect.catalogId = "builtin." + name.toLower();
    effect.parameters = {{"amount", 0.75}, {"mode", "soft"}, {"enabled", true}, {"taps", 4}};
    effect.paramKeyframes.insert("amount", curvedProperty(0.5));
    return effect;
}

inline Clip fullClip()
{
    Clip c;
    c.id = "3f2a7d4e-0000-4000-8000-000000000001";
    c.assetId = "asset-b";
    c.linkId = "link-1";
    c.type = ClipType::subtitle;
    c.suppressEmbeddedAudio = true;
    c.timelineStartUs = 1500000;
    c.timelineDurationUs = 4200000;
    c.srcInUs = 250000;
    c.srcOutUs = 8650000;
    c.name = "Interview";
    c.textContent = "Hello there";
    c.textStyle = fullTextStyle();
    c.subtitleCues = {{0, 900000, "first"}, {900000, 1800000, "second"}, {900000, 2000000, "third"}};
    c.shapeStyle = fullShapeStyle();
    c.path = "/media/b.mov";
    c.thumbnailPath = "/cache/b.png";
    c.filmstripPath = "/cache/b-strip.png";
    c.emoji = QString::fromUtf8("\xF0\x9F\x98\x80");
    c.blendMode = BlendMode::lighten;
    c.speed = 2.0;
    c.speedCurve = normaliseSpeedCurve({SpeedCurvePoint{0.0, 1.0, 0, 0, 0.1, 0.5, true},
                                        SpeedCurvePoint{0.5, 3.0, -0.2, 0.25, 0.1, -0.25, false},
                                        SpeedCurvePoint{1.0, 0.5, -0.1, 0, 0, 0, true}});
    c.reverse = true;
    c.flipH = true;
    c.flipV = true;
    c.mask = fullMask();
    c.faceTrackPath = "/data/facetracks/b.json";
    c.faceTrackSrcOffsetUs = 120000;
    c.fadeInUs = 300000;
    c.fadeOutUs = 450000;
    c.fadeCurve = FadeCurve::equalPower;
    c.opacity = curvedProperty(0.5);
    c.x = curvedProperty(10.0);
    c.y = curvedProperty(20.0);
    c.width = curvedProperty(640.0);
    c.height = curvedProperty(360.0);
    c.rotation = curvedProperty(15.0);
    c.volume = curvedProperty(0.8);
    c.effects = {fullEffect("Blur"), fullEffect("Glow")};
    c.audioEffects = {fullEffect("Echo")};
    return c;
}

inline Asset fullAsset(const QString &id)
{
    Asset a;
    a.id = id;
    a.path = "/media/" + id + ".mov";
    a.name = id + ".mov";
    a.kind = AssetKind::video;
    a.durationUs = 9000000;
    a.width = 3840;
    a.height = 2160;
    a.fps = 29.97;
    a.rotationDegrees = 90;
    a.sampleRate = 44100;
    a.channels = 2;
    a.codecName = "h264";
    a.hasAudio = true;
    a.hasAudioKnown = true;
    a.durationText = "00:09";
    a.thumbnailPath = "/cache/" + id + ".png";
    a.filmstripPath = "/cache/" + id + "-strip.png";
    return a;
}

inline Project fullProject()
{
    Project p;
    p.name = "Holiday cut";
    p.id = "9c8b7a6d-1111-4222-8333-444455556666";
    p.author = "Ana";
    p.description = "First pass";
    p.createdAt = QDateTime(QDate(2025, 3, 4), QTime(5, 6, 7), Qt::UTC);
    p.modifiedAt = QDateTime(QDate(2025, 3, 5), QTime(8, 9, 10), Qt::UTC);
    p.fps = 25;
    p.width = 1280;
    p.height = 720;
    p.sampleRate = 44100;
    p.insertAsset(fullAsset("asset-a"));
    p.insertAsset(fullAsset("asset-b"));

    Track track;
    track.type = TrackType::subtitle;
    track.muted = true;
    track.hidden = true;
    track.locked = true;
    track.showWaveform = true;
    track.heightScale = 2.5;
    Clip second = fullClip();
    second.id = "3f2a7d4e-0000-4000-8000-000000000002";
    second.timelineStartUs = 5700000;
    track.clips = {fullClip(), second};
    Transition transition;
    transition.id = "trans-1";
    transition.fromClipId = track.clips[0].id;
    transition.toClipId = second.id;
    transition.kind = "wipe-left";
    transition.parameters = {{"softness", 0.3}};
    transition.durationUs = 750000;
    track.transitions = {transition};
    Track audio;
    audio.type = TrackType::audio;
    p.tracks = {track, audio};

    p.bookmarks = {{3000000, "intro"}, {1000000, "before"}};
    p.background = ProjectBackground{BackgroundKind::blur, QColor(20, 30, 40, 50), 35.0};
    return p;
}

inline QByteArray indentedBytes(const QJsonObject &json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Indented);
}

} // namespace orvel::testfixtures
