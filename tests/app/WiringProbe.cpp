// Runs the editor's real start-up and reports on it through the exit code, for WiringTest:
//   wiring_probe main [screenshot.png]   load Main, check it, exit 0 when all is well
//   wiring_probe root <file.qml>          load another root component (e.g. a broken one)
// Exit codes of "main": 0 ok, 2 EditorState and AppController differ, 3 a warning was printed,
// 4 no window was created, 5 no frame within the time limit.
#include "app/EditorApplication.h"

#include <QCoreApplication>
#include <QMutex>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QStringList>
#include <QTimer>

#include <cstdio>
#include <cstring>

namespace {

QMutex messagesMutex;
QStringList warnings;

void recordMessage(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    std::fprintf(stderr, "%s\n", qPrintable(message));
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    QMutexLocker lock(&messagesMutex);
    warnings.append(message);
}

bool singletonsAreOneObject(QQmlApplicationEngine &engine)
{
    QQmlComponent component(&engine);
    component.setData(
        "import QtQml\nimport Orvel\nQtObject { property bool same: EditorState === AppController "
        "&& EditorState !== null }",
        QUrl());
    QObject *object = component.create();
    const bool same = object && object->property("same").toBool();
    delete object;
    return same;
}

void checkMainWindow(QQmlApplicationEngine &engine, const QString &screenshotPath)
{
    if (engine.rootObjects().isEmpty()) {
        QCoreApplication::exit(4);
        return;
    }
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().first());
    if (!window) {
        QCoreApplication::exit(4);
        return;
    }
    const bool same = singletonsAreOneObject(engine);
    QObject::connect(
        window, &QQuickWindow::frameSwapped, window,
        [window, same, screenshotPath] {
            if (!screenshotPath.isEmpty())
                window->grabWindow().save(screenshotPath);
            QMutexLocker lock(&messagesMutex);
            QCoreApplication::exit(!same ? 2 : (warnings.isEmpty() ? 0 : 3));
        },
        Qt::SingleShotConnection);
    QTimer::singleShot(20000, [] { QCoreApplication::exit(5); });
}

} // namespace

int main(int argc, char **argv)
{
    qInstallMessageHandler(recordMessage);
    const QString mode = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    const QString argument = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();
    if (mode == QLatin1String("root"))
        return orvel::runEditor(argc, argv, QUrl::fromLocalFile(argument));

    orvel::EditorStartupHooks hooks;
    hooks.afterLoad = [argument](QQmlApplicationEngine &engine) { checkMainWindow(engine, argument); };
    return orvel::runEditor(argc, argv, orvel::mainComponentUrl(), hooks);
}
