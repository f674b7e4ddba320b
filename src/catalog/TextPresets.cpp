#include "catalog/TextPresets.h"

namespace orvel {

namespace {

const QList<TextPreset> &presetTable()
{
    static const QList<TextPreset> table;
    return table;
}

} // namespace

QList<TextPreset> textPresets()
{
    return presetTable();
}

const TextPreset *findTextPreset(const QString &id)
{
    for (const TextPreset &preset : presetTable())
        if (preset.id == id)
            return &preset;
    return nullptr;
}

} // namespace orvel
