#pragma once

#include "core/document/Project.h"

#include <QHash>
#include <QVariantList>
#include <QVariantMap>

#include <functional>

namespace orvel {

// The document as the plain maps QML reads. Times are double seconds. Nothing here keeps a
// reference into the project: every map is a fresh copy.

// Asset id to its row in the asset list, so a whole timeline resolves asset indices in one pass.
QHash<QString, int> assetRowsById(const Project &project);

QVariantMap clipToMap(const Project &project, const Clip &clip, int assetIndex);

// A transition of a track with its clips' timing: `start` is where its window begins (the right
// clip's start when there is no window) and `overlapping` whether the two clips overlap.
QVariantMap transitionToMap(const Track &track, const Transition &transition);

QVariantMap trackToMap(const Project &project, const Track &track, const QHash<QString, int> &assetRows);
QVariantList tracksToList(const Project &project);

// The effect rows of the inspector. Labels and flags come from the document until a catalogue
// supplies them; an audio effect is missing when the lookup does not know its catalogue id.
QVariantList clipEffectsToList(const Clip &clip);
QVariantList clipAudioEffectsToList(const Clip &clip, const std::function<bool(const QString &)> &known);

QVariantList bookmarksToList(const QList<Bookmark> &bookmarks);
QVariantMap backgroundToMap(const ProjectBackground &background);

} // namespace orvel
