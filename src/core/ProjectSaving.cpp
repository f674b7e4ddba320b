#include "core/ProjectSaving.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace orvel {

namespace saving_detail {

const QString kStickerResourcePrefix = QStringLiteral(":/qt/qml/Orvel/resources/stickers/");
constexpr int kRecentProjectLimit = 10;

// Addons enter once; the kinds they are used for accumulate.
class AddonCollector
{
public:
    explicit AddonCollector(const ProjectAddonLookup &lookup) : m_lookup(lookup) {}

    void ask(const QString &kind, const QString &thing)
    {
        if (!m_lookup.provider || thing.isEmpty())
            return;
        add(m_lookup.provider(kind, thing), kind);
    }
    void addInstalledOfKind(const QString &kind)
    {
        if (!m_lookup.installedOfKind)
            return;
        for (const ProjectAddonRef &ref : m_lookup.installedOfKind(kind))
            add(ref, kind);
    }
    QList<ProjectAddonRef> result() const { return m_refs; }

private:
    void add(ProjectAddonRef ref, const QString &kind)
    {
        if (ref.id.isEmpty())
            return;
        auto existing = std::find_if(m_refs.begin(), m_refs.end(),
                                     [&](const ProjectAddonRef &known) { return known.id == ref.id; });
        if (existing == m_refs.end()) {
            ref.kinds.clear();
            m_refs.append(ref);
            existing = m_refs.end() - 1;
        }
        if (!kind.isEmpty() && !existing->kinds.contains(kind))
            existing->kinds.append(kind);
    }

    const ProjectAddonLookup &m_lookup;
    QList<ProjectAddonRef> m_refs;
};

QList<ProjectAddonRef> gatherAddons(const Project &project, const ProjectAddonLookup &lookup)
{
    AddonCollector collector(lookup);
    bool showsEmoji = false;
    for (const Track &track : project.tracks) {
        for (const Clip &clip : track.clips) {
            for (const EffectInstance &effect : clip.effects)
                collector.ask(QStringLiteral("effects"), effect.catalogId);
            for (const EffectInstance &effect : clip.audioEffects)
                collector.ask(QStringLiteral("audio-effects"), effect.catalogId);
            if (clip.type == ClipType::text || clip.type == ClipType::subtitle)
                collector.ask(QStringLiteral("fonts"), clip.textStyle.fontFamily);
            collector.ask(QString(), clip.path);
            showsEmoji = showsEmoji || !clip.emoji.isEmpty();
        }
        for (const Transition &transition : track.transitions)
            collector.ask(QStringLiteral("transitions"), transition.kind);
    }
    if (showsEmoji)
        collector.addInstalledOfKind(QStringLiteral("emoji-font"));
    return collector.result();
}

class MediaCollector
{
public:
    explicit MediaCollector(const SaveGatherOptions &options) : m_options(options) {}

    void add(const QString &path, ProjectMediaRole role)
    {
        if (path.isEmpty() || m_seen.contains(path))
            return;
        if (role == ProjectMediaRole::source && pathIsInside(path, m_options.emojiDirectory))
            return;
        m_seen.insert(path);
        ProjectMediaEntry entry;
        entry.originalPath = path;
        entry.role = role;
        entry.embed = role != ProjectMediaRole::source || m_options.embedAll ||
                      pathIsInside(path, m_options.denoisedDirectory) ||
                      (!m_options.embedAll && m_options.embeddedPaths.contains(path));
        m_media.append(entry);
    }
    QList<ProjectMediaEntry> result() const { return m_media; }

private:
    const SaveGatherOptions &m_options;
    QSet<QString> m_seen;
    QList<ProjectMediaEntry> m_media;
};

QList<ProjectMediaEntry> gatherMedia(const Project &project, const SaveGatherOptions &options)
{
    MediaCollector collector(options);
    for (const QString &assetId : project.assetOrder)
        if (const Asset *asset = project.asset(assetId))
            collector.add(asset->path, ProjectMediaRole::source);
    const auto eachClip = [&](const std::function<void(const Clip &)> &visit) {
        for (const Track &track : project.tracks)
            for (const Clip &clip : track.clips)
                visit(clip);
    };
    eachClip([&](const Clip &clip) {
        if (clip.emoji.isEmpty())
            collector.add(clip.path, ProjectMediaRole::source);
    });
    eachClip([&](const Clip &clip) { collector.add(clip.mask.mattePath, ProjectMediaRole::matte); });
    eachClip([&](const Clip &clip) { collector.add(clip.faceTrackPath, ProjectMediaRole::facetrack); });
    return collector.result();
}

void rewrite(QString &path, const QHash<QString, QString> &newPathByOld)
{
    const auto found = newPathByOld.constFind(path);
    if (found != newPathByOld.cend())
        path = found.value();
}

} // namespace saving_detail

bool pathIsInside(const QString &path, const QString &directory)
{
    if (path.isEmpty() || directory.isEmpty())
        return false;
    const QString folder = QDir::cleanPath(directory) + QLatin1Char('/');
    return QDir::cleanPath(path).startsWith(folder);
}

ProjectSaveData gatherProjectSaveData(const Project &project, const QJsonObject &document,
                                      const SaveGatherOptions &options)
{
    ProjectSaveData data;
    data.document = document;
    data.id = project.id;
    data.title = project.name;
    data.author = project.author;
    data.description = project.description;
    data.createdAt = project.createdAt;
    data.modifiedAt = project.modifiedAt;
    data.addons = saving_detail::gatherAddons(project, options.addons);
    data.media = saving_detail::gatherMedia(project, options);
    return data;
}

void rewriteProjectPaths(Project &project, const QHash<QString, QString> &newPathByOld)
{
    if (newPathByOld.isEmpty())
        return;
    for (Asset &asset : project.assets) {
        if (!newPathByOld.contains(asset.path))
            continue;
        asset.path = newPathByOld.value(asset.path);
        asset.thumbnailPath.clear(); // previews of the old file are remade from the new one
        asset.filmstripPath.clear();
    }
    for (Track &track : project.tracks) {
        for (Clip &clip : track.clips) {
            saving_detail::rewrite(clip.path, newPathByOld);
            saving_detail::rewrite(clip.mask.mattePath, newPathByOld);
            saving_detail::rewrite(clip.faceTrackPath, newPathByOld);
        }
    }
}

void relocateBuiltInStickers(Project &project, const QStringList &stickerPackDirectories)
{
    for (Asset &asset : project.assets) {
        if (!asset.path.startsWith(saving_detail::kStickerResourcePrefix))
            continue;
        const QString rest = asset.path.mid(saving_detail::kStickerResourcePrefix.size());
        for (const QString &directory : stickerPackDirectories) {
            const QString candidate = QDir(directory).filePath(rest);
            if (QFileInfo(candidate).isFile()) {
                asset.path = candidate;
                break;
            }
        }
    }
}

QStringList unknownEffectIds(const Project &project, const std::function<bool(const QString &)> &known)
{
    QSet<QString> unknown;
    if (!known)
        return {};
    for (const Track &track : project.tracks) {
        for (const Clip &clip : track.clips)
            for (const EffectInstance &effect : clip.effects)
                if (!effect.catalogId.isEmpty() && !known(effect.catalogId))
                    unknown.insert(effect.catalogId);
        for (const Transition &transition : track.transitions)
            if (!transition.kind.isEmpty() && !known(transition.kind))
                unknown.insert(transition.kind);
    }
    QStringList sorted(unknown.begin(), unknown.end());
    sorted.sort();
    return sorted;
}

QString missingEffectsMessage(const QStringList &ids)
{
    if (ids.isEmpty())
        return {};
    if (ids.size() == 1)
        return QStringLiteral(
                   "This project uses \"%1\", which isn’t installed — it won’t show. Open Extras to "
                   "install it.")
            .arg(ids.first());
    return QStringLiteral("This project uses %1 effects or transitions that aren’t installed (%2%3) — they "
                          "won’t show. Open Extras to install them.")
        .arg(ids.size())
        .arg(ids.mid(0, 3).join(QStringLiteral(", ")), ids.size() > 3 ? QStringLiteral(", …") : QString());
}

QStringList updatedRecentProjects(QStringList recent, const QString &path)
{
    recent.removeAll(path);
    recent.prepend(path);
    while (recent.size() > saving_detail::kRecentProjectLimit)
        recent.removeLast();
    return recent;
}

} // namespace orvel
