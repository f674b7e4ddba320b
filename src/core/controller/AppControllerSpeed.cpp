// Speed: the constant speed and its duration rule, reverse, removing a curve, source times for
// the inspector, and the custom speed session that draws a curve and applies it beside the clip.
#include "core/controller/AppController.h"

#include "core/document/timing/ClipTiming.h"

#include <algorithm>
#include <cmath>

namespace {

bool hasSpeedControls(const orvel::Clip &clip)
{
    return clip.type == orvel::ClipType::video || clip.type == orvel::ClipType::audio;
}

// The clip as the preview player gets it: the curve being drawn replaces the clip's own.
orvel::Clip clipWithWorkingCurve(const orvel::SpeedCurveSession &session)
{
    orvel::Clip clip = session.clip;
    clip.speedCurve = session.workingCurve;
    return clip;
}

// The inspector's source readout reads the constant speed even for a curved clip.
double sourceSecondsAt(double playheadSeconds, double startSeconds, double inSeconds, double outSeconds,
                       double speed, bool reverse)
{
    const double played = (playheadSeconds - startSeconds) * orvel::effectiveSpeed(speed);
    return reverse ? outSeconds - played : inSeconds + played;
}

} // namespace

void AppController::setClipSpeed(int trackIndex, int clipIndex, double speed)
{
    if (!std::isfinite(speed))
        return;
    commitClipEdit(trackIndex, clipIndex, tr("Speed changed"), tr("Clip speed updated"),
                   [&](orvel::Clip &clip) {
                       if (!hasSpeedControls(clip))
                           return false;
                       clip.speed = std::clamp(speed, orvel::kConstantSpeedMin, orvel::kConstantSpeedMax);
                       orvel::applySpeedDurationRule(m_project, clip);
                       return true;
                   });
}

void AppController::setClipReverse(int trackIndex, int clipIndex, bool reverse)
{
    const QString undoText = reverse ? tr("Reverse on") : tr("Reverse off");
    const QString message = reverse ? tr("Clip reversed") : tr("Clip forward");
    commitClipEdit(trackIndex, clipIndex, undoText, message, [&](orvel::Clip &clip) {
        if (!hasSpeedControls(clip) || clip.reverse == reverse)
            return false;
        clip.reverse = reverse;
        return true;
    });
}

void AppController::clearClipSpeedCurve(int trackIndex, int clipIndex)
{
    commitClipEdit(trackIndex, clipIndex, tr("Speed curve removed"), tr("Speed curve removed"),
                   [](orvel::Clip &clip) { return orvel::clearSpeedCurve(clip); });
}

// For the primary selected clip; 0 when nothing is selected.
double AppController::sourceTimeAtPlayhead() const
{
    const orvel::Clip *clip = clipAt(m_selectedTrack, m_selectedClip);
    if (!clip)
        return 0.0;
    return sourceSecondsAt(playheadSeconds(), orvel::usToSeconds(clip->timelineStartUs),
                           orvel::usToSeconds(clip->srcInUs), orvel::usToSeconds(clip->srcOutUs), clip->speed,
                           clip->reverse);
}

double AppController::sourceTimeForClip(const QVariantMap &clip) const
{
    const auto seconds = [&](const char *key, double fallback) {
        bool ok = false;
        const double value = clip.value(QLatin1String(key)).toDouble(&ok);
        return ok ? value : fallback;
    };
    return sourceSecondsAt(playheadSeconds(), seconds("start", 0.0), seconds("inPoint", 0.0),
                           seconds("outPoint", 0.0), seconds("speed", 1.0),
                           clip.value(QStringLiteral("reverse")).toBool());
}

// --- The custom speed session --------------------------------------------------------------

QVariantList AppController::speedCurvePoints() const
{
    return orvel::speedCurvePointsToVariant(orvel::editableSpeedCurvePoints(m_speedSession.workingCurve));
}

QSize AppController::speedCurveFrameSize() const
{
    return m_speedSession.active && m_clipPreviewPlayer ? m_clipPreviewPlayer->frameSize() : QSize();
}

orvel::TimeUs AppController::speedSessionSpanUs() const
{
    return orvel::clipSourceSpanUs(m_speedSession.clip);
}

double AppController::speedCurveSourceDuration() const
{
    return orvel::usToSeconds(speedSessionSpanUs());
}

double AppController::speedCurveRetimedDuration() const
{
    return orvel::usToSeconds(orvel::retimedDuration(m_speedSession.workingCurve, speedSessionSpanUs()));
}

double AppController::speedCurveSourcePosition() const
{
    return orvel::sourcePositionAt(m_speedSession.workingCurve, m_speedSession.positionUs,
                                   speedSessionSpanUs());
}

bool AppController::speedCurvePlaying() const
{
    return m_speedSession.active && m_clipPreviewPlayer && m_clipPreviewPlayer->isPlaying();
}

void AppController::setClipPreviewPlayer(orvel::AbstractClipPreviewPlayer *player)
{
    if (m_clipPreviewPlayer)
        disconnect(m_clipPreviewPlayer, nullptr, this, nullptr);
    m_clipPreviewPlayer = player;
    if (!player)
        return;
    using Player = orvel::AbstractClipPreviewPlayer;
    connect(player, &Player::positionChanged, this, &AppController::followPreviewPlayerPosition);
    connect(player, &Player::frameChanged, this, &AppController::countPreviewPlayerFrame);
    connect(player, &Player::frameSizeChanged, this, &AppController::speedCurveFrameChanged);
    connect(player, &Player::playingChanged, this, &AppController::speedCurvePlayingChanged);
    if (m_speedSession.active)
        player->setClip(clipWithWorkingCurve(m_speedSession), m_project.sampleRate, m_project.fps);
}

void AppController::followPreviewPlayerPosition()
{
    if (!m_speedSession.active || !m_clipPreviewPlayer)
        return;
    m_speedSession.positionUs = m_clipPreviewPlayer->positionUs();
    emit speedCurvePositionChanged();
}

// The revision only grows, so every frame gets an image URL no cache has seen.
void AppController::countPreviewPlayerFrame()
{
    ++m_speedSession.frameRevision;
    emit speedCurveFrameChanged();
}

void AppController::beginSpeedCurveSession(int trackIndex, int clipIndex)
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip)
        return;
    if (!hasSpeedControls(*clip)) {
        setLastMessage(tr("Custom speed works on video and audio clips"));
        return;
    }
    if (clip->path.isEmpty() || orvel::clipSourceSpanUs(*clip) <= 0) {
        setLastMessage(tr("This clip has no media to speed up or slow down"));
        return;
    }
    setPlaying(false);
    const orvel::SpeedCurve startCurve = orvel::sessionStartCurve(*clip);
    orvel::SpeedCurveSession session;
    session.active = true;
    session.trackIndex = trackIndex;
    session.clipIndex = clipIndex;
    session.clip = *clip;
    session.workingCurve = startCurve;
    session.initialCurve = startCurve;
    session.frameRevision = m_speedSession.frameRevision;
    m_speedSession = session;
    if (m_clipPreviewPlayer)
        m_clipPreviewPlayer->setClip(clipWithWorkingCurve(m_speedSession), m_project.sampleRate,
                                     m_project.fps);
    emit speedCurveSessionChanged();
    emit speedCurveChanged();
    emit speedCurvePositionChanged();
}

void AppController::endSpeedCurveSession()
{
    if (m_clipPreviewPlayer)
        m_clipPreviewPlayer->clear();
    orvel::SpeedCurveSession cleared;
    cleared.frameRevision = m_speedSession.frameRevision;
    m_speedSession = cleared;
    emit speedCurveSessionChanged();
    emit speedCurveChanged();
    emit speedCurvePositionChanged();
}

void AppController::setSpeedCurvePoints(const QVariantList &points)
{
    if (!m_speedSession.active)
        return;
    const QList<orvel::SpeedCurvePoint> parsed = orvel::speedCurvePointsFromVariant(points);
    if (!orvel::speedCurvePointsFinite(parsed))
        return;
    m_speedSession.workingCurve = orvel::normaliseSpeedCurve(parsed);
    const orvel::TimeUs durationUs =
        orvel::retimedDuration(m_speedSession.workingCurve, speedSessionSpanUs());
    m_speedSession.positionUs = std::min(m_speedSession.positionUs, durationUs);
    if (m_clipPreviewPlayer)
        m_clipPreviewPlayer->updateSpeed(m_speedSession.workingCurve);
    emit speedCurveChanged();
    emit speedCurvePositionChanged(); // the same retimed time now shows another source frame
}

void AppController::playSpeedCurvePreview()
{
    if (m_speedSession.active && m_clipPreviewPlayer)
        m_clipPreviewPlayer->play();
}

void AppController::pauseSpeedCurvePreview()
{
    if (m_speedSession.active && m_clipPreviewPlayer)
        m_clipPreviewPlayer->pause();
}

void AppController::seekSpeedSessionTo(orvel::TimeUs retimedUs)
{
    const orvel::TimeUs durationUs =
        orvel::retimedDuration(m_speedSession.workingCurve, speedSessionSpanUs());
    m_speedSession.positionUs =
        std::clamp<orvel::TimeUs>(retimedUs, 0, std::max<orvel::TimeUs>(durationUs, 0));
    if (m_clipPreviewPlayer)
        m_clipPreviewPlayer->seek(m_speedSession.positionUs);
    emit speedCurvePositionChanged();
}

void AppController::seekSpeedCurvePreview(double seconds)
{
    if (m_speedSession.active)
        seekSpeedSessionTo(orvel::secondsToUs(seconds));
}

void AppController::seekSpeedCurvePreviewAtSource(double position)
{
    if (!m_speedSession.active)
        return;
    const double clamped = std::isnan(position) ? 0.0 : std::clamp(position, 0.0, 1.0);
    const orvel::TimeUs spanUs = speedSessionSpanUs();
    const auto sourceUs = orvel::TimeUs(std::llround(clamped * double(spanUs)));
    seekSpeedSessionTo(orvel::timelineOffsetFromSource(m_speedSession.workingCurve, sourceUs, spanUs));
}

// The curve goes on a copy of the clip, on a new track in the clip's place; the original stays
// as it was, so the user can compare the two and delete either.
void AppController::applySpeedCurve()
{
    if (!m_speedSession.active || m_speedSession.clip.id.isEmpty())
        return;
    const orvel::Clip *current = clipAt(m_speedSession.trackIndex, m_speedSession.clipIndex);
    if (!current)
        return;
    if (m_clipPreviewPlayer)
        m_clipPreviewPlayer->pause();
    if (current->id != m_speedSession.clip.id) {
        setLastMessage(tr("That clip moved — open Custom speed again"));
        return;
    }
    const orvel::Clip retimed = orvel::retimedClipCopy(*current, m_speedSession.workingCurve);
    const orvel::Project before = m_project;
    orvel::Track track;
    track.type = orvel::homeTrackType(retimed.type);
    track.clips.append(retimed);
    const int trackIndex = orvel::insertTrackAt(m_project, m_speedSession.trackIndex, track);
    setSelectionRefs({orvel::ClipRef{trackIndex, 0}});
    commitEdit(before, tr("Custom speed applied"), tr("Custom speed applied"));
    emit speedCurveApplied();
}
