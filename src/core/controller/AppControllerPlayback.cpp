// The playback engine behind the preview: it follows the playhead and the document, and the
// playhead and the playing flag follow it while it plays.
#include "core/controller/AppController.h"

#include "playback/PlaybackEngine.h"

void AppController::setUpPlayback()
{
    m_playback.setProject(&m_project);
    connect(&m_playback, &orvel::PlaybackEngine::playheadUsChanged, this,
            &AppController::followEnginePlayhead);
    connect(&m_playback, &orvel::PlaybackEngine::playingChanged, this, &AppController::followEnginePlaying);
    // Every change of the document, the light refresh of a drag included, reaches the preview.
    connect(this, &AppController::tracksChanged, &m_playback, &orvel::PlaybackEngine::documentChanged);
    connect(this, &AppController::backgroundChanged, &m_playback, &orvel::PlaybackEngine::documentChanged);
    connect(this, &AppController::playheadSecondsChanged, this, &AppController::seekEngineToPlayhead);
    connect(this, &AppController::playingChanged, this, &AppController::startOrStopEngine);
}

void AppController::togglePlayback()
{
    setPlaying(!m_playing);
}

// A playhead set from outside (a scrub, a bookmark, a load) moves the engine; the positions the
// engine reports itself are already equal and cost nothing here.
void AppController::seekEngineToPlayhead()
{
    if (m_playheadUs != m_playback.playheadUs())
        m_playback.seek(m_playheadUs);
}

void AppController::startOrStopEngine()
{
    if (m_playing == m_playback.isPlaying())
        return;
    if (!m_playing) {
        m_playback.pause();
        return;
    }
    // Play at the end starts again from the beginning.
    if (m_playheadUs >= orvel::projectDurationUs(m_project)) {
        m_playheadUs = 0;
        emit playheadSecondsChanged();
    }
    m_playback.play();
}

void AppController::followEnginePlayhead()
{
    if (!m_playback.isPlaying() && !m_playing)
        return;
    if (m_playback.playheadUs() == m_playheadUs)
        return;
    m_playheadUs = m_playback.playheadUs();
    emit playheadSecondsChanged();
}

void AppController::followEnginePlaying()
{
    if (!m_playback.isPlaying()) {
        // The engine stopped by itself (at the end) or was paused: keep where it stopped.
        if (m_playback.playheadUs() != m_playheadUs) {
            m_playheadUs = m_playback.playheadUs();
            emit playheadSecondsChanged();
        }
    }
    setPlaying(m_playback.isPlaying());
}
