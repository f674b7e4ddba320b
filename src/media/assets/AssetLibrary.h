#pragma once

#include "core/document/model/Project.h"

#include <QAbstractListModel>
#include <QList>
#include <QMutex>
#include <QSet>
#include <QUrl>
#include <QVariantMap>

#include <memory>

class AssetLibrary;

namespace orvel {

// Shared between the library and its jobs: a job posts its result only while the library is
// alive, and the library's destructor waits for a post under way, never for a job.
struct AssetJobGuard
{
    QMutex mutex;
    AssetLibrary *library = nullptr;
};

} // namespace orvel

// The media panel's model: one row per asset of the current project, in the project's asset
// order. It owns no records; they live in the Project the controller hands it. Importing never
// blocks: a row appears at once and a job on the global thread pool completes or removes it.
// Everything here runs on the thread the library lives on; jobs post their results back.
class AssetLibrary : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(bool importing READ importing NOTIFY importingChanged)

public:
    enum Role
    {
        IdRole = Qt::UserRole + 1,
        NameRole,
        KindRole,
        DurationRole,
        DurationSecondsRole,
        PathRole,
        ThumbnailPathRole,
        FilmstripPathRole,
    };
    Q_ENUM(Role)

    explicit AssetLibrary(QObject *parent = nullptr);
    ~AssetLibrary() override;

    // The controller keeps the Project alive for as long as it is set here, and calls this again
    // (with the new one or nullptr) before it goes away. Resets the model.
    void setProject(orvel::Project *project);
    orvel::Project *project() const { return m_project; }

    // Whether import jobs make posters and strips themselves (the default). With false the rows
    // complete without them and ensureMedia/ensureAllMedia make them later.
    void setCacheFilesOnImport(bool enabled) { m_cacheFilesOnImport = enabled; }
    bool cacheFilesOnImport() const { return m_cacheFilesOnImport; }

    int count() const;
    bool importing() const { return !m_importing.isEmpty(); }
    // True while the row's import job has not reported back.
    bool isProvisional(const QString &assetId) const { return m_importing.contains(assetId); }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE void importUrls(const QList<QUrl> &urls);
    Q_INVOKABLE QVariantMap assetAt(int index) const;
    Q_INVOKABLE QString assetIdAt(int index) const;
    Q_INVOKABLE int indexOfId(const QString &assetId) const;
    Q_INVOKABLE QString thumbnailAt(int index) const;
    Q_INVOKABLE QString filmstripAt(int index) const;
    Q_INVOKABLE void ensureMedia(int index);
    Q_INVOKABLE void ensureAllMedia();
    Q_INVOKABLE void sortByName();
    Q_INVOKABLE void sortByKind();
    // For the panel's badges: a row still being probed, and a row whose file has gone.
    Q_INVOKABLE bool isImportingAt(int index) const;
    Q_INVOKABLE bool fileMissingAt(int index) const;

    // Called by the controller before it relies on hasAudio of a record loaded from an old
    // document; answers at once when the record already knows, else probes in the background.
    void ensureAudioPresence(const QString &assetId);

signals:
    void countChanged();
    void importingChanged();
    // Any field of the record changed after the row was shown (import completed, cache files
    // made, audio presence learnt).
    void assetMetadataChanged(const QString &assetId);

private:
    const orvel::Asset *assetAtRow(int row) const;
    void importPath(const QString &path);
    void startImportJob(const QString &assetId, const QString &path, bool isImage);
    void completeImport(const QString &assetId, bool ok, const orvel::Asset &result);
    void removeAssetRow(const QString &assetId);
    void ensureMediaFor(const QString &assetId);
    void startThumbJob(const QString &assetId, const QString &path, orvel::AssetKind kind, bool thumbNeeded,
                       bool filmstripNeeded);
    void completeThumbJob(const QString &assetId, const QString &thumbnailPath, const QString &filmstripPath);
    void completeAudioCheck(const QString &assetId, bool found, int sampleRate, int channels);
    template <typename Less> void sortIds(Less less);
    void notifyRow(const QString &assetId, const QList<int> &roles);
    // Runs work on the global pool; its result reaches this object only while it is alive.
    template <typename Work> bool startJob(Work work);

    orvel::Project *m_project = nullptr;
    QSet<QString> m_importing;
    QSet<QString> m_thumbnailing;
    QSet<QString> m_audioChecking;
    bool m_cacheFilesOnImport = true;
    std::shared_ptr<orvel::AssetJobGuard> m_guard;
};
