// The keyboard table: the actions QML binds to application-wide shortcuts, the user's own keys
// stored over the defaults, and what each action does.
#include "core/controller/AppController.h"

#include <QSettings>

namespace {

struct ShortcutAction
{
    const char *id;
    const char *label;
    const char *defaultKeys;
};

// In the order the actions are listed. Labels are translated when read.
constexpr ShortcutAction kShortcutActions[] = {
    {"newProject", QT_TRANSLATE_NOOP("AppController", "New project"), "Ctrl+N"},
    {"open", QT_TRANSLATE_NOOP("AppController", "Open project"), "Ctrl+O"},
    {"save", QT_TRANSLATE_NOOP("AppController", "Save project"), "Ctrl+S"},
    {"playPause", QT_TRANSLATE_NOOP("AppController", "Play/Pause"), "Space"},
    {"delete", QT_TRANSLATE_NOOP("AppController", "Delete selection"), "Delete"},
    {"undo", QT_TRANSLATE_NOOP("AppController", "Undo"), "Ctrl+Z"},
    {"redo", QT_TRANSLATE_NOOP("AppController", "Redo"), "Ctrl+Shift+Z"},
    {"copy", QT_TRANSLATE_NOOP("AppController", "Copy selection"), "Ctrl+C"},
    {"cut", QT_TRANSLATE_NOOP("AppController", "Cut selection"), "Ctrl+X"},
    {"paste", QT_TRANSLATE_NOOP("AppController", "Paste at current time"), "Ctrl+V"},
    {"duplicate", QT_TRANSLATE_NOOP("AppController", "Duplicate selected clip"), "Ctrl+D"},
    {"split", QT_TRANSLATE_NOOP("AppController", "Split at current time"), "S"},
    {"merge", QT_TRANSLATE_NOOP("AppController", "Merge adjacent clips"), "Ctrl+M"},
    {"separateAudio", QT_TRANSLATE_NOOP("AppController", "Separate audio"), "Ctrl+Shift+S"},
    {"unlink", QT_TRANSLATE_NOOP("AppController", "Unlink audio"), "Ctrl+Shift+U"},
    {"clearSelection", QT_TRANSLATE_NOOP("AppController", "Clear selection"), "Escape"},
    {"selectAll", QT_TRANSLATE_NOOP("AppController", "Select all clips"), "Ctrl+A"},
    {"nudgeLeft", QT_TRANSLATE_NOOP("AppController", "Move selection left a little"), "Alt+Left"},
    {"nudgeRight", QT_TRANSLATE_NOOP("AppController", "Move selection right a little"), "Alt+Right"},
    {"toggleGuides", QT_TRANSLATE_NOOP("AppController", "Toggle guides"), "G"},
};

const QString kShortcutsGroup = QStringLiteral("shortcuts");
constexpr double kNudgeSeconds = 0.1;

} // namespace

// Defaults first, then what the user stored; an empty stored string never wipes a default.
void AppController::loadShortcuts()
{
    m_shortcuts.clear();
    QSettings settings;
    settings.beginGroup(kShortcutsGroup);
    for (const ShortcutAction &action : kShortcutActions) {
        const QString id = QLatin1String(action.id);
        const QString stored = settings.value(id).toString();
        m_shortcuts.insert(id, stored.isEmpty() ? QLatin1String(action.defaultKeys) : stored);
    }
}

QVariantList AppController::actions() const
{
    QVariantList list;
    for (const ShortcutAction &action : kShortcutActions) {
        const QString id = QLatin1String(action.id);
        list.append(QVariantMap{{QStringLiteral("id"), id},
                                {QStringLiteral("label"), tr(action.label)},
                                {QStringLiteral("shortcut"), m_shortcuts.value(id)}});
    }
    return list;
}

QString AppController::shortcutFor(const QString &actionId) const
{
    return m_shortcuts.value(actionId);
}

void AppController::setShortcut(const QString &actionId, const QString &keys)
{
    if (!m_shortcuts.contains(actionId))
        return;
    m_shortcuts.insert(actionId, keys);
    QSettings settings;
    settings.beginGroup(kShortcutsGroup);
    settings.setValue(actionId, keys);
    emit shortcutsChanged();
}

void AppController::triggerAction(const QString &actionId)
{
    static const QHash<QString, std::function<void(AppController *)>> handlers = {
        {QStringLiteral("newProject"), [](AppController *c) { emit c->newProjectRequested(); }},
        {QStringLiteral("open"), [](AppController *c) { emit c->openRequested(); }},
        {QStringLiteral("save"), [](AppController *c) { emit c->saveRequested(); }},
        {QStringLiteral("playPause"), [](AppController *c) { c->setPlaying(!c->playing()); }},
        {QStringLiteral("delete"), [](AppController *c) { c->deleteSelectedClip(); }},
        {QStringLiteral("undo"), [](AppController *c) { c->undo(); }},
        {QStringLiteral("redo"), [](AppController *c) { c->redo(); }},
        {QStringLiteral("copy"), [](AppController *c) { c->copySelection(); }},
        {QStringLiteral("cut"), [](AppController *c) { c->cutSelection(); }},
        {QStringLiteral("paste"), [](AppController *c) { c->pasteAtPlayhead(); }},
        {QStringLiteral("duplicate"), [](AppController *c) { c->duplicateSelectedClip(); }},
        {QStringLiteral("split"), [](AppController *c) { c->splitAtPlayhead(); }},
        {QStringLiteral("merge"), [](AppController *c) { c->mergeSelectedClips(); }},
        {QStringLiteral("separateAudio"), [](AppController *c) { c->separateAudioFromSelection(); }},
        {QStringLiteral("unlink"), [](AppController *c) { c->unlinkSelectedClips(); }},
        {QStringLiteral("clearSelection"), [](AppController *c) { c->clearSelection(); }},
        {QStringLiteral("selectAll"), [](AppController *c) { c->selectAllClips(); }},
        {QStringLiteral("nudgeLeft"), [](AppController *c) { c->nudgeSelection(-kNudgeSeconds); }},
        {QStringLiteral("nudgeRight"), [](AppController *c) { c->nudgeSelection(kNudgeSeconds); }},
        {QStringLiteral("toggleGuides"), [](AppController *c) { c->setGuidesEnabled(!c->guidesEnabled()); }},
    };
    const auto handler = handlers.constFind(actionId);
    if (handler != handlers.cend())
        (*handler)(this);
}
