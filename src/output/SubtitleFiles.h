#pragma once

#include "core/document/model/Project.h"

#include <QList>
#include <QString>

namespace orvel {

// SubRip (.srt) text: cues with clip-local times, files in UTF-8. Readers return false with a
// message in `error` and leave `cues` untouched on failure.

bool parseSrtText(const QString &text, QList<SubtitleCue> *cues, QString *error);
bool readSrtFile(const QString &path, QList<SubtitleCue> *cues, QString *error);

// "HH:MM:SS,mmm"; negative times count as 0, and hours past 99 take the digits they need.
QString formatSrtTime(TimeUs us);
QString formatSrtText(const QList<SubtitleCue> &cues);
bool writeSrtFile(const QString &path, const QList<SubtitleCue> &cues, QString *error);

} // namespace orvel
