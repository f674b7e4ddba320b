#pragma once

#include <QAbstractListModel>

namespace orvel {
struct Project;
}

// The media panel's model: one row per asset of the current project, in the project's asset
// order. It owns no records; they live in the Project the controller hands it.
class AssetLibrary : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    explicit AssetLibrary(QObject *parent = nullptr);

    // The controller keeps the Project alive for as long as it is set here.
    void setProject(orvel::Project *project);
    orvel::Project *project() const { return m_project; }

    int count() const;
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

signals:
    void countChanged();

private:
    orvel::Project *m_project = nullptr;
};
