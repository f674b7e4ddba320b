#pragma once

#include "core/document/model/Project.h"

#include <QRandomGenerator>
#include <QUuid>

// Generators of large, realistic projects for the core benchmarks. Everything is derived from a
// fixed seed, so two runs (and two benchmark programs) measure the same document.
namespace orvel::bench {

struct BenchProjectShape
{
    int clipCount = 10000;
    int trackCount = 20;
    quint32 seed = 20240611;
};

// Stable, UUID-shaped ids that do not depend on the system's random source.
inline QString benchId(const char *kind, int index)
{
    static const QUuid space = QUuid::fromString(QStringLiteral("6f1c2b4e-7a9d-4e3f-9b8c-0d1e2f3a4b5c"));
    return QUuid::createUuidV5(space, QStringLiteral("%1-%2").arg(QLatin1String(kind)).arg(index))
        .toString(QUuid::WithoutBraces);
}

// A short eased move: the shape of most keyframes users set on position and opacity.
inline AnimatedProperty benchAnimation(QRandomGenerator &rng, double from, double to, TimeUs spanUs)
{
    AnimatedProperty property;
    property.keyframes.insert(0, Keyframe{from, 0.0, 0.0, double(spanUs) / 3.0, 0.0});
    const TimeUs mid = spanUs / 2;
    property.keyframes.insert(mid, Keyframe{(from + to) * 0.5 + rng.bounded(20) - 10, -double(mid) / 3.0, 0.0,
                                            double(spanUs - mid) / 3.0, 0.0, true});
    property.keyframes.insert(spanUs, Keyframe{to, -double(spanUs - mid) / 3.0, 0.0, 0.0, 0.0});
    return property;
}

inline EffectInstance benchEffect(QRandomGenerator &rng, int index)
{
    static const char *const names[] = {"Gaussian Blur", "Color Grade", "Vignette", "Sharpen", "Glow"};
    const int which = index % 5;
    EffectInstance effect;
    effect.name = QLatin1String(names[which]);
    effect.catalogId = QStringLiteral("builtin.effect.%1").arg(which);
    effect.parameters.insert(QStringLiteral("amount"), rng.generateDouble());
    effect.parameters.insert(QStringLiteral("radius"), 2 + rng.bounded(30));
    effect.parameters.insert(QStringLiteral("mode"), QStringLiteral("soft"));
    effect.parameters.insert(QStringLiteral("tint"), QStringLiteral("#ffe0c090"));
    if (index % 4 == 0)
        effect.paramKeyframes.insert(QStringLiteral("amount"), benchAnimation(rng, 0.0, 1.0, 1000000));
    return effect;
}

inline TextStyle benchTextStyle(QRandomGenerator &rng)
{
    TextStyle style;
    style.packId = QStringLiteral("pack.titles.bold");
    style.fontFamily = QStringLiteral("DejaVu Sans");
    style.pixelSize = 48 + rng.bounded(40);
    style.color = QColor::fromRgb(rng.generate() | 0xff000000u);
    style.outlineWidth = 2.0;
    style.shadowEnabled = true;
    style.boxEnabled = rng.bounded(2) == 0;
    style.accent.rule = TextAccentRule::lastWord;
    style.accent.colorEnabled = true;
    style.animIn.kind = TextAnimKind::slideUp;
    style.animOut.kind = TextAnimKind::fade;
    return style;
}

inline TrackType benchTrackType(int trackIndex)
{
    // Mostly video and audio rows, as in a typical edit, with a few overlay rows.
    static const TrackType rows[] = {TrackType::video, TrackType::video,   TrackType::audio, TrackType::video,
                                     TrackType::audio, TrackType::text,    TrackType::video, TrackType::shape,
                                     TrackType::audio, TrackType::subtitle};
    return rows[trackIndex % 10];
}

inline ClipType benchClipType(TrackType track, int index)
{
    switch (track) {
    case TrackType::audio:
        return ClipType::audio;
    case TrackType::text:
        return ClipType::text;
    case TrackType::subtitle:
        return ClipType::subtitle;
    case TrackType::shape:
        return index % 2 == 0 ? ClipType::shape : ClipType::image;
    case TrackType::video:
        break;
    }
    return ClipType::video;
}

inline void fillMediaClip(QRandomGenerator &rng, const Project &project, int index, Clip &clip)
{
    const QString &assetId = project.assetOrder.at(index % project.assetOrder.size());
    const Asset *asset = project.asset(assetId);
    clip.assetId = assetId;
    clip.path = asset->path;
    clip.thumbnailPath = asset->thumbnailPath;
    clip.filmstripPath = asset->filmstripPath;
    clip.srcInUs = rng.bounded(2000000);
    clip.srcOutUs = clip.srcInUs + clip.timelineDurationUs;
    clip.fadeInUs = 100000;
    clip.volume = constantProperty(0.8);
    if (index % 3 == 0)
        clip.effects = {benchEffect(rng, index), benchEffect(rng, index + 1)};
    if (index % 7 == 0)
        clip.linkId = benchId("link", index / 7);
    if (index % 100 == 0)
        clip.speedCurve = normaliseSpeedCurve(
            {SpeedCurvePoint{0.0, 1.0}, SpeedCurvePoint{0.5, 2.5, -0.1, 0, 0.1}, SpeedCurvePoint{1.0, 0.75}});
}

inline void fillOverlayClip(QRandomGenerator &rng, int index, Clip &clip)
{
    clip.textStyle = benchTextStyle(rng);
    switch (clip.type) {
    case ClipType::text:
        clip.textContent = QStringLiteral("Title card number %1").arg(index);
        break;
    case ClipType::subtitle:
        for (int cue = 0; cue < 6; ++cue)
            clip.subtitleCues.append(
                SubtitleCue{cue * 500000, cue * 500000 + 450000,
                            QStringLiteral("Spoken line %1 of clip %2").arg(cue).arg(index)});
        break;
    case ClipType::shape:
        clip.shapeStyle.kind = index % 28;
        clip.shapeStyle.fillKind = ShapeFillKind::linear;
        break;
    default:
        clip.emoji = QStringLiteral("\u2728");
        break;
    }
}

inline Clip benchClip(QRandomGenerator &rng, const Project &project, TrackType track, int index,
                      TimeUs startUs)
{
    Clip clip;
    clip.id = benchId("clip", index);
    clip.type = benchClipType(track, index);
    clip.name = QStringLiteral("Shot %1 take %2").arg(index).arg(1 + rng.bounded(5));
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = 1000000 + rng.bounded(4000000);
    if (clip.type == ClipType::video || clip.type == ClipType::audio)
        fillMediaClip(rng, project, index, clip);
    else
        fillOverlayClip(rng, index, clip);
    if (index % 5 == 0) {
        clip.opacity = benchAnimation(rng, 0.0, 1.0, clip.timelineDurationUs);
        clip.x = benchAnimation(rng, 0.0, 200.0, clip.timelineDurationUs);
        clip.y = benchAnimation(rng, 50.0, 10.0, clip.timelineDurationUs);
    }
    return clip;
}

inline Asset benchAsset(QRandomGenerator &rng, int index)
{
    Asset asset;
    asset.id = benchId("asset", index);
    asset.name = QStringLiteral("A%1_clip.mov").arg(index, 4, 10, QLatin1Char('0'));
    asset.path = QStringLiteral("/home/editor/footage/day%1/%2").arg(index % 7).arg(asset.name);
    asset.kind = index % 4 == 3 ? AssetKind::audio : AssetKind::video;
    asset.durationUs = 5000000 + rng.bounded(60000000);
    asset.width = 3840;
    asset.height = 2160;
    asset.fps = 29.97;
    asset.sampleRate = 48000;
    asset.channels = 2;
    asset.codecName = QStringLiteral("h264");
    asset.hasAudio = true;
    asset.hasAudioKnown = true;
    asset.durationText = QStringLiteral("00:%1").arg(asset.durationUs / 1000000, 2, 10, QLatin1Char('0'));
    asset.thumbnailPath = QStringLiteral("/home/editor/.cache/orvel/thumbs/%1.png").arg(asset.id);
    asset.filmstripPath = QStringLiteral("/home/editor/.cache/orvel/strips/%1.png").arg(asset.id);
    return asset;
}

// clipCount clips spread evenly over trackCount tracks, one asset per ten media clips.
inline Project makeBenchProject(const BenchProjectShape &shape = {})
{
    QRandomGenerator rng(shape.seed);
    Project project;
    project.name = QStringLiteral("Benchmark feature");
    project.id = benchId("project", 0);
    project.author = QStringLiteral("Bench");
    for (int i = 0; i < std::max(1, shape.clipCount / 10); ++i)
        project.insertAsset(benchAsset(rng, i));
    project.tracks.clear();
    for (int t = 0; t < shape.trackCount; ++t) {
        Track track;
        track.type = benchTrackType(t);
        project.tracks.append(track);
    }
    QList<TimeUs> trackEndUs(shape.trackCount, 0);
    for (int i = 0; i < shape.clipCount; ++i) {
        const int t = i % shape.trackCount;
        Clip clip = benchClip(rng, project, project.tracks[t].type, i, trackEndUs[t]);
        trackEndUs[t] = clip.timelineEndUs();
        project.tracks[t].clips.append(std::move(clip));
    }
    for (int b = 0; b < 20; ++b)
        project.bookmarks.append(Bookmark{b * 30000000, QStringLiteral("Marker %1").arg(b)});
    return project;
}

} // namespace orvel::bench
