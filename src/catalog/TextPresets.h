#pragma once

#include "core/document/model/Project.h"

#include <QList>
#include <QString>

namespace orvel {

// A ready-made text style with an id and a label, offered by the text panel and previewed by the
// "textstyle" image provider.
struct TextPreset
{
    QString id;
    QString label;
    TextStyle style;
};

// The program's table of text presets. It starts empty; the presets and their rendered previews
// arrive together with the text renderer.
QList<TextPreset> textPresets();
// Null for an unknown id. Safe from any thread: the table is immutable once built.
const TextPreset *findTextPreset(const QString &id);

} // namespace orvel
