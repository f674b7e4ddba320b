#pragma once

#include "app/EditorApplication.h"
#include "core/controller/AppController.h"
#include "media/assets/AssetLibrary.h"

#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QTest>

#include <gtest/gtest.h>

// The editor's real window, started the way the application starts it, shared by the tests of
// one suite: starting it costs seconds, and every test resets the document itself.
class MainWindowTest : public testing::Test
{
protected:
    static void startWindow()
    {
        orvel::prepareEditorServices();
        engine = new QQmlApplicationEngine;
        orvel::prepareEditorEngine(*engine);
        engine->load(orvel::mainComponentUrl());
        window = engine->rootObjects().isEmpty()
                     ? nullptr
                     : qobject_cast<QQuickWindow *>(engine->rootObjects().first());
        editor = engine->singletonInstance<AppController *>(qmlTypeId("Orvel", 1, 0, "EditorState"));
        library = engine->singletonInstance<AssetLibrary *>(qmlTypeId("Orvel", 1, 0, "AssetLibrary"));
        // Clicks sent before the window is on screen are dropped, so a test that clicks first
        // would fail only when it runs alone.
        if (window && !QTest::qWaitForWindowExposed(window))
            ADD_FAILURE() << "the editor window never appeared on screen";
    }
    // A helper object written in QML, made in the window's engine so it sees the same singletons.
    static QObject *createQml(const char *qml)
    {
        QQmlComponent component(engine);
        component.setData(qml, QUrl());
        return component.create();
    }
    // Closes without the unsaved-changes question, which nobody is there to answer.
    static void closeWindow()
    {
        if (window)
            window->setProperty("forceClose", true);
        delete engine;
        engine = nullptr;
        window = nullptr;
    }

    static inline QQmlApplicationEngine *engine = nullptr;
    static inline QQuickWindow *window = nullptr;
    static inline AppController *editor = nullptr;
    static inline AssetLibrary *library = nullptr;
};
