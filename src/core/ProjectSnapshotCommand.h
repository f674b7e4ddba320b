#pragma once

#include "core/document/model/Project.h"

#include <QUndoCommand>

namespace orvel {

// One undo entry: the whole document before and after an edit. Undo and redo assign a snapshot
// over the live project, so every edit is undoable by construction; the copies share all
// containers the edit did not write. The asset table is the exception: imports land in the live
// project outside the history, so undo and redo keep every asset the live project has (the
// library is showing them) and only add back those of the snapshot that it lacks.
// Entries merge only when the caller gives both the same merge key (one trim gesture).
class ProjectSnapshotCommand : public QUndoCommand
{
public:
    ProjectSnapshotCommand(Project *target, Project before, Project after, const QString &text,
                           const QString &mergeKey = QString());
    ~ProjectSnapshotCommand() override;

    void undo() override;
    void redo() override;
    int id() const override;
    bool mergeWith(const QUndoCommand *other) override;

    const Project &before() const { return m_before; }
    const Project &after() const { return m_after; }

private:
    Project *m_target = nullptr; // not owned
    Project m_before;
    Project m_after;
    QString m_mergeKey;
};

// The snapshot as undo or redo installs it over current: its clips and everything else, with
// current's asset table plus the snapshot's assets that current lacks.
Project snapshotKeepingAssets(const Project &snapshot, const Project &current);

} // namespace orvel
