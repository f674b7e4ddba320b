#pragma once

#include "core/document/animation/Keyframes.h"
#include "core/document/model/Project.h"

#include <QRectF>

// Small projects for the scene tests, made of plain records.
namespace scenetest {

using namespace orvel;

inline Clip clipOf(ClipType type, const QString &id, const QString &path, TimeUs startUs, TimeUs durationUs,
                   TimeUs srcInUs = 0)
{
    Clip clip;
    clip.id = id;
    clip.type = type;
    clip.path = path;
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = durationUs;
    clip.srcInUs = srcInUs;
    clip.srcOutUs = srcInUs + durationUs;
    return clip;
}

// Places a clip with constant keyframes, in project pixels.
inline void place(Clip &clip, const QRectF &rect)
{
    clip.x = constantProperty(rect.x());
    clip.y = constantProperty(rect.y());
    clip.width = constantProperty(rect.width());
    clip.height = constantProperty(rect.height());
}

inline Track trackOf(const QList<Clip> &clips, const QList<Transition> &transitions = {})
{
    Track track;
    track.clips = clips;
    track.transitions = transitions;
    return track;
}

inline Transition crossfade(const QString &from, const QString &to, TimeUs durationUs)
{
    return Transition{from + "-" + to, from, to, QStringLiteral("crossfade"), {}, durationUs};
}

inline Project projectOf(int width, int height, const QList<Track> &tracks)
{
    Project project;
    project.width = width;
    project.height = height;
    project.tracks = tracks;
    return project;
}

} // namespace scenetest
