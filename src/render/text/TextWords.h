#pragma once

#include "core/document/model/Project.h"

#include <QList>
#include <QString>

#include <cstdint>

namespace orvel {

// A stable 16-bit hash of a small index. It is the same on every run and machine, so a word or
// unit chosen by it does not flicker from frame to frame or change between preview and export.
// About one index in three comes out below 21845.
uint16_t textStableHash16(int index);

// One word of a text: where it starts and how many characters it has.
struct TextWordRange
{
    int start = 0;
    int length = 0;
};

// The words of a text, split at Unicode white space.
QList<TextWordRange> textWordRanges(const QString &text);

// The cue cut into one span per word, each word keeping its leading white space. Time goes to the
// words in proportion to their letters, since there is no timing from speech.
QList<SubtitleCue> wordSpans(const SubtitleCue &cue);

// The index of the word current at t within [startUs, endUs), the last one past the end, or -1
// (before the start, an empty span, or no words).
int karaokeWordIndex(const QString &text, TimeUs startUs, TimeUs endUs, TimeUs t);

} // namespace orvel
