#include "core/controller/AppController.h"

#include "core/AppPaths.h"
#include "media/assets/AssetLibrary.h"
#include "media/frames/StillFrames.h"

#include <QSettings>
#include <QUrl>

#include <algorithm>

namespace {
const QString kAuthorNameKey = QStringLiteral("authorName");
const QString kGuidesEnabledKey = QStringLiteral("preview/guidesEnabled");
const QString kGuideTypeKey = QStringLiteral("preview/guideType");
const QString kAutoKeyKey = QStringLiteral("editor/autoKeyEnabled");
} // namespace

AppController::AppController(AssetLibrary *assetLibrary, QObject *parent)
    : QObject(parent), m_assetLibrary(assetLibrary)
{
    m_project.author = QSettings().value(kAuthorNameKey).toString();
    showProjectInAssetLibrary();
    // Freeze frames come from the file's own decoder; tests replace the source with a fake.
    m_stillFrameSource = [](const QString &videoPath, orvel::TimeUs sourceUs) {
        return orvel::writeStillFrame(videoPath, sourceUs, orvel::stillFramesDirectory());
    };
    connectSignals();
    setUpBridge();
    setUpPlayback();
    m_undoStack.setUndoLimit(50);
    readSettings();
    startAutosave();
    checkForRecovery();
}

AppController::~AppController()
{
    // The stack clears itself on destruction and announces it; by then the selection it would
    // prune is already gone.
    disconnect(&m_undoStack, nullptr, this, nullptr);
    m_autosaveTimer.stop();
    // The asset library outlives the controller; it must not keep a pointer to our project.
    if (m_assetLibrary)
        m_assetLibrary->setProject(nullptr);
}

void AppController::connectSignals()
{
    connect(this, &AppController::selectionChanged, this, &AppController::selectedClipDataChanged);
    connect(this, &AppController::selectionChanged, this, &AppController::editCapabilitiesChanged);
    connect(this, &AppController::tracksChanged, this, &AppController::selectedClipDataChanged);
    connect(this, &AppController::tracksChanged, this, &AppController::editCapabilitiesChanged);
    if (m_assetLibrary) {
        // Imports change the asset table outside the undo history; remember what the list shows.
        connect(m_assetLibrary, &QAbstractItemModel::rowsInserted, this, &AppController::rememberAssetsShown);
        connect(m_assetLibrary, &QAbstractItemModel::rowsRemoved, this, &AppController::rememberAssetsShown);
        connect(m_assetLibrary, &QAbstractItemModel::dataChanged, this, &AppController::rememberAssetsShown);
        connect(m_assetLibrary, &QAbstractItemModel::layoutChanged, this,
                &AppController::rememberAssetsShown);
        connect(m_assetLibrary, &QAbstractItemModel::modelReset, this,
                &AppController::editCapabilitiesChanged);
        connect(m_assetLibrary, &AssetLibrary::countChanged, this, &AppController::editCapabilitiesChanged);
        // A probe that learns a file's audio presence can make "Separate audio" available.
        connect(m_assetLibrary, &AssetLibrary::assetMetadataChanged, this,
                &AppController::editCapabilitiesChanged);
    }
    connect(&m_undoStack, &QUndoStack::indexChanged, this, &AppController::afterUndoIndexChanged);
    connect(&m_undoStack, &QUndoStack::cleanChanged, this, &AppController::undoStackChanged);
    connect(this, &AppController::tracksChanged, this, &AppController::selectedTransitionDataChanged);
}

void AppController::readSettings()
{
    QSettings settings;
    m_guidesEnabled = settings.value(kGuidesEnabledKey, false).toBool();
    m_guideType = settings.value(kGuideTypeKey, QStringLiteral("thirds")).toString();
    m_autoKeyEnabled = settings.value(kAutoKeyKey, false).toBool();
}

void AppController::setPlayheadSeconds(double seconds)
{
    const orvel::TimeUs requested = std::max<orvel::TimeUs>(orvel::secondsToUs(seconds), 0);
    if (requested == m_playheadUs)
        return;
    m_playheadUs = requested;
    emit playheadSecondsChanged();
}

double AppController::durationSeconds() const
{
    return double(orvel::projectDurationUs(m_project)) / 1e6;
}

void AppController::setPlaying(bool playing)
{
    if (m_playing == playing)
        return;
    m_playing = playing;
    emit playingChanged();
}

void AppController::setSnapEnabled(bool enabled)
{
    if (m_snapEnabled == enabled)
        return;
    m_snapEnabled = enabled;
    emit snapEnabledChanged();
}

void AppController::setRippleEnabled(bool enabled)
{
    if (m_rippleEnabled == enabled)
        return;
    m_rippleEnabled = enabled;
    emit rippleEnabledChanged();
}

void AppController::setAutoKeyEnabled(bool enabled)
{
    if (m_autoKeyEnabled == enabled)
        return;
    m_autoKeyEnabled = enabled;
    QSettings().setValue(kAutoKeyKey, enabled);
    emit autoKeyEnabledChanged();
}

void AppController::setGuidesEnabled(bool enabled)
{
    if (m_guidesEnabled == enabled)
        return;
    m_guidesEnabled = enabled;
    QSettings().setValue(kGuidesEnabledKey, enabled);
    emit guidesChanged();
}

void AppController::setGuideType(const QString &type)
{
    if (m_guideType == type)
        return;
    m_guideType = type;
    QSettings().setValue(kGuideTypeKey, type);
    emit guidesChanged();
}

void AppController::setLastMessage(const QString &message)
{
    m_lastMessage = message;
    emit lastMessageChanged(); // repeated messages must toast again
}

void AppController::setDirty(bool dirty)
{
    if (m_dirty == dirty)
        return;
    m_dirty = dirty;
    emit dirtyChanged();
}

void AppController::emitDocumentSignals()
{
    emit tracksChanged();
    emit selectionChanged();
    emit bookmarksChanged();
    emit backgroundChanged();
    emit projectNameChanged();
    emit playheadSecondsChanged();
    emit snapEnabledChanged();
    emit rippleEnabledChanged();
}

QString AppController::imageUrl(const QString &path) const
{
    return QStringLiteral("image://orvel/") + QString::fromUtf8(QUrl::toPercentEncoding(path));
}

QString AppController::filmstripFrameUrl(const QString &path, int frame, int count) const
{
    return imageUrl(path) + QStringLiteral("?frame=%1&count=%2").arg(frame).arg(count);
}

void AppController::undo()
{
    if (m_undoStack.canUndo())
        m_undoStack.undo();
}

void AppController::redo()
{
    if (m_undoStack.canRedo())
        m_undoStack.redo();
}

void AppController::showProjectInAssetLibrary()
{
    if (!m_assetLibrary)
        return;
    m_assetLibrary->setProject(&m_project);
    rememberAssetsShown();
}

void AppController::rememberAssetsShown()
{
    m_assetOrderShown = m_project.assetOrder;
    m_assetsShown = m_project.assets;
}

void AppController::syncAssetLibraryWithProject()
{
    // Undo and redo swap in a whole snapshot; the asset list only needs a reset when that
    // snapshot's asset table differs from the one the list last showed.
    if (m_project.assets.isSharedWith(m_assetsShown) && m_project.assetOrder == m_assetOrderShown)
        return;
    showProjectInAssetLibrary();
}
