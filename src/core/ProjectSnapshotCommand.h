#pragma once

#include "core/document/Project.h"

#include <QUndoCommand>

namespace orvel {

// One undo entry: the whole document before and after an edit. Undo and redo assign a snapshot
// over the live project, so every edit is undoable by construction; the copies share all
// containers the edit did not write. Entries never merge.
class ProjectSnapshotCommand : public QUndoCommand
{
public:
    ProjectSnapshotCommand(Project *target, Project before, Project after, const QString &text);
    ~ProjectSnapshotCommand() override;

    void undo() override;
    void redo() override;

    const Project &before() const { return m_before; }
    const Project &after() const { return m_after; }

private:
    Project *m_target = nullptr; // not owned
    Project m_before;
    Project m_after;
};

} // namespace orvel
