#include "core/ProjectSnapshotCommand.h"

#include <utility>

namespace orvel {

namespace {
// Any fixed id: QUndoStack only asks whether two commands share one before it calls mergeWith.
constexpr int kMergeableSnapshotId = 0x4f52;
} // namespace

Project snapshotKeepingAssets(const Project &snapshot, const Project &current)
{
    Project restored = snapshot;
    restored.assets = current.assets;
    restored.assetOrder = current.assetOrder;
    for (const QString &id : snapshot.assetOrder) {
        if (!restored.assets.contains(id)) {
            restored.assets.insert(id, snapshot.assets.value(id));
            restored.assetOrder.append(id);
        }
    }
    return restored;
}

ProjectSnapshotCommand::ProjectSnapshotCommand(Project *target, Project before, Project after,
                                               const QString &text, const QString &mergeKey)
    : QUndoCommand(text), m_target(target), m_before(std::move(before)), m_after(std::move(after)),
      m_mergeKey(mergeKey)
{}

ProjectSnapshotCommand::~ProjectSnapshotCommand() = default;

void ProjectSnapshotCommand::undo()
{
    if (m_target)
        *m_target = snapshotKeepingAssets(m_before, *m_target);
}

void ProjectSnapshotCommand::redo()
{
    if (m_target)
        *m_target = snapshotKeepingAssets(m_after, *m_target);
}

int ProjectSnapshotCommand::id() const
{
    return m_mergeKey.isEmpty() ? -1 : kMergeableSnapshotId;
}

// The later command of the same gesture: this entry keeps its "before" and takes the newer
// "after", so the gesture is one step of undo.
bool ProjectSnapshotCommand::mergeWith(const QUndoCommand *other)
{
    const auto *next = dynamic_cast<const ProjectSnapshotCommand *>(other);
    if (!next || m_mergeKey.isEmpty() || next->m_mergeKey != m_mergeKey || next->m_target != m_target)
        return false;
    m_after = next->m_after;
    return true;
}

} // namespace orvel
