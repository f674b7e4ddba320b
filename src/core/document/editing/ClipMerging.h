#pragma once

#include "core/document/model/Project.h"

#include <QList>

namespace orvel {

// Two clips of one track that merge into one, the earlier first.
struct MergePair
{
    ClipRef first;
    ClipRef second;
};

// The merges a selection asks for; empty when it allows none. On one track, one selected clip
// merges with the clip that continues it and two selected clips merge the earlier into the later.
// A selection over several tracks is allowed only as linked clips that were split apart: each
// track holds the same number of selected clips (one or two), the earlier clips of all tracks
// share one link and the later ones another. Each track then merges on its own, so linked
// partners join back together.
QList<MergePair> mergePairs(const Project &project, const QList<ClipRef> &selection);

} // namespace orvel
