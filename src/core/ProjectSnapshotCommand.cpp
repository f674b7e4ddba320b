#include "core/ProjectSnapshotCommand.h"

#include <utility>

namespace orvel {

ProjectSnapshotCommand::ProjectSnapshotCommand(Project *target, Project before, Project after,
                                               const QString &text)
    : QUndoCommand(text), m_target(target), m_before(std::move(before)), m_after(std::move(after))
{}

ProjectSnapshotCommand::~ProjectSnapshotCommand() = default;

void ProjectSnapshotCommand::undo()
{
    if (m_target)
        *m_target = m_before;
}

void ProjectSnapshotCommand::redo()
{
    if (m_target)
        *m_target = m_after;
}

} // namespace orvel
