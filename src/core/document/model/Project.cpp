#include "core/document/model/Project.h"

#include <QUuid>

#include <algorithm>

namespace orvel {

QString newUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

const Asset *Project::asset(const QString &assetId) const
{
    const auto it = assets.constFind(assetId);
    return it == assets.cend() ? nullptr : &it.value();
}

Asset *Project::asset(const QString &assetId)
{
    const auto it = assets.find(assetId);
    return it == assets.end() ? nullptr : &it.value();
}

void Project::insertAsset(const Asset &record)
{
    if (!assets.contains(record.id))
        assetOrder.append(record.id);
    assets.insert(record.id, record);
}

TimeUs projectDurationUs(const Project &project)
{
    TimeUs end = 0;
    for (const Track &track : project.tracks)
        for (const Clip &clip : track.clips)
            end = std::max(end, clip.timelineEndUs());
    return end;
}

TimeUs defaultAssetDurationUs(const Asset *asset)
{
    if (!asset || asset->kind == AssetKind::image)
        return kDefaultStillDurationUs;
    return asset->durationUs > 0 ? asset->durationUs : kDefaultStillDurationUs;
}

TimeUs clipSourceLengthUs(const Project &project, const Clip &clip)
{
    if (!clip.assetId.isEmpty()) {
        const Asset *asset = project.asset(clip.assetId);
        if (asset && asset->durationUs > 0)
            return asset->durationUs;
    }
    if (clip.type == ClipType::image || clip.type == ClipType::shape)
        return kDefaultStillDurationUs;
    return std::max(clip.srcOutUs, clip.timelineDurationUs);
}

TrackType homeTrackType(ClipType type)
{
    switch (type) {
    case ClipType::video:
        return TrackType::video;
    case ClipType::audio:
        return TrackType::audio;
    case ClipType::text:
        return TrackType::text;
    case ClipType::subtitle:
        return TrackType::subtitle;
    case ClipType::image:
    case ClipType::shape:
        return TrackType::shape;
    }
    return TrackType::video;
}

bool trackAcceptsClipType(TrackType trackType, ClipType clipType)
{
    return homeTrackType(clipType) == trackType;
}

int findTrackForClipType(const Project &project, ClipType type)
{
    const TrackType home = homeTrackType(type);
    for (int i = 0; i < project.tracks.size(); ++i) {
        const TrackType t = project.tracks[i].type;
        if (t == home && trackAcceptsClipType(t, type))
            return i;
    }
    return -1;
}

int ensureTrackForClipType(Project &project, ClipType type, bool insertAtTop)
{
    const int found = findTrackForClipType(project, type);
    if (found >= 0)
        return found;
    Track track;
    track.type = homeTrackType(type);
    if (insertAtTop)
        return insertTrackAt(project, 0, track);
    project.tracks.append(track);
    return int(project.tracks.size()) - 1;
}

int insertTrackAt(Project &project, int index, const Track &track)
{
    const int clamped = std::clamp(index, 0, int(project.tracks.size()));
    project.tracks.insert(clamped, track);
    return clamped;
}

const Clip *clipById(const Track &track, const QString &clipId)
{
    for (const Clip &clip : track.clips)
        if (clip.id == clipId)
            return &clip;
    return nullptr;
}

Clip *clipById(Track &track, const QString &clipId)
{
    for (Clip &clip : track.clips)
        if (clip.id == clipId)
            return &clip;
    return nullptr;
}

bool adjacent(const Clip &left, const Clip &right)
{
    return right.timelineStartUs >= left.timelineStartUs &&
           right.timelineStartUs - left.timelineEndUs() <= kAdjacencyToleranceUs;
}

bool overlaps(const Clip &left, const Clip &right)
{
    return right.timelineStartUs >= left.timelineStartUs && right.timelineStartUs < left.timelineEndUs();
}

TimeUs overlapLengthUs(const Clip &left, const Clip &right)
{
    return overlaps(left, right) ? left.timelineEndUs() - right.timelineStartUs : 0;
}

QList<ClipRef> linkedClips(const Project &project, int trackIndex, int clipIndex)
{
    QList<ClipRef> result;
    if (trackIndex < 0 || trackIndex >= project.tracks.size())
        return result;
    const Track &owner = project.tracks[trackIndex];
    if (clipIndex < 0 || clipIndex >= owner.clips.size())
        return result;
    const QString &linkId = owner.clips[clipIndex].linkId;
    if (linkId.isEmpty())
        return result;
    for (int t = 0; t < project.tracks.size(); ++t) {
        const auto &clips = project.tracks[t].clips;
        for (int c = 0; c < clips.size(); ++c) {
            if ((t != trackIndex || c != clipIndex) && clips[c].linkId == linkId)
                result.append({t, c});
        }
    }
    return result;
}

QString freshLinkForCopy(const Clip &source, Clip &copy)
{
    if (source.linkId.isEmpty())
        return {};
    copy.linkId = newUuid();
    if (source.suppressEmbeddedAudio)
        copy.suppressEmbeddedAudio = true;
    return copy.linkId;
}

void copyTiming(const Clip &from, Clip &to)
{
    to.timelineStartUs = from.timelineStartUs;
    to.timelineDurationUs = from.timelineDurationUs;
    to.srcInUs = from.srcInUs;
    to.srcOutUs = from.srcOutUs;
    to.speed = from.speed;
    to.speedCurve = from.speedCurve;
    to.reverse = from.reverse;
    to.fadeInUs = from.fadeInUs;
    to.fadeOutUs = from.fadeOutUs;
    to.fadeCurve = from.fadeCurve;
}

} // namespace orvel
