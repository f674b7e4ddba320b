#pragma once

#include "core/ProjectSaving.h"
#include "core/Recovery.h"
#include "core/SpeedCurveSession.h"
#include "core/bridge/BridgeMaps.h"
#include "core/bridge/ClipListModel.h"
#include "core/bridge/TimelineModel.h"
#include "core/document/editing/ClipEditing.h"
#include "core/document/model/Project.h"

#include <QFuture>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QSet>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUndoStack>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>

#include <atomic>
#include <functional>
#include <memory>

#include "media/assets/AssetLibrary.h"
#include "playback/PlaybackEngine.h"

// The editor's one controller: it owns the live Project, the undo stack and the editing state,
// and every edit from QML enters through its slots. It lives on the main thread. Its QML face is
// the subclass EditorState, registered under two singleton names.
//
// The class is spread over several files by concern:
//   AppController.cpp          construction, settings-backed flags, playhead, image URLs
//   AppControllerDocument.cpp  the document as JSON bytes (load and save)
//   AppControllerAutosave.cpp  autosave snapshot and recovery
//   AppControllerEdits.cpp     undo entries, the refresh after an edit, what follows undo
//   AppControllerDrag.cpp      live drag transactions (beginPreviewDrag, previewSet*, commit)
//   AppControllerAdd.cpp       new clips from assets and generated clips, freeze frame
//   AppControllerClips.cpp     moves, trims, timing and the plain field writers of one clip
//   AppControllerSplit.cpp     the splits
//   AppControllerClipboard.cpp delete, duplicate, copy, paste, nudge, merge, separate, unlink
//   AppControllerSelection.cpp the selection, its pruning and the edit capabilities
//   AppControllerSubtitles.cpp SubRip import and export
class AppController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(
        double playheadSeconds READ playheadSeconds WRITE setPlayheadSeconds NOTIFY playheadSecondsChanged)
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
    Q_PROPERTY(int selectedTrack READ selectedTrack NOTIFY selectionChanged)
    Q_PROPERTY(int selectedClip READ selectedClip NOTIFY selectionChanged)
    Q_PROPERTY(QVariantList selectedClips READ selectedClips NOTIFY selectionChanged)
    Q_PROPERTY(int selectedTransitionTrack READ selectedTransitionTrack NOTIFY selectedTransitionDataChanged)
    Q_PROPERTY(
        int selectedTransitionLeftClip READ selectedTransitionLeftClip NOTIFY selectedTransitionDataChanged)
    Q_PROPERTY(bool mergeAvailable READ canMergeSelection NOTIFY editCapabilitiesChanged)
    Q_PROPERTY(bool separateAudioAvailable READ canSeparateAudioSelection NOTIFY editCapabilitiesChanged)
    Q_PROPERTY(bool unlinkAvailable READ canUnlinkSelection NOTIFY editCapabilitiesChanged)
    Q_PROPERTY(bool dragActive READ dragActive NOTIFY dragActiveChanged)
    // QML bridge: the document as maps and list models (AppControllerBridge.cpp)
    Q_PROPERTY(QVariantList tracks READ tracks NOTIFY tracksChanged)
    Q_PROPERTY(QVariantList selection READ selectedClips NOTIFY selectionChanged)
    Q_PROPERTY(QVariantMap selectedClipData READ selectedClipData NOTIFY selectedClipDataChanged)
    Q_PROPERTY(QVariantList selectedClipEffects READ selectedClipEffects NOTIFY selectedClipDataChanged)
    Q_PROPERTY(
        QVariantList selectedClipAudioEffects READ selectedClipAudioEffects NOTIFY selectedClipDataChanged)
    Q_PROPERTY(
        QVariantMap selectedTransitionData READ selectedTransitionData NOTIFY selectedTransitionDataChanged)
    Q_PROPERTY(QVariantList bookmarks READ bookmarks NOTIFY bookmarksChanged)
    Q_PROPERTY(QVariantMap background READ background NOTIFY backgroundChanged)
    Q_PROPERTY(QVariantList actions READ actions NOTIFY shortcutsChanged)
    Q_PROPERTY(int draggingAssetIndex READ draggingAssetIndex WRITE setDraggingAssetIndex NOTIFY
                   draggingAssetIndexChanged)
    Q_PROPERTY(bool projectLayoutChosen READ projectLayoutChosen NOTIFY projectLayoutChosenChanged)
    Q_PROPERTY(TimelineModel *timelineModel READ timelineModel CONSTANT)
    Q_PROPERTY(ClipListModel *clipListModel READ clipListModel CONSTANT)

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

    int selectedTrack() const { return m_selectedTrack; }
    int selectedClip() const { return m_selectedClip; }
    QVariantList selectedClips() const;
    int selectedTransitionTrack() const { return m_selectedTransitionTrack; }
    int selectedTransitionLeftClip() const { return m_selectedTransitionLeftClip; }
    bool dragActive() const { return m_dragActive; }

    // Hooks to services built elsewhere, so the edits work (and are testable) without them.
    // Extracts one still of a video file at a source time and returns the image's path, or empty
    // on failure. It runs on a pool thread and must not touch the controller.
    using StillFrameSource = std::function<QString(const QString &videoPath, orvel::TimeUs sourceUs)>;
    void setStillFrameSource(StillFrameSource source) { m_stillFrameSource = std::move(source); }
    // Sticker id to image file; without one, an id that names an existing file is its own path.
    void setStickerPathResolver(std::function<QString(const QString &)> resolver)
    {
        m_stickerPathResolver = std::move(resolver);
    }
    // Folder of the installed emoji sticker pack; empty when the pack is not installed.
    void setEmojiPackDirectory(const QString &directory) { m_emojiPackDirectory = directory; }
    // Width-to-height ratio of a shape of the catalogue; values at or below 0.01 mean unknown.
    void setShapeAspectResolver(std::function<double(int)> resolver)
    {
        m_shapeAspectResolver = std::move(resolver);
    }
    // Beat times that snapping also considers; filled by beat analysis.
    void setBeatSnapTimes(const QList<orvel::TimeUs> &beatsUs) { m_beatSnapUs = beatsUs; }

public slots:
    QString imageUrl(const QString &path) const;
    QString filmstripFrameUrl(const QString &path, int frame, int count) const;
    void undo();
    void redo();

    // Adding clips
    void addClipFromAsset(int assetIndex);
    void addClipFromAssetAt(int assetIndex, int trackIndex, double atSeconds);
    void addClipFromAssetOnNewTrack(int assetIndex, double atSeconds);
    // Takes the asset out of the library together with the clips that use it (AppControllerAssets.cpp).
    void removeAsset(int assetIndex);
    void addTextClip(const QString &text, double atSeconds);
    void addSubtitleClip(double atSeconds);
    void addShapeClip(const QString &shapeKind);
    void addShapeClipAt(const QString &shapeId, int trackIndex, double atSeconds);
    void addStickerClip(const QString &stickerId, double atSeconds);
    void addEmojiClip(const QString &emoji, const QString &name, double atSeconds);
    void freezeFrameAtPlayhead();
    bool trackAcceptsAsset(int trackIndex, int assetIndex) const;
    QString trackTypeForAsset(int assetIndex) const;

    // Moving, trimming and clip fields
    void moveClip(int trackIndex, int clipIndex, double newStart);
    void moveClipToTrack(int trackIndex, int clipIndex, int newTrackIndex, double newStart);
    void trimClipLeft(int trackIndex, int clipIndex, double newStart);
    void trimClipRight(int trackIndex, int clipIndex, double newEnd);
    void setClipStart(int trackIndex, int clipIndex, double start);
    void setClipDuration(int trackIndex, int clipIndex, double duration);
    void setClipTrim(int trackIndex, int clipIndex, double inPoint, double outPoint);
    void setClipFade(int trackIndex, int clipIndex, double fadeInSeconds, double fadeOutSeconds);
    void setClipFadeCurve(int trackIndex, int clipIndex, const QString &curve);
    void setClipBlendMode(int trackIndex, int clipIndex, const QString &mode);
    void setClipFlip(int trackIndex, int clipIndex, bool flipH, bool flipV);
    void setClipMask(int trackIndex, int clipIndex, const QVariantMap &mask);
    void setShapeStyle(int trackIndex, int clipIndex, const QVariantMap &style);
    void setTextStyle(int trackIndex, int clipIndex, const QVariantMap &style);
    void setClipTextContent(int trackIndex, int clipIndex, const QString &text);
    void resetClipTransform(int trackIndex, int clipIndex);
    void setClipRotationSnap(int trackIndex, int clipIndex, double degrees);
    double snapTime(double seconds) const;

    // Splitting
    void splitAtPlayhead();
    void splitClipAt(int trackIndex, int clipIndex, double seconds);
    void splitClipLeftAt(int trackIndex, int clipIndex, double seconds);
    void splitClipRightAt(int trackIndex, int clipIndex, double seconds);
    void alignSelectedClipLeft();
    void alignSelectedClipRight();

    // Operations on the selection
    void deleteSelectedClip();
    void duplicateSelectedClip();
    void copySelection();
    void cutSelection();
    void pasteAtPlayhead();
    void nudgeSelection(double deltaSeconds);
    void mergeSelectedClips();
    void separateAudioFromSelection();
    void unlinkSelectedClips();
    bool canMergeSelection() const;
    bool canSeparateAudioSelection() const;
    bool canUnlinkSelection() const;

    // Selection
    void selectClip(int trackIndex, int clipIndex);
    void addToSelection(int trackIndex, int clipIndex);
    void setSelection(const QVariantList &pairs);
    void selectAllClips();
    void clearSelection();
    bool selectionContains(int trackIndex, int clipIndex) const;
    void selectTransition(int trackIndex, int leftClipIndex);
    void clearTransitionSelection();

    // Drag transactions: many live writes, one undo entry
    void beginPreviewDrag(const QString &undoText = QString());
    void commitPreviewDrag();
    void cancelPreviewDrag();
    void previewSetClipPosition(int trackIndex, int clipIndex, double xPixels, double yPixels);
    void previewSetClipSize(int trackIndex, int clipIndex, double widthPixels, double heightPixels);
    void previewSetClipRect(int trackIndex, int clipIndex, double x, double y, double w, double h);
    void previewSetTextRect(int trackIndex, int clipIndex, double x, double y, double w, double h,
                            int pixelSize);
    void previewSetClipRotation(int trackIndex, int clipIndex, double degrees);
    void previewSetClipKeyframe(int trackIndex, int clipIndex, const QString &prop, double atSeconds,
                                double value);
    void previewMoveClipKeyframe(int trackIndex, int clipIndex, const QString &prop, double fromSeconds,
                                 double toSeconds, double value);
    void previewSetEffectParam(int trackIndex, int clipIndex, int effectIndex, const QString &key,
                               const QVariant &value);
    void previewSetAudioEffectParam(int trackIndex, int clipIndex, int effectIndex, const QString &key,
                                    const QVariant &value);
    void previewSetClipSpeed(int trackIndex, int clipIndex, double speed);
    void previewSetClipMask(int trackIndex, int clipIndex, const QVariantMap &mask);
    void previewSetClipFade(int trackIndex, int clipIndex, double fadeInSeconds, double fadeOutSeconds);
    void previewSetClipTextContent(int trackIndex, int clipIndex, const QString &text);
    void previewSetSubtitleCues(int trackIndex, int clipIndex, const QVariantList &cues);
    void previewSetTransitionParam(int trackIndex, const QString &transitionId, const QString &key,
                                   const QVariant &value);
    void previewSetKeyframeTangents(int trackIndex, int clipIndex, const QString &prop, double atSeconds,
                                    double inDx, double inDy, double outDx, double outDy, bool corner);

    // Keyframes and speed (AppControllerKeyframes.cpp, AppControllerSpeed.cpp)
public:
    Q_PROPERTY(QStringList keyframeGraphHiddenProperties READ keyframeGraphHiddenProperties NOTIFY
                   keyframeGraphVisibilityChanged)
    Q_PROPERTY(bool speedCurveSessionActive READ speedCurveSessionActive NOTIFY speedCurveSessionChanged)
    Q_PROPERTY(QVariantList speedCurvePoints READ speedCurvePoints NOTIFY speedCurveChanged)
    Q_PROPERTY(int speedCurveRevision READ speedCurveRevision NOTIFY speedCurveFrameChanged)
    Q_PROPERTY(QSize speedCurveFrameSize READ speedCurveFrameSize NOTIFY speedCurveFrameChanged)
    Q_PROPERTY(double speedCurveSourceDuration READ speedCurveSourceDuration NOTIFY speedCurveSessionChanged)
    Q_PROPERTY(double speedCurveRetimedDuration READ speedCurveRetimedDuration NOTIFY speedCurveChanged)
    Q_PROPERTY(double speedCurvePosition READ speedCurvePosition NOTIFY speedCurvePositionChanged)
    Q_PROPERTY(double speedCurveSourcePosition READ speedCurveSourcePosition NOTIFY speedCurvePositionChanged)
    Q_PROPERTY(bool speedCurvePlaying READ speedCurvePlaying NOTIFY speedCurvePlayingChanged)
    Q_PROPERTY(QString speedCurveClipName READ speedCurveClipName NOTIFY speedCurveSessionChanged)
    Q_PROPERTY(QString speedCurveClipPath READ speedCurveClipPath NOTIFY speedCurveSessionChanged)
    Q_PROPERTY(QString speedCurveFilmstripPath READ speedCurveFilmstripPath NOTIFY speedCurveSessionChanged)

    QStringList keyframeGraphHiddenProperties() const { return m_keyframeGraphHiddenProperties; }
    bool speedCurveSessionActive() const { return m_speedSession.active; }
    QVariantList speedCurvePoints() const;
    int speedCurveRevision() const { return int(m_speedSession.frameRevision); }
    QSize speedCurveFrameSize() const;
    double speedCurveSourceDuration() const;
    double speedCurveRetimedDuration() const;
    double speedCurvePosition() const { return orvel::usToSeconds(m_speedSession.positionUs); }
    double speedCurveSourcePosition() const;
    bool speedCurvePlaying() const;
    QString speedCurveClipName() const { return m_speedSession.clip.name; }
    QString speedCurveClipPath() const { return m_speedSession.clip.path; }
    QString speedCurveFilmstripPath() const { return m_speedSession.clip.filmstripPath; }
    // The player the custom speed window auditions with. Not owned; it may be replaced or go
    // away (it is then simply not driven).
    void setClipPreviewPlayer(orvel::AbstractClipPreviewPlayer *player);

public slots:
    void setClipKeyframe(int trackIndex, int clipIndex, const QString &prop, double atSeconds, double value);
    void removeClipKeyframe(int trackIndex, int clipIndex, const QString &prop, double atSeconds);
    void setKeyframeTangents(int trackIndex, int clipIndex, const QString &prop, double atSeconds,
                             double inDx, double inDy, double outDx, double outDy, bool corner);
    void setKeyframeHold(int trackIndex, int clipIndex, const QString &prop, double atSeconds, bool hold);
    void setKeyframeInterpolation(int trackIndex, int clipIndex, const QString &prop, const QString &mode);
    void setClipPropertyKeyframesEnabled(int trackIndex, int clipIndex, const QString &prop, bool enabled);
    void toggleClipPropertyKeyframesEnabled(int trackIndex, int clipIndex, const QString &prop);
    bool clipPropertyKeyframesEnabled(int trackIndex, int clipIndex, const QString &prop) const;
    QStringList clipAnimatedProperties(int trackIndex, int clipIndex) const;
    QVariantList clipKeyframes(int trackIndex, int clipIndex, const QString &prop) const;
    double propertyBaseValue(int trackIndex, int clipIndex, const QString &prop, double fallback) const;
    double propertyValueAt(int trackIndex, int clipIndex, const QString &prop, double atSeconds,
                           double fallback) const;
    void toggleKeyframeGraphPropertyVisible(const QString &prop);
    void showKeyframeGraphProperty(const QString &prop);

    void setClipSpeed(int trackIndex, int clipIndex, double speed);
    void setClipReverse(int trackIndex, int clipIndex, bool reverse);
    void clearClipSpeedCurve(int trackIndex, int clipIndex);
    double sourceTimeAtPlayhead() const;
    double sourceTimeForClip(const QVariantMap &clip) const;

    void beginSpeedCurveSession(int trackIndex, int clipIndex);
    void endSpeedCurveSession();
    void setSpeedCurvePoints(const QVariantList &points);
    void playSpeedCurvePreview();
    void pauseSpeedCurvePreview();
    void seekSpeedCurvePreview(double seconds);
    void seekSpeedCurvePreviewAtSource(double position);
    void applySpeedCurve();

signals:
    void keyframeGraphVisibilityChanged();
    void speedCurveSessionChanged();
    void speedCurveChanged();
    void speedCurvePositionChanged();
    void speedCurvePlayingChanged();
    void speedCurveFrameChanged();
    void speedCurveApplied();

public slots:
    // Tracks, transitions, bookmarks and project setup (AppControllerTracks.cpp,
    // AppControllerTransitions.cpp, AppControllerProject.cpp)
    void addTransition(int trackIndex, int clipIndex, const QString &kind, double durationSeconds);
    void removeTransition(int trackIndex, const QString &transitionId);
    void setTransitionDuration(int trackIndex, const QString &transitionId, double durationSeconds);
    void setTransitionKind(int trackIndex, const QString &transitionId, const QString &kind);
    void setTransitionParam(int trackIndex, const QString &transitionId, const QString &key,
                            const QVariant &value);
    QVariantMap transitionBetweenClips(int trackIndex, int clipIndex) const;
    void addTrack(const QString &type);
    void removeTrack(int trackIndex);
    void moveTrack(int fromIndex, int toIndex);
    void setTrackMuted(int trackIndex, bool muted);
    void setTrackHidden(int trackIndex, bool hidden);
    void setTrackShowWaveform(int trackIndex, bool show);
    void setTrackHeightScale(int trackIndex, double scale);
    void nudgeTrackHeightScale(int trackIndex, int steps);
    double trackHeightScaleMin() const;
    double trackHeightScaleMax() const;
    void addBookmark(double seconds, const QString &label);
    void removeBookmark(int index);
    void goToBookmark(int index);
    void setProjectSetup(int width, int height, int fps);
    void setProjectResolution(int width, int height);
    void applyCanvasCrop(double x, double y, double width, double height);
    void setBackground(const QVariantMap &background);
    void setProjectMetadata(const QString &title, const QString &author, const QString &description);
    QVariantMap projectMetadata() const;
    int projectWidth() const { return m_project.width; }
    int projectHeight() const { return m_project.height; }
    int projectFps() const { return m_project.fps; }
    bool timelineHasVisualClips() const;
    bool shouldConfigureProjectForAsset(int assetIndex) const;
    QVariantMap suggestedProjectSetupForAsset(int assetIndex) const;
    void markProjectLayoutChosen();

    // QML bridge (AppControllerBridge.cpp, AppControllerShortcuts.cpp)
    // QML numbers arrive as doubles; the (int, int) overload is the controller's own clip lookup.
    QVariantMap clipAt(double trackIndex, double clipIndex) const;
    QVariantMap activeVideoClipAtPlayhead() const;
    QVariantMap activeAudioClipAtPlayhead() const;
    QVariantList previewClipsAtPlayhead() const;
    void setTimelineTrimCursor(int side, int heightPx = 0);
    void triggerAction(const QString &actionId);
    QString shortcutFor(const QString &actionId) const;
    void setShortcut(const QString &actionId, const QString &keys);

public slots:
    // Subtitle files (AppControllerSubtitles.cpp). Paths may come as file URLs from FileDialogs.
    void importSubtitleFile(const QString &url, double atSeconds);
    void importSubtitleFile(const QString &url);
    void importSubtitleFileIntoClip(int trackIndex, int clipIndex, const QString &url);
    void exportSubtitleFile(int trackIndex, int clipIndex, const QString &url);

private:
    bool readSubtitleCues(const QString &url, QList<orvel::SubtitleCue> &cues);

public:
    QVariantList tracks() const;
    QVariantMap selectedClipData() const;
    QVariantList selectedClipEffects() const;
    QVariantList selectedClipAudioEffects() const;
    QVariantMap selectedTransitionData() const;
    QVariantList bookmarks() const;
    QVariantMap background() const;
    QVariantList actions() const;
    int draggingAssetIndex() const { return m_draggingAssetIndex; }
    void setDraggingAssetIndex(int assetIndex);
    bool projectLayoutChosen() const { return m_projectLayoutChosen; }
    TimelineModel *timelineModel() { return &m_timelineModel; }
    ClipListModel *clipListModel() { return &m_clipListModel; }
    // Whether the audio-effect catalogue knows an id; without one every stored effect is missing.
    void setAudioEffectCatalogLookup(std::function<bool(const QString &)> known)
    {
        m_audioEffectKnown = std::move(known);
    }
    int trimCursorSide() const { return m_trimCursorSide; }

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
    void projectNameChanged();
    void backgroundChanged();
    void dragActiveChanged();
    void transformBlocked(const QString &reason);
    void inlineTextEditRequested(int trackIndex, int clipIndex);
    void projectMutated();
    // QML bridge
    void draggingAssetIndexChanged();
    void projectLayoutChosenChanged();
    void shortcutsChanged();
    void newProjectRequested();
    void openRequested();
    void saveRequested();

protected:
    void setLastMessage(const QString &message);
    void setDirty(bool dirty);
    void emitDocumentSignals();

public:
    // The installed effect packages for the effects panel (AppControllerEffects.cpp), and the
    // transition packages for the transition inspector (AppControllerTransitions.cpp).
    Q_INVOKABLE QVariantList effectCatalog() const;
    Q_INVOKABLE QVariantList effectCategories() const;
    Q_INVOKABLE void addEffect(int trackIndex, int clipIndex, const QString &effectId);
    Q_INVOKABLE void removeEffect(int trackIndex, int clipIndex, int effectIndex);
    // The installed audio effects for the browser, and adding or removing one on a clip that
    // carries sound (AppControllerAudioEffects.cpp, with selectedClipAudioEffects).
    Q_INVOKABLE QVariantList audioEffectCatalog() const;
    Q_INVOKABLE QVariantList audioEffectCategories() const;
    Q_INVOKABLE void addAudioEffect(int trackIndex, int clipIndex, const QString &catalogId);
    Q_INVOKABLE void removeAudioEffect(int trackIndex, int clipIndex, int effectIndex);
    Q_INVOKABLE QVariantList transitionKinds() const;
    Q_INVOKABLE QVariantList transitionCategories() const;

private:
    void readSettings();
    void connectSignals();
    void startAutosave();
    void writeAutosaveIfDirty();
    void checkForRecovery();
    void showProjectInAssetLibrary();
    void rememberAssetsShown();
    void syncAssetLibraryWithProject();

    // Edits (AppControllerEdits.cpp)
    struct ClipboardEntry
    {
        orvel::Clip clip;
        orvel::TrackType trackType = orvel::TrackType::video;
    };
    bool validClip(int trackIndex, int clipIndex) const;
    const orvel::Clip *clipAt(int trackIndex, int clipIndex) const;
    orvel::SnapContext snapContext() const;
    orvel::TimeUs snapUs(orvel::TimeUs t) const;
    void commitEdit(const orvel::Project &before, const QString &undoText, const QString &message);
    void refreshAfterEdit(const QString &message);
    void afterUndoIndexChanged();
    void lightRefresh();
    void syncLinkedPartners(int trackIndex, int clipIndex);

    // Adding (AppControllerAdd.cpp)
    const orvel::Asset *assetAtIndex(int assetIndex) const;
    void addAssetClip(int assetIndex, int trackIndex, orvel::TimeUs startUs, bool onNewTrack);
    orvel::TimeUs startOrPlayheadUs(double atSeconds) const;
    orvel::ClipRef placeGeneratedClip(orvel::Clip clip, int preferredTrack, orvel::TimeUs startUs,
                                      const QString &message);
    void addImageSticker(const QString &path, const QString &emoji, const QString &name, double atSeconds,
                         const QString &message);
    void finishFreezeFrame(const QString &stillPath, orvel::TimeUs requestPlayheadUs, const QRectF &frame);

    // Clip edits (AppControllerClips.cpp)
    void commitTrim(int trackIndex, int clipIndex, const orvel::Clip &edited, const QString &edge);

    // Splits (AppControllerSplit.cpp)
    bool splitWithPartners(int trackIndex, int clipIndex, orvel::TimeUs atUs);
    void splitKeepingOneSide(int trackIndex, int clipIndex, orvel::TimeUs atUs, bool keepRight);

    // Selection (AppControllerSelection.cpp)
    QList<orvel::ClipRef> effectiveSelection() const;
    void pruneSelection();
    void setSelectionRefs(const QList<orvel::ClipRef> &refs);
    void appendWithPartners(QList<orvel::ClipRef> &refs, int trackIndex, int clipIndex) const;
    bool clipHasSeparableAudio(const orvel::Clip &clip) const;

    // Drag (AppControllerDrag.cpp)
    void ensureTransaction(const QString &undoText);
    template <typename Mutator>
    void previewEditClip(int trackIndex, int clipIndex, const QString &undoText, Mutator mutate);
    bool previewKeyedWrite(int trackIndex, int clipIndex, const QString &undoText, const QString &refusal,
                           const QList<std::pair<QString, double>> &values, int textPixelSize = -1);

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
    QList<orvel::ClipRef> m_selection;
    int m_selectedTransitionTrack = -1;
    int m_selectedTransitionLeftClip = -1;
    QList<ClipboardEntry> m_clipboard;
    QList<orvel::TimeUs> m_beatSnapUs;
    bool m_dragActive = false;
    orvel::Project m_dragBase;
    StillFrameSource m_stillFrameSource;
    // The asset table the asset list was last reset to, to notice when undo replaces it.
    QList<QString> m_assetOrderShown;
    QHash<QString, orvel::Asset> m_assetsShown;
    std::function<QString(const QString &)> m_stickerPathResolver;
    QString m_emojiPackDirectory;
    std::function<double(int)> m_shapeAspectResolver;

    // Keyframes and speed (AppControllerKeyframes.cpp, AppControllerSpeed.cpp)
    static bool isClipPropertyName(const orvel::Clip &clip, const QString &name);
    void commitClipEdit(int trackIndex, int clipIndex, const QString &undoText, const QString &message,
                        const std::function<bool(orvel::Clip &)> &mutate);
    void applyKeyframeTangents(orvel::Clip &clip, const QString &prop, double atSeconds, double inDx,
                               double inDy, double outDx, double outDy, bool corner, bool *found) const;
    orvel::TimeUs speedSessionSpanUs() const;
    void seekSpeedSessionTo(orvel::TimeUs retimedUs);
    void followPreviewPlayerPosition();
    void countPreviewPlayerFrame();

    QStringList m_keyframeGraphHiddenProperties;
    orvel::SpeedCurveSession m_speedSession;
    QPointer<orvel::AbstractClipPreviewPlayer> m_clipPreviewPlayer;
    // Tracks, transitions, project setup and the QML bridge
    void setUpBridge();
    void loadShortcuts();
    void remapSelectionTracks(const std::function<int(int)> &newTrackIndex);
    bool validTrack(int trackIndex) const;
    template <typename Mutator>
    void editTransition(int trackIndex, const QString &transitionId, const QString &undoText,
                        const QString &message, Mutator mutate);
    template <typename Mutator>
    void editTrack(int trackIndex, const QString &undoText, const QString &message, Mutator mutate);
    void resizeCanvas(int width, int height, int fps);
    QVariantMap clipMapAt(int trackIndex, int clipIndex) const;
    QVariantMap topClipUnderPlayhead(orvel::TrackType trackType, bool skipMuted) const;
    TimelineModel m_timelineModel{this};
    ClipListModel m_clipListModel{this};
    QHash<QString, QString> m_shortcuts; // action id to keys
    mutable orvel::TrackMapsCache m_trackMaps;
    std::function<bool(const QString &)> m_audioEffectKnown;
    int m_draggingAssetIndex = -1;
    bool m_projectLayoutChosen = false;
    int m_trimCursorSide = 0;
    int m_trimCursorHeightPx = 0;

    // Saving, opening, shareable copies, recent projects and recovery (AppControllerSaving.cpp,
    // AppControllerSavingOpen.cpp, AppControllerAutosave.cpp)
public:
    Q_PROPERTY(QString currentProjectPath READ currentProjectPath NOTIFY currentProjectPathChanged)
    Q_PROPERTY(QVariantList recentProjects READ recentProjects NOTIFY recentProjectsChanged)
    Q_PROPERTY(bool packaging READ packaging NOTIFY packagingChanged)
    Q_PROPERTY(double packageProgress READ packageProgress NOTIFY packageProgressChanged)

    QString currentProjectPath() const { return m_currentProjectPath; }
    QVariantList recentProjects() const;
    bool packaging() const { return m_packaging; }
    double packageProgress() const { return m_packageProgress; }
    // Which installed addons a project uses, and whether an addon id is installed (without the
    // latter every addon a project names is reported missing).
    void setAddonLookup(orvel::ProjectAddonLookup lookup) { m_addonLookup = std::move(lookup); }
    void setInstalledAddonCheck(std::function<bool(const QString &)> installed)
    {
        m_addonInstalled = std::move(installed);
    }
    // Sticker pack folders, searched for built-in stickers that a project names by resource path.
    void setStickerPackDirectories(const QStringList &directories) { m_stickerPackDirectories = directories; }
    // The current file of an emoji; empty when the emoji addon has none.
    void setEmojiFileResolver(std::function<QString(const QString &)> resolver)
    {
        m_emojiFileResolver = std::move(resolver);
    }
    // Whether the effect and transition catalogs know an id; without one nothing is reported.
    void setEffectCatalogLookup(std::function<bool(const QString &)> known)
    {
        m_effectKnown = std::move(known);
    }

public slots:
    void saveProject(const QUrl &url);
    void packageProject(const QUrl &url);
    void cancelPackage();
    void loadProject(const QUrl &url);
    void openRecentProject(const QString &path);
    void clearRecentProjects();
    void newProject();
    void restoreAutosave();
    void discardAutosave();
    void discardUnsavedChanges();
    // Writes the snapshot when there is unsaved work; the autosave timer and quit call it.
    void writeAutosave();

signals:
    void currentProjectPathChanged();
    void recentProjectsChanged();
    void packagingChanged();
    void packageProgressChanged();
    void packageFinished(bool ok, const QString &message);
    void missingAddons(const QVariantList &addons);

private:
    // A shareable copy and an unpack run on the pool with copies of what they read; whatever
    // still runs when the controller goes is cancelled (a copy) or finished (an unpack) first.
    struct BackgroundJobs
    {
        std::shared_ptr<std::atomic_bool> packageCancel = std::make_shared<std::atomic_bool>(false);
        QFuture<void> package;
        QList<QFuture<void>> unpacks; // an open may start while an earlier unpack still runs
        ~BackgroundJobs();
    };
    orvel::ProjectSaveData gatherSaveData(bool embedAll) const;
    void finishSuccessfulSave(const QString &path, const orvel::ProjectSaveData &data,
                              const QString &message);
    void finishPackage(const QString &path, const orvel::ProjectSaveData &data, bool ok,
                       const QString &error);
    void finishUnpack(quint32 generation, const QString &path, const orvel::ProjectManifestInfo &info,
                      bool ok, const QString &error, const QHash<QString, QString> &extracted);
    void applyLoadedManifest(const QString &path, const orvel::ProjectManifestInfo &info,
                             const QHash<QString, QString> &extracted);
    bool applyProjectText(const QByteArray &text, QString *error);
    void adoptLoadedProject(orvel::Project loaded, const QJsonObject &root);
    void refreshEmojiPaths(orvel::Project &project) const;
    void setCurrentProjectPath(const QString &path);
    void rememberRecentProject(const QString &path);
    void setPackaging(bool packaging);
    void setPackageProgress(double progress);
    void setRecoveryOffer(bool available, const orvel::RecoveryInfo &info);
    QString activeAutosavePath() const;
    void deleteAutosaveSnapshot();
    void tidyUnpackedMedia();
    void reportMissingAddons(const QList<orvel::ProjectAddonRef> &addons);

    QSet<QString> m_embeddedPaths;
    QHash<QString, QString> m_pendingExtractedPaths;
    quint32 m_loadGeneration = 0;
    bool m_packaging = false;
    double m_packageProgress = 0.0;
    orvel::ProjectAddonLookup m_addonLookup;
    std::function<bool(const QString &)> m_addonInstalled;
    QStringList m_stickerPackDirectories;
    std::function<QString(const QString &)> m_emojiFileResolver;
    std::function<bool(const QString &)> m_effectKnown;
    BackgroundJobs m_jobs; // waited for before anything above goes

    // Playback (AppControllerPlayback.cpp)
public:
    Q_PROPERTY(orvel::PlaybackEngine *playback READ playback CONSTANT)
    orvel::PlaybackEngine *playback() { return &m_playback; }

public slots:
    void togglePlayback();

private:
    void setUpPlayback();
    void seekEngineToPlayhead();
    void startOrStopEngine();
    void followEnginePlayhead();
    void followEnginePlaying();
    // Declared after the document, so it stops (and its audio thread stops reading the project)
    // before the document goes.
    orvel::PlaybackEngine m_playback;

    // Export to a video file on the pool (AppControllerExport.cpp)
public:
    Q_PROPERTY(bool exportInProgress READ exportInProgress NOTIFY exportInProgressChanged)
    Q_PROPERTY(double exportProgress READ exportProgress NOTIFY exportProgressChanged)

    bool exportInProgress() const { return m_export.running; }
    double exportProgress() const { return m_export.progress; }

    Q_INVOKABLE QVariantList exportPresets() const;
    Q_INVOKABLE QVariantList exportScaleOptions() const;
    Q_INVOKABLE QVariantList exportVideoCodecs() const;
    Q_INVOKABLE QVariantList exportAudioCodecs() const;
    Q_INVOKABLE QVariantMap exportDefaultSettings() const;
    Q_INVOKABLE QString exportPreferredContainer(const QString &videoCodecId, const QString &audioCodecId) const;
    Q_INVOKABLE QStringList exportSaveFilters(const QString &container) const;
    Q_INVOKABLE QString exportDefaultSuffix(const QString &container) const;

public slots:
    void exportProject(const QUrl &url);
    void exportWithPreset(const QUrl &url, const QString &presetId);
    void exportWithSettings(const QUrl &url, const QVariantMap &settings);
    void cancelExport();

signals:
    void exportInProgressChanged();
    void exportProgressChanged();
    void exportFinished(bool success);

private:
    // One export at a time. The worker holds its own copy of the project and this flag; the
    // controller waits for it on the way out, so its queued calls never reach a dead object.
    struct ExportJobState
    {
        std::shared_ptr<std::atomic_bool> cancel = std::make_shared<std::atomic_bool>(false);
        QFuture<void> future;
        bool running = false;
        double progress = 0.0;
        ~ExportJobState();
    };
    void setExportProgress(double progress);
    void finishExport(bool success, bool cancelled, const QString &message);

    ExportJobState m_export; // last: goes first, so the job ends before anything it reports to
};

// The QML singleton type: the same object as AppController under the name QML code uses.
class EditorState : public AppController
{
    Q_OBJECT

public:
    using AppController::AppController;
};
