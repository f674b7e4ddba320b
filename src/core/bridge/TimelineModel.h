#pragma once

#include "core/document/model/Project.h"

#include <QAbstractListModel>

// The tracks of the live project as a list model, one row per track. It holds no data of its own:
// every read goes to the project, and every change is announced as a full reset.
class TimelineModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role
    {
        TypeRole = Qt::UserRole + 1,
        MutedRole,
        HiddenRole,
        LockedRole,
        ClipCountRole
    };

    explicit TimelineModel(QObject *parent = nullptr);

    void setProject(const orvel::Project *project);
    void reset();

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    const orvel::Project *m_project = nullptr;
};
