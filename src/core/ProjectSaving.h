#pragma once

#include "core/document/model/Project.h"
#include "output/ProjectContainer.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <functional>

// What the controller's saving flows decide without touching the controller: which files and
// addons a save takes along, how paths follow unpacked media, and the recent-projects list.
namespace orvel {

// Questions put to the installed addons. Any of them may be empty: nothing is then found.
struct ProjectAddonLookup
{
    // The addon that provides a thing of a kind ("effects", "fonts", ...; empty for a file path,
    // which finds stickers). An empty id means no addon provides it.
    std::function<ProjectAddonRef(const QString &kind, const QString &thing)> provider;
    // Every installed addon of a kind.
    std::function<QList<ProjectAddonRef>(const QString &kind)> installedOfKind;
};

struct SaveGatherOptions
{
    bool embedAll = false;       // a shareable copy carries every file
    QSet<QString> embeddedPaths; // files the current project file holds already
    QString emojiDirectory;      // the emoji addon's files never travel with a project
    QString denoisedDirectory;   // files made on this machine always travel
    ProjectAddonLookup addons;
};

// The writer's input for a project whose document (with the controller's own keys) is given.
ProjectSaveData gatherProjectSaveData(const Project &project, const QJsonObject &document,
                                      const SaveGatherOptions &options);

// Every asset path (whose preview paths are then cleared) and every clip's source, matte and
// face-track path that the map names is replaced by its value.
void rewriteProjectPaths(Project &project, const QHash<QString, QString> &newPathByOld);

// Asset paths under the built-in stickers' resource prefix are looked up by their remaining part
// in each sticker pack folder; the first existing file becomes the path.
void relocateBuiltInStickers(Project &project, const QStringList &stickerPackDirectories);

// Catalog ids of clip effects and transition kinds that `known` does not know, sorted, once each.
QStringList unknownEffectIds(const Project &project, const std::function<bool(const QString &)> &known);

// The status line for effects and transitions that are not installed; empty for none.
QString missingEffectsMessage(const QStringList &ids);

// The path moves to the front; equal paths go; at most 10 remain.
QStringList updatedRecentProjects(QStringList recent, const QString &path);

// True when path lies inside directory (not the directory itself).
bool pathIsInside(const QString &path, const QString &directory);

} // namespace orvel
