#pragma once

#include "core/document/model/Project.h"

#include <QAbstractListModel>

// The clips of one track of the live project as a list model. Like TimelineModel it reads the
// project on every call and only ever resets as a whole.
class ClipListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int trackIndex READ trackIndex NOTIFY trackIndexChanged)

public:
    enum Role
    {
        IdRole = Qt::UserRole + 1,
        NameRole,
        KindRole,
        PathRole,
        StartRole,
        DurationRole,
        InPointRole,
        OutPointRole,
        TextContentRole,
        ThumbnailPathRole,
        FilmstripPathRole,
        AssetIdRole
    };

    explicit ClipListModel(QObject *parent = nullptr);

    void setProject(const orvel::Project *project);
    void reset();
    // Resets only when the index changes.
    void setTrackIndex(int trackIndex);
    int trackIndex() const { return m_trackIndex; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void trackIndexChanged();

private:
    const orvel::Track *track() const;

    const orvel::Project *m_project = nullptr;
    int m_trackIndex = 0;
};
