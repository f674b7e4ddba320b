#include "media/AssetLibrary.h"

#include "core/document/Project.h"

AssetLibrary::AssetLibrary(QObject *parent) : QAbstractListModel(parent) {}

void AssetLibrary::setProject(orvel::Project *project)
{
    beginResetModel();
    m_project = project;
    endResetModel();
    emit countChanged();
}

int AssetLibrary::count() const
{
    return m_project ? int(m_project->assetOrder.size()) : 0;
}

int AssetLibrary::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant AssetLibrary::data(const QModelIndex &index, int role) const
{
    if (!m_project || !index.isValid() || index.row() >= count())
        return {};
    const orvel::Asset *asset = m_project->asset(m_project->assetOrder.at(index.row()));
    if (!asset)
        return {};
    if (role == Qt::DisplayRole)
        return asset->name;
    return {};
}
