#pragma once

#include "core/document/Keyframes.h"
#include "core/document/Project.h"

#include <QRectF>
#include <QString>

// Small projects for the scene tests, made of plain records.
namespace scenetest {

inline orvel::Clip stillClip(const QString &id, const QString &path, orvel::TimeUs startUs,
                             orvel::TimeUs durationUs)
{
    orvel::Clip clip;
    clip.id = id;
    clip.type = orvel::ClipType::image;
    clip.path = path;
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = durationUs;
    return clip;
}

inline orvel::Clip videoClip(const QString &id, const QString &path, orvel::TimeUs startUs,
                             orvel::TimeUs durationUs, orvel::TimeUs srcInUs)
{
    orvel::Clip clip = stillClip(id, path, startUs, durationUs);
    clip.type = orvel::ClipType::video;
    clip.srcInUs = srcInUs;
    clip.srcOutUs = srcInUs + durationUs;
    return clip;
}

// Places a clip with constant keyframes, in project pixels.
inline void place(orvel::Clip &clip, const QRectF &rect)
{
    clip.x = orvel::constantProperty(rect.x());
    clip.y = orvel::constantProperty(rect.y());
    clip.width = orvel::constantProperty(rect.width());
    clip.height = orvel::constantProperty(rect.height());
}

inline orvel::Track videoTrack(const QList<orvel::Clip> &clips)
{
    orvel::Track track;
    track.clips = clips;
    return track;
}

inline orvel::Transition crossfade(const QString &from, const QString &to, orvel::TimeUs durationUs)
{
    orvel::Transition transition;
    transition.id = from + "-" + to;
    transition.fromClipId = from;
    transition.toClipId = to;
    transition.durationUs = durationUs;
    return transition;
}

inline orvel::Project project(int width, int height, const QList<orvel::Track> &tracks)
{
    orvel::Project project;
    project.width = width;
    project.height = height;
    project.tracks = tracks;
    return project;
}

} // namespace scenetest
