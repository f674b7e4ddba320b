// SubRip files: importing cues as a new subtitle clip or into an existing one, and exporting a
// subtitle clip's cues.
#include "core/controller/AppController.h"

#include "catalog/TextPresets.h"
#include "output/SubtitleFiles.h"

#include <QFileInfo>
#include <QUrl>

#include <algorithm>

namespace subtitles_detail {

// Dialogs hand over file URLs; typed or dropped paths arrive plain.
QString localPath(const QString &url)
{
    const QUrl parsed(url);
    return parsed.isLocalFile() ? parsed.toLocalFile() : url;
}

// The document keeps a clip's cues ordered by start, then end; files need not be.
void sortCues(QList<orvel::SubtitleCue> &cues)
{
    std::stable_sort(cues.begin(), cues.end(), [](const orvel::SubtitleCue &a, const orvel::SubtitleCue &b) {
        return a.startUs != b.startUs ? a.startUs < b.startUs : a.endUs < b.endUs;
    });
}

orvel::Clip importedSubtitleClip(const QList<orvel::SubtitleCue> &cues, const orvel::Project &project)
{
    orvel::TimeUs lengthUs = orvel::kDefaultSubtitleClipLengthUs;
    for (const orvel::SubtitleCue &cue : cues)
        lengthUs = std::max(lengthUs, cue.endUs);
    orvel::Clip clip;
    clip.id = orvel::newUuid();
    clip.type = orvel::ClipType::subtitle;
    clip.name = QStringLiteral("Subtitles");
    clip.timelineDurationUs = lengthUs;
    clip.srcOutUs = lengthUs;
    clip.subtitleCues = cues;
    if (const orvel::TextPreset *preset = orvel::findTextPreset(QStringLiteral("subtitle")))
        clip.textStyle = preset->style;
    orvel::setClipFrame(clip, orvel::subtitleClipRect(project.width, project.height));
    return clip;
}

} // namespace subtitles_detail

bool AppController::readSubtitleCues(const QString &url, QList<orvel::SubtitleCue> &cues)
{
    const QString path = subtitles_detail::localPath(url);
    if (path.isEmpty()) {
        setLastMessage(tr("No subtitle file selected"));
        return false;
    }
    QString error;
    if (!orvel::readSrtFile(path, &cues, &error)) {
        setLastMessage(error.isEmpty() ? tr("Could not read subtitle file") : error);
        return false;
    }
    subtitles_detail::sortCues(cues);
    return true;
}

void AppController::importSubtitleFile(const QString &url)
{
    importSubtitleFile(url, -1.0);
}

void AppController::importSubtitleFile(const QString &url, double atSeconds)
{
    QList<orvel::SubtitleCue> cues;
    if (!readSubtitleCues(url, cues))
        return;
    const orvel::Project before = m_project;
    orvel::Clip clip = subtitles_detail::importedSubtitleClip(cues, m_project);
    orvel::Track track;
    track.type = orvel::TrackType::subtitle;
    const int trackIndex = orvel::insertTrackAt(m_project, 0, track);
    clip.timelineStartUs = orvel::resolvePlacementUs(m_project, snapContext(), trackIndex,
                                                     startOrPlayheadUs(atSeconds), clip.timelineDurationUs);
    m_project.tracks[trackIndex].clips.append(clip);
    setSelectionRefs({{trackIndex, 0}});
    commitEdit(before, tr("Subtitles imported"), tr("Imported %1 subtitle(s)").arg(cues.size()));
}

void AppController::importSubtitleFileIntoClip(int trackIndex, int clipIndex, const QString &url)
{
    const orvel::Clip *target = clipAt(trackIndex, clipIndex);
    if (!target || target->type != orvel::ClipType::subtitle)
        return;
    QList<orvel::SubtitleCue> cues;
    if (!readSubtitleCues(url, cues))
        return;
    commitClipEdit(trackIndex, clipIndex, tr("Subtitles imported"),
                   tr("Imported %1 subtitle(s)").arg(cues.size()), [&](orvel::Clip &clip) {
                       clip.subtitleCues = cues;
                       return true;
                   });
}

void AppController::exportSubtitleFile(int trackIndex, int clipIndex, const QString &url)
{
    if (!validClip(trackIndex, clipIndex))
        return;
    const orvel::Clip &clip = m_project.tracks[trackIndex].clips[clipIndex];
    if (clip.type != orvel::ClipType::subtitle) {
        setLastMessage(tr("Select a subtitle clip to export"));
        return;
    }
    if (clip.subtitleCues.isEmpty()) {
        setLastMessage(tr("This subtitle clip has no captions"));
        return;
    }
    QString path = subtitles_detail::localPath(url);
    if (path.isEmpty()) {
        setLastMessage(tr("No save location selected"));
        return;
    }
    if (!path.endsWith(QLatin1String(".srt"), Qt::CaseInsensitive))
        path += QLatin1String(".srt");
    if (!orvel::writeSrtFile(path, clip.subtitleCues, nullptr)) {
        setLastMessage(tr("Could not write subtitle file"));
        return;
    }
    setLastMessage(tr("Subtitles saved"));
}
