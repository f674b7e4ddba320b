#include "core/bridge/ClipListModel.h"

#include "core/document/model/EnumStrings.h"

namespace {
double clipListSeconds(orvel::TimeUs us)
{
    return double(us) / 1e6;
}
} // namespace

ClipListModel::ClipListModel(QObject *parent) : QAbstractListModel(parent) {}

void ClipListModel::setProject(const orvel::Project *project)
{
    beginResetModel();
    m_project = project;
    endResetModel();
}

void ClipListModel::reset()
{
    beginResetModel();
    endResetModel();
}

void ClipListModel::setTrackIndex(int trackIndex)
{
    if (trackIndex == m_trackIndex)
        return;
    beginResetModel();
    m_trackIndex = trackIndex;
    endResetModel();
    emit trackIndexChanged();
}

const orvel::Track *ClipListModel::track() const
{
    if (!m_project || m_trackIndex < 0 || m_trackIndex >= m_project->tracks.size())
        return nullptr;
    return &m_project->tracks[m_trackIndex];
}

int ClipListModel::rowCount(const QModelIndex &parent) const
{
    const orvel::Track *shown = track();
    return parent.isValid() || !shown ? 0 : int(shown->clips.size());
}

QVariant ClipListModel::data(const QModelIndex &index, int role) const
{
    const orvel::Track *shown = track();
    if (!shown || index.parent().isValid() || index.row() < 0 || index.row() >= shown->clips.size())
        return {};
    const orvel::Clip &clip = shown->clips[index.row()];
    switch (role) {
    case IdRole:
        return clip.id;
    case NameRole:
        return clip.name;
    case KindRole:
        return orvel::clipTypeName(clip.type);
    case PathRole:
        return clip.path;
    case StartRole:
        return clipListSeconds(clip.timelineStartUs);
    case DurationRole:
        return clipListSeconds(clip.timelineDurationUs);
    case InPointRole:
        return clipListSeconds(clip.srcInUs);
    case OutPointRole:
        return clipListSeconds(clip.srcOutUs);
    case TextContentRole:
        return clip.textContent;
    case ThumbnailPathRole:
        return clip.thumbnailPath;
    case FilmstripPathRole:
        return clip.filmstripPath;
    case AssetIdRole:
        return clip.assetId;
    default:
        return {};
    }
}

QHash<int, QByteArray> ClipListModel::roleNames() const
{
    return {{IdRole, "id"},
            {NameRole, "name"},
            {KindRole, "kind"},
            {PathRole, "path"},
            {StartRole, "start"},
            {DurationRole, "duration"},
            {InPointRole, "inPoint"},
            {OutPointRole, "outPoint"},
            {TextContentRole, "textContent"},
            {ThumbnailPathRole, "thumbnailPath"},
            {FilmstripPathRole, "filmstripPath"},
            {AssetIdRole, "assetId"}};
}
