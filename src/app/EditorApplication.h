#pragma once

#include <QUrl>

#include <functional>

class AppController;
class QQmlApplicationEngine;

namespace orvel {

// The resource path of the root component Main in the module Orvel.
QUrl mainComponentUrl();

struct EditorStartupHooks
{
    // Called once the root component was loaded, before the event loop runs.
    std::function<void(QQmlApplicationEngine &)> afterLoad;
};

// The start-up steps between the application object and loading the root component: catalogs,
// the services and their singletons, then the engine's import path and image providers. The
// editor runs them in runEditor; tests that drive the real window run them the same way. Returns
// the editor service, which lives until the process exits.
AppController *prepareEditorServices();
void prepareEditorEngine(QQmlApplicationEngine &engine);

// The whole start-up, event loop and shut-down of the editor. Returns the process exit code.
// The services are function-local statics: they outlive the engine and the application object
// and are destroyed by the exit handlers after main returns, in reverse order of construction.
int runEditor(int argc, char **argv, const QUrl &rootComponent, const EditorStartupHooks &hooks = {});

} // namespace orvel
