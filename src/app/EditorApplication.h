#pragma once

#include <QUrl>

#include <functional>

class QQmlApplicationEngine;

namespace orvel {

// The resource path of the root component Main in the module Orvel.
QUrl mainComponentUrl();

struct EditorStartupHooks
{
    // Called once the root component was loaded, before the event loop runs.
    std::function<void(QQmlApplicationEngine &)> afterLoad;
};

// The whole start-up, event loop and shut-down of the editor. Returns the process exit code.
// The services are function-local statics: they outlive the engine and the application object
// and are destroyed by the exit handlers after main returns, in reverse order of construction.
int runEditor(int argc, char **argv, const QUrl &rootComponent, const EditorStartupHooks &hooks = {});

} // namespace orvel
