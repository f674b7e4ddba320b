// The list of tracks and the bookmarks.
#include "core/controller/AppController.h"

#include "core/bridge/BridgeMaps.h"
#include "core/document/editing/ClipEditing.h"
#include "core/document/model/ProjectSetup.h"

#include <cmath>

namespace {
// One notch of the track height gesture scales the row by this factor.
constexpr double kTrackHeightNudgeFactor = 1.18;
} // namespace

// Re-points every stored track index; a mapping to -1 drops what pointed at that track.
void AppController::remapSelectionTracks(const std::function<int(int)> &newTrackIndex)
{
    QList<orvel::ClipRef> kept;
    for (orvel::ClipRef ref : std::as_const(m_selection)) {
        ref.track = newTrackIndex(ref.track);
        if (ref.track >= 0)
            kept.append(ref);
    }
    m_selection = kept;
    if (m_selectedTrack >= 0) {
        m_selectedTrack = newTrackIndex(m_selectedTrack);
        if (m_selectedTrack < 0)
            m_selectedClip = -1;
    }
    if (m_selectedTransitionTrack >= 0) {
        m_selectedTransitionTrack = newTrackIndex(m_selectedTransitionTrack);
        if (m_selectedTransitionTrack < 0)
            m_selectedTransitionLeftClip = -1;
    }
}

template <typename Mutator>
void AppController::editTrack(int trackIndex, const QString &undoText, const QString &message, Mutator mutate)
{
    if (!validTrack(trackIndex))
        return;
    orvel::Track edited = std::as_const(m_project.tracks)[trackIndex];
    if (!mutate(edited))
        return;
    const orvel::Project before = m_project;
    m_project.tracks[trackIndex] = edited;
    commitEdit(before, undoText, message);
}

void AppController::addTrack(const QString &type)
{
    const std::optional<orvel::TrackType> trackType = orvel::trackTypeFromUserText(type);
    if (!trackType)
        return;
    const orvel::Project before = m_project;
    orvel::Track track;
    track.type = *trackType;
    m_project.tracks.prepend(track);
    remapSelectionTracks([](int index) { return index + 1; });
    commitEdit(before, tr("Add track"), tr("Track added"));
}

void AppController::removeTrack(int trackIndex)
{
    if (!validTrack(trackIndex))
        return;
    const orvel::Project before = m_project;
    m_project.tracks.removeAt(trackIndex);
    remapSelectionTracks([trackIndex](int index) {
        if (index == trackIndex)
            return -1;
        return index > trackIndex ? index - 1 : index;
    });
    commitEdit(before, tr("Delete track"), tr("Track deleted"));
}

void AppController::moveTrack(int fromIndex, int toIndex)
{
    if (!validTrack(fromIndex) || !validTrack(toIndex) || fromIndex == toIndex)
        return;
    const orvel::Project before = m_project;
    m_project.tracks.move(fromIndex, toIndex);
    remapSelectionTracks(
        [fromIndex, toIndex](int index) { return orvel::trackIndexAfterMove(index, fromIndex, toIndex); });
    commitEdit(before, tr("Move track"), tr("Track moved"));
}

void AppController::setTrackMuted(int trackIndex, bool muted)
{
    editTrack(trackIndex, tr("Track mute"), muted ? tr("Track muted") : tr("Track unmuted"),
              [muted](orvel::Track &track) {
                  if (track.muted == muted)
                      return false;
                  track.muted = muted;
                  return true;
              });
}

void AppController::setTrackHidden(int trackIndex, bool hidden)
{
    editTrack(trackIndex, tr("Track visibility"), hidden ? tr("Track hidden") : tr("Track shown"),
              [hidden](orvel::Track &track) {
                  if (track.hidden == hidden)
                      return false;
                  track.hidden = hidden;
                  return true;
              });
}

// Display settings of a row: they change the document but are no edit worth an undo step.
void AppController::setTrackShowWaveform(int trackIndex, bool show)
{
    if (!validTrack(trackIndex) || std::as_const(m_project.tracks)[trackIndex].showWaveform == show)
        return;
    m_project.tracks[trackIndex].showWaveform = show;
    emit tracksChanged();
}

void AppController::setTrackHeightScale(int trackIndex, double scale)
{
    if (!validTrack(trackIndex))
        return;
    const double clamped = orvel::clampTrackHeightScale(scale);
    if (qFuzzyCompare(std::as_const(m_project.tracks)[trackIndex].heightScale, clamped))
        return;
    m_project.tracks[trackIndex].heightScale = clamped;
    emit tracksChanged();
}

void AppController::nudgeTrackHeightScale(int trackIndex, int steps)
{
    if (!validTrack(trackIndex))
        return;
    const double current = std::as_const(m_project.tracks)[trackIndex].heightScale;
    setTrackHeightScale(trackIndex, current * std::pow(kTrackHeightNudgeFactor, steps));
}

double AppController::trackHeightScaleMin() const
{
    return orvel::kTrackHeightScaleMin;
}

double AppController::trackHeightScaleMax() const
{
    return orvel::kTrackHeightScaleMax;
}

void AppController::addBookmark(double seconds, const QString &label)
{
    const orvel::Project before = m_project;
    const QString text = label.isEmpty() ? tr("Bookmark") : label;
    m_project.bookmarks.append(
        orvel::Bookmark{std::max<orvel::TimeUs>(orvel::secondsToUs(seconds), 0), text});
    commitEdit(before, tr("Add bookmark"), tr("Bookmark added"));
}

void AppController::removeBookmark(int index)
{
    if (index < 0 || index >= m_project.bookmarks.size())
        return;
    const orvel::Project before = m_project;
    m_project.bookmarks.removeAt(index);
    commitEdit(before, tr("Remove bookmark"), tr("Bookmark removed"));
}

void AppController::goToBookmark(int index)
{
    if (index < 0 || index >= m_project.bookmarks.size())
        return;
    setPlayheadSeconds(orvel::usToSeconds(m_project.bookmarks[index].timeUs));
}

QVariantList AppController::bookmarks() const
{
    return orvel::bookmarksToList(m_project.bookmarks);
}
