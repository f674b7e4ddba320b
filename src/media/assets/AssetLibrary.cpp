#include "media/assets/AssetLibrary.h"

#include "media/decode/ClipReaderPool.h"

#include "media/assets/AssetBuild.h"
#include "media/assets/MediaProbe.h"
#include "media/assets/Thumbnails.h"

#include <QFileInfo>

#include <algorithm>

using orvel::Asset;
using orvel::AssetKind;

AssetLibrary::AssetLibrary(QObject *parent)
    : QAbstractListModel(parent), m_guard(std::make_shared<orvel::AssetJobGuard>())
{
    m_guard->library = this;
    connect(this, &QAbstractItemModel::rowsInserted, this, &AssetLibrary::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &AssetLibrary::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &AssetLibrary::countChanged);
}

AssetLibrary::~AssetLibrary()
{
    QMutexLocker lock(&m_guard->mutex);
    m_guard->library = nullptr;
}

void AssetLibrary::setProject(orvel::Project *project)
{
    beginResetModel();
    m_project = project;
    endResetModel();
    if (!m_project)
        return;
    // Decoders of files the new document does not use are closed now rather than when idle.
    QSet<QString> paths;
    for (const orvel::Asset &asset : std::as_const(m_project->assets))
        paths.insert(asset.path);
    orvel::ClipReaderPool::instance().retainOnly(paths);
}

int AssetLibrary::count() const
{
    return m_project ? int(m_project->assetOrder.size()) : 0;
}

int AssetLibrary::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

const Asset *AssetLibrary::assetAtRow(int row) const
{
    if (!m_project || row < 0 || row >= count())
        return nullptr;
    return m_project->asset(m_project->assetOrder.at(row));
}

QVariant AssetLibrary::data(const QModelIndex &index, int role) const
{
    const Asset *asset = index.isValid() ? assetAtRow(index.row()) : nullptr;
    if (!asset)
        return {};
    switch (role) {
    case IdRole:
        return asset->id;
    case NameRole:
        return asset->name;
    case KindRole:
        return orvel::assetKindText(asset->kind);
    case DurationRole:
        return asset->durationText;
    case DurationSecondsRole:
        return double(asset->durationUs) / 1000000.0;
    case PathRole:
        return asset->path;
    case ThumbnailPathRole:
        return asset->thumbnailPath;
    case FilmstripPathRole:
        return asset->filmstripPath;
    default:
        return {};
    }
}

QHash<int, QByteArray> AssetLibrary::roleNames() const
{
    return {{IdRole, "id"},
            {NameRole, "name"},
            {KindRole, "kind"},
            {DurationRole, "duration"},
            {DurationSecondsRole, "durationSeconds"},
            {PathRole, "path"},
            {ThumbnailPathRole, "thumbnailPath"},
            {FilmstripPathRole, "filmstripPath"}};
}

QVariantMap AssetLibrary::assetAt(int index) const
{
    const Asset *asset = assetAtRow(index);
    if (!asset)
        return {};
    return {{QStringLiteral("id"), asset->id},
            {QStringLiteral("name"), asset->name},
            {QStringLiteral("kind"), orvel::assetKindText(asset->kind)},
            {QStringLiteral("duration"), asset->durationText},
            {QStringLiteral("durationSeconds"), double(asset->durationUs) / 1000000.0},
            {QStringLiteral("path"), asset->path},
            {QStringLiteral("width"), asset->width},
            {QStringLiteral("height"), asset->height},
            {QStringLiteral("fps"), asset->fps},
            {QStringLiteral("rotationDegrees"), asset->rotationDegrees},
            {QStringLiteral("thumbnailPath"), asset->thumbnailPath},
            {QStringLiteral("filmstripPath"), asset->filmstripPath},
            {QStringLiteral("assetIndex"), index}};
}

QString AssetLibrary::assetIdAt(int index) const
{
    const Asset *asset = assetAtRow(index);
    return asset ? asset->id : QString();
}

int AssetLibrary::indexOfId(const QString &assetId) const
{
    return m_project ? int(m_project->assetOrder.indexOf(assetId)) : -1;
}

QString AssetLibrary::thumbnailAt(int index) const
{
    const Asset *asset = assetAtRow(index);
    return asset ? asset->thumbnailPath : QString();
}

QString AssetLibrary::filmstripAt(int index) const
{
    const Asset *asset = assetAtRow(index);
    return asset ? asset->filmstripPath : QString();
}

void AssetLibrary::notifyRow(const QString &assetId, const QList<int> &roles)
{
    const int row = indexOfId(assetId);
    if (row >= 0)
        emit dataChanged(index(row), index(row), roles);
}

template <typename Less> void AssetLibrary::sortIds(Less less)
{
    if (!m_project || m_project->assetOrder.size() < 2)
        return;
    const orvel::Project &project = *m_project;
    beginResetModel();
    QList<QString> ids = project.assetOrder;
    std::stable_sort(ids.begin(), ids.end(), [&project, &less](const QString &a, const QString &b) {
        const Asset *left = project.asset(a);
        const Asset *right = project.asset(b);
        if (!left || !right)
            return a < b;
        return less(*left, *right);
    });
    m_project->assetOrder = ids;
    endResetModel();
}

void AssetLibrary::sortByName()
{
    sortIds([](const Asset &a, const Asset &b) { return a.name.compare(b.name, Qt::CaseInsensitive) < 0; });
}

void AssetLibrary::sortByKind()
{
    sortIds([](const Asset &a, const Asset &b) {
        const int byKind =
            orvel::assetKindText(a.kind).compare(orvel::assetKindText(b.kind), Qt::CaseInsensitive);
        if (byKind != 0)
            return byKind < 0;
        return a.name.compare(b.name, Qt::CaseInsensitive) < 0;
    });
}

bool AssetLibrary::isImportingAt(int index) const
{
    const Asset *asset = assetAtRow(index);
    return asset && m_importing.contains(asset->id);
}

bool AssetLibrary::fileMissingAt(int index) const
{
    const Asset *asset = assetAtRow(index);
    return asset && !QFileInfo::exists(asset->path);
}
