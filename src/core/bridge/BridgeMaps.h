#pragma once

#include "core/document/model/Project.h"

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

// tracksToList with memory: the clip maps of a track are kept with a copy of that track's clip
// list and reused while the live list is still the same shared data (and the asset table too),
// since copy-on-write guarantees nothing in it changed. An edit detaches only the lists it
// writes, so after one clip moves only that track's clips are mapped again. The result always
// equals tracksToList(project).
class TrackMapsCache
{
public:
    QVariantList tracks(const Project &project);
    void clear();

private:
    struct Entry
    {
        QList<Clip> clips;
        QVariantList clipMaps;
    };
    QList<Entry> m_entries;
    QList<QString> m_assetOrder;
    QHash<QString, Asset> m_assets;
};

// The effect rows of the inspector. Labels and flags come from the document until a catalogue
// supplies them.
QVariantList clipEffectsToList(const Clip &clip);

QVariantList bookmarksToList(const QList<Bookmark> &bookmarks);
QVariantMap backgroundToMap(const ProjectBackground &background);

} // namespace orvel
