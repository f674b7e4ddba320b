// Removing media from the project's library.
#include "core/controller/AppController.h"

// Clips that use the asset go with it: a clip without its asset could never play again. One
// undo entry brings both back.
void AppController::removeAsset(int assetIndex)
{
    const orvel::Asset *asset = assetAtIndex(assetIndex);
    if (!asset)
        return;
    const QString assetId = asset->id;
    const orvel::Project before = m_project;
    qsizetype removedClips = 0;
    for (orvel::Track &track : m_project.tracks)
        removedClips +=
            track.clips.removeIf([&assetId](const orvel::Clip &clip) { return clip.assetId == assetId; });
    m_project.assets.remove(assetId);
    m_project.assetOrder.removeAll(assetId);
    commitEdit(before, tr("Remove media"),
               removedClips > 0 ? tr("Media and its clips removed") : tr("Media removed"));
}
