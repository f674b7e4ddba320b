#include "core/bridge/TimelineModel.h"

#include "core/document/model/EnumStrings.h"

TimelineModel::TimelineModel(QObject *parent) : QAbstractListModel(parent) {}

void TimelineModel::setProject(const orvel::Project *project)
{
    beginResetModel();
    m_project = project;
    endResetModel();
}

void TimelineModel::reset()
{
    beginResetModel();
    endResetModel();
}

int TimelineModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid() || !m_project)
        return 0;
    return int(m_project->tracks.size());
}

QVariant TimelineModel::data(const QModelIndex &index, int role) const
{
    if (!m_project || index.parent().isValid() || index.row() < 0 || index.row() >= m_project->tracks.size())
        return {};
    const orvel::Track &track = m_project->tracks[index.row()];
    switch (role) {
    case TypeRole:
        return orvel::trackTypeName(track.type);
    case MutedRole:
        return track.muted;
    case HiddenRole:
        return track.hidden;
    case LockedRole:
        return track.locked;
    case ClipCountRole:
        return int(track.clips.size());
    default:
        return {};
    }
}

QHash<int, QByteArray> TimelineModel::roleNames() const
{
    return {{TypeRole, "type"},
            {MutedRole, "muted"},
            {HiddenRole, "hidden"},
            {LockedRole, "locked"},
            {ClipCountRole, "clipCount"}};
}
