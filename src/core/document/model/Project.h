#pragma once

#include "core/document/animation/Keyframes.h"
#include "core/document/timing/SpeedCurve.h"
#include "core/document/model/Types.h"

#include <QColor>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMap>
#include <QPointF>
#include <QString>
#include <QVariantMap>

namespace orvel {

// The plain records of one project document. Every list is an implicitly shared Qt container,
// so copying a Project (as undo does fifty times) costs little until somebody writes.

struct SubtitleCue
{
    TimeUs startUs = 0; // clip-local
    TimeUs endUs = 0;
    QString text;
};

struct EffectInstance
{
    QString name;
    QVariantMap parameters;                         // parameter id to value
    QMap<QString, AnimatedProperty> paramKeyframes; // empty properties are not saved
    QString catalogId;
};

struct Transition
{
    QString id;
    QString fromClipId;
    QString toClipId;
    QString kind = QStringLiteral("crossfade");
    QVariantMap parameters;
    TimeUs durationUs = 500000;
};

struct Bookmark
{
    TimeUs timeUs = 0;
    QString label;
};

struct ProjectBackground
{
    BackgroundKind kind = BackgroundKind::color;
    QColor color = QColor(0, 0, 0);
    double blurStrength = 20.0;
};

struct ClipMask
{
    MaskShape shape = MaskShape::none;
    double x = 0.5; // centre, fraction of the clip's width
    double y = 0.5;
    double w = 0.6;
    double h = 0.6;
    double rotation = 0.0; // degrees
    double feather = 0.0;
    bool invert = false;
    QList<QPointF> points; // outline of a freeform mask
    QString mattePath;
    TimeUs matteSrcOffsetUs = 0;
};

struct ShapeStyle
{
    int kind = 0;
    ShapeFillKind fillKind = ShapeFillKind::solid;
    QColor fill = QColor(0, 180, 255, 255);
    QColor fillSecondary = QColor(122, 0, 255, 255);
    double gradientAngle = 90.0;
    QColor stroke = QColor(255, 255, 255);
    double strokeWidth = 4.0;
    ShapeStrokeStyle strokeStyle = ShapeStrokeStyle::solid;
    double cornerRadius = 0.0;
    int points = 5;
    double innerRatio = 0.5;
    double headSize = 0.4;
    double thickness = 0.4;
    double tailX = 0.25;
    double tailSize = 0.2;
};

struct TextHighlightBox
{
    bool enabled = false;
    QColor color = QColor(230, 40, 40, 255);
    double padding = 6.0;
    double radius = 4.0;
};

struct TextAccent
{
    TextAccentRule rule = TextAccentRule::none;
    int n = 2;
    int phase = 0;
    bool colorEnabled = false;
    QColor color = QColor(255, 214, 64, 255);
    double sizeScale = 1.0;
    bool outlineEnabled = false;
    double outlineWidth = 0.0;
    QColor outlineColor = QColor(0, 0, 0);
    TextHighlightBox highlight;
};

struct TextAnimation
{
    TextAnimKind kind = TextAnimKind::none;
    TimeUs durationUs = 400000;
    TextAnimEase ease = TextAnimEase::easeOut;
    TextAnimUnit unit = TextAnimUnit::block;
    TimeUs staggerUs = 60000;
    TextAnimOrder order = TextAnimOrder::forward;
};

struct TextStyle
{
    QString packId;
    QString fontFamily = QStringLiteral("Inter");
    int pixelSize = 64;
    int fontWeight = 700; // 100..900
    bool italic = false;
    QColor color = QColor(255, 255, 255);
    TextAlign align = TextAlign::center;
    TextVAlign valign = TextVAlign::middle;
    bool wordWrap = true;
    double lineHeight = 1.2;
    double letterSpacing = 0.0;
    double outlineWidth = 0.0;
    QColor outlineColor = QColor(0, 0, 0);
    bool shadowEnabled = false;
    double shadowOffsetX = 0.0;
    double shadowOffsetY = 4.0;
    double shadowBlur = 8.0;
    double shadowOpacity = 0.6;
    QColor shadowColor = QColor(0, 0, 0, 255);
    bool glowEnabled = false;
    QColor glowColor = QColor(255, 255, 255, 255);
    double glowRadius = 18.0;
    double glowOpacity = 0.8;
    bool boxEnabled = false;
    QColor boxColor = QColor(0, 0, 0, 128);
    double boxPadding = 8.0;
    double boxRadius = 0.0;
    TextHighlightBox wordHighlight;
    bool underlineEnabled = false;
    QColor underlineColor = QColor(230, 40, 40, 255);
    double underlineWidth = 6.0;
    double underlineOffset = 4.0;
    TextAccent accent;
    TextAnimation animIn;
    TextAnimation animOut;
};

struct Clip
{
    QString id;
    QString assetId;
    QString linkId; // clips sharing a non-empty linkId are one linked video+audio pair
    ClipType type = ClipType::video;
    bool suppressEmbeddedAudio = false;
    TimeUs timelineStartUs = 0;
    TimeUs timelineDurationUs = 0;
    TimeUs srcInUs = 0;
    TimeUs srcOutUs = 0;
    QString name;
    QString textContent;
    TextStyle textStyle;
    QList<SubtitleCue> subtitleCues; // clip-local, sorted by start then end
    ShapeStyle shapeStyle;
    QString path;
    QString thumbnailPath;
    QString filmstripPath;
    QString emoji;
    BlendMode blendMode = BlendMode::normal;
    double speed = 1.0;
    SpeedCurve speedCurve;
    bool reverse = false;
    bool flipH = false;
    bool flipV = false;
    ClipMask mask;
    QString faceTrackPath;
    TimeUs faceTrackSrcOffsetUs = 0;
    TimeUs fadeInUs = 0;
    TimeUs fadeOutUs = 0;
    FadeCurve fadeCurve = FadeCurve::smooth;
    AnimatedProperty opacity; // 1.0 when empty
    AnimatedProperty x;       // top-left in project pixels, 0 when empty
    AnimatedProperty y;
    AnimatedProperty width;    // project's width when empty
    AnimatedProperty height;   // project's height when empty
    AnimatedProperty rotation; // degrees about the centre, 0 when empty
    AnimatedProperty volume;   // linear gain, 1.0 when empty
    QList<EffectInstance> effects;
    QList<EffectInstance> audioEffects;

    TimeUs timelineEndUs() const { return timelineStartUs + timelineDurationUs; }
};

struct Track
{
    TrackType type = TrackType::video;
    QList<Clip> clips;
    QList<Transition> transitions;
    bool muted = false;
    bool hidden = false;
    bool locked = false;
    bool showWaveform = false;
    double heightScale = 1.0; // 0.6..4.0
};

struct Asset
{
    QString id;
    QString path;
    QString name;
    AssetKind kind = AssetKind::other;
    TimeUs durationUs = 0;
    int width = 0;
    int height = 0;
    double fps = 0.0;
    int rotationDegrees = 0;
    int sampleRate = 0;
    int channels = 0;
    QString codecName;
    bool hasAudio = false;
    bool hasAudioKnown = false; // false means "ask the file"
    QString durationText;
    QString thumbnailPath;
    QString filmstripPath;
};

inline constexpr double kTrackHeightScaleMin = 0.6;
inline constexpr double kTrackHeightScaleMax = 4.0;
inline constexpr TimeUs kDefaultStillDurationUs = 5000000;
inline constexpr TimeUs kAdjacencyToleranceUs = 1000;

QString newUuid();

struct Project
{
    QString name = QStringLiteral("Untitled Project");
    QString id = newUuid();
    QString author;
    QString description;
    QDateTime createdAt = QDateTime::currentDateTimeUtc();
    QDateTime modifiedAt = createdAt;
    int fps = 30;
    int width = 1920;
    int height = 1080;
    int sampleRate = 48000;
    QList<Track> tracks = QList<Track>{Track{}};
    QList<Bookmark> bookmarks;
    ProjectBackground background;
    QList<QString> assetOrder;
    QHash<QString, Asset> assets;

    const Asset *asset(const QString &assetId) const;
    Asset *asset(const QString &assetId);
    // Appends the id to assetOrder when new, then stores the record.
    void insertAsset(const Asset &asset);
};

// Largest clip end over every track, hidden and muted ones included; 0 for no clips.
TimeUs projectDurationUs(const Project &project);

TimeUs defaultAssetDurationUs(const Asset *asset);
TimeUs clipSourceLengthUs(const Project &project, const Clip &clip);

TrackType homeTrackType(ClipType type);
bool trackAcceptsClipType(TrackType trackType, ClipType clipType);
int findTrackForClipType(const Project &project, ClipType type);
int ensureTrackForClipType(Project &project, ClipType type, bool insertAtTop = false);
// Clamps index to 0..count, inserts there and returns the clamped index.
int insertTrackAt(Project &project, int index, const Track &track);

const Clip *clipById(const Track &track, const QString &clipId);
Clip *clipById(Track &track, const QString &clipId);

// Touching allows a gap of up to 1000 microseconds.
bool adjacent(const Clip &left, const Clip &right);
bool overlaps(const Clip &left, const Clip &right);
TimeUs overlapLengthUs(const Clip &left, const Clip &right);

struct ClipRef
{
    int track = -1;
    int clip = -1;
    bool operator==(const ClipRef &) const = default;
};

// Every clip, in track then clip order, sharing the given clip's non-empty linkId, itself excepted.
QList<ClipRef> linkedClips(const Project &project, int trackIndex, int clipIndex);

// Gives a copy of a linked clip a new link id (returned), or returns empty for an unlinked source.
QString freshLinkForCopy(const Clip &source, Clip &copy);

// Keeps linked partners in step: copies the timing fields from one clip to another.
void copyTiming(const Clip &from, Clip &to);

} // namespace orvel
