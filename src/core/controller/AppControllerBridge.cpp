// The document as QML reads it: map snapshots built on every read, the two list models, and the
// small pieces of interface state the controller keeps for the panels.
#include "core/controller/AppController.h"

#include "core/bridge/BridgeMaps.h"
#include "core/document/editing/ClipEditing.h"
#include "core/document/animation/ClipProperties.h"
#include "core/document/model/EnumStrings.h"
#include "core/document/model/ProjectSetup.h"

#include <QBitmap>
#include <QCursor>
#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>

#include <cmath>

void AppController::setUpBridge()
{
    m_timelineModel.setProject(&m_project);
    m_clipListModel.setProject(&m_project);
    connect(this, &AppController::tracksChanged, this, [this] {
        m_timelineModel.reset();
        m_clipListModel.reset();
    });
    connect(this, &AppController::selectionChanged, this,
            [this] { m_clipListModel.setTrackIndex(m_selectedTrack >= 0 ? m_selectedTrack : 0); });
    loadShortcuts();
}

QVariantMap AppController::clipMapAt(int trackIndex, int clipIndex) const
{
    const orvel::Clip *clip = clipAt(trackIndex, clipIndex);
    if (!clip)
        return {};
    return orvel::clipToMap(m_project, *clip, int(m_project.assetOrder.indexOf(clip->assetId)));
}

QVariantMap AppController::clipAt(double trackIndex, double clipIndex) const
{
    if (!std::isfinite(trackIndex) || !std::isfinite(clipIndex))
        return {};
    if (std::abs(trackIndex) > 1e9 || std::abs(clipIndex) > 1e9)
        return {};
    return clipMapAt(int(trackIndex), int(clipIndex));
}

// Rebuilt on every read; only the clip maps of tracks whose clips are untouched since the last
// read are carried over.
QVariantList AppController::tracks() const
{
    return m_trackMaps.tracks(m_project);
}

QVariantMap AppController::selectedClipData() const
{
    return clipMapAt(m_selectedTrack, m_selectedClip);
}

QVariantList AppController::selectedClipEffects() const
{
    const orvel::Clip *clip = clipAt(m_selectedTrack, m_selectedClip);
    return clip ? orvel::clipEffectsToList(*clip) : QVariantList();
}

// The last clip found under the playhead, walking tracks first to last, on visible tracks of the
// given type (and, for sound, tracks that are not muted either).
QVariantMap AppController::topClipUnderPlayhead(orvel::TrackType trackType, bool skipMuted) const
{
    int foundTrack = -1;
    int foundClip = -1;
    for (int t = 0; t < m_project.tracks.size(); ++t) {
        const orvel::Track &track = m_project.tracks[t];
        if (track.type != trackType || track.hidden || (skipMuted && track.muted))
            continue;
        for (int c = 0; c < track.clips.size(); ++c) {
            const orvel::Clip &clip = track.clips[c];
            if (m_playheadUs >= clip.timelineStartUs && m_playheadUs < clip.timelineEndUs()) {
                foundTrack = t;
                foundClip = c;
            }
        }
    }
    return clipMapAt(foundTrack, foundClip);
}

QVariantMap AppController::activeVideoClipAtPlayhead() const
{
    return topClipUnderPlayhead(orvel::TrackType::video, false);
}

QVariantMap AppController::activeAudioClipAtPlayhead() const
{
    return topClipUnderPlayhead(orvel::TrackType::audio, true);
}

// The boxes the preview overlays draw: every visual clip under the playhead on a visible, non-audio
// track, with its frame and rotation at this instant. The list runs from the bottom track to the
// top one, so the topmost clip's box comes last and sits above the others.
QVariantList AppController::previewClipsAtPlayhead() const
{
    QVariantList rows;
    const double atSeconds = orvel::usToSeconds(m_playheadUs);
    for (int t = int(m_project.tracks.size()) - 1; t >= 0; --t) {
        const orvel::Track &track = m_project.tracks[t];
        if (track.type == orvel::TrackType::audio || track.hidden)
            continue;
        for (int c = 0; c < track.clips.size(); ++c) {
            const orvel::Clip &clip = track.clips[c];
            if (!orvel::isVisualClipType(clip.type) || m_playheadUs < clip.timelineStartUs ||
                m_playheadUs >= clip.timelineEndUs())
                continue;
            const auto value = [&](const char *name) {
                return orvel::propertyValueAt(m_project, clip, QLatin1String(name), atSeconds, 0.0);
            };
            const bool textual = clip.type == orvel::ClipType::text || clip.type == orvel::ClipType::subtitle;
            rows.append(QVariantMap{{QStringLiteral("track"), t},
                                    {QStringLiteral("clip"), c},
                                    {QStringLiteral("kind"), orvel::clipTypeName(clip.type)},
                                    {QStringLiteral("name"), clip.name},
                                    {QStringLiteral("pixelSize"), textual ? clip.textStyle.pixelSize : 0},
                                    {QStringLiteral("x"), value("x")},
                                    {QStringLiteral("y"), value("y")},
                                    {QStringLiteral("width"), value("width")},
                                    {QStringLiteral("height"), value("height")},
                                    {QStringLiteral("rotation"), value("rotation")},
                                    {QStringLiteral("canvasWidth"), m_project.width},
                                    {QStringLiteral("canvasHeight"), m_project.height}});
        }
    }
    return rows;
}

void AppController::setDraggingAssetIndex(int assetIndex)
{
    if (m_draggingAssetIndex == assetIndex)
        return;
    m_draggingAssetIndex = assetIndex;
    emit draggingAssetIndexChanged();
}

namespace {

// A trim edge cursor: a bar the height of the clip with a bracket opening towards the side that
// the edge trims, drawn white over a dark outline so it reads on any clip colour.
QCursor trimEdgeCursor(int side, int heightPx)
{
    const int width = 16;
    QPixmap pixmap(width, heightPx);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    const int bar = side < 0 ? 5 : width - 7;
    const int arm = side < 0 ? bar + 2 : bar - 6;
    for (const auto &[colour, grow] : {std::pair{QColor(20, 20, 20), 1}, std::pair{QColor(Qt::white), 0}}) {
        painter.fillRect(bar - grow, 1 - grow, 2 + 2 * grow, heightPx - 2 + 2 * grow, colour);
        painter.fillRect(arm - grow, 1 - grow, 6 + 2 * grow, 2 + 2 * grow, colour);
        painter.fillRect(arm - grow, heightPx - 3 - grow, 6 + 2 * grow, 2 + 2 * grow, colour);
    }
    painter.end();
    return QCursor(pixmap, bar + 1, heightPx / 2);
}

} // namespace

void AppController::setTimelineTrimCursor(int side, int heightPx)
{
    const int normalisedSide = side < 0 ? -1 : (side > 0 ? 1 : 0);
    const int height = normalisedSide == 0 ? 0 : (heightPx < 1 ? 28 : heightPx);
    if (normalisedSide == m_trimCursorSide && height == m_trimCursorHeightPx)
        return;
    if (m_trimCursorSide != 0)
        QGuiApplication::restoreOverrideCursor();
    m_trimCursorSide = normalisedSide;
    m_trimCursorHeightPx = height;
    if (normalisedSide != 0)
        QGuiApplication::setOverrideCursor(trimEdgeCursor(normalisedSide, height));
}
