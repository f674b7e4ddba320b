#pragma once

#include "core/Recovery.h"
#include "core/document/Project.h"

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUndoStack>
#include <QVariantMap>

#include "media/AssetLibrary.h"

// The editor's one controller: it owns the live Project, the undo stack and the editing state,
// and every edit from QML enters through its slots. It lives on the main thread. Its QML face is
// the subclass EditorState, registered under two singleton names.
//
// The class is spread over several files by concern:
//   AppController.cpp          construction, settings-backed flags, playhead, image URLs
//   AppControllerDocument.cpp  the document as JSON bytes (load and save)
//   AppControllerAutosave.cpp  autosave snapshot and recovery
class AppController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double playheadSeconds READ playheadSeconds WRITE setPlayheadSeconds NOTIFY playheadSecondsChanged)
    Q_PROPERTY(double durationSeconds READ durationSeconds NOTIFY tracksChanged)
    Q_PROPERTY(bool playing READ playing WRITE setPlaying NOTIFY playingChanged)
    Q_PROPERTY(bool snapEnabled READ snapEnabled WRITE setSnapEnabled NOTIFY snapEnabledChanged)
    Q_PROPERTY(bool rippleEnabled READ rippleEnabled WRITE setRippleEnabled NOTIFY rippleEnabledChanged)
    Q_PROPERTY(bool autoKeyEnabled READ autoKeyEnabled WRITE setAutoKeyEnabled NOTIFY autoKeyEnabledChanged)
    Q_PROPERTY(bool guidesEnabled READ guidesEnabled WRITE setGuidesEnabled NOTIFY guidesChanged)
    Q_PROPERTY(QString guideType READ guideType WRITE setGuideType NOTIFY guidesChanged)
    Q_PROPERTY(bool undoAvailable READ undoAvailable NOTIFY undoStackChanged)
    Q_PROPERTY(bool redoAvailable READ redoAvailable NOTIFY undoStackChanged)
    Q_PROPERTY(QString lastMessage READ lastMessage NOTIFY lastMessageChanged)
    Q_PROPERTY(bool hasUnsavedChanges READ hasUnsavedChanges NOTIFY dirtyChanged)
    Q_PROPERTY(bool recoveryAvailable READ recoveryAvailable NOTIFY recoveryChanged)
    Q_PROPERTY(QVariantMap recoveryInfo READ recoveryInfo NOTIFY recoveryChanged)
    Q_PROPERTY(AssetLibrary *assetLibrary READ assetLibrary CONSTANT)

public:
    explicit AppController(AssetLibrary *assetLibrary, QObject *parent = nullptr);
    ~AppController() override;

    const orvel::Project &project() const { return m_project; }
    AssetLibrary *assetLibrary() const { return m_assetLibrary; }
    QUndoStack *undoStack() { return &m_undoStack; }

    double playheadSeconds() const { return double(m_playheadUs) / 1e6; }
    orvel::TimeUs playheadUs() const { return m_playheadUs; }
    void setPlayheadSeconds(double seconds);
    double durationSeconds() const;
    bool playing() const { return m_playing; }
    void setPlaying(bool playing);
    bool snapEnabled() const { return m_snapEnabled; }
    void setSnapEnabled(bool enabled);
    bool rippleEnabled() const { return m_rippleEnabled; }
    void setRippleEnabled(bool enabled);
    bool autoKeyEnabled() const { return m_autoKeyEnabled; }
    void setAutoKeyEnabled(bool enabled);
    bool guidesEnabled() const { return m_guidesEnabled; }
    void setGuidesEnabled(bool enabled);
    QString guideType() const { return m_guideType; }
    void setGuideType(const QString &type);
    bool undoAvailable() const { return m_undoStack.canUndo(); }
    bool redoAvailable() const { return m_undoStack.canRedo(); }
    QString lastMessage() const { return m_lastMessage; }
    bool hasUnsavedChanges() const { return m_dirty; }
    bool recoveryAvailable() const { return m_recoveryAvailable; }
    QVariantMap recoveryInfo() const { return m_recoveryInfo.toMap(); }

    // The document as UTF-8 JSON, as a save writes it: the project plus the playhead, snapping
    // and ripple state.
    QByteArray projectJson() const;
    QJsonObject projectJsonObject() const;
    // Replaces the document from UTF-8 JSON bytes. A text that is not a JSON object leaves
    // everything as it was and reports "Invalid project file".
    bool loadProjectJson(const QByteArray &utf8);

public slots:
    QString imageUrl(const QString &path) const;
    QString filmstripFrameUrl(const QString &path, int frame, int count) const;
    void undo();
    void redo();

signals:
    void tracksChanged();
    void playheadSecondsChanged();
    void playingChanged();
    void snapEnabledChanged();
    void rippleEnabledChanged();
    void autoKeyEnabledChanged();
    void guidesChanged();
    void undoStackChanged();
    void lastMessageChanged();
    void dirtyChanged();
    void recoveryChanged();
    void selectionChanged();
    void selectedClipDataChanged();
    void editCapabilitiesChanged();
    void selectedTransitionDataChanged();
    void bookmarksChanged();

protected:
    void setLastMessage(const QString &message);
    void setDirty(bool dirty);
    void emitDocumentSignals();

private:
    void readSettings();
    void connectSignals();
    void startAutosave();
    void writeAutosaveIfDirty();
    void checkForRecovery();

    AssetLibrary *m_assetLibrary = nullptr;
    orvel::Project m_project;
    QUndoStack m_undoStack;
    QTimer m_autosaveTimer;
    orvel::TimeUs m_playheadUs = 0;
    bool m_playing = false;
    bool m_snapEnabled = true;
    bool m_rippleEnabled = false;
    bool m_autoKeyEnabled = false;
    bool m_guidesEnabled = false;
    QString m_guideType = QStringLiteral("thirds");
    QString m_dragUndoText = QStringLiteral("Edit clip");
    QString m_lastMessage;
    QString m_currentProjectPath;
    bool m_dirty = false;
    bool m_recoveryAvailable = false;
    orvel::RecoveryInfo m_recoveryInfo;
    int m_selectedTrack = -1;
    int m_selectedClip = -1;
};

// The QML singleton type: the same object as AppController under the name QML code uses.
class EditorState : public AppController
{
    Q_OBJECT

public:
    using AppController::AppController;
};
