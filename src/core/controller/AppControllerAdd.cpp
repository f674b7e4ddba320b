// New clips: from assets of the media panel, generated ones (text, subtitles, shapes, stickers,
// emoji) and the freeze frame.
#include "core/controller/AppController.h"

#include "catalog/TextPresets.h"
#include "core/document/model/EnumStrings.h"

#include <QFileInfo>
#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

namespace {

// A generated clip of the given length, playing its whole (virtual) source.
orvel::Clip generatedClip(orvel::ClipType type, orvel::TimeUs lengthUs)
{
    orvel::Clip clip;
    clip.id = orvel::newUuid();
    clip.type = type;
    clip.timelineDurationUs = lengthUs;
    clip.srcInUs = 0;
    clip.srcOutUs = lengthUs;
    return clip;
}

// Emoji pack file name: the sequence's code points in lower-case hex joined with "-".
QString emojiFileName(const QString &emoji)
{
    QStringList parts;
    for (char32_t codePoint : emoji.toUcs4())
        parts.append(QString::number(quint32(codePoint), 16));
    return parts.join(QLatin1Char('-')) + QStringLiteral(".png");
}

} // namespace

const orvel::Asset *AppController::assetAtIndex(int assetIndex) const
{
    if (assetIndex < 0 || assetIndex >= m_project.assetOrder.size())
        return nullptr;
    return m_project.asset(m_project.assetOrder[assetIndex]);
}

bool AppController::trackAcceptsAsset(int trackIndex, int assetIndex) const
{
    const orvel::Asset *asset = assetAtIndex(assetIndex);
    orvel::ClipType type = orvel::ClipType::video;
    if (!asset || !orvel::clipTypeForAssetKind(asset->kind, type))
        return false;
    if (trackIndex < 0 || trackIndex >= m_project.tracks.size())
        return false;
    return orvel::trackAcceptsClipType(m_project.tracks[trackIndex].type, type);
}

QString AppController::trackTypeForAsset(int assetIndex) const
{
    const orvel::Asset *asset = assetAtIndex(assetIndex);
    orvel::ClipType type = orvel::ClipType::video;
    if (!asset || !orvel::clipTypeForAssetKind(asset->kind, type))
        return QString();
    return orvel::trackTypeName(orvel::homeTrackType(type));
}

void AppController::addClipFromAsset(int assetIndex)
{
    addAssetClip(assetIndex, -1, m_playheadUs, false);
}

void AppController::addClipFromAssetAt(int assetIndex, int trackIndex, double atSeconds)
{
    if (trackIndex < 0 || trackIndex >= m_project.tracks.size())
        return;
    addAssetClip(assetIndex, trackIndex, orvel::secondsToUs(atSeconds), false);
}

void AppController::addClipFromAssetOnNewTrack(int assetIndex, double atSeconds)
{
    addAssetClip(assetIndex, -1, orvel::secondsToUs(atSeconds), true);
}

// trackIndex -1 means the first track of the asset's home type, appended if there is none.
void AppController::addAssetClip(int assetIndex, int trackIndex, orvel::TimeUs startUs, bool onNewTrack)
{
    const orvel::Asset *asset = assetAtIndex(assetIndex);
    orvel::ClipType type = orvel::ClipType::video;
    if (!asset || !orvel::clipTypeForAssetKind(asset->kind, type))
        return;
    if (trackIndex >= 0 && !orvel::trackAcceptsClipType(m_project.tracks[trackIndex].type, type))
        return;
    orvel::Clip clip = orvel::clipFromAsset(*asset);
    if (type != orvel::ClipType::audio)
        orvel::setClipFrame(clip, orvel::assetClipRect(asset, m_project.width, m_project.height));

    const orvel::Project before = m_project;
    int target = trackIndex;
    if (onNewTrack) {
        orvel::Track track;
        track.type = orvel::homeTrackType(type);
        target = orvel::insertTrackAt(m_project, 0, track);
    } else if (target < 0) {
        target = orvel::ensureTrackForClipType(m_project, type, false);
    }
    clip.timelineStartUs =
        orvel::resolvePlacementUs(m_project, snapContext(), target, startUs, clip.timelineDurationUs);
    m_project.tracks[target].clips.append(clip);
    setSelectionRefs({orvel::ClipRef{target, int(m_project.tracks[target].clips.size()) - 1}});
    const QString message = onNewTrack ? tr("Clip added on new track") : tr("Clip added");
    commitEdit(before, message, message);
}

orvel::TimeUs AppController::startOrPlayheadUs(double atSeconds) const
{
    return atSeconds < 0 ? m_playheadUs : orvel::secondsToUs(atSeconds);
}

// Puts a generated clip on preferredTrack when that takes it, else on the first track of its
// home type, inserted at the top when there is none; selects it and records one entry.
orvel::ClipRef AppController::placeGeneratedClip(orvel::Clip clip, int preferredTrack, orvel::TimeUs startUs,
                                                 const QString &message)
{
    const orvel::Project before = m_project;
    int target = preferredTrack;
    if (target < 0 || target >= m_project.tracks.size() ||
        !orvel::trackAcceptsClipType(m_project.tracks[target].type, clip.type))
        target = orvel::ensureTrackForClipType(m_project, clip.type, true);
    clip.timelineStartUs =
        orvel::resolvePlacementUs(m_project, snapContext(), target, startUs, clip.timelineDurationUs);
    m_project.tracks[target].clips.append(clip);
    const orvel::ClipRef ref{target, int(m_project.tracks[target].clips.size()) - 1};
    setSelectionRefs({ref});
    commitEdit(before, message, message);
    return ref;
}

void AppController::addTextClip(const QString &text, double atSeconds)
{
    orvel::Clip clip = generatedClip(orvel::ClipType::text, orvel::kDefaultClipLengthUs);
    clip.textContent = text.isEmpty() ? tr("Your text here") : text;
    clip.name = clip.textContent;
    orvel::setClipFrame(clip, orvel::textClipRect(m_project.width, m_project.height));
    const orvel::ClipRef ref =
        placeGeneratedClip(clip, -1, startOrPlayheadUs(atSeconds), tr("Text clip added"));
    const orvel::Clip *placed = clipAt(ref.track, ref.clip);
    if (m_playheadUs < placed->timelineStartUs || m_playheadUs >= placed->timelineEndUs())
        setPlayheadSeconds(orvel::usToSeconds(placed->timelineStartUs));
    emit inlineTextEditRequested(ref.track, ref.clip);
}

void AppController::addSubtitleClip(double atSeconds)
{
    orvel::Clip clip = generatedClip(orvel::ClipType::subtitle, orvel::kDefaultSubtitleClipLengthUs);
    clip.name = QStringLiteral("Subtitles");
    if (const orvel::TextPreset *preset = orvel::findTextPreset(QStringLiteral("subtitle")))
        clip.textStyle = preset->style;
    orvel::setClipFrame(clip, orvel::subtitleClipRect(m_project.width, m_project.height));
    placeGeneratedClip(clip, -1, startOrPlayheadUs(atSeconds), tr("Subtitle clip added"));
}

void AppController::addShapeClip(const QString &shapeKind)
{
    addShapeClipAt(shapeKind, -1, -1.0);
}

void AppController::addShapeClipAt(const QString &shapeId, int trackIndex, double atSeconds)
{
    orvel::Clip clip = generatedClip(orvel::ClipType::shape, orvel::kDefaultClipLengthUs);
    clip.shapeStyle.kind = orvel::shapeKindFromName(shapeId);
    clip.name = shapeId;
    const double aspect = m_shapeAspectResolver ? m_shapeAspectResolver(clip.shapeStyle.kind) : 0.0;
    orvel::setClipFrame(clip, orvel::shapeClipRect(aspect, m_project.width, m_project.height));
    placeGeneratedClip(clip, trackIndex, startOrPlayheadUs(atSeconds), tr("Shape added"));
}

void AppController::addStickerClip(const QString &stickerId, double atSeconds)
{
    QString path;
    if (m_stickerPathResolver)
        path = m_stickerPathResolver(stickerId);
    else if (QFileInfo::exists(stickerId))
        path = stickerId;
    if (path.isEmpty())
        return;
    addImageSticker(path, QString(), QFileInfo(path).completeBaseName(), atSeconds, tr("Sticker added"));
}

void AppController::addEmojiClip(const QString &emoji, const QString &name, double atSeconds)
{
    const QString path = m_emojiPackDirectory.isEmpty()
                             ? QString()
                             : m_emojiPackDirectory + QLatin1Char('/') + emojiFileName(emoji);
    if (path.isEmpty() || !QFileInfo::exists(path)) {
        setLastMessage(tr("Install the emoji sticker pack to add emoji"));
        return;
    }
    addImageSticker(path, emoji, name, atSeconds, tr("Emoji added"));
}

void AppController::addImageSticker(const QString &path, const QString &emoji, const QString &name,
                                    double atSeconds, const QString &message)
{
    orvel::Clip clip = generatedClip(orvel::ClipType::image, orvel::kDefaultClipLengthUs);
    clip.path = path;
    clip.thumbnailPath = path;
    clip.emoji = emoji;
    clip.name = name;
    orvel::setClipFrame(clip, orvel::squareClipRect(m_project.width, m_project.height));
    placeGeneratedClip(clip, -1, startOrPlayheadUs(atSeconds), message);
}

void AppController::freezeFrameAtPlayhead()
{
    const orvel::Clip *found = nullptr;
    for (const orvel::Track &track : m_project.tracks) {
        if (track.type != orvel::TrackType::video || track.hidden)
            continue;
        for (const orvel::Clip &clip : track.clips)
            if (m_playheadUs >= clip.timelineStartUs && m_playheadUs < clip.timelineEndUs())
                found = &clip;
    }
    if (!found || found->type != orvel::ClipType::video || found->path.isEmpty()) {
        setLastMessage(tr("No video at the current time"));
        return;
    }
    if (!m_stillFrameSource) {
        setLastMessage(tr("Couldn’t capture a still frame"));
        return;
    }
    // Source time under the playhead, read with the constant speed as the source readout does.
    const orvel::TimeUs offsetUs =
        orvel::TimeUs(double(m_playheadUs - found->timelineStartUs) * orvel::effectiveSpeed(found->speed));
    const orvel::TimeUs sourceUs = found->reverse ? found->srcOutUs - offsetUs : found->srcInUs + offsetUs;
    const QRectF frame =
        orvel::assetClipRect(m_project.asset(found->assetId), m_project.width, m_project.height);
    const orvel::TimeUs requestPlayheadUs = m_playheadUs;
    setLastMessage(tr("Capturing freeze frame"));

    auto *watcher = new QFutureWatcher<QString>(this);
    connect(watcher, &QFutureWatcher<QString>::finished, this, [this, watcher, requestPlayheadUs, frame] {
        finishFreezeFrame(watcher->result(), requestPlayheadUs, frame);
        watcher->deleteLater();
    });
    watcher->setFuture(QtConcurrent::run(m_stillFrameSource, found->path, sourceUs));
}

void AppController::finishFreezeFrame(const QString &stillPath, orvel::TimeUs requestPlayheadUs,
                                      const QRectF &frame)
{
    if (stillPath.isEmpty()) {
        setLastMessage(tr("Couldn’t capture a still frame"));
        return;
    }
    orvel::Clip clip = generatedClip(orvel::ClipType::image, orvel::kDefaultClipLengthUs);
    clip.name = QStringLiteral("Freeze frame");
    clip.path = stillPath;
    clip.thumbnailPath = stillPath;
    clip.filmstripPath = stillPath;
    orvel::setClipFrame(clip, frame);

    const orvel::Project before = m_project;
    const int target = orvel::ensureTrackForClipType(m_project, orvel::ClipType::image, false);
    clip.timelineStartUs = orvel::resolvePlacementUs(m_project, snapContext(), target, requestPlayheadUs,
                                                     clip.timelineDurationUs);
    m_project.tracks[target].clips.append(clip);
    setSelectionRefs({orvel::ClipRef{target, int(m_project.tracks[target].clips.size()) - 1}});
    commitEdit(before, tr("Freeze frame added"), tr("Freeze frame added"));
}
