// The document as JSON bytes: what a save writes and what a load reads.
#include "core/controller/AppController.h"

#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace {

// Seconds or microseconds from a JSON number, clamped into 0..duration; hostile values (NaN,
// infinities, 1e300) end up at an edge instead of overflowing.
orvel::TimeUs clampedPlayheadUs(double microseconds, orvel::TimeUs durationUs)
{
    if (!std::isfinite(microseconds) || microseconds <= 0.0)
        return 0;
    if (microseconds >= double(durationUs))
        return durationUs;
    return orvel::TimeUs(microseconds);
}

} // namespace

QJsonObject AppController::projectJsonObject() const
{
    QJsonObject root = orvel::projectToJson(m_project);
    root.insert(QStringLiteral("playheadUs"), double(m_playheadUs));
    root.insert(QStringLiteral("snapEnabled"), m_snapEnabled);
    root.insert(QStringLiteral("rippleEnabled"), m_rippleEnabled);
    return root;
}

QByteArray AppController::projectJson() const
{
    return QJsonDocument(projectJsonObject()).toJson(QJsonDocument::Indented);
}

bool AppController::loadProjectJson(const QByteArray &utf8)
{
    const QJsonDocument doc = QJsonDocument::fromJson(utf8);
    if (!doc.isObject()) {
        setLastMessage(tr("Invalid project file"));
        return false;
    }
    const QJsonObject root = doc.object();
    QString error;
    orvel::Project loaded = orvel::projectFromJson(root, &error);
    if (!error.isEmpty()) {
        setLastMessage(error);
        return false;
    }
    adoptLoadedProject(std::move(loaded), root);
    return true;
}

// Replaces the live project and resets everything that belonged to the old one; the playhead,
// snapping and ripple come from the document's root object.
void AppController::adoptLoadedProject(orvel::Project loaded, const QJsonObject &root)
{
    m_project = std::move(loaded);
    showProjectInAssetLibrary();

    const orvel::TimeUs durationUs = orvel::projectDurationUs(m_project);
    const QJsonValue playheadUs = root.value(QLatin1String("playheadUs"));
    const QJsonValue playheadSeconds = root.value(QLatin1String("playheadSeconds"));
    if (playheadUs.isDouble())
        m_playheadUs = clampedPlayheadUs(playheadUs.toDouble(), durationUs);
    else if (playheadSeconds.isDouble())
        m_playheadUs = clampedPlayheadUs(playheadSeconds.toDouble() * 1e6, durationUs);
    else
        m_playheadUs = 0;
    const QJsonValue snap = root.value(QLatin1String("snapEnabled"));
    m_snapEnabled = snap.isBool() ? snap.toBool() : true;
    const QJsonValue ripple = root.value(QLatin1String("rippleEnabled"));
    m_rippleEnabled = ripple.isBool() ? ripple.toBool() : false;

    m_selectedTrack = -1;
    m_selectedClip = -1;
    m_selection.clear();
    m_selectedTransitionTrack = -1;
    m_selectedTransitionLeftClip = -1;
    m_dragActive = false; // an open transaction belonged to the replaced document
    m_dragBase = orvel::Project();
    m_undoStack.clear();
    setDirty(false);
    emitDocumentSignals();
}
